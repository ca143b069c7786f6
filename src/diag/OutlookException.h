// Failure of a call into the Outlook object model.
#pragma once

#include <string>
#include <utility>

#include "BaseException.h"

namespace orvella::diag {

class OutlookException : public BaseException {
public:
    OutlookException(HRESULT code, std::string message, std::string details, int level,
                     std::string file, int line)
        : BaseException(code, std::move(message), std::move(details), level, std::move(file),
                        line) {}

    const char* GetType() const override { return "OUTLOOK"; }
};

}  // namespace orvella::diag
