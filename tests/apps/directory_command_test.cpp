// orvella profile create --user and orvella directory add|list|remove, run as a user runs them,
// and what the address book of a session then serves.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "hex.h"
#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "run_orvella.h"

namespace {

using nlohmann::json;
using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::testing::CommandResult;
using orvella::testing::Orvella;
using orvella::testing::TempHome;

json Listed(const TempHome& home) {
    const CommandResult run = Orvella(home, "directory list --json");
    EXPECT_EQ(run.status, 0) << run.output;
    return json::parse(run.output, nullptr, false);
}

// The primary SMTP address of the directory entry with this (hex) entry id, opened through a
// MAPI session on the profile; empty when the session cannot open it.
std::string AddressOfEntry(const std::string& entry_id) {
    EXPECT_EQ(MAPIInitialize(nullptr), S_OK);
    std::string address;
    {
        ComPtr<IMAPISession> session;
        EXPECT_EQ(MAPILogonEx(0, nullptr, nullptr, MAPI_EXTENDED | MAPI_USE_DEFAULT, &session),
                  S_OK);
        auto id = orvella::platform::HexDecode(entry_id).value_or(std::vector<std::uint8_t>{});
        ComPtr<IMailUser> user;
        ULONG type = 0;
        // The opened object reaches `user` when the statement that opens it ends.
        const HRESULT opened = session->OpenEntry(static_cast<ULONG>(id.size()),
                                                  reinterpret_cast<LPENTRYID>(id.data()), nullptr,
                                                  0, &type, user.PutUnknown());
        MapiBuffer<SPropValue> smtp;
        if (opened == S_OK && HrGetOneProp(user.Get(), PR_SMTP_ADDRESS_A, &smtp) == S_OK)
            address = smtp->Value.lpszA;
    }
    MAPIUninitialize();
    return address;
}

TEST(DirectoryCommands, AddListAndRemoveRoundTripThroughTheProfile) {
    TempHome home;
    ASSERT_EQ(Orvella(home, "profile create --exchange --user 'Pat Doe' --address pat@orvella.test")
                  .status,
              0);
    const CommandResult added =
        Orvella(home,
                "directory add --name 'Ann Lee' --address ann.lee@example.org --alias annl"
                " --proxy smtp:ann@example.com --proxy X500:/o=Old/cn=annlee");
    EXPECT_EQ(added.status, 0) << added.output;
    EXPECT_EQ(added.output,
              "Added \"Ann Lee\" <ann.lee@example.org> (alias annl) to the directory\n");

    json listed = Listed(home);
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0]["name"], "Pat Doe");
    EXPECT_EQ(listed[0]["alias"], "pat");
    EXPECT_EQ(listed[0]["user"], true);
    EXPECT_EQ(listed[0]["native_address"],
              "/o=Orvella/ou=Exchange Administrative Group/cn=Recipients/cn=pat");
    EXPECT_EQ(listed[0]["proxies"], json({"SMTP:pat@orvella.test"}));
    EXPECT_EQ(listed[1]["address"], "ann.lee@example.org");
    EXPECT_EQ(listed[1]["user"], false);
    EXPECT_EQ(listed[1]["proxies"],
              json({"SMTP:ann.lee@example.org", "smtp:ann@example.com", "X500:/o=Old/cn=annlee"}));
    const std::string ann_id = listed[1]["entry_id"];
    EXPECT_EQ(AddressOfEntry(ann_id), "ann.lee@example.org");

    const CommandResult text = Orvella(home, "directory list");
    EXPECT_EQ(text.output,
              "Pat Doe <pat@orvella.test> alias pat (the profile's user)\n"
              "Ann Lee <ann.lee@example.org> alias annl\n"
              "  smtp:ann@example.com\n"
              "  X500:/o=Old/cn=annlee\n");

    const CommandResult removed = Orvella(home, "directory remove ANN.LEE@example.org");
    EXPECT_EQ(removed.status, 0) << removed.output;
    listed = Listed(home);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0]["name"], "Pat Doe");
    EXPECT_EQ(AddressOfEntry(ann_id), "");
}

TEST(DirectoryCommands, MistakesAreReportedAndChangeNothing) {
    TempHome home;
    ASSERT_EQ(Orvella(home, "profile create --exchange --user 'Pat Doe' --address pat@orvella.test")
                  .status,
              0);
    ASSERT_EQ(Orvella(home, "profile create Home").status, 0);
    const struct {
        const char* args;
        const char* message;
    } cases[] = {
        {"directory add --name Pat --address PAT@orvella.test",
         "orvella: the directory already has the address \"PAT@orvella.test\"\n"},
        {"directory add --name Kim --address kim.example.org",
         "orvella: \"kim.example.org\" is not an e-mail address\n"},
        {"directory remove pat@orvella.test",
         "orvella: \"pat@orvella.test\" is the profile's own user and stays\n"},
        {"directory remove kim@example.org",
         "orvella: the directory has no entry \"kim@example.org\"\n"},
        {"--profile Home directory add --name Kim --address kim@example.org",
         "orvella: the profile \"Home\" has no directory (it has no Exchange-like mailbox)\n"},
        {"--profile Home directory list",
         "orvella: the profile \"Home\" has no directory (it has no Exchange-like mailbox)\n"},
        {"--profile Nowhere directory list",
         "orvella: there is no profile \"Nowhere\"; create it with `orvella profile create`\n"},
        {"profile create Other --user Kim --address kim@example.org",
         "orvella: --user and --address need --exchange: only an Exchange-like profile has a "
         "directory\n"},
        {"profile create Other --exchange --user Kim --address kim",
         "orvella: creating profile \"Other\": \"kim\" is not an e-mail address\n"},
    };
    for (const auto& c : cases) {
        const CommandResult run = Orvella(home, c.args);
        EXPECT_EQ(run.status, 1) << c.args;
        EXPECT_EQ(run.output, c.message) << c.args;
    }
    EXPECT_EQ(Listed(home).size(), 1u);
    EXPECT_NE(Orvella(home, "--profile Other directory list").status, 0);
}

}  // namespace
