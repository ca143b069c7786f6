// Opening the store session: install directory, Outlook version, the stores it chooses, the
// standard folders, and the failures of each step.
#include <gtest/gtest.h>

#include "addin_ids.h"
#include "installation.h"
#include "mapiutil.h"
#include "outlook_application.h"
#include "session_fixture.h"

namespace orvella::testing {
namespace {

namespace store = platform::mapi::store;
using store::StoreKind;

using StoreSessionTest = SessionTest;

TEST_F(StoreSessionTest, FreshInstallationOpensTheDefaultStoreAndItsStandardFolders) {
    Install();
    auto context = Open();
    EXPECT_EQ(context->OutlookVersion(), "11");
    EXPECT_EQ(context->InstallDirectory(), host::DefaultInstallDirectory().string());
    EXPECT_EQ(context->ViewsDirectory(), host::DefaultInstallDirectory().string() + "/Views");
    EXPECT_EQ(context->TopicFolderLocation(), "/Inbox/Orvella Topics");
    EXPECT_EQ(context->AppStore(), context->MailStore());
    EXPECT_TRUE(context->IsSameEID(context->ThreadFolderEID(), context->InboxEID()));
    EXPECT_FALSE(context->IsExchangeMode());

    // Each standard folder is the one Outlook's object model names.
    struct Expected {
        Outlook::OlDefaultFolders folder;
        const ::EntryId& entryId;
    } expected[] = {{Outlook::olFolderInbox, context->InboxEID()},
                    {Outlook::olFolderSentMail, context->SentItemsEID()},
                    {Outlook::olFolderDeletedItems, context->WastebasketEID()},
                    {Outlook::olFolderContacts, context->ContactsEID()}};
    for (const Expected& e : expected) {
        ComPtr<MAPIFolder> folder;
        ASSERT_EQ(nameSpace_->GetDefaultFolder(e.folder, &folder), S_OK);
        std::string hex;
        ASSERT_EQ(folder->get_EntryID(&hex), S_OK);
        EXPECT_TRUE(context->IsSameEID(::EntryId::FromHex(hex), e.entryId)) << e.folder;
    }
}

TEST_F(StoreSessionTest, OutlookVersionComesFromTheClassesRoot) {
    struct Case {
        const char* curVer;
        const char* version;  // nullptr: construction fails
    } cases[] = {
        {"Outlook.Application.11", "11"}, {"Outlook.Application.9", "9"},
        {"Outlook.Application.10", "10"}, {"Outlook.Application.", nullptr},
        {"Word.Application.11", nullptr}, {"", nullptr},  // no key at all
    };
    Install();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.curVer);
        SetClassesDefault("Outlook.Application\\CurVer", c.curVer);
        if (c.version) {
            EXPECT_EQ(Open()->OutlookVersion(), c.version);
            continue;
        }
        CaughtFailure failure = CatchFailure([&] { Open(); });
        EXPECT_EQ(failure.type, "PROGRAM");
        EXPECT_EQ(failure.message, "Could not find Outlook version");
    }
}

TEST_F(StoreSessionTest, InstallDirectoryFallsBackToTheAddInsRegistration) {
    Install();
    DeleteSetting("HomeDir");
    const std::string server = std::string(kConnectClassKey) + "\\InprocServer32";
    SetClassesDefault(server, "/opt/orvella\\bin\\orvella-addin.dll");
    EXPECT_EQ(Open()->InstallDirectory(), "/opt/orvella\\bin");

    SetClassesDefault(server, "");
    CaughtFailure failure = CatchFailure([&] { Open(); });
    EXPECT_EQ(failure.type, "PROGRAM");
    EXPECT_EQ(failure.message, "Could not find install directory");
    EXPECT_EQ(failure.details,
              "Orvella for Outlook could not find the install directory for the application");
}

TEST_F(StoreSessionTest, DatastoreValueChoosesTheMailStoreAndABadOneFails) {
    Install({{"Personal Folders", StoreKind::Personal, true, false},
             {"Archive", StoreKind::Personal, false, false}});
    Open();  // logs on, so that the stores can be named
    const ::EntryId archive = StoreEntryId("Archive");
    SetSettingBinary("Datastore", archive.bytes());
    auto context = Open();
    EXPECT_TRUE(context->IsSameEID(context->DatastoreEID(), archive));
    EXPECT_EQ(context->AppStore(), context->MailStore());

    SetSettingBinary("Datastore", {0xDE, 0xAD, 0xBE, 0xEF});
    CaughtFailure failure = CatchFailure([&] { Open(); });
    EXPECT_EQ(failure.type, "MAPI");
    EXPECT_EQ(failure.message, "OpenMsgStore failed");
    EXPECT_NE(failure.code, 0);
}

TEST_F(StoreSessionTest, AppDatastoreOfAnotherStoreHoldsTheTopicRoot) {
    Install({{"Personal Folders", StoreKind::Personal, true, false},
             {"Topics", StoreKind::Personal, false, false}});
    Open();
    SetSettingBinary("AppDatastore", StoreEntryId("Topics").bytes());
    auto context = Open();
    ASSERT_NE(context->AppStore(), context->MailStore());
    context->Initialize();
    ASSERT_FALSE(context->TopicRootEID().empty());
    ComPtr<IMAPIFolder> inTopics = context->GetFolder(
        context->GetFolder(context->AppStore(), context->AppSubtreeEID(), false).Get(),
        "Inbox/Orvella Topics");
    EXPECT_TRUE(inTopics);
    ComPtr<IMAPIFolder> inMail = context->GetFolder(
        context->GetFolder(context->MailStore(), context->SubtreeEID(), false).Get(),
        "Inbox/Orvella Topics");
    EXPECT_FALSE(inMail);
}

// The entry id of the default store of another profile: a store this profile does not hold,
// as when the user removed it.
::EntryId ForeignStoreEntryId() {
    store::CreateProfile("Elsewhere", std::vector<store::StoreSetup>{
                                          {"Old Topics", StoreKind::Personal, true, false}});
    EXPECT_EQ(MAPIInitialize(nullptr), S_OK);
    struct Uninitialize {
        ~Uninitialize() { MAPIUninitialize(); }
    } uninitialize;
    ComPtr<IMAPISession> session;
    EXPECT_EQ(MAPILogonEx(0, const_cast<LPTSTR>("Elsewhere"), nullptr, MAPI_EXTENDED, &session),
              S_OK);
    ComPtr<IMAPITable> table;
    EXPECT_EQ(session->GetMsgStoresTable(0, &table), S_OK);
    SizedSPropTagArray(1, columns) = {1, {PR_ENTRYID}};
    platform::mapi::RowSetPtr rows;
    EXPECT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              S_OK);
    return ::EntryId(rows->aRow[0].lpProps[0].Value.bin);
}

TEST_F(StoreSessionTest, RemovedAppDatastoreFallsBackToTheMailStoreAndSaysSoOnce) {
    Install();
    SetSettingBinary("AppDatastore", ForeignStoreEntryId().bytes());
    dialogs_.OnMessageBox("unable to open the datastore specified for storage of Topic Folders")
        .WithCaption("Orvella")
        .Answer(IDOK);
    auto context = Open();
    EXPECT_EQ(context->AppStore(), context->MailStore());
    EXPECT_FALSE(SettingBinary("AppDatastore"));
    Open();  // the value is gone: no second message
    dialogs_.Verify();
    size_t boxes = 0;
    for (const auto& record : dialogs_.Records())
        if (record.shown.kind == platform::gui::DialogKind::MessageBox) ++boxes;
    EXPECT_EQ(boxes, 1u);
}

TEST_F(StoreSessionTest, DatastoreListLeavesOutPublicFoldersAndAccountStores) {
    Install({{"Mailbox - Pat", StoreKind::Exchange, true, false},
             {"Public Folders", StoreKind::Public, false, false},
             {"IMAP Mail", StoreKind::Imap, false, false},
             {"Hotmail", StoreKind::Http, false, false},
             {"Archive", StoreKind::Personal, false, false}},
            true);
    auto context = Open();
    EXPECT_TRUE(context->IsExchangeMode());
    std::vector<std::string> names;
    std::vector<::EntryId> ids;
    context->GetDatastoreList(names, ids);
    EXPECT_EQ(names, (std::vector<std::string>{"Mailbox - Pat (Primary)", "Archive"}));
    ASSERT_EQ(ids.size(), 2u);
    EXPECT_TRUE(context->IsSameEID(ids[0], context->DatastoreEID()));

    EXPECT_EQ(context->IsIMAPDatastore(StoreEntryId("IMAP Mail")), 0);
    EXPECT_EQ(context->IsHotmailDatastore(StoreEntryId("Hotmail")), 0);
    EXPECT_EQ(context->IsIMAPDatastore(StoreEntryId("Archive")), 1);
    EXPECT_EQ(context->IsHotmailDatastore(StoreEntryId("IMAP Mail")), 1);
}

struct ConnectionCase {
    const char* version;
    bool offline;
    Outlook::OlExchangeConnectionMode mode;
    bool isOffline;
    bool isCached;
};

class ConnectionStateTest : public SessionTest {
protected:
    void Check(const std::vector<ConnectionCase>& cases) {
        for (const ConnectionCase& c : cases) {
            SCOPED_TRACE(std::string(c.version) + " mode " + std::to_string(c.mode) +
                         (c.offline ? " offline" : ""));
            SetClassesDefault("Outlook.Application\\CurVer",
                              std::string("Outlook.Application.") + c.version);
            host::outlook::SaveOutlookState(store::DefaultProfileName(), {c.offline, c.mode});
            auto context = Open();
            EXPECT_EQ(context->IsOffline(), c.isOffline);
            EXPECT_EQ(context->IsCachedMode(), c.isCached);
        }
    }
};

TEST_F(ConnectionStateTest, ExchangeProfileFollowsTheConnectionMode) {
    Install({}, true);
    Check({
        {"11", false, Outlook::olOnline, false, false},
        {"11", false, Outlook::olCachedConnectedFull, false, true},
        {"11", false, Outlook::olCachedConnectedHeaders, false, true},
        {"11", false, Outlook::olCachedOffline, true, true},
        {"11", false, Outlook::olCachedDisconnected, true, true},
        {"11", false, Outlook::olOffline, true, false},
        {"11", false, Outlook::olDisconnected, true, false},
        {"11", false, Outlook::olNoExchange, false, true},  // the Exchange mode decides
        {"9", false, Outlook::olOffline, false, false},     // the store says online
    });
}

TEST_F(ConnectionStateTest, ProfileWithoutExchangeFollowsTheOfflineFlag) {
    Install();
    Check({
        {"11", true, Outlook::olNoExchange, true, false},
        {"11", false, Outlook::olNoExchange, false, false},
        {"10", true, Outlook::olOffline, true, false},
        {"10", false, Outlook::olOffline, false, false},
        {"12", true, Outlook::olOffline, false, false},
    });
}

}  // namespace
}  // namespace orvella::testing
