// Window and dialog-item calls: handles, texts, check states, enabled and visible flags, and
// window data.
#include "dialog_window.h"
#include "winbase.h"
#include "window_table.h"

using namespace orvella::platform::gui;

HWND GetDlgItem(HWND hDlg, int nIDDlgItem) {
    const detail::WindowRef item = detail::LookUpDialogItemOrFail(hDlg, nIDDlgItem);
    return item ? item.control->hwnd : nullptr;
}

int GetDlgCtrlID(HWND hWnd) {
    const detail::WindowRef window = detail::LookUp(hWnd);
    if (!window || !window.control) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return 0;
    }
    return window.control->id;
}

HWND GetParent(HWND hWnd) {
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    if (!window) return nullptr;
    return window.control ? window.dialog->hwnd() : window.dialog->owner();
}

HWND GetActiveWindow() {
    return detail::ThreadQueue::Current()->ActiveDialog();
}

BOOL IsWindow(HWND hWnd) {
    return detail::LookUp(hWnd) ? TRUE : FALSE;
}

BOOL SetWindowTextA(HWND hWnd, LPCSTR lpString) {
    if (!detail::LookUpOrFail(hWnd)) return FALSE;
    SendMessageA(hWnd, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(lpString));
    return TRUE;
}

int GetWindowTextA(HWND hWnd, LPSTR lpString, int nMaxCount) {
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    return detail::CopyText(window ? window.dialog->Text(window.control) : std::string(), lpString,
                            nMaxCount);
}

int GetWindowTextLengthA(HWND hWnd) {
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    return window ? static_cast<int>(window.dialog->Text(window.control).size()) : 0;
}

BOOL SetDlgItemTextA(HWND hDlg, int nIDDlgItem, LPCSTR lpString) {
    const detail::WindowRef item = detail::LookUpDialogItemOrFail(hDlg, nIDDlgItem);
    if (!item) return FALSE;
    item.dialog->SendToControl(*item.control, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(lpString));
    return TRUE;
}

UINT GetDlgItemTextA(HWND hDlg, int nIDDlgItem, LPSTR lpString, int nMaxCount) {
    const detail::WindowRef item = detail::LookUpDialogItemOrFail(hDlg, nIDDlgItem);
    return static_cast<UINT>(detail::CopyText(
        item ? item.dialog->Text(item.control) : std::string(), lpString, nMaxCount));
}

BOOL CheckDlgButton(HWND hDlg, int nIDButton, UINT uCheck) {
    const detail::WindowRef item = detail::LookUpDialogItemOrFail(hDlg, nIDButton);
    if (!item) return FALSE;
    item.dialog->SendToControl(*item.control, BM_SETCHECK, uCheck, 0);
    return TRUE;
}

UINT IsDlgButtonChecked(HWND hDlg, int nIDButton) {
    const detail::WindowRef item = detail::LookUpDialogItemOrFail(hDlg, nIDButton);
    if (!item) return 0;
    return static_cast<UINT>(item.dialog->SendToControl(*item.control, BM_GETCHECK, 0, 0));
}

BOOL CheckRadioButton(HWND hDlg, int nIDFirstButton, int nIDLastButton, int nIDCheckButton) {
    std::shared_ptr<detail::DialogWindow> dialog = detail::LookUpDialogOrFail(hDlg);
    if (!dialog) return FALSE;
    for (const auto& control : dialog->controls()) {
        if (control->id < nIDFirstButton || control->id > nIDLastButton) continue;
        const UINT check = control->id == nIDCheckButton ? BST_CHECKED : BST_UNCHECKED;
        dialog->SendToControl(*control, BM_SETCHECK, check, 0);
    }
    return TRUE;
}

BOOL EnableWindow(HWND hWnd, BOOL bEnable) {
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    if (!window) return FALSE;
    return window.dialog->ChangeStyle(window.control, WS_DISABLED, !bEnable) ? TRUE : FALSE;
}

BOOL IsWindowEnabled(HWND hWnd) {
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    return window && !window.dialog->HasStyle(window.control, WS_DISABLED) ? TRUE : FALSE;
}

BOOL ShowWindow(HWND hWnd, int nCmdShow) {
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    if (!window) return FALSE;
    return window.dialog->ChangeStyle(window.control, WS_VISIBLE, nCmdShow != SW_HIDE) ? TRUE
                                                                                       : FALSE;
}

BOOL IsWindowVisible(HWND hWnd) {
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    if (!window) return FALSE;
    const bool dialogVisible = window.dialog->HasStyle(nullptr, WS_VISIBLE);
    return dialogVisible && window.dialog->HasStyle(window.control, WS_VISIBLE) ? TRUE : FALSE;
}

LONG_PTR SetWindowLongPtrA(HWND hWnd, int nIndex, LONG_PTR dwNewLong) {
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    if (!window) return 0;
    LONG_PTR previous = 0;
    if (!window.dialog->SetLong(window.control, nIndex, dwNewLong, previous)) {
        SetLastError(ERROR_INVALID_INDEX);
        return 0;
    }
    return previous;
}

LONG_PTR GetWindowLongPtrA(HWND hWnd, int nIndex) {
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    if (!window) return 0;
    LONG_PTR value = 0;
    if (!window.dialog->GetLong(window.control, nIndex, value)) {
        SetLastError(ERROR_INVALID_INDEX);
        return 0;
    }
    return value;
}
