// Message boxes: button sets, answers, icons and flags, defaults without a front end, failures,
// and boxes shown from worker threads.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "gui_test_dialogs.h"
#include "headless_driver.h"
#include "winbase.h"

namespace {

using namespace orvella::platform::gui;
using orvella::platform::gui::testing::ButtonsOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Buttons = std::vector<std::pair<int, std::string>>;

TEST(MessageBox, FlagsAndResultsHaveTheValuesWindowsGivesThem) {
    const std::vector<std::pair<long, long>> values = {
        {MB_OK, 0x0},
        {MB_OKCANCEL, 0x1},
        {MB_ABORTRETRYIGNORE, 0x2},
        {MB_YESNOCANCEL, 0x3},
        {MB_YESNO, 0x4},
        {MB_RETRYCANCEL, 0x5},
        {MB_ICONHAND, 0x10},
        {MB_ICONERROR, 0x10},
        {MB_ICONSTOP, 0x10},
        {MB_ICONQUESTION, 0x20},
        {MB_ICONEXCLAMATION, 0x30},
        {MB_ICONWARNING, 0x30},
        {MB_ICONASTERISK, 0x40},
        {MB_ICONINFORMATION, 0x40},
        {MB_DEFBUTTON1, 0x0},
        {MB_DEFBUTTON2, 0x100},
        {MB_DEFBUTTON3, 0x200},
        {MB_APPLMODAL, 0x0},
        {MB_SYSTEMMODAL, 0x1000},
        {MB_TASKMODAL, 0x2000},
        {MB_SETFOREGROUND, 0x10000},
        {MB_TOPMOST, 0x40000},
        {IDOK, 1},
        {IDCANCEL, 2},
        {IDABORT, 3},
        {IDRETRY, 4},
        {IDIGNORE, 5},
        {IDYES, 6},
        {IDNO, 7},
    };
    for (size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(values[i].first, values[i].second) << "entry " << i;
    }
}

TEST(MessageBox, EachButtonSetOffersItsButtonsAndReturnsTheOnePressed) {
    struct Case {
        UINT type;
        int answer;
        Buttons buttons;
    };
    const std::vector<Case> cases = {
        {MB_OK, IDOK, {{1, "OK"}}},
        {MB_OKCANCEL, IDCANCEL, {{1, "OK"}, {2, "Cancel"}}},
        {MB_ABORTRETRYIGNORE, IDRETRY, {{3, "Abort"}, {4, "Retry"}, {5, "Ignore"}}},
        {MB_YESNOCANCEL, IDNO, {{6, "Yes"}, {7, "No"}, {2, "Cancel"}}},
        {MB_YESNO, IDYES, {{6, "Yes"}, {7, "No"}}},
        {MB_RETRYCANCEL, IDRETRY, {{4, "Retry"}, {2, "Cancel"}}},
        {MB_CANCELTRYCONTINUE, IDCONTINUE, {{2, "Cancel"}, {10, "Try Again"}, {11, "Continue"}}},
    };
    for (const Case& c : cases) {
        HeadlessDialogDriver driver;
        driver.OnMessageBox("Proceed?").Answer(c.answer);
        EXPECT_EQ(MessageBoxA(nullptr, "Proceed?", "Orvella", c.type), c.answer) << c.type;
        const std::vector<DialogRecord> records = driver.Records();
        ASSERT_EQ(records.size(), 1u);
        EXPECT_EQ(ButtonsOf(records[0].shown), c.buttons) << c.type;
        EXPECT_EQ(records[0].result, c.answer);
        EXPECT_FALSE(records[0].open);
        EXPECT_NO_THROW(driver.Verify());
    }
}

TEST(MessageBox, RecordsTextCaptionIconAndFlags) {
    struct Case {
        UINT type;
        std::string icon;  // empty: no icon shown
    };
    const std::vector<Case> cases = {
        {MB_OK | MB_ICONHAND, "IDI_HAND"},
        {MB_OK | MB_ICONERROR, "IDI_HAND"},
        {MB_OK | MB_ICONSTOP, "IDI_HAND"},
        {MB_OK | MB_ICONQUESTION, "IDI_QUESTION"},
        {MB_OK | MB_ICONEXCLAMATION, "IDI_EXCLAMATION"},
        {MB_OK | MB_ICONWARNING, "IDI_EXCLAMATION"},
        {MB_OK | MB_ICONASTERISK, "IDI_ASTERISK"},
        {MB_OK | MB_ICONINFORMATION | MB_SYSTEMMODAL | MB_SETFOREGROUND | MB_TOPMOST,
         "IDI_ASTERISK"},
        {MB_OKCANCEL | MB_TASKMODAL, ""},
    };
    for (const Case& c : cases) {
        HeadlessDialogDriver driver;
        driver.OnMessageBox("unable to open").Answer(IDOK);
        const char* text = "Orvella was unable to open the store.\nTry again later.";
        ASSERT_EQ(MessageBoxA(nullptr, text, "Orvella", c.type), IDOK);
        const DialogView shown = driver.Records().at(0).shown;
        EXPECT_EQ(shown.kind, DialogKind::MessageBox);
        EXPECT_EQ(shown.caption, "Orvella");
        EXPECT_EQ(shown.messageText, "Orvella was unable to open the store.\nTry again later.");
        EXPECT_EQ(shown.messageFlags, c.type);
        const ControlView* icon = shown.Find(0x14);
        if (c.icon.empty()) {
            EXPECT_EQ(icon, nullptr) << c.type;
        } else {
            ASSERT_NE(icon, nullptr) << c.type;
            EXPECT_EQ(icon->kind, ControlKind::Icon);
            EXPECT_EQ(icon->text, c.icon) << c.type;
        }
    }
}

struct DefaultCase {
    UINT type;
    int defaultButton;
};
const std::vector<DefaultCase> kDefaultCases = {
    {MB_YESNOCANCEL, IDYES},
    {MB_YESNOCANCEL | MB_DEFBUTTON2, IDNO},
    {MB_YESNOCANCEL | MB_DEFBUTTON3, IDCANCEL},
    {MB_YESNO | MB_DEFBUTTON3, IDYES},  // fewer buttons: the first
    {MB_OKCANCEL | MB_DEFBUTTON2 | MB_ICONQUESTION, IDCANCEL},
    {MB_ABORTRETRYIGNORE | MB_DEFBUTTON2, IDRETRY},
};

TEST(MessageBox, DefaultButtonFlagsMarkTheDefaultButton) {
    for (const DefaultCase& c : kDefaultCases) {
        HeadlessDialogDriver driver;
        driver.OnMessageBox("Rescore?").Answer(c.defaultButton);
        MessageBoxA(nullptr, "Rescore?", "Orvella", c.type);
        const DialogView shown = driver.Records().at(0).shown;
        std::vector<int> defaults;
        for (const ControlView& control : shown.controls) {
            if (control.isDefault) defaults.push_back(control.id);
        }
        EXPECT_THAT(defaults, ElementsAre(c.defaultButton)) << c.type;
    }
}

TEST(MessageBox, WithoutAFrontEndAnswersTheDefaultButtonAtOnce) {
    for (const DefaultCase& c : kDefaultCases) {
        EXPECT_EQ(MessageBoxA(nullptr, "Rescore?", "Orvella", c.type), c.defaultButton) << c.type;
    }
}

TEST(MessageBox, AnUnexpectedBoxThrowsIsRecordedAndAnswersZero) {
    HeadlessDialogDriver driver;
    try {
        MessageBoxA(nullptr, "Delete everything?", "Orvella", MB_YESNO | MB_ICONEXCLAMATION);
        ADD_FAILURE() << "no exception";
    } catch (const UnexpectedDialogError& error) {
        EXPECT_THAT(error.what(), HasSubstr("Delete everything?"));
        EXPECT_THAT(error.what(), HasSubstr("\"Orvella\""));
        EXPECT_THAT(error.what(), HasSubstr("button 6 \"Yes\""));
    }
    const std::vector<DialogRecord> records = driver.Records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_TRUE(records[0].unexpected);
    EXPECT_EQ(records[0].result, 0);
    EXPECT_FALSE(records[0].open);
    EXPECT_THROW(driver.Verify(), DialogScriptError);
}

TEST(MessageBox, AnAnswerThatIsNotOfferedFailsLoudly) {
    HeadlessDialogDriver driver;
    driver.OnMessageBox("Done.").Answer(IDYES);
    try {
        MessageBoxA(nullptr, "Done.", "Orvella", MB_OK);
        ADD_FAILURE() << "no exception";
    } catch (const DialogScriptError& error) {
        EXPECT_THAT(error.what(), HasSubstr("cannot press control 6"));
        EXPECT_THAT(error.what(), HasSubstr("no such control"));
    }
    EXPECT_EQ(driver.Records().at(0).result, 0);
}

TEST(MessageBox, TheCloseBoxMeansCancelOrTheOnlyOk) {
    struct Case {
        UINT type;
        bool closes;
        int expected;  // what the box answers: the close box's, or else the button pressed next
    };
    const std::vector<Case> cases = {
        {MB_OK, true, IDOK},
        {MB_OKCANCEL, true, IDCANCEL},
        {MB_YESNOCANCEL, true, IDCANCEL},
        {MB_RETRYCANCEL, true, IDCANCEL},
        {MB_YESNO, false, IDNO},
        {MB_ABORTRETRYIGNORE, false, IDABORT},
    };
    for (const Case& c : cases) {
        HeadlessDialogDriver driver;
        DialogExpectation& script = driver.OnMessageBox("Close me").Close();
        if (!c.closes) script.Answer(c.expected);
        EXPECT_EQ(MessageBoxA(nullptr, "Close me", "Orvella", c.type), c.expected) << c.type;
        EXPECT_NO_THROW(driver.Verify()) << c.type;
    }
}

TEST(MessageBox, RefusesUnknownButtonSetsAndInvalidOwners) {
    HeadlessDialogDriver driver;
    SetLastError(0);
    EXPECT_EQ(MessageBoxA(nullptr, "text", "Orvella", 7), 0);
    EXPECT_EQ(GetLastError(), 1424u);
    SetLastError(0);
    EXPECT_EQ(MessageBoxA(reinterpret_cast<HWND>(0x4242), "text", "Orvella", MB_OK), 0);
    EXPECT_EQ(GetLastError(), 1400u);
    EXPECT_TRUE(driver.Records().empty());
}

TEST(MessageBox, WithoutCaptionOrTextShowsErrorAndNothing) {
    HeadlessDialogDriver driver;
    driver.OnMessageBox("").WithCaption("Error").Answer(IDOK);
    EXPECT_EQ(MessageBoxA(nullptr, nullptr, nullptr, MB_OK), IDOK);
    const DialogView shown = driver.Records().at(0).shown;
    EXPECT_EQ(shown.caption, "Error");
    EXPECT_EQ(shown.messageText, "");
}

TEST(MessageBox, AWorkerThreadCanAskAndGetsItsAnswer) {
    HeadlessDialogDriver driver;
    std::thread::id shownOn;
    driver.OnMessageBox("from the worker")
        .Inspect([&](const DialogView&) { shownOn = std::this_thread::get_id(); })
        .Answer(IDNO);
    int answer = 0;
    std::thread worker(
        [&] { answer = MessageBoxA(nullptr, "Asked from the worker", "Orvella", MB_YESNO); });
    const std::thread::id workerId = worker.get_id();
    worker.join();
    EXPECT_EQ(answer, IDNO);
    EXPECT_EQ(shownOn, workerId);
    EXPECT_EQ(driver.Records().at(0).result, IDNO);
}

}  // namespace
