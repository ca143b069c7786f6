// The simulated Outlook's online state: defaults by the kind of the default store, the saved
// file the namespace reads on every call, damaged files, and `orvella outlook`.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "outlook_fixture.h"
#include "run_orvella.h"

namespace orvella::testing {
namespace {

namespace outlook = host::outlook;
namespace store = platform::mapi::store;

std::filesystem::path StateFile() {
    return store::ProfileDirectory("Outlook") / "outlook-state.json";
}

void WriteFile(const std::filesystem::path& file, const std::string& text) {
    std::ofstream(file) << text;
}

class OutlookStateTest : public OutlookTest {
protected:
    VARIANT_BOOL Offline() {
        VARIANT_BOOL offline = 7;
        EXPECT_EQ(mapi_->get_Offline(&offline), S_OK);
        return offline;
    }
    Outlook::OlExchangeConnectionMode Mode() {
        auto mode = static_cast<Outlook::OlExchangeConnectionMode>(-1);
        EXPECT_EQ(mapi_->get_ExchangeConnectionMode(&mode), S_OK);
        return mode;
    }
};

TEST_F(OutlookStateTest, DefaultsDependOnTheKindOfTheDefaultStore) {
    struct Case {
        store::StoreKind kind;
        Outlook::OlExchangeConnectionMode mode;
    };
    const Case cases[] = {
        {store::StoreKind::Personal, Outlook::olNoExchange},
        {store::StoreKind::Exchange, Outlook::olOnline},
        {store::StoreKind::Imap, Outlook::olNoExchange},
        {store::StoreKind::Http, Outlook::olNoExchange},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(store::StoreKindName(c.kind));
        TearDown();
        std::filesystem::remove_all(store::ProfileDirectory("Outlook"));
        SetUp();
        Start({{"Default", c.kind, true, false},
               {"Other mailbox", store::StoreKind::Exchange, false, false}});
        const outlook::OutlookState state = outlook::LoadOutlookState("Outlook");
        EXPECT_FALSE(state.offline);
        EXPECT_EQ(state.connectionMode, c.mode);
        EXPECT_EQ(Offline(), VARIANT_FALSE);
        EXPECT_EQ(Mode(), c.mode);
        EXPECT_FALSE(std::filesystem::exists(StateFile()));
    }
}

TEST_F(OutlookStateTest, NamespaceReportsWhatWasSavedSinceTheLastCall) {
    Start();
    outlook::SaveOutlookState("Outlook", {true, Outlook::olCachedOffline});
    EXPECT_EQ(Offline(), VARIANT_TRUE);
    EXPECT_EQ(Mode(), Outlook::olCachedOffline);
    outlook::SaveOutlookState("Outlook", {false, Outlook::olCachedConnectedFull});
    EXPECT_EQ(Offline(), VARIANT_FALSE);
    EXPECT_EQ(Mode(), Outlook::olCachedConnectedFull);
    const outlook::OutlookState loaded = outlook::LoadOutlookState("Outlook");
    EXPECT_FALSE(loaded.offline);
    EXPECT_EQ(loaded.connectionMode, Outlook::olCachedConnectedFull);
}

TEST_F(OutlookStateTest, DamagedStateFileIsReportedByNameNeverTakenForDefaults) {
    Start();
    const std::string file = StateFile().string();
    struct Case {
        const char* text;
        std::string message;
    };
    const Case cases[] = {
        {"offline", file + " is damaged: not JSON"},
        {"[true, 800]", file + " is damaged: not a JSON object"},
        {R"({"offline": "yes", "exchangeConnectionMode": 0})",
         file + " is damaged: \"offline\" must be true or false"},
        {R"({"offline": true})", file + " is damaged: \"exchangeConnectionMode\" must be a number"},
        {R"({"offline": true, "exchangeConnectionMode": 150})",
         file + " is damaged: unknown Exchange connection mode 150"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        WriteFile(StateFile(), c.text);
        try {
            outlook::LoadOutlookState("Outlook");
            ADD_FAILURE() << "a damaged file was read";
        } catch (const std::runtime_error& failure) {
            EXPECT_EQ(failure.what(), c.message);
        }
        VARIANT_BOOL offline = 7;
        EXPECT_EQ(mapi_->get_Offline(&offline), MAPI_E_CORRUPT_DATA);
        auto mode = Outlook::olOnline;
        EXPECT_EQ(mapi_->get_ExchangeConnectionMode(&mode), MAPI_E_CORRUPT_DATA);
    }
}

TEST(OutlookStateOfMissingProfile, IsAnErrorNamingTheProfile) {
    TempHome home;
    struct Call {
        const char* what;
        std::function<void()> call;
    };
    const Call calls[] = {
        {"load", [] { outlook::LoadOutlookState("Nobody"); }},
        {"save", [] { outlook::SaveOutlookState("Nobody", {}); }},
    };
    for (const Call& c : calls) {
        SCOPED_TRACE(c.what);
        try {
            c.call();
            ADD_FAILURE() << "no failure";
        } catch (const std::runtime_error& failure) {
            EXPECT_STREQ(failure.what(), "there is no profile \"Nobody\"");
        }
    }
}

TEST(ConnectionModeNames, ParseAsPeopleTypeThem) {
    struct Case {
        const char* text;
        std::optional<Outlook::OlExchangeConnectionMode> mode;
    };
    const Case cases[] = {
        {"online", Outlook::olOnline},
        {"offline", Outlook::olOffline},
        {"cached-offline", Outlook::olCachedOffline},
        {"disconnected", Outlook::olDisconnected},
        {"cached-disconnected", Outlook::olCachedDisconnected},
        {"cached-headers", Outlook::olCachedConnectedHeaders},
        {"cached-drizzle", Outlook::olCachedConnectedDrizzle},
        {"cached-full", Outlook::olCachedConnectedFull},
        {"no-exchange", Outlook::olNoExchange},
        {"0", Outlook::olNoExchange},
        {"600", Outlook::olCachedConnectedDrizzle},
        {"601", std::nullopt},
        {"-100", std::nullopt},
        {"Online", std::nullopt},
        {"", std::nullopt},
        {"99999999999999999999999", std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(outlook::ParseConnectionMode(c.text), c.mode);
        if (c.mode) {
            EXPECT_EQ(outlook::ParseConnectionMode(outlook::ConnectionModeName(*c.mode)), c.mode);
        }
    }
}

TEST(OutlookCommand, SetsWhatIsGivenAndPrintsTheState) {
    TempHome home;
    ASSERT_EQ(Orvella(home, "profile create --exchange").status, 0);
    struct Step {
        const char* args;
        int status;
        const char* output;  // the JSON printed, or the start of the error
    };
    const Step steps[] = {
        {"outlook --json", 0,
         R"({"connectionMode":800,"connectionModeName":"online","offline":false,"profile":"Outlook"})"},
        {"outlook --offline yes --connection-mode cached-offline --json", 0,
         R"({"connectionMode":200,"connectionModeName":"cached-offline","offline":true,"profile":"Outlook"})"},
        {"outlook --connection-mode 600 --json", 0,
         R"({"connectionMode":600,"connectionModeName":"cached-drizzle","offline":true,"profile":"Outlook"})"},
        {"outlook --offline no --json", 0,
         R"({"connectionMode":600,"connectionModeName":"cached-drizzle","offline":false,"profile":"Outlook"})"},
        {"outlook --connection-mode sideways", 1, "orvella: unknown connection mode \"sideways\""},
        {"outlook --offline maybe", 105, "--offline: maybe not in {yes,no}"},
        {"--profile Nobody outlook", 1, "orvella: there is no profile \"Nobody\""},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.args);
        const CommandResult run = Orvella(home, step.args);
        EXPECT_EQ(run.status, step.status) << run.output;
        if (step.status == 0) {
            EXPECT_EQ(nlohmann::json::parse(run.output, nullptr, false).dump(), step.output);
        } else {
            EXPECT_NE(run.output.find(step.output), std::string::npos) << run.output;
        }
    }
    const outlook::OutlookState saved = outlook::LoadOutlookState("Outlook");
    EXPECT_FALSE(saved.offline);
    EXPECT_EQ(saved.connectionMode, Outlook::olCachedConnectedDrizzle);
    const CommandResult text = Orvella(home, "outlook");
    EXPECT_EQ(text.output,
              "Profile \"Outlook\": Outlook works online; Exchange connection mode cached-drizzle "
              "(600)\n");
}

}  // namespace
}  // namespace orvella::testing
