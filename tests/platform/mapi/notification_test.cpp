// Store notifications: what each change raises, in commit order, on the notification thread;
// masks and entry filters; Unadvise while callbacks run.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "recording_sink.h"
#include "store_fixture.h"

namespace {

using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::store::MakeCom;
using orvella::testing::EntryIdOf;
using orvella::testing::MakeFolder;
using orvella::testing::RecordingSink;
using orvella::testing::Seen;
using orvella::testing::StoreTest;
using orvella::testing::Text;
using Bytes = std::vector<BYTE>;

class NotificationTest : public StoreTest {
protected:
    void TearDown() override {
        for (ULONG_PTR connection : connections_) store_->Unadvise(connection);
        StoreTest::TearDown();
    }

    ComPtr<RecordingSink> Advise(ULONG mask, const Bytes& filter = {}) {
        ComPtr<RecordingSink> sink = MakeCom<RecordingSink>();
        ULONG_PTR connection = 0;
        EXPECT_EQ(store_->Advise(static_cast<ULONG>(filter.size()),
                                 filter.empty() ? nullptr
                                                : reinterpret_cast<LPENTRYID>(
                                                      const_cast<BYTE*>(filter.data())),
                                 mask, sink.Get(), &connection),
                  S_OK);
        connections_.push_back(connection);
        return sink;
    }

    bool Same(const Bytes& a, const Bytes& b) {
        ULONG result = 0;
        return store_->CompareEntryIDs(static_cast<ULONG>(a.size()),
                                       reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(a.data())),
                                       static_cast<ULONG>(b.size()),
                                       reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(b.data())), 0,
                                       &result) == S_OK &&
               result;
    }

    std::vector<ULONG_PTR> connections_;
};

TEST_F(NotificationTest, EveryChangeIsNotifiedInCommitOrderOnTheNotificationThread) {
    auto sink = Advise(fnevNewMail | fnevObjectCreated | fnevObjectModified | fnevObjectDeleted |
                       fnevObjectMoved | fnevObjectCopied);
    const Bytes inbox = EntryIdOf(inbox_.Get());
    auto eid = SaveMessage({Text(PR_MESSAGE_CLASS_A, "IPM.Note"), Text(PR_SUBJECT_A, "hello")});
    {
        auto message = Open(eid);
        SPropValue subject = Text(PR_SUBJECT_A, "hello again");
        ASSERT_EQ(message->SetProps(1, &subject, nullptr), S_OK);
        ASSERT_EQ(message->SaveChanges(0), S_OK);
    }
    auto archive = MakeFolder(inbox_.Get(), "Archive");
    const Bytes archive_id = EntryIdOf(archive.Get());
    SBinary bin{static_cast<ULONG>(eid.size()), eid.data()};
    ENTRYLIST list{1, &bin};
    ASSERT_EQ(inbox_->CopyMessages(&list, nullptr, archive.Get(), 0, nullptr, 0), S_OK);
    ASSERT_EQ(inbox_->CopyMessages(&list, nullptr, archive.Get(), 0, nullptr, MESSAGE_MOVE), S_OK);
    ASSERT_EQ(archive->DeleteMessages(&list, 0, nullptr, 0), S_OK);

    // A sentinel save after the changes: had any change raised more events than expected, the
    // sentinel's would not be the eighth and ninth.
    const Bytes sentinel = SaveMessage({Text(PR_SUBJECT_A, "sentinel")});
    const std::vector<Seen> seen = sink->WaitFor(9);
    ASSERT_EQ(seen.size(), 9u);
    EXPECT_TRUE(Same(seen[7].id, sentinel));
    EXPECT_TRUE(Same(seen[8].id, sentinel));
    const struct {
        ULONG type;
        ULONG object_type;
        const Bytes* id;  // nullptr: the copy, whose id the test does not know
        const Bytes* parent;
        const Bytes* old_id;
        const Bytes* old_parent;
    } expected[] = {
        {fnevObjectCreated, MAPI_MESSAGE, &eid, &inbox, nullptr, nullptr},
        {fnevNewMail, 0, &eid, &inbox, nullptr, nullptr},
        {fnevObjectModified, MAPI_MESSAGE, &eid, &inbox, nullptr, nullptr},
        {fnevObjectCreated, MAPI_FOLDER, &archive_id, &inbox, nullptr, nullptr},
        {fnevObjectCopied, MAPI_MESSAGE, nullptr, &archive_id, &eid, &inbox},
        {fnevObjectMoved, MAPI_MESSAGE, &eid, &archive_id, &eid, &inbox},
        {fnevObjectDeleted, MAPI_MESSAGE, &eid, &archive_id, nullptr, nullptr},
    };
    for (size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(seen[i].type, expected[i].type);
        EXPECT_EQ(seen[i].object_type, expected[i].object_type);
        if (expected[i].id) {
            EXPECT_TRUE(Same(seen[i].id, *expected[i].id));
        }
        EXPECT_TRUE(Same(seen[i].parent, *expected[i].parent));
        if (expected[i].old_id) {
            EXPECT_TRUE(Same(seen[i].old_id, *expected[i].old_id));
        }
        if (expected[i].old_parent) {
            EXPECT_TRUE(Same(seen[i].old_parent, *expected[i].old_parent));
        }
        EXPECT_NE(seen[i].thread, std::this_thread::get_id());
    }
    EXPECT_FALSE(Same(seen[4].id, eid));  // the copy is an object of its own
    EXPECT_EQ(seen[1].message_class, "IPM.Note");
}

TEST_F(NotificationTest, MasksAndEntryFiltersSelectTheEvents) {
    auto mail = Advise(fnevNewMail);
    auto archive = MakeFolder(inbox_.Get(), "Archive");
    auto in_archive = Advise(fnevObjectCreated | fnevObjectDeleted, EntryIdOf(archive.Get()));

    // None of these is new mail: not the receive folder, associated, or not new.
    ComPtr<IMessage> message;
    ASSERT_EQ(archive->CreateMessage(nullptr, 0, &message), S_OK);
    ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    const Bytes first_inside = EntryIdOf(message.Get());
    ASSERT_EQ(inbox_->CreateMessage(nullptr, MAPI_ASSOCIATED, &message), S_OK);
    ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    auto existing = SaveMessage({Text(PR_SUBJECT_A, "first")});  // new mail 1
    {
        auto reopened = Open(existing);
        ASSERT_EQ(reopened->SaveChanges(0), S_OK);
    }
    SaveMessage({Text(PR_MESSAGE_CLASS_A, "IPM.Note.Sentinel")});  // new mail 2

    const auto mails = mail->WaitFor(2);
    ASSERT_EQ(mails.size(), 2u);
    EXPECT_TRUE(Same(mails[0].id, existing));
    EXPECT_EQ(mails[1].message_class, "IPM.Note.Sentinel");

    // The folder's connection sees what happens inside the folder and nothing of the Inbox.
    ComPtr<IMessage> inside;
    ASSERT_EQ(archive->CreateMessage(nullptr, 0, &inside), S_OK);
    ASSERT_EQ(inside->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    Bytes inside_id = EntryIdOf(inside.Get());
    SBinary bin{static_cast<ULONG>(inside_id.size()), inside_id.data()};
    ENTRYLIST list{1, &bin};
    ASSERT_EQ(archive->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    const auto folder_events = in_archive->WaitFor(3);
    ASSERT_EQ(folder_events.size(), 3u);
    EXPECT_EQ(folder_events[0].type, fnevObjectCreated);
    EXPECT_TRUE(Same(folder_events[0].id, first_inside));
    EXPECT_EQ(folder_events[1].type, fnevObjectCreated);
    EXPECT_TRUE(Same(folder_events[1].id, inside_id));
    EXPECT_EQ(folder_events[2].type, fnevObjectDeleted);
    EXPECT_TRUE(Same(folder_events[2].id, inside_id));
}

TEST_F(NotificationTest, AdviseRefusesWhatItCannotWatch) {
    auto sink = MakeCom<RecordingSink>();
    ULONG_PTR connection = 0;
    BYTE garbage[32] = {1, 2, 3};
    EXPECT_EQ(store_->Advise(0, nullptr, fnevNewMail, nullptr, &connection),
              MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(store_->Advise(sizeof garbage, reinterpret_cast<LPENTRYID>(garbage), fnevNewMail,
                             sink.Get(), &connection),
              MAPI_E_INVALID_ENTRYID);
    EXPECT_EQ(store_->Unadvise(12345), MAPI_E_NOT_FOUND);
}

TEST_F(NotificationTest, NoCallbackRunsAfterUnadviseReturnsUnderLoad) {
    auto sink = MakeCom<RecordingSink>();
    sink->SlowDown();
    ULONG_PTR connection = 0;
    ASSERT_EQ(store_->Advise(0, nullptr, fnevObjectCreated, sink.Get(), &connection), S_OK);
    std::atomic<bool> writing = true;
    std::thread writer([&] {
        while (writing) SaveMessage({Text(PR_SUBJECT_A, "load")});
    });
    sink->WaitFor(1);
    ASSERT_EQ(store_->Unadvise(connection), S_OK);
    const size_t after_unadvise = sink->count();
    // More saves (each woken at once), then a sentinel connection to know they were dispatched.
    auto sentinel = Advise(fnevObjectCreated);
    SaveMessage({Text(PR_SUBJECT_A, "sentinel")});
    sentinel->WaitFor(1);
    writing = false;
    writer.join();
    EXPECT_EQ(sink->count(), after_unadvise);
}

}  // namespace
