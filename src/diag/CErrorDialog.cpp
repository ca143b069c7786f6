// The error dialog's template and behaviour.
#include "CErrorDialog.h"

#include <utility>

#include "winuser.h"

namespace orvella::diag {
namespace {

using platform::gui::ControlKind;
using platform::gui::DialogTemplate;

DialogTemplate ErrorDialogTemplate() {
    DialogTemplate dialog;
    dialog.caption = "Orvella Unexpected Condition";
    dialog.cx = 260;
    dialog.cy = 170;
    dialog.controls = {
        {IDC_STATIC, ControlKind::Static,
         "Orvella has encountered an unexpected condition. The details are listed below. If "
         "this problem persists, please contact Orvella support.",
         7, 7, 246, 26},
        {IDC_ERROR_TEXT, ControlKind::Edit, "", 7, 36, 246, 96,
         ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL},
        {IDC_REPEAT_NOTE, ControlKind::Static,
         "This notification may represent multiple occurrences of this message.", 7, 135, 246, 10},
        {IDOK, ControlKind::Button, "OK", 137, 149, 50, 14, BS_DEFPUSHBUTTON},
        {IDC_CONTACT_SUPPORT, ControlKind::Button, "Contact Support", 193, 149, 60, 14},
    };
    return dialog;
}

// An edit control breaks lines only at "\r\n".
std::string WithCrLf(const std::string& text) {
    std::string converted;
    converted.reserve(text.size() + text.size() / 16);
    for (char c : text) {
        if (c == '\n') converted += '\r';
        converted += c;
    }
    return converted;
}

}  // namespace

CErrorDialog::CErrorDialog(std::string text, bool showRepeatNote)
    : CDialog(ErrorDialogTemplate()), text_(std::move(text)), showRepeatNote_(showRepeatNote) {}

BOOL CErrorDialog::OnInitDialog() {
    const std::string shown = WithCrLf(text_);
    SetDlgItemTextA(m_hWnd, IDC_ERROR_TEXT, shown.c_str());
    // The caret at the end, and the end in view: the newest lines matter most.
    const auto end = static_cast<WPARAM>(shown.size());
    SendDlgItemMessageA(m_hWnd, IDC_ERROR_TEXT, EM_SETSEL, end, static_cast<LPARAM>(end));
    SendDlgItemMessageA(m_hWnd, IDC_ERROR_TEXT, EM_SCROLLCARET, 0, 0);
    ShowWindow(GetDlgItem(IDC_REPEAT_NOTE), showRepeatNote_ ? SW_SHOW : SW_HIDE);
    return TRUE;
}

void CErrorDialog::OnCommand(UINT id, UINT notifyCode, HWND control) {
    if (id == IDC_CONTACT_SUPPORT && notifyCode == BN_CLICKED) {
        EndDialog(IDC_CONTACT_SUPPORT);
        return;
    }
    CDialog::OnCommand(id, notifyCode, control);
}

}  // namespace orvella::diag
