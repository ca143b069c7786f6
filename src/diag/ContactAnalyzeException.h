// Failure inside contact analysis: always an error of the module "ContactAnalyze", without a
// code, details or line.
#pragma once

#include <string>
#include <utility>

#include "BaseException.h"

namespace orvella::diag {

class ContactAnalyzeException : public BaseException {
public:
    explicit ContactAnalyzeException(std::string message)
        : BaseException(0, std::move(message), std::string(), EXCEPTION_ERROR, "ContactAnalyze",
                        0) {}

    const char* GetType() const override { return "CONTACTANALYZE"; }
};

}  // namespace orvella::diag
