// orvella stats and orvella inbox: the add-in's statistics counters as its statistics dialog
// shows them, and the Inbox in the order of the add-in's prioritized views.
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "COutlookContext.h"
#include "CStatistics.h"
#include "CStatisticsDialog.h"
#include "commands.h"
#include "mapi_ptr.h"
#include "outlook_host.h"
#include "prop_text.h"
#include "resource.h"

namespace orvella::cli {
namespace {

using nlohmann::json;
using platform::mapi::ComPtr;
using platform::mapi::RowSetPtr;

// ---- orvella stats ----

json Statistics() {
    json lines = json::array();
    WithStoreSession(true, [&](OutlookHost&, COutlookContext&) {
        const CStatistics& statistics = CStatistics::Instance();
        for (const StatisticsLine& line : kStatisticsLines) {
            const ULONG value = statistics.Get(line.counter);
            lines.push_back({{"id", line.counter},
                             {"heading", line.headingId ? res::LoadResString(line.headingId) : ""},
                             {"label", res::LoadResString(line.labelId)},
                             {"value", value},
                             {"text", FormatStatisticsCount(value)}});
        }
    });
    return lines;
}

void PrintStatistics(const json& lines) {
    std::printf("%s\n", res::LoadResString(IDS_STATISTICS_CAPTION).c_str());
    std::string heading;
    for (const json& line : lines) {
        if (line["heading"] != heading) {
            heading = line["heading"];
            std::printf("%s\n", heading.c_str());
        }
        const std::string label = (heading.empty() ? "" : "  ") + line["label"].get<std::string>();
        std::printf("%-26s %13s\n", label.c_str(), line["text"].get<std::string>().c_str());
    }
}

// ---- orvella inbox ----

enum class InboxOrder { Score, Day, Week };

enum InboxColumn {
    IC_ENTRYID,
    IC_MSG_SCORE,
    IC_THREAD_SCORE,
    IC_RECEIVED,
    IC_SENDER,
    IC_SUBJECT,
    IC_TOPIC,
    IC_GROUP_KEY,
    IC_GROUP_TEXT,
    IC_COUNT
};

struct InboxOptions {
    std::string order = "score";
    int limit = -1;  // -1: 20 on the terminal, all as JSON
    bool json = false;
};

void CheckTable(HRESULT hr, const char* what) {
    if (FAILED(hr)) {
        char code[16];
        std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(hr));
        throw CommandError(std::string("reading the Inbox failed (") + what + ", " + code + ")");
    }
}

const SPropValue* Column(const SRow& row, const ULONG* tags, InboxColumn column) {
    const SPropValue& value = row.lpProps[column];
    return value.ulPropTag == tags[column] ? &value : nullptr;
}

std::string TextColumn(const SRow& row, const ULONG* tags, InboxColumn column) {
    const SPropValue* value = Column(row, tags, column);
    return value && value->Value.lpszA ? value->Value.lpszA : "";
}

json LongColumn(const SRow& row, const ULONG* tags, InboxColumn column) {
    const SPropValue* value = Column(row, tags, column);
    // Scores are stored negated, so that an ascending sort puts the highest first.
    return value ? json(-value->Value.l) : json();
}

// Reads rows of the table, restricted (processed or not) and sorted, into messages until limit
// messages are there (0: all).
void ReadSorted(IMAPITable* table, const ULONG* tags, bool processed, InboxOrder order,
                size_t limit, json& messages) {
    SRestriction hasScore = {};
    hasScore.rt = RES_EXIST;
    hasScore.res.resExist = {0, tags[IC_MSG_SCORE], 0};
    SRestriction lacksScore = {};
    lacksScore.rt = RES_NOT;
    lacksScore.res.resNot = {0, &hasScore};
    CheckTable(table->Restrict(processed ? &hasScore : &lacksScore, 0), "restricting");

    SizedSSortOrderSet(3, sort) = {0, 0, 0, {}};
    auto add = [&](ULONG tag, ULONG direction) { sort.aSort[sort.cSorts++] = {tag, direction}; };
    if (processed && order != InboxOrder::Score) add(tags[IC_GROUP_KEY], TABLE_SORT_ASCEND);
    if (processed) add(tags[IC_MSG_SCORE], TABLE_SORT_ASCEND);
    add(PR_MESSAGE_DELIVERY_TIME, TABLE_SORT_DESCEND);
    CheckTable(table->SortTable(reinterpret_cast<LPSSortOrderSet>(&sort), 0), "sorting");
    CheckTable(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), "seeking");

    while (limit == 0 || messages.size() < limit) {
        RowSetPtr rows;
        CheckTable(table->QueryRows(50, 0, &rows), "reading rows");
        if (rows->cRows == 0) return;
        for (ULONG i = 0; i < rows->cRows && (limit == 0 || messages.size() < limit); ++i) {
            const SRow& row = rows->aRow[i];
            const SPropValue* id = Column(row, tags, IC_ENTRYID);
            const SPropValue* received = Column(row, tags, IC_RECEIVED);
            json message = {
                {"entryId", id ? ValueJson(*id) : json("")},
                {"score", LongColumn(row, tags, IC_MSG_SCORE)},
                {"threadScore", LongColumn(row, tags, IC_THREAD_SCORE)},
                {"received", received ? ValueJson(*received) : json()},
                {"sender", TextColumn(row, tags, IC_SENDER)},
                {"subject", TextColumn(row, tags, IC_SUBJECT)},
                {"topic", TextColumn(row, tags, IC_TOPIC)},
            };
            if (order != InboxOrder::Score) message["group"] = TextColumn(row, tags, IC_GROUP_TEXT);
            messages.push_back(std::move(message));
        }
    }
}

json InboxMessages(InboxOrder order, size_t limit) {
    json messages = json::array();
    WithStoreSession(true, [&](OutlookHost&, COutlookContext& context) {
        const ItemsPropTagTable& items = context.ItemsPropTags();
        const bool byDay = order == InboxOrder::Day;
        const ULONG tags[IC_COUNT] = {
            PR_ENTRYID,
            items[IP_MSG_SCORE],
            items[IP_THREAD_SCORE],
            PR_MESSAGE_DELIVERY_TIME,
            PR_SENDER_EMAIL_ADDRESS_A,
            PR_SUBJECT_A,
            items[IP_TOPIC_NAME],
            items[byDay ? IP_RECEIVED_DAY : IP_RECEIVED_WEEK],
            items[byDay ? IP_DISPLAY_DAY : IP_DISPLAY_WEEK],
        };
        ComPtr<IMAPIFolder> inbox = context.GetInboxFolder(false);
        ComPtr<IMAPITable> table;
        CheckTable(inbox->GetContentsTable(0, &table), "opening the contents table");
        SizedSPropTagArray(IC_COUNT, columns) = {IC_COUNT, {}};
        for (int i = 0; i < IC_COUNT; ++i) columns.aulPropTag[i] = tags[i];
        CheckTable(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0),
                   "setting columns");
        // Messages the add-in has not prioritized yet come last.
        ReadSorted(table.Get(), tags, true, order, limit, messages);
        if (limit == 0 || messages.size() < limit)
            ReadSorted(table.Get(), tags, false, order, limit, messages);
    });
    return messages;
}

bool g_colourScores = false;

// The terminal colour of a score's band, as the prioritized views colour the Inbox: the
// highest band bold red, then yellow, then green; the default band plain, the lowest dim.
const char* BandColour(const json& score) {
    if (!g_colourScores || score.is_null()) return "";
    switch (BandOfScore(score.get<LONG>())) {
        case STAT_BAND_HIGH:
            return "\033[1;31m";
        case STAT_BAND_MEDIUM:
            return "\033[33m";
        case STAT_BAND_NORMAL:
            return "\033[32m";
        case STAT_BAND_DEFAULT:
            return "\033[2m";
        default:
            return "";
    }
}

void PrintInbox(const json& messages, bool grouped) {
    const char* format = "%s%6s %6s  %-16s  %-24.24s  %-40.40s  %s%s\n";
    std::printf(format, "", "SCORE", "THREAD", "RECEIVED", "SENDER", "SUBJECT", "TOPIC", "");
    std::string group;
    bool first = true;
    for (const json& message : messages) {
        if (grouped && (first || message["group"] != group)) {
            group = message["group"];
            std::printf("-- %s --\n", group.empty() ? "(not prioritized)" : group.c_str());
        }
        first = false;
        auto number = [](const json& value) {
            return value.is_null() ? std::string() : std::to_string(value.get<long>());
        };
        std::string received;
        if (message["received"].is_string()) {
            // "2026-11-23T10:15:00Z" -> "2026-11-23 10:15"
            received = message["received"].get<std::string>();
            if (received.size() >= 16)
                received = received.substr(0, 10) + " " + received.substr(11, 5);
        }
        const char* colour = BandColour(message["score"]);
        std::printf(format, colour, number(message["score"]).c_str(),
                    number(message["threadScore"]).c_str(), received.c_str(),
                    message["sender"].get<std::string>().c_str(),
                    message["subject"].get<std::string>().c_str(),
                    message["topic"].get<std::string>().c_str(), *colour ? "\033[0m" : "");
    }
}

void Inbox(const InboxOptions& options) {
    const InboxOrder order = options.order == "day"    ? InboxOrder::Day
                             : options.order == "week" ? InboxOrder::Week
                                                       : InboxOrder::Score;
    const size_t limit =
        options.limit >= 0 ? static_cast<size_t>(options.limit) : (options.json ? 0 : 20);
    json messages = InboxMessages(order, limit);
    if (options.json) return PrintJson(messages);
    PrintInbox(messages, order != InboxOrder::Score);
}

}  // namespace

std::string TopScoredInboxMessage() {
    const json top = InboxMessages(InboxOrder::Score, 1);
    if (top.empty() || top[0]["score"].is_null()) return {};
    return top[0]["entryId"].get<std::string>();
}

void ColourInboxScores(bool colour) {
    g_colourScores = colour;
}

void AddInboxCommands(CLI::App& app) {
    auto json = std::make_shared<bool>(false);
    CLI::App* stats = app.add_subcommand(
        "stats",
        "Show the add-in's statistics: messages analyzed, per importance, and what the "
        "AutoAssign rules did");
    stats->add_flag("--json", *json, "Print JSON");
    stats->callback([json] {
        const auto lines = Statistics();
        if (*json) return PrintJson(lines);
        PrintStatistics(lines);
    });

    auto options = std::make_shared<InboxOptions>();
    CLI::App* inbox =
        app.add_subcommand("inbox",
                           "List the Inbox by the add-in's scores, highest first (messages not yet "
                           "prioritized last)");
    inbox->add_option("--order", options->order, "score, or grouped by day or week")
        ->check(CLI::IsMember({"score", "day", "week"}));
    inbox
        ->add_option("--limit", options->limit,
                     "At most this many messages; 0 for all (default 20, all with --json)")
        ->check(CLI::NonNegativeNumber);
    inbox->add_flag("--json", options->json, "Print JSON");
    inbox->callback([options] { Inbox(*options); });
}

}  // namespace orvella::cli
