// orvella explain, run as a user runs it, over mail this test saves through MAPI into a profile
// that the command line set up (identity, a ranked contact, a thread record).
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "mapi_values.h"
#include "run_orvella.h"
#include "store_fixture.h"
#include "test_mail.h"

namespace orvella::testing {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::LongValue;
using platform::mapi::MapiBuffer;

std::string Hex(const std::vector<BYTE>& bytes) {
    static const char digits[] = "0123456789ABCDEF";
    std::string hex;
    for (BYTE b : bytes) {
        hex += digits[b >> 4];
        hex += digits[b & 15];
    }
    return hex;
}

class ExplainCommandTest : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        for (const char* args :
             {"init", "identity --add-address me@example.com",
              "contact add --name 'Hal High' --email high@corp.example --priority High",
              "contact set high@corp.example --reply-counter 100",
              R"(reg set 'HKCU\Software\Orvella\Vintor\Scoring' DebugScoring dword 1)"}) {
            CommandResult run = Orvella(home_, args);
            ASSERT_EQ(run.status, 0) << args << "\n" << run.output;
        }
        // The thread "Budget" as processing left it: id 7, three replies by the user.
        SaveIn(inbox_.Get(),
               {Text(PR_MESSAGE_CLASS_A, "IPM.Orvella.Thread"), Text(PR_SUBJECT_A, "Budget"),
                Long(NamedLong("OV-ThreadID"), 7), Long(NamedLong("OV-ThreadPriority"), 0),
                Long(NamedLong("OV-ThreadMsgsReceived"), 2),
                Long(NamedLong("OV-ThreadTotalScore"), 100),
                Long(NamedLong("OV-ThreadReplyCounter"), 3)},
               MAPI_ASSOCIATED);
    }
    // The threads a start of the add-in loads.
    size_t LiveThreads() {
        CommandResult run = Orvella(home_, "threads --json");
        EXPECT_EQ(run.status, 0) << run.output;
        return nlohmann::json::parse(run.output.substr(run.output.find('['))).size();
    }
};

TEST_F(ExplainCommandTest, ShowsTheNineLinesAndTheStoredScoreWithoutWritingAnything) {
    TestMail mail{
        "high@corp.example",
        {{MAPI_TO, kUserAddress}, {MAPI_TO, "ann@corp.example"}, {MAPI_TO, "bob@corp.example"}},
        IMPORTANCE_HIGH};
    mail.subject = "RE: Budget";
    std::vector<BYTE> id = SaveMail(inbox_.Get(), mail);
    ComPtr<IMessage> message = Open(id);
    SPropValue stored = LongValue(NamedLong("OV-MsgScore"), -110);
    ASSERT_EQ(HrSetOneProp(message.Get(), &stored), S_OK);
    ASSERT_EQ(message->SaveChanges(0), S_OK);

    CommandResult run = Orvella(home_, "explain " + Hex(id));
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(run.output,
              "contact category 96\n"
              "contact counter 8\n"
              "domain 0\n"
              "priority flag 8\n"
              "thread priority 0\n"
              "thread originator 0\n"
              "thread reply count 6\n"
              "directness 0\n"
              "specificity -8\n"
              "score now: 110\n"
              "stored score: 110\n"
              "thread: 7 Budget\n");

    // Even with "DebugScoring" on, the message gets no trace and no thread is made.
    MapiBuffer<SPropValue> trace;
    EXPECT_EQ(HrGetOneProp(Open(id).Get(),
                           PROP_TAG(PT_STRING8, PROP_ID(NamedLong("OV-DebugScoring"))), &trace),
              MAPI_E_NOT_FOUND);
    EXPECT_EQ(LiveThreads(), 1u);
}

TEST_F(ExplainCommandTest, AnUnscoredMessageWithoutThreadInJson) {
    std::vector<BYTE> id = SaveMail(
        inbox_.Get(),
        {"stranger@nowhere.example", {}, std::nullopt, std::nullopt, std::nullopt, "Hello"});
    CommandResult run = Orvella(home_, "explain --json " + Hex(id));
    ASSERT_EQ(run.status, 0) << run.output;
    auto result = nlohmann::json::parse(run.output.substr(run.output.find('{')));
    EXPECT_EQ(result["entryId"], Hex(id));
    EXPECT_EQ(result["terms"], nlohmann::json({0, 0, 0, 0, 0, 0, 0, -128, 0}));
    EXPECT_EQ(result["lines"][7], "directness -128");
    EXPECT_EQ(result["score"], -128);
    EXPECT_TRUE(result["storedScore"].is_null());
    EXPECT_TRUE(result["thread"].is_null());
    EXPECT_EQ(LiveThreads(), 1u);

    CommandResult text = Orvella(home_, "explain " + Hex(id));
    EXPECT_NE(text.output.find("stored score: not scored\nthread: none\n"), std::string::npos)
        << text.output;
}

TEST_F(ExplainCommandTest, RefusesWhatIsNotAMessage) {
    CommandResult notHex = Orvella(home_, "explain xyz");
    EXPECT_EQ(notHex.status, 1);
    EXPECT_NE(notHex.output.find("not an entry id: xyz"), std::string::npos) << notHex.output;
    CommandResult unknown = Orvella(home_, "explain 0102");
    EXPECT_EQ(unknown.status, 1);
    EXPECT_NE(unknown.output.find("no message has the entry id 0102"), std::string::npos)
        << unknown.output;
}

}  // namespace
}  // namespace orvella::testing
