// The contact folders at start-up: the temporary record that names Outlook's contact
// properties, the setup markers, and the directory of Exchange-like profiles.
#include <gtest/gtest.h>

#include "contacts_fixture.h"
#include "directory.h"
#include "mapiutil.h"

namespace orvella::testing {
namespace {

using ContactSetupTest = ContactsTest;

ULONG RowCount(IMAPIFolder* folder, ULONG flags = 0) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(folder->GetContentsTable(flags, &table), S_OK);
    ULONG rows = 0;
    EXPECT_EQ(table->GetRowCount(0, &rows), S_OK);
    return rows;
}

TEST_F(ContactSetupTest, AnEmptyContactsFolderStaysEmptyButItsPropertiesResolve) {
    Start();
    EXPECT_EQ(RowCount(context_->GetContactsFolder().Get()), 0u);
    for (size_t i = 0; i < CONTACT_PROP_COUNT; ++i) {
        EXPECT_GE(PROP_ID(context_->ContactPropTags()[i]), 0x8000u) << i;
        EXPECT_EQ(PROP_TYPE(context_->ContactPropTags()[i]), kContactPropDefinitions[i].type) << i;
    }
    EXPECT_EQ(LogText().find("InitContactProps"), std::string::npos) << LogText();

    // A folder that holds contacts gets no temporary record.
    AddContact("", "Pat", {"pat@example.org"});
    Reopen();
    EXPECT_EQ(RowCount(context_->GetContactsFolder().Get()), 1u);
    EXPECT_EQ(context_->GetMAPIStringProperty(
                  OpenContact(context_->FindContactEIDByEmail("pat@example.org")).Get(),
                  PR_DISPLAY_NAME_A),
              "Pat");
}

TEST_F(ContactSetupTest, StartUpMarksTheInboxAndTheAddinsContactsFolder) {
    Start();
    EXPECT_EQ(context_->IsSynchronizedSinceInstall(), 0);
    EXPECT_EQ(RowCount(context_->GetInboxFolder().Get(), MAPI_ASSOCIATED) > 0, true);
    // No contacts folder of the add-in yet.
    EXPECT_EQ(context_->IsContactFolderAvailableOffline(), E_FAIL);

    ComPtr<IMAPIFolder> appContacts = ContactFolder("Orvella Contacts");
    EXPECT_EQ(context_->IsFolderMarked(appContacts.Get()), 1);
    EXPECT_EQ(context_->IsContactFolderAvailableOffline(), 1);
    // The test record is gone again.
    EXPECT_EQ(RowCount(appContacts.Get(), MAPI_ASSOCIATED), 0u);

    Reopen();
    appContacts = ContactFolder("Orvella Contacts");
    EXPECT_EQ(context_->IsFolderMarked(appContacts.Get()), 0);
    EXPECT_EQ(context_->IsContactFolderAvailableOffline(), 0);
    EXPECT_EQ(RowCount(appContacts.Get(), MAPI_ASSOCIATED), 1u);
    // A second start adds no second marker.
    Reopen();
    EXPECT_EQ(RowCount(ContactFolder("Orvella Contacts").Get(), MAPI_ASSOCIATED), 1u);

    ComPtr<IMAPIFolder> other = ContactFolder("Other");
    EXPECT_EQ(context_->IsFolderMarked(other.Get()), 1);
    context_->MarkAppContactFolder(other.Get());
    EXPECT_EQ(context_->IsFolderMarked(other.Get()), 0);
}

TEST_F(ContactSetupTest, WithoutADirectoryNothingResolves) {
    Start();
    EXPECT_FALSE(context_->HasDirectory());
    EXPECT_EQ(context_->ResolveEmailAddressFromAB("pat@example.org"), E_FAIL);
    EXPECT_TRUE(context_->GetEmailAliases("pat@example.org").empty());
}

TEST_F(ContactSetupTest, AnExchangeLikeDirectoryResolvesAddressesAndListsAliases) {
    Install({}, true);
    platform::mapi::store::AddDirectoryEntry(
        platform::mapi::store::DefaultProfileName(),
        {"Robin Park", "robin@corp.example", "rpark", {"robin.park@corp.example", "X500:/o=old"}});
    platform::mapi::store::AddDirectoryEntry(platform::mapi::store::DefaultProfileName(),
                                             {"Sam Lee", "sam@corp.example", "", {}});
    Reopen();
    ASSERT_TRUE(context_->HasDirectory());
    struct Case {
        const char* address;
        HRESULT known;
    } cases[] = {
        {"robin@corp.example", 0},
        {"ROBIN.PARK@corp.example", 0},
        {"sam@corp.example", 0},
        {"stranger@corp.example", 1},
        {"", 1},
    };
    for (const Case& c : cases)
        EXPECT_EQ(context_->ResolveEmailAddressFromAB(c.address), c.known) << c.address;

    EXPECT_EQ(context_->GetEmailAliases("robin.park@corp.example"),
              (std::vector<std::string>{
                  "robin@corp.example", "robin.park@corp.example",
                  "/o=Orvella/ou=Exchange Administrative Group/cn=Recipients/cn=rpark"}));
    // Asked by the mailbox name, the directory's own address is not added.
    EXPECT_EQ(context_->GetEmailAliases("rpark"),
              (std::vector<std::string>{"robin@corp.example", "robin.park@corp.example"}));
    EXPECT_TRUE(context_->GetEmailAliases("stranger@corp.example").empty());
}

}  // namespace
}  // namespace orvella::testing
