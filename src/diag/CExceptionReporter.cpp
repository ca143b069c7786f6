// Logging and showing reported failures.
#include "CExceptionReporter.h"

#include <cstdio>

#include "CErrorDialog.h"
#include "ExceptionRecord.h"
#include "SupportMail.h"
#include "mapicode.h"
#include "winuser.h"

namespace orvella::diag {
namespace {

// A save that lost a race with another change is something the user can resolve; say how
// instead of showing a record.
const char kObjectChangedText[] =
    "Orvella was unable to save changes to the current\n"
    "item because another operation has changed it.\n\n"
    "Please unselect or close the current item and try your\n"
    "operation again.\n\n";

// Reports shown in a row for one place before the rest are only logged; the last shown one
// carries the note that it repeats.
constexpr int kLastShownRepeat = 2;

}  // namespace

CExceptionReporter::CExceptionReporter() : settings_(ReadReporterSettings()) {}

void CExceptionReporter::SetApplication(_Application* application) {
    std::lock_guard lock(mutex_);
    application_ = platform::mapi::ComPtr<_Application>(application);
}

void CExceptionReporter::SetInstallDirectory(const std::string& directory) {
    if (directory.empty()) return;
    std::lock_guard lock(mutex_);
    settings_.logPath = directory + "/Logs/Orvella.log";
}

void CExceptionReporter::Report(const IException& exception) noexcept {
    try {
        const int level = exception.GetLevel();
        const bool log = level >= settings_.logThreshold;
        const bool notify = level >= settings_.notifyThreshold;
        if (!log && !notify) return;
        const std::string header = ExceptionHeader(exception);
        const std::string record = ExceptionRecord(exception, LocalTimeText(), header);

        std::lock_guard lock(mutex_);
        if (log) AppendToLog(record);
        if (notify) Notify(exception, header, record);
    } catch (...) {
        // Reporting must not become a failure of its own.
    }
}

void CExceptionReporter::AppendToLog(const std::string& record) {
    std::FILE* file = std::fopen(settings_.logPath.c_str(), "a");
    if (!file) return;
    std::fputs(record.c_str(), file);
    std::fclose(file);
}

void CExceptionReporter::Notify(const IException& exception, const std::string& header,
                                const std::string& record) {
    if (header == lastHeader_) {
        ++repeatCount_;
    } else {
        lastHeader_ = header;
        repeatCount_ = 0;
    }
    if (repeatCount_ > kLastShownRepeat) return;

    const std::string text =
        exception.GetCode() == MAPI_E_OBJECT_CHANGED ? std::string(kObjectChangedText) : record;
    CErrorDialog dialog(text, repeatCount_ == kLastShownRepeat);
    if (dialog.DoModal(GetActiveWindow()) == IDC_CONTACT_SUPPORT)
        CreateSupportMail(application_.Get(), settings_.supportAddress, text);
}

CExceptionReporter& ExceptionReporter() {
    // Never destroyed: a worker thread may still report while the process exits, and the
    // application it holds must not be released after Outlook has gone.
    union Holder {
        Holder() : reporter() {}
        ~Holder() {}
        CExceptionReporter reporter;
    };
    static Holder holder;
    return holder.reporter;
}

}  // namespace orvella::diag
