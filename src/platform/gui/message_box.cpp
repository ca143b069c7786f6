// MessageBoxA: a message box is a small dialog made from its flags (an icon, the text, one
// button per answer), so every front end shows and answers it like any other dialog.
#include <algorithm>
#include <string>
#include <vector>

#include "dialog_window.h"
#include "front_end_hub.h"
#include "icons.h"
#include "modal_dialog.h"
#include "winbase.h"
#include "window_table.h"

using namespace orvella::platform::gui;

namespace {

// The ids Windows gives a message box's icon and text.
constexpr int kIconId = 0x0014;
constexpr int kTextId = 0xFFFF;

std::vector<int> ButtonsOf(UINT type) {
    switch (type & MB_TYPEMASK) {
        case MB_OK:
            return {IDOK};
        case MB_OKCANCEL:
            return {IDOK, IDCANCEL};
        case MB_ABORTRETRYIGNORE:
            return {IDABORT, IDRETRY, IDIGNORE};
        case MB_YESNOCANCEL:
            return {IDYES, IDNO, IDCANCEL};
        case MB_YESNO:
            return {IDYES, IDNO};
        case MB_RETRYCANCEL:
            return {IDRETRY, IDCANCEL};
        case MB_CANCELTRYCONTINUE:
            return {IDCANCEL, IDTRYAGAIN, IDCONTINUE};
        default:
            return {};
    }
}

const char* ButtonText(int id) {
    switch (id) {
        case IDOK:
            return "OK";
        case IDCANCEL:
            return "Cancel";
        case IDABORT:
            return "Abort";
        case IDRETRY:
            return "Retry";
        case IDIGNORE:
            return "Ignore";
        case IDYES:
            return "Yes";
        case IDNO:
            return "No";
        case IDTRYAGAIN:
            return "Try Again";
        case IDCONTINUE:
            return "Continue";
        default:
            return "";
    }
}

// Lays the box out roughly as Windows does, in dialog units: icon and text on top, the buttons
// centred below.
DialogTemplate MakeTemplate(const std::string& text, const std::string& caption, UINT type,
                            const std::vector<int>& buttons, size_t defaultButton) {
    DialogTemplate box;
    box.caption = caption;
    box.style = kDefaultDialogStyle;
    const std::string icon = detail::MessageBoxIconName(type);
    size_t longest = 0, lines = 1, lineStart = 0;
    for (size_t i = 0; i <= text.size(); ++i) {
        if (i == text.size() || text[i] == '\n') {
            longest = std::max(longest, i - lineStart);
            lineStart = i + 1;
            if (i < text.size()) ++lines;
        }
    }
    const short textLeft = icon.empty() ? 10 : 40;
    const short textWidth = static_cast<short>(std::clamp<size_t>(longest * 4, 60, 280));
    const short textHeight = static_cast<short>(std::min<size_t>(lines * 8, 400));
    const short rowWidth = static_cast<short>(buttons.size() * 54 - 4);
    box.cx = std::max<short>(static_cast<short>(textLeft + textWidth + 10),
                             static_cast<short>(rowWidth + 20));
    const short buttonTop = static_cast<short>(std::max<short>(textHeight, 20) + 20);
    box.cy = static_cast<short>(buttonTop + 22);
    if (!icon.empty()) box.controls.push_back({kIconId, ControlKind::Icon, icon, 10, 10, 21, 20});
    box.controls.push_back(
        {kTextId, ControlKind::Static, text, textLeft, 10, textWidth, textHeight, SS_NOPREFIX});
    short x = static_cast<short>((box.cx - rowWidth) / 2);
    for (size_t i = 0; i < buttons.size(); ++i) {
        const DWORD style = (i == defaultButton ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON) | WS_GROUP;
        box.controls.push_back(
            {buttons[i], ControlKind::Button, ButtonText(buttons[i]), x, buttonTop, 50, 14, style});
        x = static_cast<short>(x + 54);
    }
    return box;
}

// A button ends the box with its id; the close box means Cancel, or OK when that is the only
// button, and nothing otherwise.
INT_PTR CALLBACK MessageBoxProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM) {
    detail::WindowRef box = detail::LookUp(hwnd);
    if (!box) return FALSE;
    switch (message) {
        case WM_INITDIALOG:
            return TRUE;
        case WM_COMMAND: {
            const detail::Control* button = box.dialog->FindControl(LOWORD(wParam));
            if (HIWORD(wParam) == BN_CLICKED && button && button->kind == ControlKind::Button) {
                box.dialog->End(LOWORD(wParam));
            }
            return TRUE;
        }
        case WM_CLOSE:
            if (box.dialog->FindControl(IDCANCEL)) {
                box.dialog->End(IDCANCEL);
            } else if (box.dialog->FindControl(IDOK)) {
                box.dialog->End(IDOK);
            }
            return TRUE;
        default:
            return FALSE;
    }
}

}  // namespace

int MessageBoxA(HWND hWnd, LPCSTR lpText, LPCSTR lpCaption, UINT uType) {
    const std::vector<int> buttons = ButtonsOf(uType);
    if (buttons.empty()) {
        SetLastError(ERROR_INVALID_MSGBOX_STYLE);
        return 0;
    }
    if (hWnd && !detail::LookUpOrFail(hWnd)) return 0;
    size_t defaultButton = (uType & MB_DEFMASK) >> 8;
    if (defaultButton >= buttons.size()) defaultButton = 0;
    if (!detail::FrontEndInstalled()) return buttons[defaultButton];

    const std::string text = lpText ? lpText : "";
    const DialogTemplate box =
        MakeTemplate(text, lpCaption ? lpCaption : "Error", uType, buttons, defaultButton);
    detail::DialogIdentity identity{DialogKind::MessageBox, 0, text, uType};
    return static_cast<int>(
        detail::RunModalDialog(box, std::move(identity), hWnd, MessageBoxProc, 0, 0));
}
