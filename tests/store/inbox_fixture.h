// Inbox messages for the bulk-update and statistics tests: messages saved in the Inbox with the
// add-in's marker properties, contacts with e-mail addresses, and the threads they belong to.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "threads_fixture.h"

namespace orvella::testing {

// The five markers of a processed message.
inline constexpr ItemsProp kMarkers[] = {IP_THREAD_SCORE, IP_MSG_SCORE, IP_RECEIVED_DAY,
                                         IP_RECEIVED_WEEK, IP_THREAD_ID};

class InboxTest : public ThreadsTest {
protected:
    // An Inbox message with this subject (none when null) and sender, carrying the stored
    // values given as (property, value) pairs; its entry id.
    ::EntryId SaveInbox(const char* subject, const char* sender,
                        const std::vector<std::pair<ItemsProp, LONG>>& stored = {}) {
        std::vector<SPropValue> values = {Text(PR_MESSAGE_CLASS_A, "IPM.Note")};
        if (subject) values.push_back(Text(PR_SUBJECT_A, subject));
        if (sender) values.push_back(Text(PR_SENDER_EMAIL_ADDRESS_A, sender));
        for (const auto& [prop, value] : stored) values.push_back(Long(Tag(prop), value));
        return context_->GetEID(SaveMessage(values).Get());
    }
    // A processed message of thread id with the stored (negated) message score.
    ::EntryId SaveProcessed(const char* subject, LONG threadId, LONG storedScore) {
        return SaveInbox(subject, "someone@example.com",
                         {{IP_THREAD_ID, threadId},
                          {IP_MSG_SCORE, storedScore},
                          {IP_THREAD_SCORE, 0},
                          {IP_RECEIVED_DAY, -20260110},
                          {IP_RECEIVED_WEEK, -2923}});
    }
    // A contact in the default contacts folder with e-mail 1, 2 and 3 ("" leaves one out).
    ::EntryId SaveContact(const std::vector<std::string>& emails) {
        const ContactProp slots[] = {CP_EMAIL1_ADDRESS, CP_EMAIL2_ADDRESS, CP_EMAIL3_ADDRESS};
        std::vector<SPropValue> values = {Text(PR_MESSAGE_CLASS_A, "IPM.Contact")};
        for (size_t i = 0; i < emails.size() && i < 3; ++i)
            if (!emails[i].empty())
                values.push_back(Text(context_->ContactPropTags()[slots[i]], emails[i].c_str()));
        return context_->GetEID(SaveMessage(values, context_->GetContactsFolder(true).Get()).Get());
    }
    std::optional<LONG> Stored(const ::EntryId& message, ItemsProp prop) {
        return LongOf(context_->GetMAPIMessage(message).Get(), Tag(prop));
    }
    // A registered thread whose record counts messages received with this total score.
    MsgThreadPtr Thread(const char* name, LONG messages, LONG total) {
        MsgThreadPtr thread;
        context_->CreateNewThread(name, MPL_NORMAL, nullptr, false, thread);
        for (LONG i = 0; i < messages; ++i)
            context_->UpdateThreadScore(thread.Get(), i == 0 ? total : 0);
        return thread;
    }
    // Hex of each entry id, to compare lists.
    static std::vector<std::string> Hex(const std::vector<::EntryId>& ids) {
        std::vector<std::string> hex;
        for (const ::EntryId& id : ids) hex.push_back(id.ToHex());
        return hex;
    }
};

}  // namespace orvella::testing
