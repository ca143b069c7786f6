// Store notifications around a rescoring run: withdrawn while it runs, so mail arriving then
// raises none and waits, unprocessed, for the next catch-up; advised again after it.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "MsgProcessor.h"
#include "mapi_advise.h"
#include "rescore_fixture.h"

namespace orvella::testing {
namespace {

using namespace std::chrono_literals;
using platform::gui::DialogView;
using platform::gui::LiveDialog;

// The add-in's side of the notifications: counts new mail.
class NewMailCounter : public IMAPIAdvise {
public:
    void OnNewMail(ULONG, LPENTRYID) override {
        std::lock_guard lock(mutex_);
        ++newMail_;
        changed_.notify_all();
    }
    void OnMessageCreated(LPVOID, ULONG, LPENTRYID, ULONG, LPENTRYID) override {}
    void OnMessageMoved(LPVOID, ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG, LPENTRYID) override {}
    void OnMessageCopied(LPVOID, ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG, LPENTRYID) override {}
    void OnFolderCreated(LPVOID, ULONG, LPENTRYID, ULONG, LPENTRYID) override {}
    void OnFolderModified(LPVOID, ULONG, LPENTRYID) override {}
    void OnFolderDeleted(LPVOID, ULONG, LPENTRYID, ULONG, LPENTRYID) override {}
    void OnFolderMoved(LPVOID, ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG, LPENTRYID) override {}

    // Waits until at least `count` new mails were heard; the number heard.
    int WaitFor(int count) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, 10s, [&] { return newMail_ >= count; });
        return newMail_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int newMail_ = 0;
};

class RescoreNotificationsTest : public RescoreTest {};

TEST_F(RescoreNotificationsTest, MailArrivingDuringARunRaisesNoNotificationAndWaitsForCatchUp) {
    StartWithUser();
    const std::vector<::EntryId> old = DeliverNumbered("old@corp.example", "Old", 3);
    NewMailCounter advise;
    context_->RegisterMAPIAdvise(&advise);
    MsgProcessor processor(context_.get());
    // The run is held at its first message while the new mail arrives.
    ProcessorLock busy;
    CMsgRescoreDialog run(&processor);
    std::future<INT_PTR> result;
    LiveDialog live = StartRunUntil(run, result, "processing 1 of 3: Old 1");
    const ::EntryId duringRun = Deliver(Mail("new@corp.example", "During the run"));
    busy.Release();
    EXPECT_TRUE(live.WaitClosed(10s));
    EXPECT_EQ(result.get(), 1);
    EXPECT_EQ(ClosedText(), "processed 3 of 3");

    // Advised again: the next mail is heard, and it is the only one, since notifications come
    // in the order the mail arrived.
    const ::EntryId afterRun = Deliver(Mail("new@corp.example", "After the run"));
    EXPECT_EQ(advise.WaitFor(1), 1);
    EXPECT_EQ(ScoredEach(old), (std::vector<bool>{true, true, true}));
    EXPECT_FALSE(Scored(duringRun));

    std::vector<::EntryId> unprocessed;
    std::vector<std::string> subjects;
    context_->GetUnprocessedInboxEIDs(unprocessed, &subjects);
    EXPECT_EQ(subjects, (std::vector<std::string>{"During the run", "After the run"}));
    CMsgRescoreDialog catchUp(&processor);
    catchUp.SetFlags(true, true, true);
    catchUp.SetMessages(&unprocessed, &subjects);
    dialogs_.OnDialog("Processing Inbox");
    EXPECT_EQ(catchUp.DoModal(), 1);
    EXPECT_TRUE(Scored(duringRun));
    EXPECT_TRUE(Scored(afterRun));
    context_->UnregisterMAPIAdvise();
}

}  // namespace
}  // namespace orvella::testing
