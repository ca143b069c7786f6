// In-memory property values with IMAPIProp's results.
#include "property_bag.h"

#include <algorithm>
#include <new>

#include "db/value_codec.h"
#include "mapi_prop_lists.h"
#include "mapiutil.h"
#include "mapix.h"

namespace orvella::platform::ole {

using mapi::ReportProblems;
using mapi::TagListed;
using mapi::TagNames;

HRESULT PropertyBag::GetProps(LPSPropTagArray tags, ULONG* count, LPSPropValue* values) const {
    if (!count || !values) return MAPI_E_INVALID_PARAMETER;
    *count = 0;
    *values = nullptr;
    std::vector<ULONG> wanted;
    if (tags) {
        wanted.assign(tags->aulPropTag, tags->aulPropTag + tags->cValues);
    } else {
        for (const auto& [id, value] : values_) wanted.push_back(value->ulPropTag);
    }
    mapi::MapiBuffer<SPropValue> out;
    if (FAILED(MAPIAllocateBuffer(static_cast<ULONG>(sizeof(SPropValue) * (wanted.size() + 1)),
                                  reinterpret_cast<void**>(&out))))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    HRESULT result = S_OK;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        SPropValue& slot = out[i];
        slot = {};
        const SPropValue* value = Find(PROP_ID(wanted[i]));
        if (!value || !TagNames(wanted[i], value->ulPropTag)) {
            slot.ulPropTag = PROP_TAG(PT_ERROR, PROP_ID(wanted[i]));
            slot.Value.err = MAPI_E_NOT_FOUND;
            result = MAPI_W_ERRORS_RETURNED;
            continue;
        }
        if (FAILED(
                PropCopyMore(&slot, const_cast<LPSPropValue>(value), MAPIAllocateMore, out.Get())))
            return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    *count = static_cast<ULONG>(wanted.size());
    *values = out.Detach();
    return result;
}

HRESULT PropertyBag::GetPropList(LPSPropTagArray* tags) const {
    if (!tags) return MAPI_E_INVALID_PARAMETER;
    void* buffer = nullptr;
    if (FAILED(MAPIAllocateBuffer(CbNewSPropTagArray(values_.size()), &buffer)))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    auto* array = static_cast<LPSPropTagArray>(buffer);
    array->cValues = 0;
    for (const auto& [id, value] : values_) array->aulPropTag[array->cValues++] = value->ulPropTag;
    *tags = array;
    return S_OK;
}

void PropertyBag::Put(const SPropValue& value) {
    mapi::MapiBuffer<SPropValue> copy;
    if (FAILED(MAPIAllocateBuffer(sizeof(SPropValue), reinterpret_cast<void**>(&copy))) ||
        FAILED(PropCopyMore(copy.Get(), const_cast<LPSPropValue>(&value), MAPIAllocateMore,
                            copy.Get())))
        throw std::bad_alloc();
    values_[PROP_ID(value.ulPropTag)] = std::move(copy);
}

HRESULT PropertyBag::SetProps(ULONG count, const SPropValue* values,
                              LPSPropProblemArray* problems) {
    if (!values && count) return MAPI_E_INVALID_PARAMETER;
    std::vector<SPropProblem> found;
    try {
        for (ULONG i = 0; i < count; ++i) {
            const ULONG tag = values[i].ulPropTag;
            if (!mapi::store::IsStorableType(PROP_TYPE(tag)) || PROP_ID(tag) == 0) {
                found.push_back({i, tag, MAPI_E_INVALID_TYPE});
                continue;
            }
            Put(values[i]);
        }
    } catch (const std::bad_alloc&) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    return ReportProblems(found, problems);
}

HRESULT PropertyBag::DeleteProps(LPSPropTagArray tags, LPSPropProblemArray* problems) {
    if (!tags) return MAPI_E_INVALID_PARAMETER;
    std::vector<SPropProblem> found;
    for (ULONG i = 0; i < tags->cValues; ++i) {
        const ULONG tag = tags->aulPropTag[i];
        auto value = values_.find(PROP_ID(tag));
        if (value == values_.end() || !TagNames(tag, value->second->ulPropTag)) {
            found.push_back({i, tag, MAPI_E_NOT_FOUND});
            continue;
        }
        values_.erase(value);
    }
    return ReportProblems(found, problems);
}

const SPropValue* PropertyBag::Find(ULONG prop_id) const {
    auto found = values_.find(prop_id);
    return found == values_.end() ? nullptr : found->second.Get();
}

std::vector<SPropValue> PropertyBag::Select(LPSPropTagArray include,
                                            LPSPropTagArray exclude) const {
    std::vector<SPropValue> selected;
    for (const auto& [id, value] : values_)
        if ((!include || TagListed(include, value->ulPropTag)) &&
            !TagListed(exclude, value->ulPropTag))
            selected.push_back(*value);
    return selected;
}

}  // namespace orvella::platform::ole
