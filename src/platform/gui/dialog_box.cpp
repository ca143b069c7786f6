// DialogBoxParamA, DialogBoxIndirectParamA and EndDialog.
#include "dialog_template.h"
#include "modal_dialog.h"
#include "winbase.h"
#include "window_table.h"

using namespace orvella::platform::gui;

namespace {

// Windows answers 0, not -1, for a bad parent window.
bool ValidParent(HWND parent) {
    return !parent || detail::LookUpOrFail(parent);
}

INT_PTR RunTemplate(const DialogTemplate& source, WORD templateId, HWND parent, DLGPROC proc,
                    LPARAM initParam) {
    detail::DialogIdentity identity;
    identity.templateId = templateId;
    return detail::RunModalDialog(source, std::move(identity), parent, proc, initParam, -1);
}

}  // namespace

INT_PTR DialogBoxParamA(HINSTANCE, LPCSTR lpTemplateName, HWND hWndParent, DLGPROC dialogProc,
                        LPARAM dwInitParam) {
    if (!ValidParent(hWndParent)) return 0;
    std::shared_ptr<const DialogTemplate> source;
    if (IS_INTRESOURCE(lpTemplateName)) {
        source = FindDialogResource(LOWORD(reinterpret_cast<ULONG_PTR>(lpTemplateName)));
    }
    if (!source) {
        SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
        return -1;
    }
    return RunTemplate(*source, LOWORD(reinterpret_cast<ULONG_PTR>(lpTemplateName)), hWndParent,
                       dialogProc, dwInitParam);
}

INT_PTR DialogBoxIndirectParamA(HINSTANCE, LPCDLGTEMPLATEA hDialogTemplate, HWND hWndParent,
                                DLGPROC dialogProc, LPARAM dwInitParam) {
    if (!ValidParent(hWndParent)) return 0;
    if (!hDialogTemplate) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return -1;
    }
    return RunTemplate(*hDialogTemplate, 0, hWndParent, dialogProc, dwInitParam);
}

BOOL EndDialog(HWND hDlg, INT_PTR nResult) {
    std::shared_ptr<detail::DialogWindow> dialog = detail::LookUpDialogOrFail(hDlg);
    if (!dialog) return FALSE;
    dialog->End(nResult);
    return TRUE;
}
