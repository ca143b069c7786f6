// Raising the store session's failures: each names the operation, carries the failing result
// and the source line, and comes from the module "COutlookContext".
#pragma once

#include <source_location>
#include <string>

#include "MAPIException.h"
#include "OutlookException.h"
#include "ProgramException.h"

namespace store_failures {

inline constexpr char kModule[] = "COutlookContext";

// Throws MAPIException (level 2) when hr is a failure; with an object, its GetLastError goes
// into the details.
template <class Object>
void CheckMapi(HRESULT hr, Object* object, const std::string& message,
               std::source_location where = std::source_location::current()) {
    if (FAILED(hr))
        throw orvella::diag::MAPIException(hr, object, message, 2, kModule,
                                           static_cast<int>(where.line()));
}
inline void CheckMapi(HRESULT hr, const std::string& message,
                      std::source_location where = std::source_location::current()) {
    if (FAILED(hr))
        throw orvella::diag::MAPIException(hr, message, "", 2, kModule,
                                           static_cast<int>(where.line()));
}
inline void CheckOutlook(HRESULT hr, const std::string& message,
                         std::source_location where = std::source_location::current()) {
    if (FAILED(hr))
        throw orvella::diag::OutlookException(hr, message, "", 2, kModule,
                                              static_cast<int>(where.line()));
}
[[noreturn]] inline void FailProgram(const std::string& message, const std::string& details = "",
                                     std::source_location where = std::source_location::current()) {
    throw orvella::diag::ProgramException(message, details, 2, kModule,
                                          static_cast<int>(where.line()));
}

// Hands a caught failure to the process's exception reporter (logged, and shown when its level
// reaches the notify threshold); for steps that log their failure and carry on.
void ReportFailure(const orvella::diag::BaseException& failure);
// Tells the reporter where the log lives: below the install directory.
void UseInstallDirectoryForLog(const std::string& installDirectory);

}  // namespace store_failures
