// Saving a test mail with its recipient table.
#include "test_mail.h"

#include <gtest/gtest.h>

#include <array>

#include "mapi_ptr.h"
#include "mapi_values.h"
#include "mapiutil.h"

namespace orvella::testing {

using platform::mapi::ComPtr;
using platform::mapi::LongValue;
using platform::mapi::MapiBuffer;
using platform::mapi::TextValue;
using platform::mapi::TimeValue;

namespace {

void AddRecipients(IMessage* message, const std::vector<TestRecipient>& recipients) {
    if (recipients.empty()) return;
    // ModifyRecipients copies the rows: they may point into this function's memory.
    std::vector<std::array<SPropValue, 3>> rows;
    rows.reserve(recipients.size());
    MapiBuffer<ADRLIST> list;
    ASSERT_EQ(MAPIAllocateBuffer(static_cast<ULONG>(CbNewADRLIST(recipients.size())),
                                 reinterpret_cast<void**>(&list)),
              S_OK);
    list->cEntries = 0;
    for (const TestRecipient& recipient : recipients) {
        rows.push_back({LongValue(PR_RECIPIENT_TYPE, recipient.type),
                        TextValue(PR_DISPLAY_NAME_A, recipient.address),
                        TextValue(PR_EMAIL_ADDRESS_A, recipient.address)});
        ADRENTRY& entry = list->aEntries[list->cEntries++];
        entry.ulReserved1 = 0;
        entry.cValues = 3;
        entry.rgPropVals = rows.back().data();
    }
    EXPECT_EQ(message->ModifyRecipients(MODRECIP_ADD, list.Get()), S_OK);
}

}  // namespace

std::vector<BYTE> SaveMail(IMAPIFolder* folder, const TestMail& mail) {
    ComPtr<IMessage> message;
    EXPECT_EQ(folder->CreateMessage(nullptr, 0, &message), S_OK);
    if (!message) return {};
    std::vector<SPropValue> values = {
        TextValue(PR_MESSAGE_CLASS_A, mail.messageClass),
        TextValue(PR_SUBJECT_A, mail.subject),
        TextValue(PR_SENDER_EMAIL_ADDRESS_A, mail.sender),
    };
    if (mail.importance) values.push_back(LongValue(PR_IMPORTANCE, *mail.importance));
    if (mail.delivered)
        values.push_back(
            TimeValue(PR_MESSAGE_DELIVERY_TIME, platform::FileTimeFromTicks(*mail.delivered)));
    if (mail.created)
        values.push_back(TimeValue(PR_CREATION_TIME, platform::FileTimeFromTicks(*mail.created)));
    EXPECT_EQ(message->SetProps(static_cast<ULONG>(values.size()), values.data(), nullptr), S_OK);
    AddRecipients(message.Get(), mail.recipients);
    EXPECT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    MapiBuffer<SPropValue> entryId;
    if (FAILED(HrGetOneProp(message.Get(), PR_ENTRYID, &entryId))) {
        ADD_FAILURE() << "saved mail has no entry id";
        return {};
    }
    const SBinary& bytes = entryId->Value.bin;
    return std::vector<BYTE>(bytes.lpb, bytes.lpb + bytes.cb);
}

}  // namespace orvella::testing
