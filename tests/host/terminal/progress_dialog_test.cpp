// Progress dialogs on the terminal front end: the progress line drawn in place or only the final
// text, and Ctrl-C pressing Cancel of the open progress dialog instead of ending the process.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <sstream>
#include <string>
#include <thread>

#include "commctrl.h"
#include "dialog.h"
#include "front_end.h"
#include "temp_home.h"
#include "terminal_front_end.h"

namespace {

using orvella::host::terminal::PresetAnswer;
using orvella::host::terminal::ProgressStyle;
using orvella::host::terminal::TerminalFrontEnd;
using orvella::platform::gui::CDialog;
using orvella::platform::gui::ControlKind;
using orvella::platform::gui::DialogTemplate;
using orvella::platform::gui::DialogView;
using orvella::platform::gui::IDialogFrontEnd;
using orvella::platform::gui::ScopedFrontEnd;

enum : int { kBar = 232, kText = 236 };

DialogTemplate ProgressTemplate() {
    DialogTemplate dialog;
    dialog.caption = "Processing Inbox";
    dialog.cx = 240;
    dialog.cy = 89;
    dialog.controls = {
        {kBar, ControlKind::ProgressBar, "", 7, 40, 226, 10},
        {235, ControlKind::Static, "Processing Messages - one moment please...", 7, 7, 226, 8},
        {kText, ControlKind::Static, "", 7, 20, 226, 8},
        {IDCANCEL, ControlKind::Button, "Cancel", 95, 65, 50, 14},
    };
    return dialog;
}

// Passes everything to the terminal and then says that the dialog is on screen: a person
// presses Ctrl-C at a dialog they see, never before the terminal took it over.
class ShownSignal : public IDialogFrontEnd {
public:
    explicit ShownSignal(IDialogFrontEnd& terminal) : terminal_(terminal) {}

    void OnDialogOpened(const DialogView& view) override {
        terminal_.OnDialogOpened(view);
        shown = true;
        shown.notify_all();
    }
    void OnDialogChanged(HWND dialog) override { terminal_.OnDialogChanged(dialog); }
    void OnDialogClosed(const DialogView& view, INT_PTR result) override {
        terminal_.OnDialogClosed(view, result);
    }

    std::atomic<bool> shown{false};

private:
    IDialogFrontEnd& terminal_;
};

// Works through `count` steps on a worker, as the add-in's progress dialogs do; Cancel only
// asks it to stop after the current step. At `interruptAt`, once the dialog is shown, the worker
// itself gets Ctrl-C (as a person at the terminal would send it) `interrupts` times, each once
// the previous one pressed Cancel, and then waits for Cancel.
class StepsDialog : public CDialog {
public:
    explicit StepsDialog(int count) : StepsDialog(count, nullptr, -1, 0) {}
    StepsDialog(int count, const std::atomic<bool>* shown, int interruptAt, int interrupts = 1)
        : CDialog(ProgressTemplate()),
          count_(count),
          shown_(shown),
          interruptAt_(interruptAt),
          interrupts_(interrupts) {}
    ~StepsDialog() override {
        if (worker_.joinable()) worker_.join();
    }

    int done = 0;
    int cancels = 0;

protected:
    BOOL OnInitDialog() override {
        worker_ = std::thread([this] { Work(); });
        return TRUE;
    }
    void OnCommand(UINT id, UINT code, HWND) override {
        if (id != IDCANCEL || code != BN_CLICKED) return;
        ++cancels;
        cancel_ = true;
        cancel_.notify_all();
    }

private:
    void Work() {
        const HWND dialog = m_hWnd;
        SendDlgItemMessageA(dialog, kBar, PBM_SETRANGE32, 0, count_ - 1);
        for (int i = 0; i < count_; ++i) {
            const std::string text =
                "processing " + std::to_string(i + 1) + " of " + std::to_string(count_);
            SetDlgItemTextA(dialog, kText, text.c_str());
            SendDlgItemMessageA(dialog, kBar, PBM_SETPOS, static_cast<WPARAM>(i), 0);
            done = i + 1;
            if (i == interruptAt_) {
                shown_->wait(false);
                for (int sent = 0; sent < interrupts_; ++sent) {
                    kill(getpid(), SIGINT);
                    cancel_.wait(false);
                }
            }
            if (cancel_) break;
        }
        const std::string text =
            "processed " + std::to_string(count_) + " of " + std::to_string(count_);
        SetDlgItemTextA(dialog, kText, text.c_str());
        SendDlgItemMessageA(dialog, kBar, PBM_SETPOS, static_cast<WPARAM>(count_), 0);
        EndDialog(1);
    }

    const int count_;
    const std::atomic<bool>* shown_;
    const int interruptAt_;
    const int interrupts_;
    std::atomic<bool> cancel_{false};
    std::thread worker_;
};

TEST(ProgressDialogsOnATerminal, OutputThatIsNoTerminalGetsOnlyTheFinalText) {
    orvella::testing::TempHome home;
    std::istringstream typed;
    std::ostringstream printed;
    TerminalFrontEnd terminal(typed, printed, false, PresetAnswer::None);
    ScopedFrontEnd installed(terminal);

    StepsDialog dialog(40);
    EXPECT_EQ(dialog.DoModal(), 1);
    EXPECT_EQ(dialog.done, 40);
    EXPECT_EQ(printed.str(), "Processing Inbox\nprocessed 40 of 40\n");
}

TEST(ProgressDialogsOnATerminal, ATerminalGetsOneLineRedrawnInPlaceUntilTheDialogCloses) {
    orvella::testing::TempHome home;
    std::istringstream typed;
    std::ostringstream printed;
    TerminalFrontEnd terminal(typed, printed, true, PresetAnswer::None, ProgressStyle::InPlace);
    ScopedFrontEnd installed(terminal);

    StepsDialog dialog(40);
    EXPECT_EQ(dialog.DoModal(), 1);
    const std::string shown = printed.str();
    // The worker may have moved on before the first drawing: only its start is fixed.
    const std::string opened = "Processing Inbox\n\r[";
    const std::string closed = "\r[####################] 100% processed 40 of 40\n";
    ASSERT_GE(shown.size(), opened.size() + closed.size());
    EXPECT_EQ(shown.substr(0, opened.size()), opened);
    EXPECT_EQ(shown.substr(shown.size() - closed.size()), closed);
    // Every redraw returns to the start of the same line.
    EXPECT_EQ(shown.find('\n', opened.size()), shown.size() - 1);
}

TEST(CtrlCOnATerminal, PressesCancelOfTheOpenProgressDialog) {
    orvella::testing::TempHome home;
    std::istringstream typed;
    std::ostringstream printed;
    TerminalFrontEnd terminal(typed, printed, false, PresetAnswer::None, ProgressStyle::FinalText,
                              true);
    ShownSignal signal(terminal);
    ScopedFrontEnd installed(signal);

    StepsDialog dialog(50, &signal.shown, 4);
    EXPECT_EQ(dialog.DoModal(), 1);
    EXPECT_EQ(dialog.done, 5);
    EXPECT_EQ(dialog.cancels, 1);
    EXPECT_EQ(printed.str(),
              "Processing Inbox\n"
              "Ctrl-C: cancelling after the current step (Ctrl-C again quits at once)\n"
              "processed 50 of 50\n");
}

TEST(CtrlCOnATerminalDeathTest, EndsTheProcessWhenNoProgressDialogIsOpen) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::istringstream typed;
            std::ostringstream printed;
            TerminalFrontEnd terminal(typed, printed, false, PresetAnswer::None,
                                      ProgressStyle::FinalText, true);
            kill(getpid(), SIGINT);
            for (;;) pause();
        },
        ::testing::KilledBySignal(SIGINT), "");
}

TEST(CtrlCOnATerminalDeathTest, EndsTheProcessTheSecondTimeWhileTheDialogIsCancelling) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            orvella::testing::TempHome home;
            std::istringstream typed;
            std::ostringstream printed;
            TerminalFrontEnd terminal(typed, printed, false, PresetAnswer::None,
                                      ProgressStyle::FinalText, true);
            ShownSignal signal(terminal);
            ScopedFrontEnd installed(signal);
            StepsDialog dialog(50, &signal.shown, 2, 2);
            dialog.DoModal();
            std::exit(0);
        },
        ::testing::KilledBySignal(SIGINT), "");
}

}  // namespace
