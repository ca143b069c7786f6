// The scorer's weights in the user's settings: the "Scoring" key below the settings key.
#include <string>

#include "CMsgScore.h"
#include "ProgramException.h"
#include "core_failures.h"
#include "registry_values.h"
#include "resource.h"

namespace {

struct WeightValue {
    const char* name;
    LONG ScoringWeights::*weight;
};

constexpr WeightValue kWeightValues[] = {
    {"ContactScaling", &ScoringWeights::contactScaling},
    {"DomainScaling", &ScoringWeights::domainScaling},
    {"AddressDirectnessScaling", &ScoringWeights::addressDirectnessScaling},
    {"AddressSpecificityScaling", &ScoringWeights::addressSpecificityScaling},
    {"AddressSpecificityLimit", &ScoringWeights::addressSpecificityLimit},
    {"PriorityFlagScaling", &ScoringWeights::priorityFlagScaling},
    {"ThreadPriorityScaling", &ScoringWeights::threadPriorityScaling},
    {"ThreadOriginatorScaling", &ScoringWeights::threadOriginatorScaling},
    {"ThreadReplyCountScaling", &ScoringWeights::threadReplyCountScaling},
    {"ThreadReplyCountLimit", &ScoringWeights::threadReplyCountLimit},
    {"ContactReplyCountScaling", &ScoringWeights::contactReplyCountScaling},
};

std::string ScoringKey() {
    return orvella::res::LoadResString(IDS_SETTINGS_KEY) + "\\Scoring";
}

[[noreturn]] void FailSettings(const std::string& message, LONG error) {
    throw orvella::diag::ProgramException(message, "registry error " + std::to_string(error), 2,
                                          core_failures::kScoreModule, __LINE__);
}

}  // namespace

void CMsgScore::LoadSettings() {
    RegKey key;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, ScoringKey().c_str(), 0, KEY_READ, key.put()) !=
        ERROR_SUCCESS)
        return;
    for (const WeightValue& value : kWeightValues)
        if (std::optional<DWORD> stored = ReadRegDword(key.get(), value.name))
            weights_.*value.weight = static_cast<LONG>(*stored);
    // Set by hand in the registry; never written by the add-in.
    debugScoring_ = ReadRegDword(key.get(), "DebugScoring").value_or(0) != 0;
}

void CMsgScore::SaveSettings() {
    RegKey key;
    LONG error =
        RegCreateKeyExA(HKEY_CURRENT_USER, ScoringKey().c_str(), 0, nullptr,
                        REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE, nullptr, key.put(), nullptr);
    if (error != ERROR_SUCCESS) FailSettings("SaveSettings: failed to open reg key", error);
    for (const WeightValue& value : kWeightValues) {
        const DWORD stored = static_cast<DWORD>(weights_.*value.weight);
        error = RegSetValueExA(key.get(), value.name, 0, REG_DWORD,
                               reinterpret_cast<const BYTE*>(&stored), sizeof stored);
        if (error != ERROR_SUCCESS)
            FailSettings(std::string("SaveSettings: failed to write ") + value.name, error);
    }
}
