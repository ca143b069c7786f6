// Template dialogs on the terminal front end: what is printed, which push button is pressed by
// the person or by default, and dialogs that run by themselves are left to end themselves.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "CErrorDialog.h"
#include "dialog.h"
#include "temp_home.h"
#include "terminal_front_end.h"

namespace {

using orvella::host::terminal::PresetAnswer;
using orvella::host::terminal::TerminalFrontEnd;
using orvella::platform::gui::CDialog;
using orvella::platform::gui::ControlKind;
using orvella::platform::gui::DialogControl;
using orvella::platform::gui::DialogTemplate;
using orvella::platform::gui::ScopedFrontEnd;

using orvella::diag::CErrorDialog;
using orvella::diag::IDC_CONTACT_SUPPORT;

enum : int { kName = 1000, kRunNow = 1001, kSkip = 1002, kProgress = 1003 };

constexpr const char* kErrorDetails =
    "ERROR: (MAPI, MsgProcessor, 175)\nThe store is busy.\n\nHRESULT = 80004005\n\n";

#define ERROR_SHOWN                                                                             \
    "Orvella Unexpected Condition\n"                                                            \
    "  Orvella has encountered an unexpected condition. The details are listed below. If this " \
    "problem persists, please contact Orvella support.\n"                                       \
    "  ERROR: (MAPI, MsgProcessor, 175)\n"                                                      \
    "  The store is busy.\n"                                                                    \
    "\n"                                                                                        \
    "  HRESULT = 80004005\n"
#define REPEAT_NOTE "  This notification may represent multiple occurrences of this message.\n"
#define ERROR_BUTTONS       \
    "  1) [O]K (default)\n" \
    "  2) [C]ontact Support\n"
#define ERROR_PROMPT "Press 1-2 or a letter (Enter: OK)? "

struct ErrorDialogCase {
    const char* name;
    bool repeated;
    bool terminal;
    PresetAnswer preset;
    const char* typed;
    INT_PTR pressed;
    const char* printed;
};

const ErrorDialogCase kErrorDialogCases[] = {
    {"ContactSupportChosenByNumber", false, true, PresetAnswer::None, "2\n", IDC_CONTACT_SUPPORT,
     ERROR_SHOWN ERROR_BUTTONS ERROR_PROMPT},
    {"ContactSupportChosenByLetter", false, true, PresetAnswer::None, "C\n", IDC_CONTACT_SUPPORT,
     ERROR_SHOWN ERROR_BUTTONS ERROR_PROMPT},
    {"OkChosenByNumberAfterAnAnswerThatIsNone", false, true, PresetAnswer::None, "x\n1\n", IDOK,
     ERROR_SHOWN ERROR_BUTTONS ERROR_PROMPT ERROR_PROMPT},
    {"EnterPressesTheDefault", false, true, PresetAnswer::None, "\n", IDOK,
     ERROR_SHOWN ERROR_BUTTONS ERROR_PROMPT},
    {"EndOfInputPressesTheDefault", false, true, PresetAnswer::None, "", IDOK,
     ERROR_SHOWN ERROR_BUTTONS ERROR_PROMPT "\nanswered OK: the default button, end of input\n"},
    {"WithoutTerminalTheDefaultIsPressed", false, false, PresetAnswer::None, "2\n", IDOK,
     ERROR_SHOWN ERROR_BUTTONS "answered OK: the default button, no terminal\n"},
    {"PresetNoLeavesDialogsToTheirDefault", false, false, PresetAnswer::No, "", IDOK,
     ERROR_SHOWN ERROR_BUTTONS "answered OK: the default button, no terminal\n"},
    {"TheRepeatNoteIsPrintedOnlyWhenShown", true, false, PresetAnswer::None, "", IDOK,
     ERROR_SHOWN REPEAT_NOTE ERROR_BUTTONS "answered OK: the default button, no terminal\n"},
};

#undef ERROR_SHOWN
#undef REPEAT_NOTE
#undef ERROR_BUTTONS
#undef ERROR_PROMPT

class ErrorDialogAnswers : public ::testing::TestWithParam<ErrorDialogCase> {};

TEST_P(ErrorDialogAnswers, PressTheChosenButtonAfterPrintingEveryVisibleText) {
    const ErrorDialogCase& test = GetParam();
    orvella::testing::TempHome home;
    std::istringstream typed(test.typed);
    std::ostringstream printed;
    TerminalFrontEnd terminal(typed, printed, test.terminal, test.preset);
    ScopedFrontEnd installed(terminal);

    CErrorDialog dialog(kErrorDetails, test.repeated);
    EXPECT_EQ(dialog.DoModal(), test.pressed);
    EXPECT_EQ(printed.str(), test.printed);
}

INSTANTIATE_TEST_SUITE_P(ErrorDialog, ErrorDialogAnswers, ::testing::ValuesIn(kErrorDialogCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Ends with the id of any push button clicked, as the add-in's dialogs do with theirs.
class ButtonDialog : public CDialog {
public:
    explicit ButtonDialog(DialogTemplate dialogTemplate) : CDialog(std::move(dialogTemplate)) {}

protected:
    void OnCommand(UINT id, UINT code, HWND) override {
        if (code == BN_CLICKED && id != kRunNow) EndDialog(id);
    }
};

DialogTemplate MakeTemplate(std::string caption, std::vector<DialogControl> controls) {
    DialogTemplate dialog;
    dialog.caption = std::move(caption);
    dialog.cx = 240;
    dialog.cy = 90;
    dialog.controls = std::move(controls);
    return dialog;
}

struct FormCase {
    const char* name;
    DialogTemplate dialog;
    INT_PTR pressed;
    const char* printed;
};

DialogTemplate RuleNameTemplate() {
    return MakeTemplate("Rule Name",
                        {
                            {IDC_STATIC, ControlKind::Static, "&Name:", 7, 7, 40, 8},
                            {kName, ControlKind::Edit, "Work && play", 50, 7, 140, 12},
                            {kRunNow, ControlKind::CheckBox, "&Run now", 7, 25, 100, 10},
                            {IDOK, ControlKind::Button, "OK", 80, 60, 50, 14, BS_DEFPUSHBUTTON},
                            {IDCANCEL, ControlKind::Button, "Cancel", 140, 60, 50, 14},
                        });
}

DialogTemplate NoDefaultTemplate() {
    return MakeTemplate(
        "Store Busy", {
                          {IDC_STATIC, ControlKind::Static, "The store is in use.", 7, 7, 180, 8},
                          {IDRETRY, ControlKind::Button, "Retry", 30, 40, 50, 14},
                          {kSkip, ControlKind::Button, "Skip", 90, 40, 50, 14},
                          {IDCANCEL, ControlKind::Button, "Cancel", 140, 40, 50, 14, 0, WS_VISIBLE},
                      });
}

TEST(DialogsWithoutATerminal, PrintEveryControlAndPressTheDefaultOrClose) {
    const std::vector<FormCase> cases = {
        {"a form with an edit and a check box", RuleNameTemplate(), IDOK,
         "Rule Name\n"
         "  Name:\n"
         "  Work && play\n"
         "  [ ] Run now\n"
         "  1) [O]K (default)\n"
         "  2) [C]ancel\n"
         "answered OK: the default button, no terminal\n"},
        {"no default button and no OK", NoDefaultTemplate(), IDCANCEL,
         "Store Busy\n"
         "  The store is in use.\n"
         "  1) [R]etry\n"
         "  2) [S]kip\n"
         "closed the dialog: it has no default button\n"},
    };
    for (const FormCase& test : cases) {
        SCOPED_TRACE(test.name);
        orvella::testing::TempHome home;
        std::istringstream typed("2\n");
        std::ostringstream printed;
        TerminalFrontEnd terminal(typed, printed, false, PresetAnswer::Yes);
        ScopedFrontEnd installed(terminal);

        ButtonDialog dialog(test.dialog);
        EXPECT_EQ(dialog.DoModal(), test.pressed);
        EXPECT_EQ(printed.str(), test.printed);
    }
}

// A progress dialog: a timer ends it after three ticks; Cancel would end it with IDCANCEL.
class TickingDialog : public CDialog {
public:
    explicit TickingDialog(DialogTemplate dialogTemplate) : CDialog(std::move(dialogTemplate)) {}
    int ticks = 0;

protected:
    BOOL OnInitDialog() override {
        SetTimer(m_hWnd, 1, 5, nullptr);
        return TRUE;
    }
    void OnTimer(UINT_PTR) override {
        if (++ticks == 3) EndDialog(IDOK);
    }
};

DialogTemplate ProgressTemplate(bool withCancel) {
    DialogTemplate dialog =
        MakeTemplate("Processing Inbox",
                     {
                         {IDC_STATIC, ControlKind::Static, "One moment please...", 7, 7, 226, 8},
                         {kProgress, ControlKind::ProgressBar, "", 7, 40, 226, 10},
                     });
    if (withCancel)
        dialog.controls.push_back({IDCANCEL, ControlKind::Button, "Cancel", 95, 65, 50, 14});
    return dialog;
}

TEST(DialogsThatRunByThemselves, ArePrintedOnceAndLeftToTheirOwnTimer) {
    for (const bool withCancel : {true, false}) {
        SCOPED_TRACE(withCancel ? "with Cancel" : "without buttons");
        orvella::testing::TempHome home;
        std::istringstream typed("1\n");
        std::ostringstream printed;
        TerminalFrontEnd terminal(typed, printed, true, PresetAnswer::No);
        ScopedFrontEnd installed(terminal);

        TickingDialog dialog(ProgressTemplate(withCancel));
        EXPECT_EQ(dialog.DoModal(), IDOK);
        EXPECT_EQ(dialog.ticks, 3);
        EXPECT_EQ(printed.str(), "Processing Inbox\n");
        std::string unread;
        std::getline(typed, unread);
        EXPECT_EQ(unread, "1");
    }
}

}  // namespace
