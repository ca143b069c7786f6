// The process's exception reporter: every catch site hands it the failure it caught; it logs
// the failure and, for serious ones, tells the user.
#pragma once

#include <mutex>
#include <string>

#include "IException.h"
#include "ReporterSettings.h"
#include "mapi_ptr.h"
#include "msoutl.h"

namespace orvella::diag {

// Contract:
// - Settings are read once, when the reporter is built (see ReadReporterSettings).
// - Report appends a record to the log file when the level reaches the log threshold (the file
//   is opened and closed for each record, so it may be moved or deleted at any time), and shows
//   the error dialog over the active window when it reaches the notify threshold. The same
//   place failing again and again in a row is shown three times at most, the third time with a
//   note that it repeats; any other failure in between starts the count again.
// - Report never throws: a log that cannot be written gets nothing, a support mail that cannot
//   be created is given up.
// - Threads: any thread may report. One lock covers logging and showing, so records never
//   interleave and the repeat count sees reports in the order they are logged; a report made
//   while the dialog is open waits until it closes (the same thread may report again from
//   within the dialog).
class CExceptionReporter {
public:
    CExceptionReporter();
    CExceptionReporter(const CExceptionReporter&) = delete;
    CExceptionReporter& operator=(const CExceptionReporter&) = delete;

    void Report(const IException& exception) noexcept;

    // The Outlook application through which "Contact Support" writes its mail; the reporter
    // keeps a reference until it is replaced. Null (the start) means no support mail can be
    // written. The add-in sets it when it connects and clears it when it disconnects.
    void SetApplication(_Application* application);

    // The install directory the store session found: the log moves below it, to
    // <directory>/Logs/Orvella.log. An empty directory changes nothing.
    void SetInstallDirectory(const std::string& directory);

    // The settings in force.
    const ReporterSettings& Settings() const { return settings_; }

private:
    void AppendToLog(const std::string& record);
    void Notify(const IException& exception, const std::string& header, const std::string& record);

    ReporterSettings settings_;  // only the log path changes after construction, under the lock
    std::recursive_mutex mutex_;
    std::string lastHeader_;
    int repeatCount_ = 0;
    platform::mapi::ComPtr<_Application> application_;
};

// The one reporter of the process, built on first use and never destroyed.
CExceptionReporter& ExceptionReporter();

}  // namespace orvella::diag
