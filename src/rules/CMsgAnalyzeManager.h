// CMsgAnalyzeManager: the ordered AutoAssign rule set the message processor runs over each
// message it handles, kept under "AnalyzeJobs" in the user's settings.
#pragma once

#include "mapidefs.h"

class COutlookContext;
class IMsgScore;

// Loading and running are serialised by the message processor's mutex; the set has no lock of
// its own.
class CMsgAnalyzeManager {
public:
    // Neither is owned; both outlive the rule set.
    CMsgAnalyzeManager(COutlookContext* context, IMsgScore* scorer);
    CMsgAnalyzeManager(const CMsgAnalyzeManager&) = delete;
    CMsgAnalyzeManager& operator=(const CMsgAnalyzeManager&) = delete;

    // Opens "AnalyzeJobs" below the settings key, creating it when absent, and loads its rules
    // in sort order. Failures raise ProgramException. Rules are not built yet: the set stays
    // empty, and the first load that finds stored rules says so in the log (level 1).
    void LoadAllJobs();
    // Runs the rules in order over message and stops after the first whose query matches.
    // properties may be null (count 0): every attribute is then read from the message.
    // Returns 1.
    int RunJobs(IMessage* message, LPSPropValue properties, ULONG count);
    // The number of rules loaded.
    ULONG JobCount() const { return jobCount_; }

private:
    COutlookContext* context_;
    IMsgScore* scorer_;
    ULONG jobCount_ = 0;
    bool reportedStoredRules_ = false;
};
