// The store session's link to the exception reporter.
#include "store_failures.h"

#include "CExceptionReporter.h"

namespace store_failures {

void ReportFailure(const orvella::diag::BaseException& failure) {
    orvella::diag::ExceptionReporter().Report(failure);
}

void UseInstallDirectoryForLog(const std::string& installDirectory) {
    orvella::diag::ExceptionReporter().SetInstallDirectory(installDirectory);
}

}  // namespace store_failures
