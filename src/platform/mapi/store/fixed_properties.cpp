// Read-only property values held in memory.
#include "fixed_properties.h"

#include <cstring>
#include <new>

#include "mapi_wide_text.h"
#include "mapiutil.h"
#include "mapix.h"

namespace orvella::platform::mapi::store {
namespace {

// The held value that answers `tag`, or null.
const SPropValue* Lookup(const SPropValue* values, ULONG count, ULONG tag) {
    for (ULONG i = 0; i < count; ++i) {
        const ULONG held = values[i].ulPropTag;
        if (PROP_ID(held) != PROP_ID(tag)) continue;
        if (held == tag || PROP_TYPE(tag) == PT_UNSPECIFIED) return &values[i];
        if (PROP_TYPE(tag) == PT_UNICODE && PROP_TYPE(held) == PT_STRING8) return &values[i];
    }
    return nullptr;
}

// Copies `value` into `out` as `tag` asks, allocating on `parent`.
SCODE Answer(const SPropValue& value, ULONG tag, void* parent, SPropValue& out) {
    if (PROP_TYPE(tag) != PT_UNICODE || PROP_TYPE(value.ulPropTag) != PT_STRING8)
        return PropCopyMore(&out, const_cast<LPSPropValue>(&value), MAPIAllocateMore, parent);
    const std::wstring wide = Utf8ToWide(value.Value.lpszA ? value.Value.lpszA : "");
    const auto bytes = static_cast<ULONG>((wide.size() + 1) * sizeof(WCHAR));
    void* text = nullptr;
    if (SCODE sc = MAPIAllocateMore(bytes, parent, &text); FAILED(sc)) return sc;
    std::memcpy(text, wide.c_str(), bytes);
    out.ulPropTag = tag;
    out.Value.lpszW = static_cast<WCHAR*>(text);
    return S_OK;
}

}  // namespace

SPropValue& PropValueBuilder::Add(ULONG tag) {
    SPropValue& value = values_.emplace_back();
    value = {};
    value.ulPropTag = tag;
    return value;
}

PropValueBuilder& PropValueBuilder::Long(ULONG tag, ULONG value) {
    Add(tag).Value.ul = value;
    return *this;
}

PropValueBuilder& PropValueBuilder::Bool(ULONG tag, bool value) {
    Add(tag).Value.b = value;
    return *this;
}

PropValueBuilder& PropValueBuilder::String(ULONG tag, std::string value) {
    Add(tag).Value.lpszA = strings_.emplace_back(std::move(value)).data();
    return *this;
}

PropValueBuilder& PropValueBuilder::Binary(ULONG tag, std::vector<std::uint8_t> bytes) {
    auto& held = binaries_.emplace_back(std::move(bytes));
    Add(tag).Value.bin = {static_cast<ULONG>(held.size()), held.data()};
    return *this;
}

PropValueBuilder& PropValueBuilder::Strings(ULONG tag, const std::vector<std::string>& values) {
    auto& array = string_arrays_.emplace_back();
    for (const std::string& text : values) array.push_back(strings_.emplace_back(text).data());
    Add(tag).Value.MVszA = {static_cast<ULONG>(array.size()), array.data()};
    return *this;
}

FixedProperties::FixedProperties(std::span<const SPropValue> values) {
    LPSPropValue block = nullptr;
    if (FAILED(ScDupPropset(static_cast<int>(values.size()),
                            const_cast<LPSPropValue>(values.data()), MAPIAllocateBuffer, &block)))
        throw std::bad_alloc();
    values_.Reset(block);
    count_ = static_cast<ULONG>(values.size());
}

HRESULT FixedProperties::GetProps(LPSPropTagArray tags, ULONG, ULONG* count, LPSPropValue* values) {
    if (!count || !values) return MAPI_E_INVALID_PARAMETER;
    *count = 0;
    *values = nullptr;
    const ULONG wanted = tags ? tags->cValues : count_;
    void* buffer = nullptr;
    if (FAILED(MAPIAllocateBuffer(static_cast<ULONG>(sizeof(SPropValue) * (wanted ? wanted : 1)),
                                  &buffer)))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    MapiBuffer<SPropValue> out(static_cast<LPSPropValue>(buffer));
    bool missing = false;
    for (ULONG i = 0; i < wanted; ++i) {
        const ULONG tag = tags ? tags->aulPropTag[i] : values_[i].ulPropTag;
        const SPropValue* found = Lookup(values_.Get(), count_, tag);
        out[i] = {};
        if (!found) {
            out[i].ulPropTag = PROP_TAG(PT_ERROR, PROP_ID(tag));
            out[i].Value.err = MAPI_E_NOT_FOUND;
            missing = true;
        } else if (FAILED(Answer(*found, tag, buffer, out[i]))) {
            return MAPI_E_NOT_ENOUGH_MEMORY;
        }
    }
    *count = wanted;
    *values = out.Detach();
    return missing ? MAPI_W_ERRORS_RETURNED : S_OK;
}

HRESULT FixedProperties::GetPropList(ULONG, LPSPropTagArray* tags) {
    if (!tags) return MAPI_E_INVALID_PARAMETER;
    void* buffer = nullptr;
    if (FAILED(MAPIAllocateBuffer(CbNewSPropTagArray(count_), &buffer)))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    auto* list = static_cast<LPSPropTagArray>(buffer);
    list->cValues = count_;
    for (ULONG i = 0; i < count_; ++i) list->aulPropTag[i] = values_[i].ulPropTag;
    *tags = list;
    return S_OK;
}

}  // namespace orvella::platform::mapi::store
