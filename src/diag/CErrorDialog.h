// The dialog that tells the user about an unexpected failure and offers a mail to support.
#pragma once

#include <string>

#include "dialog.h"

namespace orvella::diag {

// Control ids of the error dialog. OK is IDOK.
enum ErrorDialogControl : int {
    IDC_CONTACT_SUPPORT = 201,
    IDC_REPEAT_NOTE = 335,
    IDC_ERROR_TEXT = 336,
};

// Modal; DoModal returns IDOK, IDC_CONTACT_SUPPORT when the user asked to write to support, or
// IDCANCEL from the close box. Runs on the calling thread.
class CErrorDialog : public platform::gui::CDialog {
public:
    // text: the failure as shown, with "\n" line breaks. showRepeatNote: the same failure was
    // reported several times in a row.
    CErrorDialog(std::string text, bool showRepeatNote);

protected:
    BOOL OnInitDialog() override;
    void OnCommand(UINT id, UINT notifyCode, HWND control) override;

private:
    std::string text_;
    bool showRepeatNote_;
};

}  // namespace orvella::diag
