// orvella thread-name and orvella threads: the thread name the add-in gives a subject, and the
// conversation threads it keeps, as it loads them at Outlook's start.
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "BaseException.h"
#include "CExceptionReporter.h"
#include "COutlookContext.h"
#include "addin_ids.h"
#include "commands.h"
#include "mapiguid.h"
#include "mapiutil.h"
#include "outlook_host.h"
#include "prop_text.h"
#include "thread_name.h"

namespace orvella::cli {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;

void ThreadName(const std::string& subject) {
    try {
        // The pattern needs no session: the name comes out the same without a profile.
        CThreadNamePattern pattern;
        std::printf("%s\n", pattern.ThreadName(subject.c_str()).c_str());
    } catch (const diag::BaseException& failure) {
        throw CommandError(failure.GetMessage() ? failure.GetMessage() : "no thread name");
    }
}

// The record's "OV-ThreadLastActivity"; null when it cannot be read.
nlohmann::json LastActivity(COutlookContext& context, const CMsgThread& thread) {
    ComPtr<IMessage> record;
    ULONG type = 0;
    const EntryId& entryId = thread.GetEntryID();
    if (FAILED(context.MailStore()->OpenEntry(entryId.cb(), entryId.get(), &IID_IMessage, 0, &type,
                                              record.PutUnknown())))
        return nullptr;
    MapiBuffer<SPropValue> value;
    if (FAILED(
            HrGetOneProp(record.Get(), context.ItemsPropTags()[IP_THREAD_LAST_ACTIVITY], &value)))
        return nullptr;
    return ValueJson(*value);
}

nlohmann::json Describe(COutlookContext& context) {
    nlohmann::json threads = nlohmann::json::array();
    for (const MsgThreadPtr& thread : context.GetThreads()) {
        threads.push_back({
            {"id", thread->GetThreadID()},
            {"name", thread->GetName()},
            {"priority", thread->GetPriority()},
            {"priorityText", MessagePriorityText(thread->GetPriority())},
            {"messages", thread->GetMsgsReceived()},
            {"total", thread->GetTotalScore()},
            {"average", thread->GetThreadScore()},
            {"replies", thread->GetReplyCounter()},
            {"originator", thread->IsOriginator()},
            {"topic", thread->GetTopic()},
            {"lastActivity", LastActivity(context, *thread)},
        });
    }
    return threads;
}

void PrintThreads(const nlohmann::json& threads) {
    std::printf("%6s  %-9s %5s %6s %5s %5s %4s  %-16s  %s\n", "ID", "PRIORITY", "MSGS", "TOTAL",
                "AVG", "REPL", "ORIG", "LAST ACTIVITY", "NAME [TOPIC]");
    for (const auto& t : threads) {
        std::string last =
            t["lastActivity"].is_string() ? t["lastActivity"].get<std::string>() : "";
        // "2026-11-23T10:15:00Z" -> "2026-11-23 10:15"
        if (last.size() >= 16) last = last.substr(0, 10) + " " + last.substr(11, 5);
        std::string name = t["name"].get<std::string>();
        if (name.empty()) name = "(blank subject)";
        if (!t["topic"].get<std::string>().empty())
            name += " [" + t["topic"].get<std::string>() + "]";
        std::printf("%6d  %-9s %5d %6d %5d %5d %4s  %-16s  %s\n", t["id"].get<int>(),
                    t["priorityText"].get<std::string>().c_str(), t["messages"].get<int>(),
                    t["total"].get<int>(), t["average"].get<int>(), t["replies"].get<int>(),
                    t["originator"].get<bool>() ? "yes" : "no", last.c_str(), name.c_str());
    }
    std::printf("%zu thread%s\n", threads.size(), threads.size() == 1 ? "" : "s");
}

void Threads(bool json) {
    nlohmann::json threads;
    WithStoreSession(true,
                     [&](OutlookHost&, COutlookContext& context) { threads = Describe(context); });
    if (json) return PrintJson(threads);
    PrintThreads(threads);
}

}  // namespace

void AddThreadCommands(CLI::App& app) {
    auto subject = std::make_shared<std::string>();
    CLI::App* name = app.add_subcommand(
        "thread-name", "Print the conversation thread name the add-in gives a subject");
    name->add_option("subject", *subject, "The message's subject")->required();
    name->callback([subject] { ThreadName(*subject); });

    auto json = std::make_shared<bool>(false);
    CLI::App* threads = app.add_subcommand(
        "threads",
        "List the conversation threads as the add-in loads them at Outlook's start (threads idle "
        "for 30 days that no Inbox message refers to are deleted then)");
    threads->add_flag("--json", *json, "Print JSON");
    threads->callback([json] { Threads(*json); });
}

}  // namespace orvella::cli
