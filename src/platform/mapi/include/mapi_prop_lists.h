// Small helpers every IMAPIProp implementation needs: problem arrays and tag-list membership.
#pragma once

#include <vector>

#include "mapidefs.h"

namespace orvella::platform::mapi {

// A problem array (one MAPI buffer) in *problems when `found` is not empty; nothing when the
// caller passed no out-parameter. MAPI_E_NOT_ENOUGH_MEMORY when the buffer cannot be had.
HRESULT ReportProblems(const std::vector<SPropProblem>& found, LPSPropProblemArray* problems);

// Whether a request for `asked` names a value held as `held`: the same tag, or the same id when
// `asked` is PT_UNSPECIFIED (any type).
bool TagNames(ULONG asked, ULONG held);

// Whether `tags` (null: no list) names `tag`, a PT_UNSPECIFIED entry naming any type of its id.
bool TagListed(LPSPropTagArray tags, ULONG tag);

}  // namespace orvella::platform::mapi
