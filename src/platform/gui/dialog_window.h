// An open dialog (or message box): its controls and window state, the delivery of messages to
// its DLGPROC, and its end.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "control.h"
#include "front_end.h"
#include "thread_queue.h"

namespace orvella::platform::gui::detail {

// What the dialog is, beyond its template.
struct DialogIdentity {
    DialogKind kind = DialogKind::Dialog;
    WORD templateId = 0;
    std::string messageText;
    UINT messageFlags = 0;
};

// Thread rules: Deliver runs on the owner thread only; everything else may run on any thread.
// The dialog's and its controls' window state is guarded by one lock, never held while a
// DLGPROC or the front end runs.
class DialogWindow {
    struct Key {};

public:
    // Creates the dialog and its controls for the calling thread and enters their handles in
    // the window table.
    static std::shared_ptr<DialogWindow> Create(const DialogTemplate& source,
                                                DialogIdentity identity, HWND owner, DLGPROC proc);
    DialogWindow(Key, const DialogTemplate& source, DialogIdentity identity, HWND owner,
                 DLGPROC proc);

    HWND hwnd() const { return hwnd_; }
    HWND owner() const { return owner_; }
    ThreadQueue& queue() const { return *queue_; }
    DialogKind kind() const { return identity_.kind; }
    const std::vector<std::unique_ptr<Control>>& controls() const { return controls_; }
    Control* FindControl(int id) const;

    // Owner thread: the DLGPROC, then the default processing of what it left unhandled.
    LRESULT Deliver(UINT message, WPARAM wParam, LPARAM lParam);
    // Deliver on the owner thread, waiting for it; 0 once the dialog is destroyed.
    LRESULT Send(UINT message, WPARAM wParam, LPARAM lParam);
    // A control's answer; its notification then goes to the DLGPROC through Send.
    LRESULT SendToControl(Control& control, UINT message, WPARAM wParam, LPARAM lParam);
    // A person typing into an edit; false when the control takes no typing.
    bool TypeInto(Control& control, const std::string& text);

    void End(INT_PTR result);
    bool ended() const { return ended_.load(); }
    // Whether code on the dialog's own thread ended it (a worker's EndDialog does not count).
    bool endedByItsThread() const { return endedByItsThread_.load(); }
    INT_PTR result() const;
    // Removes the dialog and its controls from the window table; they are gone for every caller.
    void Destroy();
    bool destroyed() const { return destroyed_.load(); }

    // Window state of the dialog (control == nullptr) or one of its controls.
    std::string Text(const Control* control) const;
    bool HasStyle(const Control* control, DWORD bits) const;
    // Sets or clears bits; returns whether they were all set before.
    bool ChangeStyle(Control* control, DWORD bits, bool set);
    // GWL_/DWLP_ values; false for an index this window does not have.
    bool GetLong(const Control* control, int index, LONG_PTR& value) const;
    bool SetLong(Control* control, int index, LONG_PTR value, LONG_PTR& previous);

    DialogView View() const;
    ControlView ViewOf(const Control& control) const;

private:
    WindowState& StateOf(Control* control) { return control ? *control : self_; }
    const WindowState& StateOf(const Control* control) const { return control ? *control : self_; }
    LRESULT DefaultProcessing(UINT message, WPARAM wParam, LPARAM lParam);
    void ClearRadioGroup(const Control& checked, ControlEffects& effects);
    void Publish(const Control& control, const ControlEffects& effects);

    const HWND hwnd_;
    const HWND owner_;
    const std::shared_ptr<ThreadQueue> queue_;
    const DialogIdentity identity_;
    const short cx_, cy_;
    const std::string font_;
    const WORD pointSize_;
    std::vector<std::unique_ptr<Control>> controls_;  // fixed once created

    mutable std::mutex mutex_;
    WindowState self_;  // text = caption
    DLGPROC proc_;
    LONG_PTR messageResult_ = 0;
    LONG_PTR dialogUser_ = 0;
    INT_PTR result_ = 0;
    std::atomic<bool> ended_{false};
    std::atomic<bool> endedByItsThread_{false};
    std::atomic<bool> destroyed_{false};
};

}  // namespace orvella::platform::gui::detail
