// CMsgScore: the add-in's scorer. A message's score is a sum of weighted terms about its sender
// (contact priority, the user's replies, a known domain), its importance flag, its thread
// (priority, originator, replies) and how directly and specifically it addresses the user.
// The weights live under the "Scoring" settings key.
#pragma once

#include <array>
#include <string>

#include "IMsgScore.h"

class COutlookContext;

// The eleven weights, as stored under "Scoring" (REG_DWORD each).
struct ScoringWeights {
    LONG contactScaling = 32;
    LONG domainScaling = 40;
    LONG addressDirectnessScaling = 32;
    LONG addressSpecificityScaling = 4;
    LONG addressSpecificityLimit = 32;
    LONG priorityFlagScaling = 8;
    LONG threadPriorityScaling = 32;
    LONG threadOriginatorScaling = 12;
    LONG threadReplyCountScaling = 2;
    LONG threadReplyCountLimit = 12;
    LONG contactReplyCountScaling = 4;
};

// The terms of one score in the order they are summed, each as its debug line prints it.
struct ScoreBreakdown {
    enum Term {
        CONTACT_CATEGORY,
        CONTACT_COUNTER,
        DOMAIN,
        PRIORITY_FLAG,
        THREAD_PRIORITY,
        THREAD_ORIGINATOR,
        THREAD_REPLY_COUNT,
        DIRECTNESS,
        SPECIFICITY,
        TERM_COUNT
    };
    std::array<LONG, TERM_COUNT> terms{};
    LONG score = 0;

    // The nine lines "contact category %d\n" ... "specificity %d\n".
    std::string DebugText() const;
};

// A sender as the contacts know it: category -1 (Junk) .. 4 (Very High), 2 for a sender known
// only to the directory, 0 for an unknown sender; the user's replies to the contact.
struct ContactInfo {
    LONG category = 0;
    LONG replyCounter = 0;
};

// Used only under the message processor's mutex (or by the one thread running a bulk update).
// The session is not owned and outlives the scorer.
class CMsgScore final : public IMsgScore {
public:
    // Defaults, then the settings.
    explicit CMsgScore(COutlookContext* context);
    CMsgScore(const CMsgScore&) = delete;
    CMsgScore& operator=(const CMsgScore&) = delete;

    // The score; with "DebugScoring" on, the breakdown is also set on the message as
    // "OV-DebugScoring" (unsaved: the processor's attribute write saves it). thread may be
    // null (no thread terms). Store failures raise MAPIException.
    LONG GetScore(IMessage* message, LPSPropValue properties, CMsgThread* thread) override;
    LONG GetThreadPriorityChange(LONG oldPriority, LONG newPriority) override;
    LONG GetReplyCountChange(LONG oldCount, LONG newCount) override;

    // The same computation as GetScore, writing nothing onto the message.
    ScoreBreakdown ComputeScore(IMessage* message, LPSPropValue properties, CMsgThread* thread);
    // The sender's contact category and reply counter; a failed property read raises
    // MAPIException "GetContactInfo: failed getProps".
    ContactInfo GetContactInfo(const std::string& senderAddress);

    // Reads the eleven weights and "DebugScoring"; a value counts only as a 4-byte REG_DWORD.
    // Missing values (or key) keep what is set.
    void LoadSettings();
    // Writes the eleven weights (never "DebugScoring"), creating the key; failures raise
    // ProgramException.
    void SaveSettings();

    const ScoringWeights& Weights() const { return weights_; }
    void SetWeights(const ScoringWeights& weights) { weights_ = weights; }
    bool IsDebugging() const { return debugScoring_; }

private:
    LONG ReplyCountTerm(LONG replyCount) const;

    ScoringWeights weights_;
    COutlookContext* context_;
    bool debugScoring_ = false;
};
