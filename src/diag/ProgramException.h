// Failure of the add-in's own logic: an impossible state, a bad stored rule, a missing setting.
#pragma once

#include <string>
#include <utility>

#include "BaseException.h"

namespace orvella::diag {

// Its code is always 0: no call failed.
class ProgramException : public BaseException {
public:
    ProgramException(std::string message, std::string details, int level, std::string file,
                     int line)
        : BaseException(0, std::move(message), std::move(details), level, std::move(file), line) {}

    const char* GetType() const override { return "PROGRAM"; }
};

}  // namespace orvella::diag
