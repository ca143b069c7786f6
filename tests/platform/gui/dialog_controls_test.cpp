// Template dialogs with every kind of control: what initialisation shows, what clicks and typing
// send to the handler, radio groups, disabled and hidden controls, and the dialog's result.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gui_test_dialogs.h"
#include "headless_driver.h"

namespace {

using namespace orvella::platform::gui;
using namespace orvella::platform::gui::testing;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Initialisation's EN_CHANGE, then Apply and OK clicked.
const std::vector<Command> kApplyThenOk = {
    {kName, EN_CHANGE, 0}, {kApply, BN_CLICKED, 0}, {IDOK, BN_CLICKED, 0}};

TEST(TemplateDialog, TheFrontEndSeesWhatInitialisationSet) {
    HeadlessDialogDriver driver;
    DialogView seen;
    driver.OnDialog(kEveryControlCaption)
        .Inspect([&](const DialogView& view) { seen = view; })
        .Press(IDOK);
    EveryControlDialog dialog;
    ASSERT_EQ(dialog.DoModal(), IDOK);

    EXPECT_EQ(seen.kind, DialogKind::Dialog);
    EXPECT_EQ(seen.caption, "Every Control");
    EXPECT_EQ(seen.cx, 240);
    EXPECT_EQ(seen.cy, 160);
    ASSERT_EQ(seen.controls.size(), 16u);
    EXPECT_EQ(seen.Find(kLabel)->text, "Name:");
    EXPECT_EQ(seen.Find(kIcon)->kind, ControlKind::Icon);
    EXPECT_EQ(seen.Find(kIcon)->text, "IDI_QUESTION");
    EXPECT_EQ(seen.Find(kName)->text, "initial");
    EXPECT_FALSE(seen.Find(kName)->readOnly);
    EXPECT_EQ(seen.Find(kDetails)->text, "line one\r\nline two");
    EXPECT_TRUE(seen.Find(kDetails)->readOnly);
    EXPECT_EQ(seen.Find(kRemember)->check, static_cast<UINT>(BST_UNCHECKED));
    EXPECT_EQ(seen.Find(kModeGroup)->kind, ControlKind::GroupBox);
    EXPECT_EQ(seen.Find(kFast)->check, static_cast<UINT>(BST_CHECKED));
    EXPECT_EQ(seen.Find(kAlone)->check, static_cast<UINT>(BST_CHECKED));
    EXPECT_EQ(seen.Find(kProgress)->rangeMin, 0);
    EXPECT_EQ(seen.Find(kProgress)->rangeMax, 50);
    EXPECT_EQ(seen.Find(kProgress)->position, 0);
    EXPECT_FALSE(seen.Find(kDisabled)->enabled);
    EXPECT_TRUE(seen.Find(kDisabled)->visible);
    EXPECT_FALSE(seen.Find(kHidden)->visible);
    EXPECT_TRUE(seen.Find(IDOK)->isDefault);
    EXPECT_FALSE(seen.Find(IDCANCEL)->isDefault);

    const std::vector<DialogRecord> records = driver.Records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].shown.Find(kName)->text, "initial");
    EXPECT_EQ(records[0].result, IDOK);
}

TEST(TemplateDialog, PressedButtonsReachTheHandlerAsBnClickedWithTheirIds) {
    struct Case {
        std::string name;
        std::function<void(DialogExpectation&)> script;
        bool applyDisablesCancel;
    };
    const std::vector<Case> cases = {
        {"apply and OK", [](DialogExpectation& e) { e.Press(kApply).Press(IDOK); }, false},
        // With Cancel disabled the close box sends nothing.
        {"close box while Cancel is disabled",
         [](DialogExpectation& e) { e.Press(kApply).Close().Press(IDOK); }, true},
    };
    for (const Case& c : cases) {
        HeadlessDialogDriver driver;
        c.script(driver.OnDialog(kEveryControlCaption));
        EveryControlDialog dialog;
        if (c.applyDisablesCancel) {
            dialog.onApply = [](EveryControlDialog& self) {
                EnableWindow(self.GetDlgItem(IDCANCEL), FALSE);
            };
        }
        EXPECT_EQ(dialog.DoModal(), IDOK) << c.name;
        // The EN_CHANGE comes from setting the single-line edit's text during initialisation;
        // the multi-line edit raises none.
        EXPECT_EQ(dialog.commands, kApplyThenOk) << c.name;
    }
}

TEST(TemplateDialog, CheckBoxesToggleBeforeTheHandlerHearsOfTheClick) {
    HeadlessDialogDriver driver;
    driver.OnDialog(kEveryControlCaption)
        .Press(kRemember)
        .Press(kRemember)
        .Check(kRemember)
        .Check(kRemember)  // already checked: no click
        .Inspect([](const DialogView& view) {
            EXPECT_EQ(view.Find(kRemember)->check, static_cast<UINT>(BST_CHECKED));
        })
        .Press(IDOK);
    EveryControlDialog dialog;
    EXPECT_EQ(dialog.DoModal(), IDOK);
    EXPECT_THAT(
        dialog.commands,
        ElementsAre(Command{kName, EN_CHANGE, 0}, Command{kRemember, BN_CLICKED, BST_CHECKED},
                    Command{kRemember, BN_CLICKED, BST_UNCHECKED},
                    Command{kRemember, BN_CLICKED, BST_CHECKED}, Command{IDOK, BN_CLICKED, 0}));
}

TEST(TemplateDialog, AnAutomaticRadioButtonClearsTheOthersOfItsGroupOnly) {
    struct Case {
        int pressed;
        std::vector<UINT> checks;  // Fast, Slow, Off, Alone afterwards
    };
    const std::vector<Case> cases = {
        {kSlow, {BST_UNCHECKED, BST_CHECKED, BST_UNCHECKED, BST_CHECKED}},
        {kOff, {BST_UNCHECKED, BST_UNCHECKED, BST_CHECKED, BST_CHECKED}},
        {kFast, {BST_CHECKED, BST_UNCHECKED, BST_UNCHECKED, BST_CHECKED}},
        {kAlone, {BST_CHECKED, BST_UNCHECKED, BST_UNCHECKED, BST_CHECKED}},
    };
    for (const Case& c : cases) {
        HeadlessDialogDriver driver;
        std::vector<UINT> checks;
        driver.OnDialog(kEveryControlCaption)
            .Press(c.pressed)
            .Inspect([&](const DialogView& view) {
                for (int id : {kFast, kSlow, kOff, kAlone}) checks.push_back(view.Find(id)->check);
            })
            .Press(IDOK);
        EveryControlDialog dialog;
        EXPECT_EQ(dialog.DoModal(), IDOK);
        EXPECT_EQ(checks, c.checks) << c.pressed;
        EXPECT_EQ(dialog.commands.at(1),
                  (Command{static_cast<UINT>(c.pressed), BN_CLICKED, BST_CHECKED}));
    }
}

TEST(TemplateDialog, WhatAPersonCannotDoFailsTheScript) {
    struct Case {
        std::function<void(DialogExpectation&)> script;
        std::string failure;
    };
    const std::vector<Case> cases = {
        {[](DialogExpectation& e) { e.Press(kDisabled); }, "the control is disabled"},
        {[](DialogExpectation& e) { e.Press(kHidden); }, "the control is hidden"},
        {[](DialogExpectation& e) { e.Press(999); }, "the dialog has no such control"},
        {[](DialogExpectation& e) { e.Press(kProgress); }, "does not take this input"},
        {[](DialogExpectation& e) { e.SetText(kDetails, "x"); }, "does not take this input"},
        {[](DialogExpectation& e) { e.SetText(kRemember, "x"); }, "does not take this input"},
        {[](DialogExpectation& e) { e.Check(kApply); }, "does not take this input"},
        {[](DialogExpectation& e) { e.Check(kFast, false); }, "does not clear it"},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        HeadlessDialogDriver driver;
        cases[i].script(driver.OnDialog(kEveryControlCaption));
        EveryControlDialog dialog;
        try {
            dialog.DoModal();
            ADD_FAILURE() << "case " << i << ": no exception";
        } catch (const DialogScriptError& error) {
            EXPECT_THAT(error.what(), HasSubstr(cases[i].failure)) << "case " << i;
        }
        EXPECT_EQ(driver.Records().at(0).result, -1) << "case " << i;
        EXPECT_TRUE(dialog.destroyed) << "case " << i;
        EXPECT_EQ(dialog.m_hWnd, nullptr);
        EXPECT_THROW(driver.Verify(), DialogScriptError);
    }
}

TEST(TemplateDialog, DoModalReturnsTheEndDialogValue) {
    struct Case {
        std::function<void(DialogExpectation&)> script;
        INT_PTR result;
    };
    const std::vector<Case> cases = {
        {[](DialogExpectation& e) { e.Press(IDOK); }, IDOK},
        {[](DialogExpectation& e) { e.Press(IDCANCEL); }, IDCANCEL},
        {[](DialogExpectation& e) { e.Press(kApply); }, 42},
        {[](DialogExpectation& e) { e.Close(); }, IDCANCEL},
    };
    for (const Case& c : cases) {
        HeadlessDialogDriver driver;
        c.script(driver.OnDialog(kEveryControlCaption));
        EveryControlDialog dialog;
        dialog.onApply = [](EveryControlDialog& self) { self.EndDialog(42); };
        EXPECT_EQ(dialog.DoModal(), c.result);
        EXPECT_EQ(driver.Records().at(0).result, c.result);
    }
}

TEST(TemplateDialog, ShownAndHiddenControlsAreReportedAsSuch) {
    HeadlessDialogDriver driver;
    driver.OnDialog(kEveryControlCaption)
        .Press(kApply)
        .Inspect([](const DialogView& view) {
            EXPECT_FALSE(view.Find(kName)->visible);
            EXPECT_TRUE(view.Find(kHidden)->visible);
            EXPECT_TRUE(view.Find(kDisabled)->enabled);
            EXPECT_FALSE(view.Find(kRemember)->enabled);
        })
        .Press(kHidden)
        .Press(kDisabled)
        .Press(IDOK);
    EveryControlDialog dialog;
    std::vector<BOOL> answers;
    dialog.onApply = [&](EveryControlDialog& self) {
        answers.push_back(ShowWindow(self.GetDlgItem(kName), SW_HIDE));
        answers.push_back(ShowWindow(self.GetDlgItem(kHidden), SW_SHOW));
        answers.push_back(EnableWindow(self.GetDlgItem(kDisabled), TRUE));
        answers.push_back(EnableWindow(self.GetDlgItem(kRemember), FALSE));
        answers.push_back(IsWindowVisible(self.GetDlgItem(kName)));
        answers.push_back(IsWindowVisible(self.GetDlgItem(kHidden)));
        answers.push_back(IsWindowEnabled(self.GetDlgItem(kRemember)));
    };
    EXPECT_EQ(dialog.DoModal(), IDOK);
    // ShowWindow: was it visible; EnableWindow: was it disabled.
    EXPECT_THAT(answers, ElementsAre(TRUE, FALSE, TRUE, FALSE, FALSE, TRUE, FALSE));
    EXPECT_EQ(dialog.commands.at(2), (Command{kHidden, BN_CLICKED, 0}));
    EXPECT_EQ(dialog.commands.at(3), (Command{kDisabled, BN_CLICKED, 0}));
}

TEST(TemplateDialog, TypingReplacesTheTextAndSendsEnChange) {
    HeadlessDialogDriver driver;
    driver.OnDialog(kEveryControlCaption).SetText(kName, "typed by hand").Press(IDOK);
    std::vector<std::string> textsSeen;
    struct Watcher : EveryControlDialog {
        std::vector<std::string>* seen;
        void OnCommand(UINT id, UINT code, HWND control) override {
            if (code == EN_CHANGE) seen->push_back(GetDlgItemText(static_cast<int>(id)));
            EveryControlDialog::OnCommand(id, code, control);
        }
    } watcher;
    watcher.seen = &textsSeen;
    EXPECT_EQ(watcher.DoModal(), IDOK);
    EXPECT_THAT(textsSeen, ElementsAre("initial", "typed by hand"));
    const DialogRecord record = driver.Records().at(0);
    EXPECT_EQ(record.shown.Find(kName)->text, "initial");
    EXPECT_EQ(record.closed.Find(kName)->text, "typed by hand");
    EXPECT_EQ(record.closed.Find(kName)->selectionStart, 13);
    EXPECT_EQ(record.closed.Find(kName)->selectionEnd, 13);
}

TEST(TemplateDialog, AProgressBarAnswersItsMessages) {
    struct Step {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
        LRESULT answer;
        int position;  // afterwards
    };
    const std::vector<Step> steps = {
        {PBM_SETRANGE32, 0, 60, 50 << 16, 0},  // the range initialisation set: 0..50
        {PBM_SETPOS, 20, 0, 0, 20},
        {PBM_SETPOS, 80, 0, 20, 60},  // clamped to the range
        {PBM_DELTAPOS, static_cast<WPARAM>(-55), 0, 60, 5},
        {PBM_SETSTEP, 20, 0, 10, 5},
        {PBM_STEPIT, 0, 0, 5, 25},
        {PBM_STEPIT, 0, 0, 25, 45},
        {PBM_STEPIT, 0, 0, 45, 5},  // past the end it starts over: 65 is 5 into 0..60
        {PBM_GETPOS, 0, 0, 5, 5},
        {PBM_GETSTEP, 0, 0, 20, 5},
        {PBM_GETRANGE, TRUE, 0, 0, 5},
        {PBM_GETRANGE, FALSE, 0, 60, 5},
        {PBM_SETRANGE, 0, MAKELPARAM(20, 30), 60 << 16, 20},  // the position moves into it
        {PBM_SETPOS, static_cast<WPARAM>(-3), 0, 20, 20},
    };
    InspectEveryControlDialog([&](const DialogView& view) {
        for (size_t i = 0; i < steps.size(); ++i) {
            const Step& s = steps[i];
            EXPECT_EQ(SendDlgItemMessageA(view.hwnd, kProgress, s.message, s.wParam, s.lParam),
                      s.answer)
                << "step " << i;
            EXPECT_EQ(ViewDialog(view.hwnd)->Find(kProgress)->position, s.position) << "step " << i;
        }
        PBRANGE range{};
        SendDlgItemMessageA(view.hwnd, kProgress, PBM_GETRANGE, TRUE,
                            reinterpret_cast<LPARAM>(&range));
        EXPECT_EQ(range.iLow, 20);
        EXPECT_EQ(range.iHigh, 30);
    });
}

TEST(TemplateDialog, AnEditPutsItsCaretAtTheEndAndScrollsItIntoView) {
    HeadlessDialogDriver driver;
    driver.OnDialog(kEveryControlCaption)
        .Inspect([](const DialogView& view) {
            const ControlView* details = view.Find(kDetails);
            EXPECT_EQ(details->text, "line one\r\nline two\r\nline three");
            EXPECT_EQ(details->selectionStart, 30);
            EXPECT_EQ(details->selectionEnd, 30);
            EXPECT_TRUE(details->caretScrolledIntoView);
        })
        .Press(IDOK);
    DWORD start = 0, end = 0;
    LRESULT packed = 0;
    struct Scrolling : EveryControlDialog {
        DWORD *start, *end;
        LRESULT* packed;
        BOOL OnInitDialog() override {
            EveryControlDialog::OnInitDialog();
            SendDlgItemMessageA(m_hWnd, kDetails, EM_SETSEL, 18, 18);
            SendDlgItemMessageA(m_hWnd, kDetails, EM_REPLACESEL, FALSE,
                                reinterpret_cast<LPARAM>("\r\nline three"));
            SendDlgItemMessageA(m_hWnd, kDetails, EM_SETSEL, 0, -1);
            *packed =
                SendDlgItemMessageA(m_hWnd, kDetails, EM_GETSEL, reinterpret_cast<WPARAM>(start),
                                    reinterpret_cast<LPARAM>(end));
            SendDlgItemMessageA(m_hWnd, kDetails, EM_SETSEL, -1, 0);
            SendDlgItemMessageA(m_hWnd, kDetails, EM_SCROLLCARET, 0, 0);
            return TRUE;
        }
    } scrolling;
    scrolling.start = &start;
    scrolling.end = &end;
    scrolling.packed = &packed;
    EXPECT_EQ(scrolling.DoModal(), IDOK);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(end, 30u);
    EXPECT_EQ(packed, 30 << 16);
    // EM_REPLACESEL notifies even a multi-line edit.
    EXPECT_EQ(scrolling.commands.at(1), (Command{kDetails, EN_CHANGE, 0}));
}

}  // namespace
