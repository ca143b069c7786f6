// The error dialog as the user sees it: its texts, controls and buttons, and what its buttons
// answer.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "CErrorDialog.h"
#include "diag_test_support.h"
#include "headless_driver.h"

namespace {

using namespace orvella::diag;
using orvella::platform::gui::ControlKind;
using orvella::platform::gui::ControlView;
using orvella::platform::gui::DialogView;
using orvella::platform::gui::HeadlessDialogDriver;
using orvella::testing::kErrorDialogCaption;

DialogView Shown(const std::string& text, bool showRepeatNote) {
    HeadlessDialogDriver driver;
    DialogView seen;
    driver.OnDialog(kErrorDialogCaption)
        .Inspect([&](const DialogView& view) { seen = view; })
        .Press(IDOK);
    CErrorDialog dialog(text, showRepeatNote);
    EXPECT_EQ(dialog.DoModal(), IDOK);
    driver.Verify();
    return seen;
}

TEST(ErrorDialog, ShowsTheTextWithWindowsLineBreaksAndTheCaretAtTheEnd) {
    const DialogView view = Shown("first line\nsecond line\n\n", false);
    EXPECT_EQ(view.caption, "Orvella Unexpected Condition");
    EXPECT_EQ(view.cx, 260);
    EXPECT_EQ(view.cy, 170);

    std::vector<std::pair<int, std::string>> statics;
    for (const ControlView& control : view.controls)
        if (control.kind == ControlKind::Static) statics.emplace_back(control.id, control.text);
    EXPECT_EQ(statics,
              (std::vector<std::pair<int, std::string>>{
                  {IDC_STATIC,
                   "Orvella has encountered an unexpected condition. The details are listed "
                   "below. If this problem persists, please contact Orvella support."},
                  {335, "This notification may represent multiple occurrences of this message."}}));

    const ControlView* text = view.Find(336);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->kind, ControlKind::Edit);
    EXPECT_EQ(text->text, "first line\r\nsecond line\r\n\r\n");
    EXPECT_TRUE(text->readOnly);
    EXPECT_NE(text->style & ES_MULTILINE, 0u);
    EXPECT_EQ(text->selectionStart, 27);
    EXPECT_EQ(text->selectionEnd, 27);
    EXPECT_TRUE(text->caretScrolledIntoView);

    EXPECT_FALSE(view.Find(335)->visible);
    EXPECT_EQ(view.Find(IDOK)->text, "OK");
    EXPECT_TRUE(view.Find(IDOK)->isDefault);
    EXPECT_EQ(view.Find(201)->text, "Contact Support");
    EXPECT_FALSE(view.Find(201)->isDefault);
}

TEST(ErrorDialog, TheRepeatNoteShowsOnlyWhenAsked) {
    EXPECT_TRUE(Shown("again\n", true).Find(335)->visible);
    EXPECT_FALSE(Shown("again\n", false).Find(335)->visible);
}

TEST(ErrorDialog, EachWayOutAnswersItsOwnResult) {
    struct Case {
        std::function<void(orvella::platform::gui::DialogExpectation&)> script;
        INT_PTR result;
    };
    const std::vector<Case> cases = {
        {[](auto& e) { e.Press(IDOK); }, IDOK},
        {[](auto& e) { e.Press(201); }, 201},
        {[](auto& e) { e.Close(); }, IDCANCEL},
    };
    for (const Case& c : cases) {
        HeadlessDialogDriver driver;
        c.script(driver.OnDialog(kErrorDialogCaption));
        CErrorDialog dialog("text", false);
        EXPECT_EQ(dialog.DoModal(), c.result);
        driver.Verify();
    }
}

}  // namespace
