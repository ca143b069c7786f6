// The modal run of one dialog or message box on the calling thread, shared by DialogBox... and
// MessageBoxA.
#pragma once

#include "dialog_window.h"

namespace orvella::platform::gui::detail {

// Creates the dialog, disables its owner, sends WM_INITDIALOG, shows it to the front end and
// runs the thread's queue until the dialog ends; then closes it (front end told, WM_DESTROY,
// handles gone, owner enabled again) and returns the EndDialog value. When the front end or the
// DLGPROC throws, the dialog ends with failureResult, is closed all the same, and the exception
// leaves this call. owner must be NULL or a valid window.
INT_PTR RunModalDialog(const DialogTemplate& source, DialogIdentity identity, HWND owner,
                       DLGPROC proc, LPARAM initParam, INT_PTR failureResult);

}  // namespace orvella::platform::gui::detail
