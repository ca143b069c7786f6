// Finding contacts by address across the contact folders, their e-mails, the contact of a
// message's sender, the reply counter and the search by name.
#include <gtest/gtest.h>

#include "contacts_fixture.h"
#include "mapiutil.h"
#include "store_fixture.h"

namespace orvella::testing {
namespace {

using ContactLookupTest = ContactsTest;

std::string NameOf(COutlookContext& context, const ::EntryId& id) {
    if (id.empty()) return "<none>";
    return context.GetMAPIStringProperty(context.GetMAPIMessage(id).Get(), PR_DISPLAY_NAME_A);
}

TEST_F(ContactLookupTest, AnAddressIsFoundInAnyEmailFieldOrOriginalDisplayName) {
    Start();
    AddContact("", "Pat One", {"pat@one.example", "pat.home@one.example", "p1@one.example"});
    ::EntryId exchange = AddContact("", "Kim Two", {"kim@two.example", "/o=Two/cn=kim"});
    // An address kept only as e-mail 2's original display name, as a directory entry leaves it.
    ComPtr<IMessage> kim = OpenContact(exchange);
    SPropValue shown =
        Text(context_->ContactPropTags()[CP_EMAIL2_DISPLAY_NAME], "kim.s@two.example");
    ASSERT_EQ(HrSetOneProp(kim.Get(), &shown), S_OK);
    ASSERT_EQ(kim->SaveChanges(0), S_OK);

    struct Case {
        const char* address;
        const char* contact;
    } cases[] = {
        {"pat@one.example", "Pat One"},
        {"pat.home@one.example", "Pat One"},
        {"p1@one.example", "Pat One"},
        {"kim@two.example", "Kim Two"},
        {"kim.s@two.example", "Kim Two"},
        {"/o=Two/cn=kim", "Kim Two"},
        {"nobody@one.example", "<none>"},
        {"", "<none>"},
        {"pat@one", "<none>"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(NameOf(*context_, context_->FindContactEIDByEmail(c.address)), c.contact)
            << c.address;
        ComPtr<IMessage> record;
        EXPECT_EQ(context_->GetContactRecordByEmail(record, c.address),
                  std::string(c.contact) == "<none>" ? E_FAIL : S_OK)
            << c.address;
    }
    EXPECT_EQ(context_->GetContactEmails(exchange),
              (std::vector<std::string>{"kim@two.example", "/o=Two/cn=kim", ""}));
    EXPECT_TRUE(context_->IsSameEID(context_->GetPermanentEID(exchange), exchange));
    EXPECT_TRUE(context_->GetPermanentEID(::EntryId()).empty());
}

TEST_F(ContactLookupTest, TheFolderEarlierInTheListWins) {
    Start();
    ContactFolder("Orvella Contacts/Work");
    ContactFolder("Friends");
    Reopen();
    // The contacts folder, then each child followed at once by its own children.
    ASSERT_EQ(context_->ContactFolderEIDs().size(), 4u);
    std::vector<std::string> names;
    for (const ::EntryId& id : context_->ContactFolderEIDs())
        names.push_back(context_->GetMAPIStringProperty(
            context_->GetFolder(context_->MailStore(), id, false).Get(), PR_DISPLAY_NAME_A));
    EXPECT_EQ(names, (std::vector<std::string>{"Contacts", "Orvella Contacts", "Work", "Friends"}));

    AddContact("Friends", "Friend Lee", {"lee@example.org"});
    AddContact("Orvella Contacts/Work", "Work Lee", {"lee@example.org", "lee@work.example"});
    EXPECT_EQ(NameOf(*context_, context_->FindContactEIDByEmail("lee@example.org")), "Work Lee");
    AddContact("", "Lee Everywhere", {"lee@work.example"});
    EXPECT_EQ(NameOf(*context_, context_->FindContactEIDByEmail("lee@work.example")),
              "Lee Everywhere");
    EXPECT_EQ(NameOf(*context_, context_->GetContactEIDByEmail(ContactFolder("Friends").Get(),
                                                               "lee@example.org")),
              "Friend Lee");
}

TEST_F(ContactLookupTest, SendersContactAndRepliesCountedPerRecipient) {
    Start();
    ::EntryId pat = AddContact("", "Pat Sender", {"pat@example.org", "pat@home.example"});
    ComPtr<IMAPIFolder> inbox = context_->GetInboxFolder(true);

    SaveIn(inbox.Get(), {Text(PR_MESSAGE_CLASS_A, "IPM.Note"),
                         Text(PR_SENDER_EMAIL_ADDRESS_A, "pat@home.example")});
    ComPtr<IMAPITable> table;
    ASSERT_EQ(inbox->GetContentsTable(0, &table), S_OK);
    platform::mapi::RowSetPtr rows;
    ASSERT_EQ(table->QueryRows(1, 0, &rows), S_OK);
    ::EntryId messageId(rows->aRow[0].lpProps[0].Value.bin);
    ComPtr<IDispatch> item =
        context_->GetContactEIDFromMessage(context_->GetMAPIMessage(messageId).Get());
    ComPtr<_ContactItem> contact;
    ASSERT_EQ(item.As(IID__ContactItem, contact), S_OK);
    std::string name;
    ASSERT_EQ(contact->get_FullName(&name), S_OK);
    EXPECT_EQ(name, "Pat Sender");
    ComPtr<IMessage> anonymous = context_->GetMAPIMessage(
        ::EntryId(SaveIn(inbox.Get(), {Text(PR_MESSAGE_CLASS_A, "IPM.Note")})));
    EXPECT_FALSE(context_->GetContactEIDFromMessage(anonymous.Get()));

    // A sent message to both of Pat's addresses and to a stranger.
    ComPtr<IMessage> sent;
    ASSERT_EQ(inbox->CreateMessage(nullptr, 0, &sent), S_OK);
    const char* addresses[] = {"pat@example.org", "stranger@example.org", "PAT@home.example"};
    platform::mapi::AdrListPtr recipients;
    ASSERT_EQ(MAPIAllocateBuffer(CbNewADRLIST(3), reinterpret_cast<void**>(&recipients)), S_OK);
    recipients->cEntries = 3;
    for (int i = 0; i < 3; ++i) {
        ADRENTRY& entry = recipients->aEntries[i];
        entry = {0, 2, nullptr};
        ASSERT_EQ(
            MAPIAllocateBuffer(2 * sizeof(SPropValue), reinterpret_cast<void**>(&entry.rgPropVals)),
            S_OK);
        entry.rgPropVals[0] = Text(PR_EMAIL_ADDRESS_A, addresses[i]);
        entry.rgPropVals[1] = Long(PR_RECIPIENT_TYPE, MAPI_TO);
    }
    ASSERT_EQ(sent->ModifyRecipients(MODRECIP_ADD, recipients.Get()), S_OK);
    ASSERT_EQ(sent->SaveChanges(KEEP_OPEN_READWRITE), S_OK);

    const ULONG counter = context_->ItemsPropTags()[IP_CONTACT_REPLY_COUNTER];
    EXPECT_EQ(LongProp(pat, counter), std::nullopt);
    context_->IncrementContactReplyCounter(sent.Get());
    EXPECT_EQ(LongProp(pat, counter), 2);
    context_->IncrementContactReplyCounter(sent.Get());
    EXPECT_EQ(LongProp(pat, counter), 4);
}

TEST_F(ContactLookupTest, FuzzySearchMatchesAnyTokenOfTheName) {
    Start();
    ContactFolder("Orvella Contacts");
    Reopen();
    AddContact("", "Johnny Walker", {"jw@example.org"});
    AddContact("Orvella Contacts", "Anna Smithson", {"anna@example.org"});
    AddContact("", "Maria Lopez", {"maria@example.org"});
    struct Case {
        const char* name;
        std::vector<std::string> found;
    } cases[] = {
        {"john.smith@example.org", {"Johnny Walker", "Anna Smithson"}},
        {"SMITH", {"Anna Smithson"}},
        {"(lopez); [walker]", {"Johnny Walker", "Maria Lopez"}},
        {"'anna'", {"Anna Smithson"}},
        {" ,.:;()[]{}'`\"", {}},
        {"@example.org", {}},
        {"nobody", {}},
    };
    for (const Case& c : cases) {
        std::vector<::EntryId> ids;
        std::vector<std::string> names;
        context_->FuzzySearchAllContactFolders(c.name, ids, names);
        EXPECT_EQ(names, c.found) << c.name;
        ASSERT_EQ(ids.size(), names.size());
        for (size_t i = 0; i < ids.size(); ++i) EXPECT_EQ(NameOf(*context_, ids[i]), names[i]);
    }
}

}  // namespace
}  // namespace orvella::testing
