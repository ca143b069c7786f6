// CatchFailure: the add-in's exceptions as values tests compare.
#pragma once

#include "BaseException.h"

namespace orvella::testing {

template <class Fn>
CaughtFailure CatchFailure(Fn fn) {
    try {
        fn();
    } catch (const diag::BaseException& failure) {
        auto text = [](const char* s) { return std::string(s ? s : ""); };
        return {failure.GetType(), text(failure.GetMessage()), text(failure.GetDetails()),
                failure.GetCode()};
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

}  // namespace orvella::testing
