// orvella profile, folders, ls, show and store check, run as separate processes against a store
// this test writes through MAPI.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "hex.h"
#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "profile.h"
#include "run_orvella.h"
#include "store_fixture.h"

namespace {

using nlohmann::json;
using orvella::platform::HexEncode;
using orvella::platform::mapi::AdrListPtr;
using orvella::platform::mapi::ComPtr;
using orvella::testing::CommandResult;
using orvella::testing::Long;
using orvella::testing::MakeFolder;
using orvella::testing::Orvella;
using orvella::testing::SaveIn;
using orvella::testing::TempHome;
using orvella::testing::Text;
namespace store = orvella::platform::mapi::store;

SPropValue Time(ULONG tag, unsigned long long ticks) {
    SPropValue v = {};
    v.ulPropTag = tag;
    v.Value.ft.dwLowDateTime = static_cast<DWORD>(ticks);
    v.Value.ft.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    return v;
}

// 2026-11-23 10:15:00 UTC, plus whole hours.
SPropValue Received(int hours) {
    constexpr unsigned long long kBase = 134399025000000000ULL;
    return Time(PR_MESSAGE_DELIVERY_TIME, kBase + hours * 36'000'000'000ULL);
}

json Json(const CommandResult& run) {
    EXPECT_EQ(run.status, 0) << run.output;
    return json::parse(run.output, nullptr, false);
}

std::string Hex(const std::vector<BYTE>& bytes) {
    return HexEncode(bytes);
}

std::string ReadBytes(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

using StoreCommands = orvella::testing::StoreTest;

TEST_F(StoreCommands, LsListsAFolderNewestFirst) {
    const auto older =
        SaveMessage({Text(PR_SUBJECT_A, "Budget"), Received(0), Text(PR_SENDER_NAME_A, "Ann Lee"),
                     Text(PR_SENDER_EMAIL_ADDRESS_A, "ann@example.org")});
    const auto newer = SaveMessage({Text(PR_SUBJECT_A, "Re: Budget"), Received(3),
                                    Text(PR_SENDER_EMAIL_ADDRESS_A, "bob@example.org")});

    const json listed = Json(Orvella(home_, "ls Inbox --json"));
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0]["entry_id"], Hex(newer));
    EXPECT_EQ(listed[0]["subject"], "Re: Budget");
    EXPECT_EQ(listed[0]["received"], "2026-11-23T13:15:00Z");
    EXPECT_EQ(listed[1]["entry_id"], Hex(older));
    EXPECT_EQ(listed[1]["sender_name"], "Ann Lee");
    EXPECT_EQ(listed[1]["sender"], "ann@example.org");

    const CommandResult text = Orvella(home_, "ls Inbox");
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.output.find(Hex(newer) + "  2026-11-23 13:15  bob@example.org"),
              std::string::npos)
        << text.output;
    EXPECT_LT(text.output.find("Re: Budget"), text.output.find("Ann Lee"));
}

TEST_F(StoreCommands, FolderPathsResolveWhateverTheSeparatorsAndCase) {
    auto projects = MakeFolder(inbox_.Get(), "Projects");
    auto alpha = MakeFolder(projects.Get(), "Alpha");
    const auto eid = SaveIn(alpha.Get(), {Text(PR_SUBJECT_A, "Kick-off")});
    const std::string alpha_hex = Hex(orvella::testing::EntryIdOf(alpha.Get()));

    for (const std::string path : {"Inbox/Projects/Alpha", "'/inbox\\projects\\ALPHA/'",
                                   "' Inbox//Projects/Alpha'", alpha_hex.c_str()}) {
        const json listed = Json(Orvella(home_, "ls " + path + " --json"));
        ASSERT_EQ(listed.size(), 1u) << path;
        EXPECT_EQ(listed[0]["entry_id"], Hex(eid)) << path;
    }

    const CommandResult missing = Orvella(home_, "ls Inbox/Projects/Beta");
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.output.find("no folder \"Beta\" in /Inbox/Projects"), std::string::npos)
        << missing.output;
    const CommandResult other_store = Orvella(home_, "ls Inbox --store Archive");
    EXPECT_EQ(other_store.status, 1);
    EXPECT_NE(other_store.output.find("no store named \"Archive\""), std::string::npos);
}

TEST_F(StoreCommands, FoldersShowsTheTreeWithItemCounts) {
    auto projects = MakeFolder(inbox_.Get(), "Projects");
    SaveMessage({Text(PR_SUBJECT_A, "one")});
    SaveMessage({Text(PR_SUBJECT_A, "two")});
    SaveIn(projects.Get(), {Text(PR_SUBJECT_A, "three")});
    SaveIn(projects.Get(), {Text(PR_MESSAGE_CLASS_A, "IPM.Microsoft.FolderDesign.NamedView")},
           MAPI_ASSOCIATED);

    const json stores = Json(Orvella(home_, "folders --json"));
    ASSERT_EQ(stores.size(), 1u);
    EXPECT_EQ(stores[0]["store"], "Personal Folders");
    const json& inbox = stores[0]["folders"][0];
    EXPECT_EQ(inbox["name"], "Inbox");
    EXPECT_EQ(inbox["items"], 2);
    ASSERT_EQ(inbox["folders"].size(), 1u);
    EXPECT_EQ(inbox["folders"][0]["path"], "/Inbox/Projects");
    EXPECT_EQ(inbox["folders"][0]["items"], 1);
    EXPECT_EQ(inbox["folders"][0]["associated"], 1);
    EXPECT_EQ(stores[0]["folders"][1]["name"], "Outbox");

    const CommandResult text = Orvella(home_, "folders");
    EXPECT_NE(text.output.find(
                  "Personal Folders (default)\n  Inbox (2)\n    Projects (1)\n  Outbox (0)\n"),
              std::string::npos)
        << text.output;
}

TEST_F(StoreCommands, LsOfAssociatedMessagesListsOnlyThem) {
    SaveMessage({Text(PR_SUBJECT_A, "normal")});
    SaveIn(inbox_.Get(), {Text(PR_MESSAGE_CLASS_A, "IPM.Microsoft.FolderDesign.NamedView")},
           MAPI_ASSOCIATED);
    const json associated = Json(Orvella(home_, "ls Inbox --associated --json"));
    ASSERT_EQ(associated.size(), 1u);
    EXPECT_EQ(associated[0]["class"], "IPM.Microsoft.FolderDesign.NamedView");
    const json normal = Json(Orvella(home_, "ls Inbox --json"));
    ASSERT_EQ(normal.size(), 1u);
    EXPECT_EQ(normal[0]["subject"], "normal");
}

TEST_F(StoreCommands, ShowPrintsEveryPropertyAndNamedPropertiesByName) {
    const ULONG thread = NamedLong("OV-ThreadID");
    const std::string body(100'000, 'b');  // too large for GetProps: read through its stream
    auto eid = SaveMessage({Text(PR_SUBJECT_A, "Quarterly\nreport"), Long(PR_IMPORTANCE, 2),
                            Long(thread, 7), Received(0), Text(PR_BODY_A, body.c_str())});
    {
        auto message = Open(eid);
        void* block = nullptr;
        ASSERT_EQ(MAPIAllocateBuffer(CbNewADRLIST(1), &block), S_OK);
        AdrListPtr list(static_cast<LPADRLIST>(block));
        list->cEntries = 1;
        ASSERT_EQ(MAPIAllocateBuffer(3 * sizeof(SPropValue), &block), S_OK);
        auto* props = static_cast<SPropValue*>(block);
        props[0] = Text(PR_DISPLAY_NAME_A, "Carol");
        props[1] = Text(PR_EMAIL_ADDRESS_A, "carol@example.org");
        props[2] = Long(PR_RECIPIENT_TYPE, MAPI_TO);
        list->aEntries[0] = {0, 3, props};
        ASSERT_EQ(message->ModifyRecipients(0, list.Get()), S_OK);
        ASSERT_EQ(message->SaveChanges(0), S_OK);
    }

    const json shown = Json(Orvella(home_, "show " + Hex(eid) + " --json"));
    std::map<std::string, json> values;
    for (const json& prop : shown["properties"]) values[prop["name"]] = prop["value"];
    EXPECT_EQ(values["PR_SUBJECT_A"], "Quarterly\nreport");
    EXPECT_EQ(values["PR_IMPORTANCE"], 2);
    EXPECT_EQ(values["PS_PUBLIC_STRINGS:OV-ThreadID"], 7);
    EXPECT_EQ(values["PR_MESSAGE_DELIVERY_TIME"], "2026-11-23T10:15:00Z");
    EXPECT_EQ(values["PR_ENTRYID"], Hex(eid));
    EXPECT_EQ(values["PR_BODY_A"], body);
    ASSERT_EQ(shown["recipients"].size(), 1u);
    EXPECT_EQ(shown["recipients"][0]["PR_EMAIL_ADDRESS_A"], "carol@example.org");
    EXPECT_EQ(shown["recipients"][0]["PR_RECIPIENT_TYPE"], MAPI_TO);

    const CommandResult text = Orvella(home_, "show " + Hex(eid));
    EXPECT_NE(text.output.find("0x0037001E  PR_SUBJECT_A: Quarterly\\nreport\n"), std::string::npos)
        << text.output;
    EXPECT_NE(text.output.find("PS_PUBLIC_STRINGS:OV-ThreadID: 7\n"), std::string::npos);
    EXPECT_NE(text.output.find("Recipient 1:\n"), std::string::npos);
    EXPECT_NE(text.output.find("PR_BODY_A: bbbb"), std::string::npos);
    EXPECT_NE(text.output.find("... (100000 characters)\n"), std::string::npos);
}

TEST_F(StoreCommands, ShowRefusesWhatIsNoEntryOfTheProfile) {
    auto deleted = SaveMessage({Text(PR_SUBJECT_A, "gone")});
    SBinary bin{static_cast<ULONG>(deleted.size()), deleted.data()};
    ENTRYLIST list{1, &bin};
    ASSERT_EQ(inbox_->DeleteMessages(&list, 0, nullptr, 0), S_OK);

    struct Case {
        std::string argument;
        std::string error;
    } cases[] = {
        {"xyz", "\"xyz\" is not an entry id"},
        {"ABC", "\"ABC\" is not an entry id"},
        {Hex(deleted), "MAPI_E_NOT_FOUND"},
        {std::string(64, 'F'), "MAPI_E_INVALID_ENTRYID"},
    };
    for (const Case& c : cases) {
        const CommandResult run = Orvella(home_, "show " + c.argument);
        EXPECT_EQ(run.status, 1) << c.argument;
        EXPECT_NE(run.output.find(c.error), std::string::npos) << c.argument << ": " << run.output;
    }
}

TEST(ProfileCommand, CreatesTheStoresItNamesAndRefusesToOverwrite) {
    TempHome home;
    const CommandResult created =
        Orvella(home,
                "profile create Work --exchange --store Archive --store 'IMAP Mail' --kind imap "
                "--store Shared --kind public");
    ASSERT_EQ(created.status, 0) << created.output;

    const json profiles = Json(Orvella(home, "profile list --json"));
    ASSERT_EQ(profiles.size(), 1u);
    EXPECT_EQ(profiles[0]["name"], "Work");
    const json& stores = profiles[0]["stores"];
    ASSERT_EQ(stores.size(), 4u);
    const std::pair<const char*, const char*> expected[] = {
        {"Mailbox", "exchange"}, {"Archive", "pst"}, {"IMAP Mail", "imap"}, {"Shared", "public"}};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(stores[i]["name"], expected[i].first);
        EXPECT_EQ(stores[i]["kind"], expected[i].second);
        EXPECT_EQ(stores[i]["default"], i == 0);
    }
    EXPECT_EQ(Json(Orvella(home, "--profile Work folders --json")).size(), 4u);

    const CommandResult again = Orvella(home, "profile create Work");
    EXPECT_EQ(again.status, 1);
    EXPECT_NE(again.output.find("profile \"Work\" already exists"), std::string::npos);
}

TEST(ProfileCommand, RefusesStoresItCannotDescribe) {
    TempHome home;
    const std::pair<const char*, const char*> cases[] = {
        {"profile create --kind imap", "--kind must follow the --store it describes"},
        {"profile create --store A --kind mbox", "unknown store kind \"mbox\""},
        {"folders", "there is no profile \"Outlook\""},
        {"--profile Nobody ls Inbox", "there is no profile \"Nobody\""},
    };
    for (const auto& [args, error] : cases) {
        const CommandResult run = Orvella(home, args);
        EXPECT_EQ(run.status, 1) << args;
        EXPECT_NE(run.output.find(error), std::string::npos) << args << ": " << run.output;
    }
    EXPECT_TRUE(store::ListProfiles().empty());
}

TEST(StoreCheckCommand, NamesTheDamagedStoreFileAndChangesNothing) {
    TempHome home;
    ASSERT_EQ(Orvella(home, "profile create --store Archive").status, 0);
    const CommandResult healthy = Orvella(home, "store check");
    EXPECT_EQ(healthy.status, 0);
    EXPECT_EQ(healthy.output, "Personal Folders: ok\nArchive: ok\n");

    const auto archive = store::ProfileStores("Outlook")[1].file;
    {
        std::fstream file(archive, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(0);
        file << "this is not a message store, whatever its name says";
    }
    const std::string damaged_bytes = ReadBytes(archive);

    const CommandResult damaged = Orvella(home, "store check");
    EXPECT_EQ(damaged.status, 1);
    EXPECT_NE(damaged.output.find("Personal Folders: ok\nArchive: DAMAGED\n"), std::string::npos)
        << damaged.output;
    EXPECT_NE(damaged.output.find(archive.filename().string()), std::string::npos)
        << damaged.output;
    EXPECT_NE(damaged.output.find("1 store of profile \"Outlook\" failed the check"),
              std::string::npos);
    EXPECT_EQ(ReadBytes(archive), damaged_bytes);
}

}  // namespace
