// The user's identity: addresses from Outlook's accounts and the Exchange session, the lists
// the user keeps, and the questions scoring asks of them.
#include <gtest/gtest.h>

#include "accounts.h"
#include "directory.h"
#include "registry_values.h"
#include "session_fixture.h"

namespace orvella::testing {
namespace {

namespace store = platform::mapi::store;
using Strings = std::vector<std::string>;

class IdentityTest : public SessionTest {
protected:
    std::string SettingText(const char* name) {
        RegKey key;
        EXPECT_EQ(
            RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", 0, KEY_READ, key.put()),
            ERROR_SUCCESS);
        return ReadRegString(key.get(), name).value_or("<absent>");
    }
};

TEST_F(IdentityTest, ListsReadWithAnySeparatorInLowerCase) {
    Install();
    struct Case {
        const char* stored;
        Strings read;
    } cases[] = {
        {"Pat@Example.org; lee@EXAMPLE.org, Kim@example.net",
         {"pat@example.org", "lee@example.org", "kim@example.net"}},
        {"  a@b.c  ", {"a@b.c"}},
        {";;, ,", {}},
        {"", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.stored);
        SetSettingText("RecipientAddresses", c.stored);
        SetSettingText("FriendlyDomains", c.stored);
        auto context = Open();
        EXPECT_EQ(context->UserSpecifiedAddresses(), c.read);
        EXPECT_EQ(context->FriendDomains(), c.read);
    }
    DeleteSetting("RecipientAddresses");
    DeleteSetting("FriendlyDomains");
    auto context = Open();
    EXPECT_EQ(context->UserSpecifiedAddresses(), Strings{});
    EXPECT_EQ(context->FriendDomains(), Strings{});
}

TEST_F(IdentityTest, SavingWritesLowerCaseWithSingleBlanks) {
    Install();
    auto context = Open();
    context->SaveUserSpecifiedEmailAddresses({"Pat@Example.org", "LEE@example.org"});
    EXPECT_EQ(SettingText("RecipientAddresses"), "pat@example.org lee@example.org");
    EXPECT_EQ(context->UserSpecifiedAddresses(), (Strings{"pat@example.org", "lee@example.org"}));
    context->SaveFriendDomains({"Example.ORG"});
    EXPECT_EQ(SettingText("FriendlyDomains"), "example.org");
    context->SaveFriendDomains({});
    EXPECT_EQ(SettingText("FriendlyDomains"), "");
    EXPECT_EQ(context->FriendDomains(), Strings{});
}

TEST_F(IdentityTest, AccountsOfEveryProfileAreTheUsersAddresses) {
    Install();
    store::CreateProfile("Work",
                         std::vector<store::StoreSetup>{
                             {"Personal Folders", store::StoreKind::Personal, true, false}});
    host::AddAccount("Outlook", "Pat@Example.org");
    host::AddAccount("Outlook", "pat.home@example.net");
    host::AddAccount("Work", "pat@work.example");
    host::AddAccount("Work", "sales@work.example");
    EXPECT_EQ(host::AddAccount("Work", "PAT@work.example"), "00000001");  // no second copy
    auto context = Open();
    Strings addresses = context->UserAddresses();
    std::sort(addresses.begin(), addresses.end());
    EXPECT_EQ(addresses, (Strings{"pat.home@example.net", "pat@example.org", "pat@work.example",
                                  "sales@work.example"}));
    EXPECT_TRUE(context->IsUserAddress("PAT@EXAMPLE.ORG"));
    EXPECT_FALSE(context->IsUserAddress("someone@example.org"));
}

TEST_F(IdentityTest, OutlookVersionDecidesWhereAccountsAreRead) {
    Install();
    host::AddAccount("Outlook", "pat@example.org");
    // Outlook 2000's account manager.
    RegKey account;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER,
                              "Software\\Microsoft\\Office\\Outlook\\OMI Account Manager\\Accounts"
                              "\\00000001",
                              0, nullptr, 0, KEY_ALL_ACCESS, nullptr, account.put(), nullptr),
              ERROR_SUCCESS);
    const char address[] = "Old@Example.org";
    ASSERT_EQ(RegSetValueExA(account.get(), "SMTP Email Address", 0, REG_SZ,
                             reinterpret_cast<const BYTE*>(address), sizeof address),
              ERROR_SUCCESS);
    struct Case {
        const char* version;
        Strings addresses;
    } cases[] = {{"9", {"old@example.org"}},
                 {"10", {"pat@example.org"}},
                 {"11", {"pat@example.org"}},
                 {"12", {}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.version);
        SetClassesDefault("Outlook.Application\\CurVer",
                          std::string("Outlook.Application.") + c.version);
        EXPECT_EQ(Open()->UserAddresses(), c.addresses);
    }
    EXPECT_NE(LogText().find("WARNING: (PROGRAM, COutlookContext, "), std::string::npos);
    EXPECT_NE(LogText().find("GetUserEmailAddresses::Outlook version not recognized"),
              std::string::npos);
}

TEST_F(IdentityTest, ExchangeUsersNativeAddressIsTheirs) {
    Install({}, true);
    // The installation's Exchange mailbox belongs to the directory's user.
    store::AddDirectoryEntry(store::DefaultProfileName(), {"Pat Lee", "pat@example.org", "", {}},
                             true);
    auto context = Open();
    ASSERT_TRUE(context->ExchangeModeAtStart());
    EXPECT_EQ(context->GetDefaultExchangeUserAddress(),
              "/o=orvella/ou=exchange administrative group/cn=recipients/cn=pat");
    EXPECT_TRUE(
        context->IsUserAddress("/o=Orvella/ou=Exchange Administrative Group/cn=Recipients/cn=pat"));
}

TEST_F(IdentityTest, FriendlyDomainsAndTheProductsOwn) {
    Install();
    SetSettingText("FriendlyDomains", "Example.ORG partner.example");
    auto context = Open();
    struct Case {
        const char* address;
        bool friendly;
    } cases[] = {{"pat@example.org", true},      {"Pat@EXAMPLE.org", true},
                 {"kim@partner.example", true},  {"support@orvella.com", true},
                 {"pat@sub.example.org", false}, {"example.org", false},
                 {"@example.org", false},        {"pat@other.example", false}};
    for (const Case& c : cases)
        EXPECT_EQ(context->IsFriendDomain(c.address), c.friendly) << c.address;

    SetSettingText("VendorDomain", "Orvella.Example");
    auto configured = Open();
    EXPECT_TRUE(configured->IsFriendDomain("pat@orvella.example"));
    EXPECT_FALSE(configured->IsFriendDomain("pat@orvella.com"));
}

}  // namespace
}  // namespace orvella::testing
