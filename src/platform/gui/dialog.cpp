// CDialog: the DLGPROC that routes a dialog's messages to its handler object.
#include "dialog.h"

#include <vector>

#include "winbase.h"

namespace orvella::platform::gui {

CDialog::CDialog(WORD templateId) : templateId_(templateId) {}

CDialog::CDialog(DialogTemplate dialogTemplate)
    : template_(std::make_unique<DialogTemplate>(std::move(dialogTemplate))) {}

CDialog::~CDialog() = default;

INT_PTR CDialog::DoModal(HWND parent) {
    if (m_hWnd) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return -1;
    }
    const LPARAM self = reinterpret_cast<LPARAM>(this);
    if (template_)
        return DialogBoxIndirectParamA(nullptr, template_.get(), parent, DialogProc, self);
    return DialogBoxParamA(nullptr, MAKEINTRESOURCEA(templateId_), parent, DialogProc, self);
}

BOOL CDialog::EndDialog(INT_PTR result) {
    return ::EndDialog(m_hWnd, result);
}

HWND CDialog::GetDlgItem(int id) const {
    return ::GetDlgItem(m_hWnd, id);
}

std::string CDialog::GetDlgItemText(int id) const {
    const int length = GetWindowTextLengthA(GetDlgItem(id));
    std::vector<char> buffer(static_cast<size_t>(length) + 1);
    const UINT copied = GetDlgItemTextA(m_hWnd, id, buffer.data(), length + 1);
    return std::string(buffer.data(), copied);
}

void CDialog::OnCommand(UINT id, UINT notifyCode, HWND) {
    if (notifyCode == BN_CLICKED && (id == IDOK || id == IDCANCEL)) EndDialog(id);
}

INT_PTR CALLBACK CDialog::DialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
    CDialog* self;
    if (message == WM_INITDIALOG) {
        self = reinterpret_cast<CDialog*>(lParam);
        SetWindowLongPtrA(hwnd, DWLP_USER, lParam);
        self->m_hWnd = hwnd;
    } else {
        self = reinterpret_cast<CDialog*>(GetWindowLongPtrA(hwnd, DWLP_USER));
    }
    return self ? self->Dispatch(message, wParam, lParam) : FALSE;
}

INT_PTR CDialog::Dispatch(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_INITDIALOG:
            return OnInitDialog();
        case WM_COMMAND:
            OnCommand(LOWORD(wParam), HIWORD(wParam), reinterpret_cast<HWND>(lParam));
            return TRUE;
        case WM_TIMER:
            OnTimer(wParam);
            return TRUE;
        case WM_CLOSE:
            return OnClose();
        case WM_DESTROY: {
            struct Forget {
                HWND& hwnd;
                ~Forget() { hwnd = nullptr; }
            } forget{m_hWnd};
            OnDestroy();
            return TRUE;
        }
        default: {
            LRESULT result = 0;
            if (!OnMessage(message, wParam, lParam, result)) return FALSE;
            SetWindowLongPtrA(m_hWnd, DWLP_MSGRESULT, result);
            return TRUE;
        }
    }
}

}  // namespace orvella::platform::gui
