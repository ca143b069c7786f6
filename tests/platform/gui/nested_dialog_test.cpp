// Dialogs that open message boxes and dialogs of their own: the owner is disabled meanwhile,
// both are recorded, and a nested surprise fails the outer call.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gui_test_dialogs.h"
#include "headless_driver.h"

namespace {

using namespace orvella::platform::gui;
using namespace orvella::platform::gui::testing;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(NestedDialogs, ACommandCanAskAQuestionWhileItsDialogWaits) {
    HeadlessDialogDriver driver;
    driver.OnDialog(kEveryControlCaption).Press(kApply).Press(IDOK);
    InputResult ownerClick = InputResult::Done;
    BOOL ownerEnabled = TRUE;
    HWND active = nullptr;
    driver.OnMessageBox("Save changes?")
        .Inspect([&](const DialogView& box) {
            ownerEnabled = IsWindowEnabled(box.owner);
            ownerClick = ClickControl(box.owner, IDOK);
            active = GetActiveWindow();
            EXPECT_EQ(active, box.hwnd);
        })
        .Answer(IDNO);
    EveryControlDialog dialog;
    int answer = 0;
    BOOL enabledAfter = FALSE;
    dialog.onApply = [&](EveryControlDialog& self) {
        // Given one of its controls, the box is owned by the dialog itself.
        answer = MessageBoxA(self.GetDlgItem(kApply), "Save changes?", "Orvella",
                             MB_YESNO | MB_ICONQUESTION);
        enabledAfter = IsWindowEnabled(self.m_hWnd);
    };
    EXPECT_EQ(dialog.DoModal(), IDOK);

    EXPECT_EQ(answer, IDNO);
    EXPECT_FALSE(ownerEnabled);
    EXPECT_EQ(ownerClick, InputResult::DialogDisabled);
    EXPECT_TRUE(enabledAfter);
    const std::vector<DialogRecord> records = driver.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].shown.caption, "Every Control");
    EXPECT_EQ(records[0].result, IDOK);
    EXPECT_EQ(records[1].shown.kind, DialogKind::MessageBox);
    EXPECT_EQ(records[1].shown.owner, records[0].shown.hwnd);
    EXPECT_EQ(records[1].result, IDNO);
    EXPECT_NO_THROW(driver.Verify());
}

TEST(NestedDialogs, ADialogCanOpenADialog) {
    HeadlessDialogDriver driver;
    driver.OnDialog(kEveryControlCaption).Press(kApply).Press(IDCANCEL);
    driver.OnDialog("Child").Press(IDOK);
    EveryControlDialog outer;
    INT_PTR childResult = 0;
    outer.onApply = [&](EveryControlDialog& self) {
        DialogTemplate child;
        child.caption = "Child";
        child.controls = {{IDOK, ControlKind::Button, "OK", 10, 10, 40, 14, BS_DEFPUSHBUTTON}};
        CDialog dialog(child);
        childResult = dialog.DoModal(self.m_hWnd);
    };
    EXPECT_EQ(outer.DoModal(), IDCANCEL);
    EXPECT_EQ(childResult, IDOK);
    ASSERT_EQ(driver.Records().size(), 2u);
    EXPECT_EQ(driver.Records()[1].shown.caption, "Child");
}

TEST(NestedDialogs, AnUnexpectedQuestionFailsTheOuterDialogToo) {
    HeadlessDialogDriver driver;
    driver.OnDialog(kEveryControlCaption).Press(kApply);
    EveryControlDialog dialog;
    dialog.onApply = [](EveryControlDialog& self) {
        MessageBoxA(self.m_hWnd, "Really quit?", "Orvella", MB_OKCANCEL);
    };
    try {
        dialog.DoModal();
        ADD_FAILURE() << "no exception";
    } catch (const UnexpectedDialogError& error) {
        EXPECT_THAT(error.what(), HasSubstr("Really quit?"));
    }
    EXPECT_TRUE(dialog.destroyed);
    const std::vector<DialogRecord> records = driver.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_FALSE(records[0].unexpected);
    EXPECT_EQ(records[0].result, -1);
    EXPECT_TRUE(records[1].unexpected);
    EXPECT_EQ(records[1].result, 0);
    EXPECT_FALSE(IsWindow(records[0].shown.hwnd));
    EXPECT_FALSE(IsWindow(records[1].shown.hwnd));
}

}  // namespace
