// The controls of a dialog: the state each kind keeps and how it answers its messages.
#pragma once

#include <memory>
#include <string>

#include "dialog_template.h"
#include "front_end.h"

namespace orvella::platform::gui::detail {

// What handling a message did beyond its answer: the dialog then tells the front end and sends
// the notification to its DLGPROC, outside its lock.
struct ControlEffects {
    bool changed = false;  // something a person can see changed
    bool notify = false;   // send WM_COMMAND with this code to the dialog
    WORD notification = 0;
    bool clearRadioGroup = false;  // an automatic radio button was checked by a click
    void Notify(WORD code) {
        notify = true;
        notification = code;
    }
};

// What a dialog and each of its controls keep as a window.
struct WindowState {
    std::string text;
    DWORD style = 0;
    LONG_PTR userData = 0;
};

// One control. Everything but the constant members is guarded by the owning dialog's lock,
// which the dialog holds around every call.
class Control : public WindowState {
public:
    Control(const DialogControl& source, HWND hwnd, DWORD resolvedStyle);
    virtual ~Control() = default;

    const HWND hwnd;
    const int id;
    const ControlKind kind;
    const short x, y, cx, cy;

    bool enabled() const { return (style & WS_DISABLED) == 0; }
    bool visible() const { return (style & WS_VISIBLE) != 0; }

    // The answer to a message sent or posted to the control.
    virtual LRESULT Handle(UINT message, WPARAM wParam, LPARAM lParam, ControlEffects& effects);
    // Whether a person can click it (buttons of every kind but group boxes).
    virtual bool Clickable() const { return false; }
    // A person replacing the text; false when this control takes no typing.
    virtual bool Type(const std::string&, ControlEffects&) { return false; }
    // Sets BM_SETCHECK state directly (radio groups); false for controls without one.
    virtual bool SetCheck(UINT, ControlEffects&) { return false; }
    virtual bool IsRadio() const { return false; }
    virtual void Describe(ControlView& view) const;

protected:
    // Called after WM_SETTEXT replaced the text.
    virtual void OnTextSet(ControlEffects&) {}
};

// The control for a template entry, its style resolved as a resource compiler would.
std::unique_ptr<Control> MakeControl(const DialogControl& source, HWND hwnd);

// Copies text into a caller's buffer of maxCount bytes (room for the NUL included); returns the
// characters copied. Shared by every WM_GETTEXT-like call.
int CopyText(const std::string& text, LPSTR buffer, int maxCount);

}  // namespace orvella::platform::gui::detail
