// Small helpers every IMAPIProp implementation needs: problem arrays and tag-list membership.
#pragma once

#include <vector>

#include "mapidefs.h"

namespace orvella::platform::mapi {

// A problem array (one MAPI buffer) in *problems when `found` is not empty; nothing when the
// caller passed no out-parameter. MAPI_E_NOT_ENOUGH_MEMORY when the buffer cannot be had.
HRESULT ReportProblems(const std::vector<SPropProblem>& found, LPSPropProblemArray* problems);

// Whether `tags` (null: no list) names `tag`, a PT_UNSPECIFIED entry naming any type of its id.
bool TagListed(LPSPropTagArray tags, ULONG tag);

}  // namespace orvella::platform::mapi
