// The process's table of window handles: every open dialog and each of its controls.
#pragma once

#include <memory>

#include "winuser.h"

namespace orvella::platform::gui::detail {

class Control;
class DialogWindow;

// A window: a dialog (control == nullptr) or one of its controls. The shared pointer keeps the
// dialog and its controls alive while the caller uses them, even if the dialog closes meanwhile.
struct WindowRef {
    std::shared_ptr<DialogWindow> dialog;
    Control* control = nullptr;
    explicit operator bool() const { return dialog != nullptr; }
};

// A fresh handle; handles are never reused.
HWND AllocateHandle();
void AddWindow(HWND hwnd, const std::shared_ptr<DialogWindow>& dialog, Control* control);
void RemoveWindow(HWND hwnd);

// The window behind hwnd, or an empty ref. The ...OrFail forms set ERROR_INVALID_WINDOW_HANDLE
// (and ERROR_CONTROL_ID_NOT_FOUND for a missing control) when they return nothing.
WindowRef LookUp(HWND hwnd);
WindowRef LookUpOrFail(HWND hwnd);
std::shared_ptr<DialogWindow> LookUpDialogOrFail(HWND hwnd);
WindowRef LookUpDialogItemOrFail(HWND dialog, int id);

}  // namespace orvella::platform::gui::detail
