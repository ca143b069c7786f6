// Named-property ids translated through names between two objects.
#include "mapi_named_copy.h"

#include "mapi_ptr.h"
#include "mapiprop.h"
#include "mapix.h"

namespace orvella::platform::mapi {

HRESULT MapNamedTags(IMAPIProp* source, IMAPIProp* target, std::vector<SPropValue>& values) {
    constexpr ULONG kFirstNamedId = 0x8000;
    std::vector<std::size_t> named;
    for (std::size_t i = 0; i < values.size(); ++i)
        if (PROP_ID(values[i].ulPropTag) >= kFirstNamedId) named.push_back(i);
    if (named.empty()) return S_OK;

    MapiBuffer<SPropTagArray> tags;
    if (FAILED(
            MAPIAllocateBuffer(CbNewSPropTagArray(named.size()), reinterpret_cast<void**>(&tags))))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    tags->cValues = static_cast<ULONG>(named.size());
    for (std::size_t n = 0; n < named.size(); ++n) tags->aulPropTag[n] = values[named[n]].ulPropTag;
    LPSPropTagArray asked = tags.Get();
    ULONG count = 0;
    MapiBuffer<LPMAPINAMEID> names;
    HRESULT hr = source->GetNamesFromIDs(&asked, nullptr, 0, &count, &names);
    if (FAILED(hr)) return hr;

    // Only the names the source knows are asked of the target.
    std::vector<LPMAPINAMEID> known;
    std::vector<std::size_t> known_values;
    for (std::size_t n = 0; n < named.size() && n < count; ++n)
        if (names[n]) {
            known.push_back(names[n]);
            known_values.push_back(named[n]);
        }
    std::vector<bool> keep(values.size(), true);
    for (std::size_t i : named) keep[i] = false;
    if (!known.empty()) {
        MapiBuffer<SPropTagArray> ids;
        hr = target->GetIDsFromNames(static_cast<ULONG>(known.size()), known.data(), MAPI_CREATE,
                                     &ids);
        if (FAILED(hr)) return hr;
        for (std::size_t k = 0; k < known.size() && k < ids->cValues; ++k) {
            if (PROP_TYPE(ids->aulPropTag[k]) == PT_ERROR) continue;
            SPropValue& value = values[known_values[k]];
            value.ulPropTag = PROP_TAG(PROP_TYPE(value.ulPropTag), PROP_ID(ids->aulPropTag[k]));
            keep[known_values[k]] = true;
        }
    }
    std::vector<SPropValue> kept;
    for (std::size_t i = 0; i < values.size(); ++i)
        if (keep[i]) kept.push_back(values[i]);
    values = std::move(kept);
    return S_OK;
}

}  // namespace orvella::platform::mapi
