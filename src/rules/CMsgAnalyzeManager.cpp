// The AutoAssign rule set. Rules themselves (their queries and actions) are not built yet: the
// set makes sure "AnalyzeJobs" exists, holds no rule, and says once in the log when stored
// rules are left out.
#include "CMsgAnalyzeManager.h"

#include <string>

#include "ProgramException.h"
#include "registry_values.h"
#include "resource.h"
#include "store_failures.h"

namespace {

constexpr char kModule[] = "MsgAnalyzeManager";

}  // namespace

CMsgAnalyzeManager::CMsgAnalyzeManager(COutlookContext* context, IMsgScore* scorer)
    : context_(context), scorer_(scorer) {}

void CMsgAnalyzeManager::LoadAllJobs() {
    jobCount_ = 0;
    const std::string path = orvella::res::LoadResString(IDS_SETTINGS_KEY) + "\\AnalyzeJobs";
    RegKey jobs;
    const LONG error =
        RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_READ | KEY_WRITE, nullptr, jobs.put(), nullptr);
    if (error != ERROR_SUCCESS)
        throw orvella::diag::ProgramException("LoadAllJobs: failed to open reg key",
                                              "registry error " + std::to_string(error), 2, kModule,
                                              __LINE__);
    DWORD subKeys = 0;
    if (RegQueryInfoKeyA(jobs.get(), nullptr, nullptr, nullptr, &subKeys, nullptr, nullptr, nullptr,
                         nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS ||
        subKeys == 0 || reportedStoredRules_)
        return;
    reportedStoredRules_ = true;  // once per rule set, not at every reload
    store_failures::ReportFailure(orvella::diag::ProgramException(
        "LoadAllJobs: AutoAssign rules are not loaded yet",
        std::to_string(subKeys) + " stored rule(s) left out", 1, kModule, __LINE__));
}

int CMsgAnalyzeManager::RunJobs(IMessage* /*message*/, LPSPropValue /*properties*/,
                                ULONG /*count*/) {
    // No rule is ever loaded yet, so there is no rule whose query could match.
    return 1;
}
