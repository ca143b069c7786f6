// The modal run of a dialog: initialisation, showing, the loop on the caller's thread, and an
// orderly close whether the dialog ended or an exception cut it short.
#include "modal_dialog.h"

#include <exception>

#include "front_end_hub.h"
#include "window_table.h"

namespace orvella::platform::gui::detail {
namespace {

class ModalSession {
public:
    explicit ModalSession(std::shared_ptr<DialogWindow> dialog) : dialog_(std::move(dialog)) {
        dialog_->queue().AddDialog(dialog_->hwnd());
        owner_ = LookUp(dialog_->owner());
        // The owner takes no input while its modal child runs, as on Windows.
        if (owner_ && !owner_.dialog->ChangeStyle(nullptr, WS_DISABLED, true)) {
            reenableOwner_ = true;
        }
    }

    void Run(LPARAM initParam) {
        const auto ended = [this] { return dialog_->ended(); };
        dialog_->Deliver(WM_INITDIALOG, reinterpret_cast<WPARAM>(FirstTabStop()), initParam);
        // The person sees the dialog once what initialisation queued has been delivered. A dialog
        // its own code ended by then is never shown, as on Windows; one that a worker ended is
        // shown all the same, so that what a front end sees does not depend on timing.
        dialog_->queue().RunUntil(ended, true);
        if (dialog_->endedByItsThread()) return;
        dialog_->ChangeStyle(nullptr, WS_VISIBLE, true);
        opened_ = true;
        NotifyOpened(dialog_->View());
        dialog_->queue().RunUntil(ended);
    }

    // Ends the dialog with failureResult and closes it while an exception is on its way.
    void Abandon(INT_PTR failureResult) {
        dialog_->End(failureResult);
        Close(true);
    }

    // Closes the dialog and returns its result. Exceptions thrown by its last messages leave
    // here unless another one is already on its way (unwinding).
    INT_PTR Close(bool unwinding) {
        if (reenableOwner_) owner_.dialog->ChangeStyle(nullptr, WS_DISABLED, false);
        const INT_PTR result = dialog_->result();
        if (opened_) NotifyClosed(dialog_->View(), result);
        std::exception_ptr error;
        try {
            dialog_->Deliver(WM_DESTROY, 0, 0);
        } catch (...) {
            error = std::current_exception();
        }
        dialog_->queue().KillTimers(dialog_->hwnd());
        for (const auto& control : dialog_->controls()) dialog_->queue().KillTimers(control->hwnd);
        dialog_->Destroy();
        dialog_->queue().RemoveDialog(dialog_->hwnd());
        if (error && !unwinding) std::rethrow_exception(error);
        return result;
    }

private:
    HWND FirstTabStop() const {
        for (const auto& control : dialog_->controls()) {
            if (dialog_->HasStyle(control.get(), WS_TABSTOP | WS_VISIBLE) &&
                !dialog_->HasStyle(control.get(), WS_DISABLED)) {
                return control->hwnd;
            }
        }
        return nullptr;
    }

    std::shared_ptr<DialogWindow> dialog_;
    WindowRef owner_;
    bool reenableOwner_ = false;
    bool opened_ = false;
};

}  // namespace

INT_PTR RunModalDialog(const DialogTemplate& source, DialogIdentity identity, HWND owner,
                       DLGPROC proc, LPARAM initParam, INT_PTR failureResult) {
    // A control's dialog owns the new one, as Windows makes the top-level window its owner.
    const WindowRef ownerWindow = LookUp(owner);
    const HWND topLevelOwner = ownerWindow ? ownerWindow.dialog->hwnd() : nullptr;
    ModalSession session(DialogWindow::Create(source, std::move(identity), topLevelOwner, proc));
    try {
        session.Run(initParam);
    } catch (...) {
        session.Abandon(failureResult);
        throw;
    }
    return session.Close(false);
}

}  // namespace orvella::platform::gui::detail
