// The form information object's values, copied from its registration.
#include "form_info.h"

namespace orvella::platform::forms {

FormInfo::FormInfo(mapi::ComPtr<IMAPIFormContainer> container, const SPropValue* values,
                   ULONG count)
    : container_(std::move(container)) {
    for (ULONG i = 0; i < count; ++i)
        if (PROP_TYPE(values[i].ulPropTag) != PT_ERROR) bag_.Put(values[i]);
}

HRESULT FormInfo::CopyTo(ULONG, LPCIID, LPSPropTagArray exclude, ULONG_PTR, LPMAPIPROGRESS, LPCIID,
                         LPVOID target, ULONG, LPSPropProblemArray* problems) {
    return CopyOut(bag_.Select(nullptr, exclude), target, problems);
}

HRESULT FormInfo::CopyProps(LPSPropTagArray include, ULONG_PTR, LPMAPIPROGRESS, LPCIID,
                            LPVOID target, ULONG, LPSPropProblemArray* problems) {
    if (!include) return MAPI_E_INVALID_PARAMETER;
    return CopyOut(bag_.Select(include, nullptr), target, problems);
}

HRESULT FormInfo::CopyOut(std::vector<SPropValue> values, LPVOID target,
                          LPSPropProblemArray* problems) {
    if (!target) return MAPI_E_INVALID_PARAMETER;
    return static_cast<IMAPIProp*>(target)->SetProps(static_cast<ULONG>(values.size()),
                                                     values.data(), problems);
}

}  // namespace orvella::platform::forms
