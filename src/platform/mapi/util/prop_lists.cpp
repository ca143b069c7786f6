// Problem arrays and tag lists for IMAPIProp implementations.
#include <algorithm>

#include "mapi_prop_lists.h"
#include "mapix.h"

namespace orvella::platform::mapi {

HRESULT ReportProblems(const std::vector<SPropProblem>& found, LPSPropProblemArray* problems) {
    if (!problems) return S_OK;
    *problems = nullptr;
    if (found.empty()) return S_OK;
    void* buffer = nullptr;
    if (FAILED(MAPIAllocateBuffer(CbNewSPropProblemArray(found.size()), &buffer)))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    auto* array = static_cast<LPSPropProblemArray>(buffer);
    array->cProblem = static_cast<ULONG>(found.size());
    std::copy(found.begin(), found.end(), array->aProblem);
    *problems = array;
    return S_OK;
}

bool TagNames(ULONG asked, ULONG held) {
    return asked == held || (PROP_TYPE(asked) == PT_UNSPECIFIED && PROP_ID(asked) == PROP_ID(held));
}

bool TagListed(LPSPropTagArray tags, ULONG tag) {
    if (!tags) return false;
    return std::any_of(tags->aulPropTag, tags->aulPropTag + tags->cValues,
                       [&](ULONG listed) { return TagNames(listed, tag); });
}

}  // namespace orvella::platform::mapi
