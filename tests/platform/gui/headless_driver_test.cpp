// The headless driver as tests use it: order of expectations, repeating ones, verification,
// waiting for dialogs, and the records of what was shown.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "gui_test_dialogs.h"
#include "headless_driver.h"

namespace {

using namespace orvella::platform::gui;
using namespace orvella::platform::gui::testing;
using namespace std::chrono_literals;
using ::testing::HasSubstr;

TEST(HeadlessDriver, ConsumesExpectationsInOrder) {
    HeadlessDialogDriver driver;
    driver.OnMessageBox("first").Answer(IDYES);
    driver.OnMessageBox("second").Answer(IDNO);
    EXPECT_THROW(MessageBoxA(nullptr, "the second", "Orvella", MB_YESNO), UnexpectedDialogError);
    EXPECT_EQ(MessageBoxA(nullptr, "the first", "Orvella", MB_YESNO), IDYES);
    EXPECT_EQ(MessageBoxA(nullptr, "the second", "Orvella", MB_YESNO), IDNO);
    EXPECT_THROW(MessageBoxA(nullptr, "the first", "Orvella", MB_YESNO), UnexpectedDialogError);
    try {
        driver.Verify();
        ADD_FAILURE() << "no exception";
    } catch (const DialogScriptError& error) {
        EXPECT_THAT(error.what(), HasSubstr("unexpected message box \"Orvella\""));
    }
}

TEST(HeadlessDriver, AnAlwaysExpectationMatchesEveryTime) {
    HeadlessDialogDriver driver;
    driver.OnMessageBox("Retry?").Always().Answer(IDRETRY);
    driver.OnMessageBox("Give up?").Answer(IDYES);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(MessageBoxA(nullptr, "Retry?", "Orvella", MB_RETRYCANCEL), IDRETRY);
    }
    EXPECT_EQ(MessageBoxA(nullptr, "Give up?", "Orvella", MB_YESNO), IDYES);
    EXPECT_EQ(driver.Records().size(), 4u);
    EXPECT_NO_THROW(driver.Verify());
}

TEST(HeadlessDriver, MatchesMessageBoxCaptionsWhenAsked) {
    HeadlessDialogDriver driver;
    driver.OnMessageBox("Rescore").WithCaption("Orvella").Answer(IDYES);
    EXPECT_THROW(MessageBoxA(nullptr, "Rescore now?", "Other", MB_YESNO), UnexpectedDialogError);
    EXPECT_EQ(MessageBoxA(nullptr, "Rescore now?", "Orvella", MB_YESNO), IDYES);
}

TEST(HeadlessDriver, VerifyNamesExpectationsThatNeverCameTrue) {
    HeadlessDialogDriver driver;
    driver.OnDialog("Never Shown").Press(IDOK);
    driver.OnMessageBox("never asked").Always().Answer(IDOK);
    try {
        driver.Verify();
        ADD_FAILURE() << "no exception";
    } catch (const DialogScriptError& error) {
        EXPECT_THAT(error.what(), HasSubstr("expected dialog \"Never Shown\""));
        EXPECT_THAT(error.what(), ::testing::Not(HasSubstr("never asked")));
    }
}

TEST(HeadlessDriver, WaitingForADialogThatNeverOpensFails) {
    HeadlessDialogDriver driver;
    EXPECT_THROW(driver.WaitForDialog("Nothing", 20ms), DialogScriptError);
    EXPECT_THROW(driver.Verify(), DialogScriptError);
}

TEST(HeadlessDriver, OnlyOneFrontEndAtATime) {
    HeadlessDialogDriver driver;
    EXPECT_THROW(HeadlessDialogDriver second, std::logic_error);
}

TEST(HeadlessDriver, RecordsTextsAsShownAndAsClosed) {
    HeadlessDialogDriver driver;
    driver.OnDialog(kEveryControlCaption).Press(kApply).Press(IDOK);
    EveryControlDialog dialog;
    dialog.onApply = [](EveryControlDialog& self) {
        SetDlgItemTextA(self.m_hWnd, kLabel, "Changed:");
        SendDlgItemMessageA(self.m_hWnd, kProgress, PBM_SETPOS, 30, 0);
    };
    EXPECT_EQ(dialog.DoModal(), IDOK);
    const DialogRecord record = driver.Records().at(0);
    EXPECT_EQ(record.shown.Find(kLabel)->text, "Name:");
    EXPECT_EQ(record.shown.Find(kProgress)->position, 0);
    EXPECT_EQ(record.closed.Find(kLabel)->text, "Changed:");
    EXPECT_EQ(record.closed.Find(kProgress)->position, 30);
    EXPECT_FALSE(record.open);
    EXPECT_FALSE(record.unexpected);
    EXPECT_EQ(record.result, IDOK);
}

TEST(HeadlessDriver, ALiveDialogCanBeDrivenFromTheTestThread) {
    HeadlessDialogDriver driver;
    driver.OnDialog(kEveryControlCaption);
    EveryControlDialog dialog;
    UiThread ui([&] { return dialog.DoModal(); });
    LiveDialog live = driver.WaitForDialog(kEveryControlCaption, 5s);
    live.SetText(kName, "from the test").Check(kRemember).Check(kSlow);
    const DialogView view = live.View();
    EXPECT_EQ(view.Find(kName)->text, "from the test");
    EXPECT_EQ(view.Find(kRemember)->check, static_cast<UINT>(BST_CHECKED));
    EXPECT_EQ(view.Find(kFast)->check, static_cast<UINT>(BST_UNCHECKED));
    EXPECT_TRUE(driver.Records().at(0).open);
    live.Press(IDOK);
    EXPECT_TRUE(live.WaitClosed(5s));
    EXPECT_EQ(ui.Join(), IDOK);
    EXPECT_THROW(live.View(), DialogScriptError);
    EXPECT_THROW(live.Press(IDOK), DialogScriptError);
}

TEST(HeadlessDriver, DescribesADialogWithEveryControlAndItsState) {
    HeadlessDialogDriver driver;
    std::string described;
    driver.OnDialog(kEveryControlCaption)
        .Inspect([&](const DialogView& view) { described = view.Describe(); })
        .Press(IDOK);
    EveryControlDialog dialog;
    dialog.DoModal();
    EXPECT_EQ(described,
              "dialog \"Every Control\"\n"
              "  static 100 \"Name:\"\n"
              "  icon 101 \"IDI_QUESTION\"\n"
              "  edit 102 \"initial\"\n"
              "  edit 103 \"line one\r\nline two\"\n"
              "  check box 104 \"Remember\"\n"
              "  group box 105 \"Mode\"\n"
              "  radio button 106 \"Fast\" checked\n"
              "  radio button 107 \"Slow\"\n"
              "  radio button 108 \"Off\"\n"
              "  radio button 109 \"Alone\" checked\n"
              "  progress bar 110 \"\" at 0 of 0..50\n"
              "  button 111 \"Disabled\" disabled\n"
              "  button 112 \"Hidden\" hidden\n"
              "  button 113 \"Apply\"\n"
              "  button 1 \"OK\"\n"
              "  button 2 \"Cancel\"\n");
}

}  // namespace
