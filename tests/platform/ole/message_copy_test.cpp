// CopyTo between store messages and messages on storage, both ways, named properties included.
#include <gtest/gtest.h>

#include "mapiguid.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "ole_test_support.h"

namespace orvella::testing {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;

// The id an object gives the name (PS_PUBLIC_STRINGS, `name`), created when asked.
ULONG NamedId(IMAPIProp* object, const wchar_t* name, ULONG flags) {
    std::wstring text(name);
    MAPINAMEID id = {};
    id.lpguid = const_cast<GUID*>(&PS_PUBLIC_STRINGS);
    id.ulKind = MNID_STRING;
    id.Kind.lpwstrName = text.data();
    LPMAPINAMEID list[] = {&id};
    MapiBuffer<SPropTagArray> tags;
    if (FAILED(object->GetIDsFromNames(1, list, flags, &tags)) ||
        PROP_TYPE(tags->aulPropTag[0]) == PT_ERROR)
        return 0;
    return PROP_ID(tags->aulPropTag[0]);
}

void SetText(IMAPIProp* object, ULONG tag, const char* text) {
    std::string copy(text);
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.lpszA = copy.data();
    ASSERT_EQ(S_OK, HrSetOneProp(object, &value));
}

void AddRecipient(IMessage* message, const char* name, const char* address) {
    std::string n(name), a(address), type("SMTP");
    SPropValue values[4] = {};
    values[0].ulPropTag = PR_DISPLAY_NAME_A;
    values[0].Value.lpszA = n.data();
    values[1].ulPropTag = PR_EMAIL_ADDRESS_A;
    values[1].Value.lpszA = a.data();
    values[2].ulPropTag = PR_ADDRTYPE_A;
    values[2].Value.lpszA = type.data();
    values[3].ulPropTag = PR_RECIPIENT_TYPE;
    values[3].Value.l = MAPI_TO;
    SizedADRLIST(1, list) = {1, {{0, 4, values}}};
    ASSERT_EQ(S_OK, message->ModifyRecipients(MODRECIP_ADD, reinterpret_cast<LPADRLIST>(&list)));
}

std::vector<std::string> Recipients(IMessage* message) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(S_OK, message->GetRecipientTable(0, &table));
    SizedSPropTagArray(2, columns) = {2, {PR_DISPLAY_NAME_A, PR_EMAIL_ADDRESS_A}};
    RowSetPtr rows;
    EXPECT_EQ(S_OK, HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns),
                                   nullptr, nullptr, 0, &rows));
    std::vector<std::string> out;
    for (ULONG i = 0; rows && i < rows->cRows; ++i)
        out.push_back(std::string(rows->aRow[i].lpProps[0].Value.lpszA) + " <" +
                      rows->aRow[i].lpProps[1].Value.lpszA + ">");
    return out;
}

TEST(MessageCopyTest, FileMessageCopiesIntoTheStoreWithItsNamesMapped) {
    StoreFixture fixture;
    // The store already uses an id for another name, so the file's ids cannot be taken as they are.
    ComPtr<IMAPIFolder> inbox = fixture.Inbox();
    ComPtr<IMessage> other;
    ASSERT_EQ(S_OK, inbox->CreateMessage(nullptr, 0, &other));
    const ULONG taken = NamedId(other.Get(), L"Taken", MAPI_CREATE);
    ASSERT_NE(0u, taken);

    const auto path = fixture.home() / "view.msg";
    {
        FileMessageHandle file;
        CreateMessageFile(path, file);
        SetText(file.message.Get(), PR_MESSAGE_CLASS_A, "IPM.Microsoft.FolderDesign.NamedView");
        SetText(file.message.Get(), PR_SUBJECT_A, "Orvella Prioritized");
        const ULONG score = NamedId(file.message.Get(), L"OV-Score", MAPI_CREATE);
        ASSERT_EQ(0x8000u, score);
        SetText(file.message.Get(), PROP_TAG(PT_STRING8, score), "high");
        AddRecipient(file.message.Get(), "Ann", "ann@example.org");
        ASSERT_EQ(S_OK, file.message->SaveChanges(0));
    }
    FileMessageHandle file;
    OpenMessageFile(path, file);
    ComPtr<IMessage> copy;
    ASSERT_EQ(S_OK, inbox->CreateMessage(nullptr, MAPI_ASSOCIATED, &copy));
    ASSERT_EQ(S_OK, file.message->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, copy.Get(),
                                         0, nullptr));
    ASSERT_EQ(S_OK, copy->SaveChanges(KEEP_OPEN_READWRITE));

    const ULONG score = NamedId(copy.Get(), L"OV-Score", 0);
    ASSERT_NE(0u, score);
    EXPECT_NE(taken, score);
    EXPECT_EQ("high", PropText(copy.Get(), PROP_TAG(PT_STRING8, score)));
    EXPECT_EQ("<missing>", PropText(copy.Get(), PROP_TAG(PT_STRING8, taken)));
    EXPECT_EQ("Orvella Prioritized", PropText(copy.Get(), PR_SUBJECT_A));
    EXPECT_EQ("IPM.Microsoft.FolderDesign.NamedView", PropText(copy.Get(), PR_MESSAGE_CLASS_A));
    EXPECT_EQ((std::vector<std::string>{"Ann <ann@example.org>"}), Recipients(copy.Get()));
}

TEST(MessageCopyTest, StoreMessageCopiesIntoAFileAndBackUnchanged) {
    StoreFixture fixture;
    ComPtr<IMAPIFolder> inbox = fixture.Inbox();
    ComPtr<IMessage> original;
    ASSERT_EQ(S_OK, inbox->CreateMessage(nullptr, 0, &original));
    SetText(original.Get(), PR_SUBJECT_A, "Round trip");
    SetText(original.Get(), PR_BODY_A, "Body text\r\nsecond line");
    // Named ids of the store that a fresh file would give to other names.
    NamedId(original.Get(), L"Taken", MAPI_CREATE);
    const ULONG topic = PROP_TAG(PT_STRING8, NamedId(original.Get(), L"OV-Topic", MAPI_CREATE));
    SetText(original.Get(), topic, "Budget");
    AddRecipient(original.Get(), "Bob", "bob@example.net");
    AddRecipient(original.Get(), "Cy", "cy@example.com");
    ASSERT_EQ(S_OK, original->SaveChanges(KEEP_OPEN_READWRITE));

    const auto path = fixture.home() / "saved.msg";
    {
        FileMessageHandle file;
        CreateMessageFile(path, file);
        ASSERT_EQ(S_OK, original->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage,
                                         file.message.Get(), 0, nullptr));
        ASSERT_EQ(S_OK, file.message->SaveChanges(0));
    }
    FileMessageHandle file;
    OpenMessageFile(path, file);
    EXPECT_EQ("Round trip", PropText(file.message.Get(), PR_SUBJECT_A));
    EXPECT_EQ((std::vector<std::string>{"Bob <bob@example.net>", "Cy <cy@example.com>"}),
              Recipients(file.message.Get()));
    const ULONG file_topic = NamedId(file.message.Get(), L"OV-Topic", 0);
    ASSERT_NE(0u, file_topic);
    EXPECT_NE(PROP_ID(topic), file_topic);
    EXPECT_EQ("Budget", PropText(file.message.Get(), PROP_TAG(PT_STRING8, file_topic)));
    EXPECT_EQ(0u, NamedId(file.message.Get(), L"Taken", 0));

    ComPtr<IMessage> back;
    ASSERT_EQ(S_OK, inbox->CreateMessage(nullptr, 0, &back));
    ASSERT_EQ(S_OK, file.message->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, back.Get(),
                                         0, nullptr));
    ASSERT_EQ(S_OK, back->SaveChanges(0));
    EXPECT_EQ("Round trip", PropText(back.Get(), PR_SUBJECT_A));
    EXPECT_EQ("Body text\r\nsecond line", PropText(back.Get(), PR_BODY_A));
    EXPECT_EQ("Budget", PropText(back.Get(), topic));
    EXPECT_EQ((std::vector<std::string>{"Bob <bob@example.net>", "Cy <cy@example.com>"}),
              Recipients(back.Get()));
}

}  // namespace
}  // namespace orvella::testing
