// A person's input from the front end, delivered on the dialog's thread the way Windows
// delivers clicks, typing and the close box.
#include "dialog_window.h"
#include "front_end.h"
#include "window_table.h"

namespace orvella::platform::gui {
namespace {

// Runs input on the dialog's thread while the dialog is open, enabled and not yet ended.
template <typename Input>
InputResult OnDialogThread(HWND hwnd, Input&& input) {
    detail::WindowRef ref = detail::LookUp(hwnd);
    if (!ref || ref.control) return InputResult::NoSuchDialog;
    detail::DialogWindow& dialog = *ref.dialog;
    InputResult result = InputResult::NoSuchDialog;
    dialog.queue().Invoke([&] {
        if (dialog.destroyed() || dialog.ended()) return;
        if (dialog.HasStyle(nullptr, WS_DISABLED)) {
            result = InputResult::DialogDisabled;
            return;
        }
        result = input(dialog);
    });
    return result;
}

// The control a person can reach, or why not.
InputResult Reach(detail::DialogWindow& dialog, int id, detail::Control*& control) {
    control = dialog.FindControl(id);
    if (!control) return InputResult::NoSuchControl;
    const ControlView view = dialog.ViewOf(*control);
    if (!view.visible) return InputResult::ControlHidden;
    if (!view.enabled) return InputResult::ControlDisabled;
    return InputResult::Done;
}

}  // namespace

const char* DescribeInput(InputResult result) {
    switch (result) {
        case InputResult::Done:
            return "done";
        case InputResult::NoSuchDialog:
            return "the dialog is not open";
        case InputResult::DialogDisabled:
            return "the dialog is disabled";
        case InputResult::NoSuchControl:
            return "the dialog has no such control";
        case InputResult::ControlHidden:
            return "the control is hidden";
        case InputResult::ControlDisabled:
            return "the control is disabled";
        case InputResult::NotApplicable:
            return "the control does not take this input";
    }
    return "unknown";
}

InputResult ClickControl(HWND dialog, int controlId) {
    return OnDialogThread(dialog, [controlId](detail::DialogWindow& window) {
        detail::Control* control = nullptr;
        const InputResult reach = Reach(window, controlId, control);
        if (reach != InputResult::Done) return reach;
        if (!control->Clickable()) return InputResult::NotApplicable;
        window.SendToControl(*control, BM_CLICK, 0, 0);
        return InputResult::Done;
    });
}

InputResult TypeText(HWND dialog, int controlId, const std::string& text) {
    return OnDialogThread(dialog, [controlId, &text](detail::DialogWindow& window) {
        detail::Control* control = nullptr;
        const InputResult reach = Reach(window, controlId, control);
        if (reach != InputResult::Done) return reach;
        return window.TypeInto(*control, text) ? InputResult::Done : InputResult::NotApplicable;
    });
}

InputResult CloseDialog(HWND dialog) {
    return OnDialogThread(dialog, [](detail::DialogWindow& window) {
        window.Deliver(WM_CLOSE, 0, 0);
        return InputResult::Done;
    });
}

}  // namespace orvella::platform::gui
