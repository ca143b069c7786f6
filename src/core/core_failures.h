// Raising the failures of message processing: each names the operation first, carries the
// failing result and the source line, and comes from its own module ("MsgScore",
// "MsgProcessor").
#pragma once

#include <source_location>
#include <string>

#include "MAPIException.h"

namespace core_failures {

inline constexpr char kScoreModule[] = "MsgScore";
inline constexpr char kProcessorModule[] = "MsgProcessor";

// Throws MAPIException (level 2) when hr is a failure; the object's GetLastError goes into the
// details.
template <class Object>
void CheckMapi(HRESULT hr, Object* object, const char* module, const std::string& message,
               std::source_location where = std::source_location::current()) {
    if (FAILED(hr))
        throw orvella::diag::MAPIException(hr, object, message, 2, module,
                                           static_cast<int>(where.line()));
}

}  // namespace core_failures
