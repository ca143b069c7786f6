// One-property reads and writes, and finding a value in an array, over IMAPIProp.
#include "mapi_ptr.h"
#include "mapiutil.h"

using orvella::platform::mapi::MapiBuffer;

HRESULT HrGetOneProp(LPMAPIPROP lpMapiProp, ULONG ulPropTag, LPSPropValue* lppProp) {
    if (lppProp == nullptr) return MAPI_E_INVALID_PARAMETER;
    *lppProp = nullptr;
    if (lpMapiProp == nullptr) return MAPI_E_INVALID_PARAMETER;
    SizedSPropTagArray(1, tags) = {1, {ulPropTag}};
    ULONG count = 0;
    MapiBuffer<SPropValue> values;
    HRESULT hr =
        lpMapiProp->GetProps(reinterpret_cast<LPSPropTagArray>(&tags), 0, &count, values.Put());
    if (FAILED(hr)) return hr;
    if (!values || count != 1) return MAPI_E_CALL_FAILED;
    if (PROP_TYPE(values->ulPropTag) == PT_ERROR) {
        return FAILED(values->Value.err) ? values->Value.err : MAPI_E_NOT_FOUND;
    }
    *lppProp = values.Detach();
    return S_OK;
}

HRESULT HrSetOneProp(LPMAPIPROP lpMapiProp, LPSPropValue lpProp) {
    if (lpMapiProp == nullptr || lpProp == nullptr) return MAPI_E_INVALID_PARAMETER;
    MapiBuffer<SPropProblemArray> problems;
    HRESULT hr = lpMapiProp->SetProps(1, lpProp, problems.Put());
    if (FAILED(hr)) return hr;
    if (problems && problems->cProblem > 0) return problems->aProblem[0].scode;
    return S_OK;
}

LPSPropValue PpropFindProp(LPSPropValue rgprop, ULONG cprop, ULONG ulPropTag) {
    if (rgprop == nullptr) return nullptr;
    const bool by_id = PROP_TYPE(ulPropTag) == PT_UNSPECIFIED;
    for (ULONG i = 0; i < cprop; ++i) {
        const ULONG tag = rgprop[i].ulPropTag;
        if (by_id ? PROP_ID(tag) == PROP_ID(ulPropTag) : tag == ulPropTag) return &rgprop[i];
    }
    return nullptr;
}
