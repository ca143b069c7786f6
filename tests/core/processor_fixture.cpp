// The processor fixture: the user's identity, ranked contacts and arriving mail.
#include "processor_fixture.h"

#include "CStatistics.h"
#include "mapi_values.h"
#include "mapiguid.h"
#include "mapiutil.h"
#include "msg_props.h"
#include "registry_values.h"

namespace orvella::testing {

using platform::mapi::ComPtr;
using platform::mapi::LongValue;
using platform::mapi::MapiBuffer;

void ProcessorTest::StartWithUser(const std::string& friendlyDomains) {
    Install();
    SetSettingText("RecipientAddresses", kUserAddress);
    if (!friendlyDomains.empty()) SetSettingText("FriendlyDomains", friendlyDomains);
    Reopen();
    CStatistics::Instance().Clear();
}

::EntryId ProcessorTest::AddRankedContact(const std::string& address, std::optional<LONG> priority,
                                          std::optional<LONG> replyCounter) {
    ::EntryId id = AddContact("", "Contact " + address, {address});
    ComPtr<IMessage> contact = OpenContact(id);
    std::vector<SPropValue> values;
    const ItemsPropTagTable& tags = context_->ItemsPropTags();
    if (priority) values.push_back(LongValue(tags[IP_CONTACT_PRIORITY], *priority));
    if (replyCounter) values.push_back(LongValue(tags[IP_CONTACT_REPLY_COUNTER], *replyCounter));
    if (values.empty()) return id;
    EXPECT_EQ(contact->SetProps(static_cast<ULONG>(values.size()), values.data(), nullptr), S_OK);
    EXPECT_EQ(contact->SaveChanges(0), S_OK);
    return id;
}

::EntryId ProcessorTest::Deliver(const TestMail& mail, IMAPIFolder* folder) {
    ComPtr<IMAPIFolder> inbox;
    if (!folder) {
        inbox = context_->GetInboxFolder(true);
        folder = inbox.Get();
    }
    return ::EntryId(SaveMail(folder, mail));
}

void ProcessorTest::Delete(const ::EntryId& message) {
    SBinary entry = {message.cb(), const_cast<BYTE*>(message.bytes().data())};
    ENTRYLIST list = {1, &entry};
    EXPECT_EQ(context_->GetInboxFolder(true)->DeleteMessages(&list, 0, nullptr, 0), S_OK);
}

void ProcessorTest::SetScoring(const char* name, DWORD value) {
    RegKey key;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor\\Scoring", 0, nullptr,
                              0, KEY_ALL_ACCESS, nullptr, key.put(), nullptr),
              ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExA(key.get(), name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                             sizeof value),
              ERROR_SUCCESS);
}

std::optional<LONG> ProcessorTest::LongOf(const ::EntryId& message, ItemsProp prop) {
    MapiBuffer<SPropValue> value;
    if (FAILED(HrGetOneProp(context_->GetMAPIMessage(message).Get(),
                            context_->ItemsPropTags()[prop], &value)))
        return std::nullopt;
    return value->Value.l;
}

std::optional<std::string> ProcessorTest::TextOf(const ::EntryId& message, ItemsProp prop) {
    MapiBuffer<SPropValue> value;
    if (FAILED(HrGetOneProp(context_->GetMAPIMessage(message).Get(),
                            context_->ItemsPropTags()[prop], &value)))
        return std::nullopt;
    return std::string(value->Value.lpszA);
}

MapiBuffer<SPropValue> ProcessorTest::PropsOf(IMessage* message) {
    MapiBuffer<SPropValue> props;
    EXPECT_TRUE(SUCCEEDED(ReadMsgProps(message, props)));
    return props;
}

MsgThreadPtr ProcessorTest::ThreadOf(const std::string& subject) {
    MsgThreadPtr thread;
    context_->FindThreadByName(context_->GetThreadNameFromSubject(subject.c_str()), thread);
    return thread;
}

}  // namespace orvella::testing
