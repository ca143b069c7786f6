// Scoring one message: the sender's contact, the known domain, the importance flag, the
// thread, and the user's place among the recipients.
#include "CMsgScore.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

#include "COutlookContext.h"
#include "core_failures.h"
#include "mapi_values.h"
#include "mapiutil.h"
#include "msg_props.h"

using core_failures::CheckMapi;
using core_failures::kScoreModule;
using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;

namespace {

// The debug line of each term, in summing order.
constexpr const char* kTermFormats[ScoreBreakdown::TERM_COUNT] = {
    "contact category %d\n",   "contact counter %d\n", "domain %d\n",
    "priority flag %d\n",      "thread priority %d\n", "thread originator %d\n",
    "thread reply count %d\n", "directness %d\n",      "specificity %d\n"};

// Stored "OV-ContactPriority" -2..2 -> category -1, 1, 2, 3, 4; anything else is Normal.
LONG CategoryOfPriority(LONG priority) {
    switch (priority) {
        case CPL_JUNK:
            return -1;
        case CPL_LOW:
            return 1;
        case CPL_HIGH:
            return 3;
        case CPL_VERY_HIGH:
            return 4;
        default:
            return 2;
    }
}

// How the user is addressed: directness before the known-sender rule, To count, presence.
struct Addressing {
    LONG directness = -4;
    LONG toCount = 0;
    bool userFound = false;
};

Addressing ReadAddressing(COutlookContext& context, IMessage* message) {
    ComPtr<IMAPITable> table;
    CheckMapi(message->GetRecipientTable(0, &table), message, kScoreModule,
              "GetScore: failed GetRecipientTable");
    SizedSPropTagArray(2, columns) = {2, {PR_RECIPIENT_TYPE, PR_EMAIL_ADDRESS_A}};
    RowSetPtr rows;
    CheckMapi(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              table.Get(), kScoreModule, "GetScore: failed HrQueryAllRows");
    Addressing addressing;
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SRow& row = rows->aRow[i];
        if (row.cValues < 2 || row.lpProps[0].ulPropTag != PR_RECIPIENT_TYPE ||
            row.lpProps[1].ulPropTag != PR_EMAIL_ADDRESS_A)
            continue;
        const LONG type = row.lpProps[0].Value.l;
        const char* address = row.lpProps[1].Value.lpszA;
        if (address && context.IsUserAddress(address)) {  // compared in lower case
            if (type == MAPI_TO) addressing.directness = std::max(addressing.directness, LONG{0});
            if (type == MAPI_CC) addressing.directness = std::max(addressing.directness, LONG{-2});
            addressing.userFound = true;
        }
        if (type == MAPI_TO) ++addressing.toCount;
    }
    return addressing;
}

}  // namespace

std::string ScoreBreakdown::DebugText() const {
    std::string text;
    for (int i = 0; i < TERM_COUNT; ++i) {
        char line[48];
        std::snprintf(line, sizeof line, kTermFormats[i], static_cast<int>(terms[i]));
        text += line;
    }
    return text;
}

CMsgScore::CMsgScore(COutlookContext* context) : context_(context) {
    LoadSettings();
}

ContactInfo CMsgScore::GetContactInfo(const std::string& senderAddress) {
    ContactInfo info;
    ComPtr<IMessage> contact;
    if (SUCCEEDED(context_->GetContactRecordByEmail(contact, senderAddress))) {
        info.category = 2;
        const ItemsPropTagTable& tags = context_->ItemsPropTags();
        SizedSPropTagArray(2, columns) = {
            2, {tags[IP_CONTACT_PRIORITY], tags[IP_CONTACT_REPLY_COUNTER]}};
        ULONG count = 0;
        MapiBuffer<SPropValue> values;
        CheckMapi(
            contact->GetProps(reinterpret_cast<LPSPropTagArray>(&columns), 0, &count, &values),
            contact.Get(), kScoreModule, "GetContactInfo: failed getProps");
        if (values[0].ulPropTag == columns.aulPropTag[0])
            info.category = CategoryOfPriority(values[0].Value.l);
        if (values[1].ulPropTag == columns.aulPropTag[1]) info.replyCounter = values[1].Value.l;
    } else if (context_->ResolveEmailAddressFromAB(senderAddress) == 0) {
        info.category = 2;  // known to the directory: as a Normal contact
    }
    return info;
}

LONG CMsgScore::ReplyCountTerm(LONG replyCount) const {
    return std::min(weights_.threadReplyCountScaling * replyCount, weights_.threadReplyCountLimit);
}

ScoreBreakdown CMsgScore::ComputeScore(IMessage* message, LPSPropValue properties,
                                       CMsgThread* thread) {
    const SPropValue* senderValue =
        MsgPropValue(properties, MP_SENDER_EMAIL_ADDRESS, PR_SENDER_EMAIL_ADDRESS_A);
    const std::string sender =
        senderValue && senderValue->Value.lpszA ? senderValue->Value.lpszA : "";
    const SPropValue* importanceValue = MsgPropValue(properties, MP_IMPORTANCE, PR_IMPORTANCE);
    const LONG importance = importanceValue ? importanceValue->Value.l : IMPORTANCE_NORMAL;

    ScoreBreakdown result;
    auto& terms = result.terms;
    const ContactInfo contact = GetContactInfo(sender);
    terms[ScoreBreakdown::CONTACT_CATEGORY] = weights_.contactScaling * contact.category;
    const double replies = contact.replyCounter > 0 ? std::log10(contact.replyCounter) : 0.0;
    terms[ScoreBreakdown::CONTACT_COUNTER] =
        static_cast<LONG>(replies * weights_.contactReplyCountScaling);
    const LONG sum =
        terms[ScoreBreakdown::CONTACT_CATEGORY] + terms[ScoreBreakdown::CONTACT_COUNTER];

    // The domain speaks only for a sender nothing else is known about.
    if (sum == 0 && context_->IsFriendDomain(sender))
        terms[ScoreBreakdown::DOMAIN] = weights_.domainScaling;

    // The importance flag counts only from a sender who counts as known.
    const bool knownSender = sum + terms[ScoreBreakdown::DOMAIN] > 0;
    if (knownSender) {
        const LONG flag = importance == IMPORTANCE_LOW ? -1 : importance == IMPORTANCE_HIGH ? 1 : 0;
        terms[ScoreBreakdown::PRIORITY_FLAG] = flag * weights_.priorityFlagScaling;
    }

    if (thread) {
        terms[ScoreBreakdown::THREAD_PRIORITY] =
            thread->GetPriority() * weights_.threadPriorityScaling;
        terms[ScoreBreakdown::THREAD_ORIGINATOR] =
            thread->IsOriginator() ? weights_.threadOriginatorScaling : 0;
        terms[ScoreBreakdown::THREAD_REPLY_COUNT] = ReplyCountTerm(thread->GetReplyCounter());
    } else {
        terms[ScoreBreakdown::THREAD_REPLY_COUNT] = ReplyCountTerm(0);
    }

    Addressing addressing = ReadAddressing(*context_, message);
    if (!addressing.userFound) addressing.directness = -1;  // a list or a blind copy
    if (addressing.directness < 0 && !knownSender) addressing.directness = -4;
    terms[ScoreBreakdown::DIRECTNESS] = weights_.addressDirectnessScaling * addressing.directness;
    const LONG penalty = std::min((addressing.toCount - 1) * weights_.addressSpecificityScaling,
                                  weights_.addressSpecificityLimit);
    terms[ScoreBreakdown::SPECIFICITY] = -std::max(penalty, LONG{0});

    result.score = std::accumulate(terms.begin(), terms.end(), LONG{0});
    return result;
}

LONG CMsgScore::GetScore(IMessage* message, LPSPropValue properties, CMsgThread* thread) {
    const ScoreBreakdown breakdown = ComputeScore(message, properties, thread);
    if (debugScoring_) {
        // A trace for the user who asked for it; a message that refuses it is still scored.
        const std::string text = breakdown.DebugText();
        SPropValue value =
            orvella::platform::mapi::TextValue(context_->ItemsPropTags()[IP_DEBUG_SCORING], text);
        (void)HrSetOneProp(message, &value);
    }
    return breakdown.score;
}

LONG CMsgScore::GetThreadPriorityChange(LONG oldPriority, LONG newPriority) {
    return (newPriority - oldPriority) * weights_.threadPriorityScaling;
}

LONG CMsgScore::GetReplyCountChange(LONG oldCount, LONG newCount) {
    return ReplyCountTerm(newCount) - ReplyCountTerm(oldCount);
}
