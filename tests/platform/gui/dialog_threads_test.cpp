// Dialogs and worker threads: a worker that reports progress, posts, sends and ends the dialog;
// Cancel pressed while it runs; timers; dialogs nobody attends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "gui_test_dialogs.h"
#include "headless_driver.h"
#include "winbase.h"

namespace {

using namespace orvella::platform::gui;
using namespace orvella::platform::gui::testing;
using namespace std::chrono_literals;
using ::testing::ElementsAre;

enum : int { kProgressBar = 232, kHeading = 235, kProgressText = 236 };
constexpr UINT kWorkDone = WM_APP + 1;
constexpr UINT kAskDialogThread = WM_APP + 2;

DialogTemplate ProcessingTemplate() {
    DialogTemplate dialog;
    dialog.caption = "Processing Inbox";
    dialog.cx = 240;
    dialog.cy = 89;
    dialog.controls = {
        {kProgressBar, ControlKind::ProgressBar, "", 7, 40, 226, 10},
        {kHeading, ControlKind::Static, "Processing Messages - one moment please...", 7, 7, 226, 8},
        {kProgressText, ControlKind::Static, "placeholder", 7, 20, 226, 8},
        {IDCANCEL, ControlKind::Button, "Cancel", 95, 65, 50, 14},
    };
    return dialog;
}

// Processes `count` items on a worker thread begun in OnInitDialog, showing progress; Cancel
// only asks the worker to stop after the current item, and the worker ends the dialog. With
// `pauseAt` the worker waits at that item until Cancel is pressed.
class ProcessingDialog : public CDialog {
public:
    ProcessingDialog(int count, int pauseAt = -1)
        : CDialog(ProcessingTemplate()), count_(count), pauseAt_(pauseAt) {}
    ~ProcessingDialog() override {
        if (worker_.joinable()) worker_.join();
    }

    std::atomic<bool> cancel{false};
    int processed = 0;
    std::vector<std::pair<UINT, WPARAM>> appMessages;
    std::vector<std::thread::id> appMessageThreads;
    LRESULT sendAnswer = 0;
    std::vector<UINT> commands;

protected:
    BOOL OnInitDialog() override {
        SetDlgItemTextA(m_hWnd, kProgressText, "");
        worker_ = std::thread([this] { Work(); });
        return TRUE;
    }
    void OnCommand(UINT id, UINT code, HWND) override {
        commands.push_back(id);
        if (id == IDCANCEL && code == BN_CLICKED) {
            cancel = true;
            cancel.notify_all();
        }
    }
    BOOL OnMessage(UINT message, WPARAM wParam, LPARAM, LRESULT& result) override {
        if (message != kWorkDone && message != kAskDialogThread) return FALSE;
        appMessages.emplace_back(message, wParam);
        appMessageThreads.push_back(std::this_thread::get_id());
        if (message == kWorkDone) {
            workDoneSeen_ = true;
            workDoneSeen_.notify_all();
        }
        result = static_cast<LRESULT>(wParam) * 2;
        return TRUE;
    }

private:
    void Work() {
        const HWND dialog = m_hWnd;
        SendDlgItemMessageA(dialog, kProgressBar, PBM_SETRANGE32, 0, count_ - 1);
        for (int i = 0; i < count_; ++i) {
            const std::string text =
                "processing " + std::to_string(i + 1) + " of " + std::to_string(count_);
            SetDlgItemTextA(dialog, kProgressText, text.c_str());
            SendDlgItemMessageA(dialog, kProgressBar, PBM_SETPOS, static_cast<WPARAM>(i), 0);
            processed = i + 1;
            if (i == pauseAt_) cancel.wait(false);
            if (cancel) break;
        }
        const std::string done =
            "processed " + std::to_string(count_) + " of " + std::to_string(count_);
        SetDlgItemTextA(dialog, kProgressText, done.c_str());
        SendDlgItemMessageA(dialog, kProgressBar, PBM_SETPOS, static_cast<WPARAM>(count_), 0);
        PostMessageA(dialog, kWorkDone, static_cast<WPARAM>(processed), 0);
        workDoneSeen_.wait(false);
        sendAnswer = SendMessageA(dialog, kAskDialogThread, 21, 0);
        EndDialog(1);
    }

    const int count_;
    const int pauseAt_;
    std::atomic<bool> workDoneSeen_{false};
    std::thread worker_;
};

TEST(WorkerThread, ReportsProgressPostsSendsAndEndsTheDialog) {
    HeadlessDialogDriver driver;
    driver.OnDialog("Processing Inbox");
    ProcessingDialog dialog(5);
    EXPECT_EQ(dialog.DoModal(), 1);

    EXPECT_EQ(dialog.processed, 5);
    EXPECT_THAT(dialog.appMessages, ElementsAre(std::pair<UINT, WPARAM>{kWorkDone, 5},
                                                std::pair<UINT, WPARAM>{kAskDialogThread, 21}));
    // Both reached the handler on the dialog's own thread, and the sender got its answer.
    EXPECT_THAT(dialog.appMessageThreads,
                ElementsAre(std::this_thread::get_id(), std::this_thread::get_id()));
    EXPECT_EQ(dialog.sendAnswer, 42);

    const DialogRecord record = driver.Records().at(0);
    EXPECT_EQ(record.shown.Find(kHeading)->text, "Processing Messages - one moment please...");
    EXPECT_EQ(record.closed.Find(kProgressText)->text, "processed 5 of 5");
    EXPECT_EQ(record.closed.Find(kProgressBar)->rangeMax, 4);
    EXPECT_EQ(record.closed.Find(kProgressBar)->position, 4);
    EXPECT_EQ(record.result, 1);
}

TEST(WorkerThread, CancelPressedWhileTheWorkerRunsStopsItAfterTheCurrentItem) {
    HeadlessDialogDriver driver;
    driver.OnDialog("Processing Inbox");
    ProcessingDialog dialog(50, 4);
    UiThread ui([&] { return dialog.DoModal(); });

    LiveDialog live = driver.WaitForDialog("Processing Inbox", 5s);
    ASSERT_TRUE(live.WaitUntil(
        [](const DialogView& view) {
            return view.Find(kProgressText)->text == "processing 5 of 50" &&
                   view.Find(kProgressBar)->position == 4;
        },
        5s));
    live.Press(IDCANCEL);
    EXPECT_TRUE(live.WaitClosed(5s));
    EXPECT_EQ(ui.Join(), 1);

    EXPECT_THAT(dialog.commands, ElementsAre(static_cast<UINT>(IDCANCEL)));
    EXPECT_EQ(dialog.processed, 5);
    const DialogRecord record = driver.Records().at(0);
    EXPECT_EQ(record.closed.Find(kProgressText)->text, "processed 50 of 50");
    EXPECT_EQ(record.closed.Find(kProgressBar)->position, 49);
}

TEST(WorkerThread, WithoutAFrontEndADialogRunsUnattendedUntilItsWorkerEndsIt) {
    ProcessingDialog dialog(3);
    EXPECT_EQ(dialog.DoModal(), 1);
    EXPECT_EQ(dialog.processed, 3);
    EXPECT_TRUE(dialog.commands.empty());
}

// Ticks a 10 ms timer three times, kills it, and ends on a second, slower timer with the
// number of ticks the first one gave.
class TimerDialog : public CDialog {
public:
    TimerDialog() : CDialog(ProcessingTemplate()) {}
    int ticks = 0;
    std::vector<BOOL> kills;

protected:
    BOOL OnInitDialog() override {
        SetTimer(m_hWnd, 1, 10, nullptr);
        return TRUE;
    }
    void OnTimer(UINT_PTR id) override {
        if (id == 2) {
            EndDialog(ticks);
            return;
        }
        if (++ticks < 3) return;
        kills.push_back(KillTimer(m_hWnd, 1));
        kills.push_back(KillTimer(m_hWnd, 1));
        SetTimer(m_hWnd, 2, 40, nullptr);
    }
};

TEST(Timers, FireUntilKillTimerStopsThem) {
    HeadlessDialogDriver driver;
    driver.OnDialog("Processing Inbox");
    TimerDialog dialog;
    EXPECT_EQ(dialog.DoModal(), 3);
    EXPECT_THAT(dialog.kills, ElementsAre(TRUE, FALSE));
}

std::atomic<int> g_procTicks{0};
void CALLBACK CountAndEnd(HWND hwnd, UINT message, UINT_PTR id, DWORD) {
    if (message == WM_TIMER && id == 7 && ++g_procTicks == 2) {
        KillTimer(hwnd, 7);
        EndDialog(hwnd, 77);
    }
}

TEST(Timers, ATimerProcIsCalledInsteadOfWmTimer) {
    HeadlessDialogDriver driver;
    driver.OnDialog("Processing Inbox");
    struct ProcDialog : TimerDialog {
        BOOL OnInitDialog() override {
            SetTimer(m_hWnd, 7, 0, CountAndEnd);  // raised to the minimum interval
            return TRUE;
        }
    } dialog;
    g_procTicks = 0;
    EXPECT_EQ(dialog.DoModal(), 77);
    EXPECT_EQ(g_procTicks, 2);
    EXPECT_EQ(dialog.ticks, 0);
}

TEST(Timers, EndWithTheirWindow) {
    HeadlessDialogDriver driver;
    HWND closed = nullptr;
    driver.OnDialog("Processing Inbox")
        .Inspect([&](const DialogView& view) {
            closed = view.hwnd;
            EXPECT_NE(SetTimer(view.hwnd, 3, 1000, nullptr), 0u);
        })
        .Close();
    struct Plain : CDialog {
        Plain() : CDialog(ProcessingTemplate()) {}
    } dialog;
    EXPECT_EQ(dialog.DoModal(), IDCANCEL);
    SetLastError(0);
    EXPECT_FALSE(KillTimer(closed, 3));
    EXPECT_EQ(GetLastError(), 1400u);
}

// Ends itself from OnInitDialog, from a worker begun there, or after a message it posts itself.
class QuickDialog : public CDialog {
public:
    enum class Ending { InInit, ByWorker, OnPostedMessage };
    explicit QuickDialog(Ending ending) : CDialog(ProcessingTemplate()), ending_(ending) {}
    ~QuickDialog() override {
        if (worker_.joinable()) worker_.join();
    }
    std::vector<UINT> seen;

protected:
    BOOL OnInitDialog() override {
        switch (ending_) {
            case Ending::InInit:
                EndDialog(5);
                break;
            case Ending::ByWorker:
                worker_ = std::thread([this] { EndDialog(5); });
                break;
            case Ending::OnPostedMessage:
                PostMessageA(m_hWnd, WM_APP, 0, 0);
                break;
        }
        return TRUE;
    }
    void OnCommand(UINT id, UINT, HWND) override {
        seen.push_back(id);
        EndDialog(id);
    }
    BOOL OnMessage(UINT message, WPARAM, LPARAM, LRESULT&) override {
        seen.push_back(message);
        return TRUE;
    }

private:
    const Ending ending_;
    std::thread worker_;
};

TEST(Showing, ADialogItsOwnInitialisationEndsIsNeverShown) {
    HeadlessDialogDriver driver;
    QuickDialog dialog(QuickDialog::Ending::InInit);
    EXPECT_EQ(dialog.DoModal(), 5);
    EXPECT_TRUE(driver.Records().empty());
    EXPECT_NO_THROW(driver.Verify());
}

TEST(Showing, ADialogAWorkerEndsAtOnceIsShownAllTheSame) {
    for (int run = 0; run < 20; ++run) {
        HeadlessDialogDriver driver;
        driver.OnDialog("Processing Inbox");
        QuickDialog dialog(QuickDialog::Ending::ByWorker);
        EXPECT_EQ(dialog.DoModal(), 5);
        const std::vector<DialogRecord> records = driver.Records();
        ASSERT_EQ(records.size(), 1u) << "run " << run;
        EXPECT_EQ(records[0].result, 5);
        EXPECT_NO_THROW(driver.Verify());
    }
}

TEST(Showing, ThePersonActsAfterWhatInitialisationPosted) {
    HeadlessDialogDriver driver;
    driver.OnDialog("Processing Inbox").Press(IDCANCEL);
    QuickDialog dialog(QuickDialog::Ending::OnPostedMessage);
    EXPECT_EQ(dialog.DoModal(), IDCANCEL);
    EXPECT_THAT(dialog.seen, ElementsAre(static_cast<UINT>(WM_APP), static_cast<UINT>(IDCANCEL)));
}

}  // namespace
