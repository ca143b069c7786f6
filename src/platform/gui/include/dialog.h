// The base of the add-in's dialog classes: a dialog handler in the style of ATL's CDialogImpl,
// with virtual handlers in place of a message map.
#pragma once

#include <memory>
#include <string>

#include "dialog_template.h"

namespace orvella::platform::gui {

// One modal dialog. A derived class overrides the handlers it needs and calls DoModal; the
// handlers run on the thread that called DoModal. DWLP_USER of the dialog belongs to this class.
class CDialog {
public:
    // From the dialog resource with this id (see RegisterDialogResource).
    explicit CDialog(WORD templateId);
    // From a template of its own.
    explicit CDialog(DialogTemplate dialogTemplate);
    virtual ~CDialog();
    CDialog(const CDialog&) = delete;
    CDialog& operator=(const CDialog&) = delete;

    // Runs the dialog over parent (may be NULL) and returns the EndDialog value; -1 when the
    // dialog is already running or cannot be created, 0 for an invalid parent (with the last
    // error set as DialogBoxParamA does). Exceptions thrown by the handlers or the front end
    // leave this call after the dialog is destroyed.
    INT_PTR DoModal(HWND parent = nullptr);
    // Ends the dialog with result; any thread may call it while the dialog runs.
    BOOL EndDialog(INT_PTR result);

    // The dialog while it runs (from OnInitDialog to OnDestroy), else NULL.
    HWND m_hWnd = nullptr;

    HWND GetDlgItem(int id) const;
    std::string GetDlgItemText(int id) const;

protected:
    // WM_INITDIALOG: controls exist; set their texts and start what the dialog runs. The return
    // value is that of WM_INITDIALOG (TRUE: the system chooses the focus).
    virtual BOOL OnInitDialog() { return TRUE; }
    // WM_COMMAND. The default ends the dialog with IDOK or IDCANCEL when that button is clicked.
    virtual void OnCommand(UINT id, UINT notifyCode, HWND control);
    // WM_TIMER.
    virtual void OnTimer(UINT_PTR) {}
    // WM_CLOSE. Return TRUE when handled; FALSE leaves the default, which is Windows': the
    // IDCANCEL command, unless the Cancel button is disabled.
    virtual BOOL OnClose() { return FALSE; }
    // WM_DESTROY, the last message; m_hWnd is cleared after it.
    virtual void OnDestroy() {}
    // Any other message (WM_APP, WM_USER ...). Return TRUE when handled, with result as the
    // answer a sender gets.
    virtual BOOL OnMessage(UINT, WPARAM, LPARAM, LRESULT&) { return FALSE; }

private:
    static INT_PTR CALLBACK DialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
    INT_PTR Dispatch(UINT message, WPARAM wParam, LPARAM lParam);

    WORD templateId_ = 0;
    std::unique_ptr<DialogTemplate> template_;
};

// The ATL-like form: T::IDD names the dialog resource.
template <class T>
class CDialogImpl : public CDialog {
public:
    CDialogImpl() : CDialog(static_cast<WORD>(T::IDD)) {}
};

}  // namespace orvella::platform::gui
