// The fields every exception of the family carries.
#include "BaseException.h"

#include <utility>

namespace orvella::diag {

BaseException::BaseException(HRESULT code, std::string message, std::string details, int level,
                             std::string file, int line)
    : code_(code),
      message_(std::move(message)),
      details_(std::move(details)),
      level_(level),
      file_(std::move(file)),
      line_(line) {}

}  // namespace orvella::diag
