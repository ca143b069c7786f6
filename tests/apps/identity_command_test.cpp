// orvella account and orvella identity, run as a user runs them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "run_orvella.h"

namespace orvella::testing {
namespace {

TEST(IdentityCommandTest, AccountsAndListsMakeUpTheUsersIdentity) {
    TempHome home;
    ASSERT_EQ(Orvella(home, "init --address Pat@Example.org").status, 0);
    CommandResult added = Orvella(home, "account add pat@work.example");
    ASSERT_EQ(added.status, 0) << added.output;
    EXPECT_NE(added.output.find("Account 00000002"), std::string::npos) << added.output;
    EXPECT_EQ(Orvella(home, "account add not-an-address").status, 1);

    CommandResult identity =
        Orvella(home, "identity --add-address Me@Else.org --add-domain Partner.Example --json");
    ASSERT_EQ(identity.status, 0) << identity.output;
    auto json = nlohmann::json::parse(identity.output.substr(identity.output.find("{\n")));
    EXPECT_EQ(json["userAddresses"], (nlohmann::json{"pat@example.org", "pat@work.example"}));
    EXPECT_EQ(json["userSpecifiedAddresses"], (nlohmann::json{"me@else.org"}));
    EXPECT_EQ(json["friendlyDomains"], (nlohmann::json{"partner.example"}));
    EXPECT_EQ(json["vendorDomain"], "orvella.com");

    // The lists are kept: a second run adds to them.
    CommandResult more = Orvella(home, "identity --add-domain other.example --json");
    ASSERT_EQ(more.status, 0) << more.output;
    json = nlohmann::json::parse(more.output.substr(more.output.find("{\n")));
    EXPECT_EQ(json["friendlyDomains"], (nlohmann::json{"partner.example", "other.example"}));
}

}  // namespace
}  // namespace orvella::testing
