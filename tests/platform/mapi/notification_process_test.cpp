// New mail saved by another process reaches an advised sink in this one, each message once.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "child_process.h"
#include "com_object.h"
#include "durability_fixture.h"
#include "recording_sink.h"

namespace orvella::testing {
namespace {

constexpr int kDelivered = 200;

using CrossProcessNotificationTest = DurabilityTest;

TEST_F(CrossProcessNotificationTest, NewMailFromAnotherProcessIsNotifiedOnceEach) {
    const std::vector<BYTE> inbox = EntryIdOf(inbox_.Get());
    CloseStore();
    Pipe go;
    ChildProcess deliverer([&] {
        go.CloseWrite();
        ComPtr<IMAPISession> session;
        ComPtr<IMAPIFolder> folder;
        const HRESULT opened = OpenOwnFolder(inbox, session, folder);
        go.WaitForByteOrEnd();
        if (FAILED(opened)) return 2;
        for (int n = 0; n < kDelivered; ++n) {
            ComPtr<IMessage> message;
            const std::string subject = "delivered " + std::to_string(n);
            SPropValue values[] = {Text(PR_MESSAGE_CLASS_A, "IPM.Note"),
                                   Text(PR_SUBJECT_A, subject.c_str())};
            if (FAILED(folder->CreateMessage(nullptr, 0, &message)) ||
                FAILED(message->SetProps(2, values, nullptr)) || FAILED(message->SaveChanges(0)))
                return 1;
        }
        return 0;
    });
    go.CloseRead();
    Logon();
    auto sink = platform::mapi::store::MakeCom<RecordingSink>();
    ULONG_PTR connection = 0;
    ASSERT_EQ(store_->Advise(0, nullptr, fnevNewMail, sink.Get(), &connection), S_OK);
    go.CloseWrite();  // the deliverer starts only once the sink is advised
    EXPECT_EQ(DescribeStatus(deliverer.Wait()), "exited with 0");

    // A sentinel saved here after the deliverer ended: notifications come in commit order, so
    // once it arrives every delivered message has been notified, and any repeat would show.
    const std::vector<BYTE> sentinel = SaveMessage({Text(PR_SUBJECT_A, "sentinel")});
    const std::vector<Seen> seen = sink->WaitFor(kDelivered + 1);
    ASSERT_EQ(seen.size(), static_cast<size_t>(kDelivered + 1));
    std::set<std::vector<BYTE>> distinct;
    for (const Seen& mail : seen) {
        EXPECT_EQ(mail.type, fnevNewMail);
        distinct.insert(mail.id);
    }
    EXPECT_EQ(distinct.size(), static_cast<size_t>(kDelivered + 1));
    EXPECT_EQ(seen.back().id, sentinel);
    EXPECT_EQ(store_->Unadvise(connection), S_OK);
}

}  // namespace
}  // namespace orvella::testing
