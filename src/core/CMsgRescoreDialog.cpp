// The rescoring run: the "Processing Inbox" dialog, its worker thread and the run itself.
#include "CMsgRescoreDialog.h"

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <utility>

#include "BaseException.h"
#include "CExceptionReporter.h"
#include "COutlookContext.h"
#include "MsgProcessor.h"
#include "ProgramException.h"
#include "commctrl.h"
#include "mapix.h"
#include "process.h"
#include "winuser.h"

namespace {

using orvella::platform::gui::ControlKind;
using orvella::platform::gui::DialogTemplate;

DialogTemplate RescoreDialogTemplate() {
    DialogTemplate dialog;
    dialog.caption = "Processing Inbox";
    dialog.cx = 240;
    dialog.cy = 89;
    dialog.controls = {
        {IDC_RESCORE_HEADING, ControlKind::Static, "Processing Messages - one moment please...", 7,
         7, 226, 8},
        {IDC_RESCORE_TEXT, ControlKind::Static, "", 7, 22, 226, 8, SS_NOPREFIX},
        {IDC_RESCORE_PROGRESS, ControlKind::ProgressBar, "", 7, 40, 226, 10},
        {IDCANCEL, ControlKind::Button, "Cancel", 95, 66, 50, 14},
    };
    return dialog;
}

void ReportFailure(const orvella::diag::BaseException& failure) {
    orvella::diag::ExceptionReporter().Report(failure);
}

}  // namespace

// Lets the destructor wait until the worker, which outlives DoModal by its MAPIUninitialize,
// has finished.
struct CMsgRescoreDialog::WorkerEnd {
    std::mutex mutex;
    std::condition_variable finished;
    bool done = false;
};

CMsgRescoreDialog::CMsgRescoreDialog(MsgProcessor* processor)
    : CDialog(RescoreDialogTemplate()), processor_(processor), session_(processor->Context()) {}

CMsgRescoreDialog::~CMsgRescoreDialog() {
    if (!workerEnd_) return;
    std::unique_lock lock(workerEnd_->mutex);
    workerEnd_->finished.wait(lock, [this] { return workerEnd_->done; });
}

void CMsgRescoreDialog::SetFlags(bool skipIfProcessed, bool score, bool runRules) {
    skipIfProcessed_ = skipIfProcessed;
    score_ = score;
    runRules_ = runRules;
}

void CMsgRescoreDialog::SetMessages(const std::vector<EntryId>* entryIds,
                                    const std::vector<std::string>* displayNames) {
    entryIds_ = entryIds;
    displayNames_ = displayNames;
}

void CMsgRescoreDialog::SetContact(const EntryId& contactId) {
    contact_ = contactId;
}

void CMsgRescoreDialog::SetRule(RescoreRuleList rules) {
    rules_ = std::move(rules);
}

BOOL CMsgRescoreDialog::OnInitDialog() {
    SetDlgItemTextA(m_hWnd, IDC_RESCORE_TEXT, "");
    cancel_ = false;
    count_ = 0;
    handled_ = 0;
    workerEnd_ = std::make_shared<WorkerEnd>();
    if (_beginthread(&CMsgRescoreDialog::WorkerThread, 0, this) == static_cast<uintptr_t>(-1)) {
        workerEnd_.reset();
        ReportFailure(
            orvella::diag::ProgramException("CMsgRescoreDialog: unable to start the worker thread",
                                            "", 2, "MsgRescoreDialog", __LINE__));
        EndDialog(1);
    }
    return TRUE;
}

void CMsgRescoreDialog::OnCommand(UINT id, UINT notifyCode, HWND) {
    // The worker ends the dialog once it has finished the message it is on.
    if (id == IDCANCEL && notifyCode == BN_CLICKED) cancel_ = true;
}

void CMsgRescoreDialog::WorkerThread(void* argument) {
    auto* self = static_cast<CMsgRescoreDialog*>(argument);
    const std::shared_ptr<WorkerEnd> end = self->workerEnd_;
    const HWND dialog = self->m_hWnd;
    MAPIINIT_0 init = {MAPI_INIT_VERSION, MAPI_MULTITHREAD_NOTIFICATIONS};
    const bool initialized = SUCCEEDED(MAPIInitialize(&init));
    self->Run();
    ::EndDialog(dialog, 1);
    // The dialog's owner may be in its destructor from here on, waiting for the lines below.
    if (initialized) MAPIUninitialize();
    {
        std::lock_guard lock(end->mutex);
        end->done = true;
    }
    end->finished.notify_all();
}

void CMsgRescoreDialog::QueryMessages(std::vector<EntryId>& entryIds,
                                      std::vector<std::string>& displayNames) {
    if (rules_) {
        session_->GetInboxEIDs(false, entryIds, &displayNames);
    } else if (!contact_.empty()) {
        session_->ResetThreadScoresAndGetInboxEIDsForContact(contact_, entryIds, &displayNames);
    } else {
        session_->GetInboxEIDs(true, entryIds, &displayNames);
    }
}

void CMsgRescoreDialog::Run() {
    std::vector<EntryId> queried;
    std::vector<std::string> queriedNames;
    const std::vector<EntryId>* entryIds = entryIds_;
    const std::vector<std::string>* displayNames = displayNames_;
    IMAPIAdvise* advise = nullptr;  // to advise again after the run
    try {
        if (!entryIds) {
            QueryMessages(queried, queriedNames);
            entryIds = &queried;
            displayNames = &queriedNames;
        }
        // The run's own writes must not come back as notifications to be processed again.
        if (session_->IsMAPIAdviseRegistered()) advise = session_->AdviseCallback();
        session_->UnregisterMAPIAdvise();
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
        return;
    }

    const size_t count = entryIds->size();
    count_ = count;
    const HWND dialog = m_hWnd;
    SendDlgItemMessageA(dialog, IDC_RESCORE_PROGRESS, PBM_SETRANGE32, 0,
                        static_cast<LPARAM>(count) - 1);
    // Each thread's other messages are shown its final average once, after the run.
    if (!rules_) processor_->DeferThreadScores();
    for (size_t i = 0; i < count; ++i) {
        ShowProgress(i, count, displayNames);
        Handle((*entryIds)[i]);
        ++handled_;
        if (cancel_) break;
    }
    processor_->ShowDeferredThreadScores();
    char text[64];
    std::snprintf(text, sizeof text, "processed %d of %d", static_cast<int>(count),
                  static_cast<int>(count));
    SetDlgItemTextA(dialog, IDC_RESCORE_TEXT, text);
    SendDlgItemMessageA(dialog, IDC_RESCORE_PROGRESS, PBM_SETPOS, static_cast<WPARAM>(count), 0);

    try {
        if (advise) session_->RegisterMAPIAdvise(advise);
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
}

void CMsgRescoreDialog::ShowProgress(size_t index, size_t count,
                                     const std::vector<std::string>* displayNames) {
    const int number = static_cast<int>(index + 1);
    const int total = static_cast<int>(count);
    std::string text(64, '\0');
    if (displayNames && index < displayNames->size() && !(*displayNames)[index].empty()) {
        const std::string& name = (*displayNames)[index];
        text.resize(64 + name.size());
        text.resize(static_cast<size_t>(std::snprintf(
            text.data(), text.size(), "processing %d of %d: %s", number, total, name.c_str())));
    } else {
        text.resize(static_cast<size_t>(
            std::snprintf(text.data(), text.size(), "processing %d of %d", number, total)));
    }
    SetDlgItemTextA(m_hWnd, IDC_RESCORE_TEXT, text.c_str());
    SendDlgItemMessageA(m_hWnd, IDC_RESCORE_PROGRESS, PBM_SETPOS, static_cast<WPARAM>(index), 0);
}

void CMsgRescoreDialog::Handle(const EntryId& entryId) {
    if (!rules_) {
        processor_->ProcessMsg(entryId.cb(), entryId.get(), skipIfProcessed_, score_, runRules_,
                               true);
        return;
    }
    ComPtr<IMessage> message;
    try {
        message = session_->GetMAPIMessage(entryId);
    } catch (const orvella::diag::BaseException&) {
        return;  // gone or not ours to change: skipped
    }
    try {
        rules_(message.Get(), nullptr, 0);
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
}
