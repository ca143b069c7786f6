// The rescoring run's fixture: numbered mail, score markers and the dialog as it closed.
#include "rescore_fixture.h"

#include <gtest/gtest.h>

#include <chrono>

#include "winbase.h"

namespace orvella::testing {

TestMail RescoreTest::Mail(const std::string& sender, const std::string& subject) {
    TestMail mail{sender, {{MAPI_TO, kUserAddress}}, IMPORTANCE_NORMAL};
    mail.subject = subject;
    mail.delivered = kMonday14March2005;
    return mail;
}

std::vector<::EntryId> RescoreTest::DeliverNumbered(const std::string& sender,
                                                    const std::string& prefix, int count) {
    std::vector<::EntryId> messages;
    for (int i = 1; i <= count; ++i)
        messages.push_back(Deliver(Mail(sender, prefix + " " + std::to_string(i))));
    return messages;
}

std::vector<bool> RescoreTest::ScoredEach(const std::vector<::EntryId>& messages) {
    std::vector<bool> scored;
    for (const ::EntryId& message : messages) scored.push_back(Scored(message));
    return scored;
}

std::string RescoreTest::ClosedText() const {
    const std::vector<platform::gui::DialogRecord> records = dialogs_.Records();
    if (records.empty() || records.back().open) return "(no closed dialog)";
    const platform::gui::ControlView* text = records.back().closed.Find(IDC_RESCORE_TEXT);
    return text ? text->text : "(no progress text)";
}

INT_PTR RescoreTest::ClosedResult() const {
    const std::vector<platform::gui::DialogRecord> records = dialogs_.Records();
    return records.empty() ? -2 : records.back().result;
}

}  // namespace orvella::testing

namespace orvella::testing {

std::future<INT_PTR> RescoreTest::RunOnUiThread(CMsgRescoreDialog& dialog) {
    return std::async(std::launch::async, [&dialog] { return dialog.DoModal(); });
}

platform::gui::LiveDialog RescoreTest::StartRunUntil(CMsgRescoreDialog& run,
                                                     std::future<INT_PTR>& result,
                                                     const std::string& text) {
    using namespace std::chrono_literals;
    dialogs_.OnDialog("Processing Inbox");
    result = RunOnUiThread(run);
    platform::gui::LiveDialog live = dialogs_.WaitForDialog("Processing Inbox", 10s);
    EXPECT_TRUE(live.WaitUntil(
        [&text](const platform::gui::DialogView& view) {
            return view.Find(IDC_RESCORE_TEXT)->text == text;
        },
        10s))
        << "the progress text never read " << text;
    return live;
}

ProcessorLock::ProcessorLock() : mutex_(CreateMutexA(nullptr, FALSE, "VintorMsgProcessorMutex")) {
    held_ = WaitForSingleObject(mutex_, INFINITE) == WAIT_OBJECT_0;
    EXPECT_TRUE(held_);
}

ProcessorLock::~ProcessorLock() {
    Release();
    CloseHandle(mutex_);
}

void ProcessorLock::Release() {
    if (held_) ReleaseMutex(mutex_);
    held_ = false;
}

}  // namespace orvella::testing
