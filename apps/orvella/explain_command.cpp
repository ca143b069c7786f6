// orvella explain: the score the add-in would give a message now, term by term as its debug
// lines read, beside the score stored on the message. Nothing is written: no debug text, no
// thread.
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>

#include "CMsgScore.h"
#include "COutlookContext.h"
#include "commands.h"
#include "mapiguid.h"
#include "mapiutil.h"
#include "msg_props.h"
#include "outlook_host.h"
#include "prop_text.h"

namespace orvella::cli {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;

// The thread processing would give the message, as the session holds it: by the subject's
// thread name, else by the thread id recorded on the message; null when neither is known.
MsgThreadPtr RecordedThread(COutlookContext& context, IMessage* message,
                            const SPropValue* properties) {
    const SPropValue* subject = MsgPropValue(properties, MP_SUBJECT, PR_SUBJECT_A);
    MsgThreadPtr thread;
    if (context.FindThreadByName(
            context.GetThreadNameFromSubject(subject ? subject->Value.lpszA : nullptr), thread) ==
        0)
        return thread;
    MapiBuffer<SPropValue> id;
    if (FAILED(HrGetOneProp(message, context.ItemsPropTags()[IP_THREAD_ID], &id))) return nullptr;
    return context.FindThreadById(id->Value.l);
}

// The stored "OV-MsgScore" turned back into the score; nullopt when the message has none.
std::optional<LONG> StoredScore(COutlookContext& context, IMessage* message) {
    MapiBuffer<SPropValue> stored;
    if (FAILED(HrGetOneProp(message, context.ItemsPropTags()[IP_MSG_SCORE], &stored)))
        return std::nullopt;
    return -stored->Value.l;
}

nlohmann::json Explain(COutlookContext& context, const EntryId& entryId, const std::string& hex) {
    ComPtr<IMessage> message;
    ULONG type = 0;
    if (FAILED(context.MailStore()->OpenEntry(entryId.cb(), entryId.get(), &IID_IMessage, 0, &type,
                                              message.PutUnknown())))
        throw CommandError("no message has the entry id " + hex);
    MapiBuffer<SPropValue> properties;
    if (FAILED(ReadMsgProps(message.Get(), properties)))
        throw CommandError("the message's properties cannot be read");
    MsgThreadPtr thread = RecordedThread(context, message.Get(), properties.Get());
    CMsgScore scorer(&context);
    const ScoreBreakdown breakdown =
        scorer.ComputeScore(message.Get(), properties.Get(), thread.Get());

    nlohmann::json lines = nlohmann::json::array();
    std::istringstream text(breakdown.DebugText());
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    const std::optional<LONG> stored = StoredScore(context, message.Get());
    nlohmann::json result = {
        {"entryId", entryId.ToHex()},
        {"lines", lines},
        {"terms", breakdown.terms},
        {"score", breakdown.score},
        {"storedScore", stored ? nlohmann::json(*stored) : nlohmann::json(nullptr)},
        {"thread", nullptr},
    };
    if (thread) result["thread"] = {{"id", thread->GetThreadID()}, {"name", thread->GetName()}};
    return result;
}

void Print(const nlohmann::json& result) {
    for (const auto& line : result["lines"]) std::printf("%s\n", line.get<std::string>().c_str());
    std::printf("score now: %d\n", result["score"].get<int>());
    if (result["storedScore"].is_null())
        std::printf("stored score: not scored\n");
    else
        std::printf("stored score: %d\n", result["storedScore"].get<int>());
    if (result["thread"].is_null())
        std::printf("thread: none\n");
    else
        std::printf("thread: %d %s\n", result["thread"]["id"].get<int>(),
                    result["thread"]["name"].get<std::string>().c_str());
}

void ExplainCommand(const std::string& hex, bool json) {
    const EntryId entryId = EntryId::FromHex(hex);
    if (entryId.empty()) throw CommandError("not an entry id: " + hex);
    nlohmann::json result;
    WithStoreSession(true, [&](OutlookHost&, COutlookContext& context) {
        result = Explain(context, entryId, hex);
    });
    if (json) return PrintJson(result);
    Print(result);
}

}  // namespace

void AddExplainCommands(CLI::App& app) {
    auto entryId = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    CLI::App* explain = app.add_subcommand(
        "explain",
        "Show how the add-in scores a message now, term by term, beside its stored score");
    explain->add_option("ENTRYID", *entryId, "The message's entry id in hex")->required();
    explain->add_flag("--json", *json, "Print JSON");
    explain->callback([entryId, json] { ExplainCommand(*entryId, *json); });
}

}  // namespace orvella::cli
