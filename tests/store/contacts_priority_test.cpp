// Contact priority as the user and the contact analysis write it, the do-not-overwrite mark
// and removing contacts from a folder.
#include <gtest/gtest.h>

#include "contacts_fixture.h"
#include "mapiutil.h"

namespace orvella::testing {
namespace {

using ContactPriorityTest = ContactsTest;

TEST_F(ContactPriorityTest, TheUsersChoiceIsKeptFromTheAnalysis) {
    Start();
    ::EntryId id = AddContact("", "Pat", {"pat@example.org"});
    const ItemsPropTagTable& tags = context_->ItemsPropTags();
    ComPtr<IMessage> contact = OpenContact(id);
    EXPECT_EQ(context_->GetContactPriority(contact.Get()), 0);
    EXPECT_TRUE(context_->GetMessageOverwriteFlag(contact.Get()));
    EXPECT_TRUE(context_->GetMessageOverwriteFlag(id));

    context_->SetContactPriority(contact.Get(), CPL_JUNK);
    EXPECT_EQ(context_->GetContactPriority(OpenContact(id).Get()), -2);
    EXPECT_EQ(LongProp(id, tags[IP_CONTACT_SCORE]), std::nullopt);
    EXPECT_FALSE(context_->GetMessageOverwriteFlag(id));
    EXPECT_EQ(ContactPriorityText(context_->GetContactPriority(OpenContact(id).Get())), "Junk");
}

TEST_F(ContactPriorityTest, TheAnalysisWritesScoreAndMarkAsAsked) {
    Start();
    const ItemsPropTagTable& tags = context_->ItemsPropTags();
    struct Case {
        LONG priority;
        LONG score;
        bool doNotOverwrite;
        std::optional<LONG> storedScore;
        bool mayOverwrite;
    } cases[] = {
        {2, -1, true, std::nullopt, true},
        {2, 75, false, 75, true},
        {-1, 0, true, 0, false},
        {1, -5, false, std::nullopt, true},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(n);
        ::EntryId id = AddContact("", "Contact " + std::to_string(n++), {});
        context_->SetContactPriority(id, c.priority, c.score, c.doNotOverwrite);
        EXPECT_EQ(LongProp(id, tags[IP_CONTACT_PRIORITY]), c.priority);
        EXPECT_EQ(LongProp(id, tags[IP_CONTACT_SCORE]), c.storedScore);
        EXPECT_EQ(context_->GetMessageOverwriteFlag(id), c.mayOverwrite);
    }
    CaughtFailure bad =
        CatchFailure([&] { context_->SetContactPriority(::EntryId(), 1, 1, false); });
    EXPECT_EQ(bad.type, "PROGRAM");
    EXPECT_EQ(bad.message, "SetContactPriority::Bad EID");
}

TEST_F(ContactPriorityTest, StoredValuesOutsideTheLevelsDisplayAsNormal) {
    Start();
    ::EntryId id = AddContact("", "Odd", {"odd@example.org"});
    struct Case {
        LONG stored;
        const char* text;
    } cases[] = {{-2, "Junk"},     {-1, "Low"},   {0, "Normal"}, {1, "High"},
                 {2, "Very High"}, {7, "Normal"}, {-3, "Normal"}};
    for (const Case& c : cases) {
        context_->SetContactPriority(OpenContact(id).Get(), c.stored);
        LONG read = context_->GetContactPriority(OpenContact(id).Get());
        EXPECT_EQ(read, c.stored);
        EXPECT_EQ(ContactPriorityText(read), c.text);
    }
}

TEST_F(ContactPriorityTest, DeletedContactsLeaveTheFolder) {
    Start();
    ::EntryId keep = AddContact("Orvella Contacts", "Keep", {"keep@example.org"});
    ::EntryId a = AddContact("Orvella Contacts", "A", {"a@example.org"});
    ::EntryId b = AddContact("Orvella Contacts", "B", {"b@example.org"});
    ComPtr<IMAPIFolder> folder = ContactFolder("Orvella Contacts");
    context_->DeleteItemsFromFolder(context_->GetEID(folder.Get()), {a, b});
    ComPtr<IMAPITable> table;
    ASSERT_EQ(folder->GetContentsTable(0, &table), S_OK);
    ULONG rows = 0;
    ASSERT_EQ(table->GetRowCount(0, &rows), S_OK);
    EXPECT_EQ(rows, 1u);
    EXPECT_TRUE(context_->GetContactEIDByEmail(folder.Get(), "a@example.org").empty());
    EXPECT_FALSE(context_->GetContactEIDByEmail(folder.Get(), "keep@example.org").empty());
}

}  // namespace
}  // namespace orvella::testing
