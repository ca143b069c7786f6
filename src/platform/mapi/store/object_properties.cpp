// IMAPIProp over the store file for the store, folders and messages.
#include "object_properties.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "db/value_codec.h"
#include "mapi_named_copy.h"
#include "mapi_prop_lists.h"
#include "mapi_wide_text.h"
#include "mapiutil.h"
#include "mapix.h"
#include "property_stream.h"

namespace orvella::platform::mapi::store {
namespace {

MapiBuffer<SPropValue> OwnedCopy(const SPropValue& value) {
    MapiBuffer<SPropValue> copy;
    if (FAILED(MAPIAllocateBuffer(sizeof(SPropValue), reinterpret_cast<void**>(&copy))) ||
        FAILED(PropCopyMore(copy.Get(), const_cast<LPSPropValue>(&value), MAPIAllocateMore,
                            copy.Get())))
        throw StoreFailure(MAPI_E_NOT_ENOUGH_MEMORY, "out of memory copying a property");
    return copy;
}

void ErrorValue(ULONG tag, SCODE error, SPropValue& out) {
    out = {};
    out.ulPropTag = PROP_TAG(PT_ERROR, PROP_ID(tag));
    out.Value.err = error;
}

}  // namespace

ObjectProperties::ObjectProperties(std::shared_ptr<StoreDatabase> store, ObjectInfo info,
                                   bool writable, ObjectHooks& hooks)
    : store_(std::move(store)),
      info_(info),
      writable_(writable),
      hooks_(hooks),
      loaded_(info_.id == 0) {}

void ObjectProperties::LoadSaved() {
    if (loaded_) return;
    PropertyMap saved = store_->LoadProperties(info_.id);
    // An object deleted since it was opened has nothing left to read.
    if (saved.empty() && !store_->Find(info_.id))
        throw StoreFailure(MAPI_E_OBJECT_DELETED, "the object was deleted");
    saved_.clear();
    for (auto& [id, value] : saved) {
        saved_[id] = value->ulPropTag;
        if (!touched_.count(id)) values_[id] = std::move(value);
    }
    loaded_ = true;
}

const SPropValue* ObjectProperties::Current(ULONG prop_id) {
    LoadSaved();
    auto found = values_.find(prop_id);
    return found == values_.end() ? nullptr : found->second.Get();
}

bool ObjectProperties::IsComputed(ULONG tag) const {
    const auto& computed = hooks_.ComputedTags();
    return std::any_of(computed.begin(), computed.end(),
                       [&](ULONG c) { return PROP_ID(c) == PROP_ID(tag); });
}

HRESULT ObjectProperties::ValueFor(ULONG tag, void* parent, SPropValue& out) {
    if (IsComputed(tag)) {
        if (hooks_.Compute(tag, parent, out) && TagNames(tag, out.ulPropTag)) return S_OK;
        ErrorValue(tag, MAPI_E_NOT_FOUND, out);
        return MAPI_W_ERRORS_RETURNED;
    }
    const SPropValue* value = Current(PROP_ID(tag));
    if (!value || !TagNames(tag, value->ulPropTag)) {
        ErrorValue(tag, MAPI_E_NOT_FOUND, out);
        return MAPI_W_ERRORS_RETURNED;
    }
    if (ValueBytes(*value) > kLargeValueBytes) {
        ErrorValue(tag, MAPI_E_NOT_ENOUGH_MEMORY, out);
        return MAPI_W_ERRORS_RETURNED;
    }
    if (FAILED(PropCopyMore(&out, const_cast<LPSPropValue>(value), MAPIAllocateMore, parent)))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    return S_OK;
}

HRESULT ObjectProperties::GetProps(LPSPropTagArray tags, ULONG, ULONG* count,
                                   LPSPropValue* values) {
    if (!count || !values) return MAPI_E_INVALID_PARAMETER;
    *count = 0;
    *values = nullptr;
    std::vector<ULONG> wanted;
    if (tags) {
        wanted.assign(tags->aulPropTag, tags->aulPropTag + tags->cValues);
    } else {
        LoadSaved();
        for (const auto& [id, value] : values_)
            if (!IsComputed(value->ulPropTag)) wanted.push_back(value->ulPropTag);
        for (ULONG tag : hooks_.ComputedTags()) wanted.push_back(tag);
    }
    MapiBuffer<SPropValue> out;
    if (FAILED(MAPIAllocateBuffer(static_cast<ULONG>(sizeof(SPropValue) * (wanted.size() + 1)),
                                  reinterpret_cast<void**>(&out))))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    HRESULT result = S_OK;
    ULONG filled = 0;
    for (ULONG tag : wanted) {
        SPropValue& slot = out[filled];
        slot = {};
        HRESULT hr = ValueFor(tag, out.Get(), slot);
        if (FAILED(hr)) return hr;
        // Asked for everything: leave out computed values the object doesn't have.
        if (!tags && PROP_TYPE(slot.ulPropTag) == PT_ERROR) continue;
        if (hr != S_OK) result = hr;
        ++filled;
    }
    *count = filled;
    *values = out.Detach();
    return result;
}

HRESULT ObjectProperties::GetPropList(ULONG, LPSPropTagArray* tags) {
    if (!tags) return MAPI_E_INVALID_PARAMETER;
    LoadSaved();
    std::vector<ULONG> list;
    for (const auto& [id, value] : values_)
        if (!IsComputed(value->ulPropTag)) list.push_back(value->ulPropTag);
    // Computed values are listed only when the object has them now.
    MapiBuffer<BYTE> scratch;
    if (FAILED(MAPIAllocateBuffer(1, reinterpret_cast<void**>(&scratch))))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    for (ULONG tag : hooks_.ComputedTags()) {
        SPropValue probe = {};
        if (hooks_.Compute(tag, scratch.Get(), probe)) list.push_back(tag);
    }
    void* buffer = nullptr;
    if (FAILED(MAPIAllocateBuffer(CbNewSPropTagArray(list.size()), &buffer)))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    auto* array = static_cast<LPSPropTagArray>(buffer);
    array->cValues = static_cast<ULONG>(list.size());
    std::copy(list.begin(), list.end(), array->aulPropTag);
    *tags = array;
    return S_OK;
}

void ObjectProperties::Put(const SPropValue& value) {
    values_[PROP_ID(value.ulPropTag)] = OwnedCopy(value);
    touched_.insert(PROP_ID(value.ulPropTag));
}

HRESULT ObjectProperties::SetProps(ULONG count, LPSPropValue values,
                                   LPSPropProblemArray* problems) {
    if (!values && count) return MAPI_E_INVALID_PARAMETER;
    if (!writable_) return MAPI_E_NO_ACCESS;
    return Guarded(last_error_, [&] {
        std::vector<SPropProblem> found;
        for (ULONG i = 0; i < count; ++i) {
            const SPropValue& value = values[i];
            SCODE problem = S_OK;
            if (IsComputed(value.ulPropTag))
                problem = MAPI_E_COMPUTED;
            else if (!IsStorableType(PROP_TYPE(value.ulPropTag)) || PROP_ID(value.ulPropTag) == 0)
                problem = MAPI_E_INVALID_TYPE;
            if (problem != S_OK) {
                found.push_back({i, value.ulPropTag, problem});
                continue;
            }
            Put(value);
        }
        return ReportProblems(found, problems);
    });
}

HRESULT ObjectProperties::DeleteProps(LPSPropTagArray tags, LPSPropProblemArray* problems) {
    if (!tags) return MAPI_E_INVALID_PARAMETER;
    if (!writable_) return MAPI_E_NO_ACCESS;
    return Guarded(last_error_, [&] {
        LoadSaved();
        std::vector<SPropProblem> found;
        for (ULONG i = 0; i < tags->cValues; ++i) {
            const ULONG tag = tags->aulPropTag[i];
            if (IsComputed(tag)) {
                found.push_back({i, tag, MAPI_E_COMPUTED});
                continue;
            }
            auto value = values_.find(PROP_ID(tag));
            if (value == values_.end() || !TagNames(tag, value->second->ulPropTag)) {
                found.push_back({i, tag, MAPI_E_NOT_FOUND});
                continue;
            }
            values_.erase(value);
            touched_.insert(PROP_ID(tag));
        }
        return ReportProblems(found, problems);
    });
}

HRESULT ObjectProperties::SaveChanges(ULONG flags) {
    if (!writable_) return MAPI_E_NO_ACCESS;
    return Guarded(last_error_, [&]() -> HRESULT {
        SaveRequest request;
        request.id = info_.id;
        request.kind = info_.kind;
        request.parent = info_.parent;
        request.associated = info_.associated;
        request.expected_change = info_.change;
        request.force = (flags & FORCE_SAVE) != 0;
        // Without the saved values, the store finds which set values replace another type.
        request.retype_unread = !loaded_;
        for (ULONG id : touched_) {
            auto current = values_.find(id);
            const SPropValue* value = current == values_.end() ? nullptr : current->second.Get();
            auto saved = saved_.find(id);
            if (saved != saved_.end() && (!value || value->ulPropTag != saved->second))
                request.removed.push_back(saved->second);
            if (value) request.set.push_back(value);
        }
        hooks_.PrepareSave(request);
        if (info_.id && request.set.empty() && request.removed.empty() && !request.recipients &&
            !changed_) {
            // Nothing to write; a save still fails for an object deleted meanwhile.
            if (!store_->Find(info_.id))
                throw StoreFailure(MAPI_E_OBJECT_DELETED, "the object was deleted");
        } else {
            auto [id, change] = store_->Save(request);
            info_.id = id;
            info_.change = change;
        }
        saved_.clear();
        if (loaded_)
            for (const auto& [id, value] : values_) saved_[id] = value->ulPropTag;
        touched_.clear();
        changed_ = false;
        if (!(flags & KEEP_OPEN_READWRITE)) writable_ = false;
        return S_OK;
    });
}

HRESULT ObjectProperties::CopyValuesTo(LPSPropTagArray include, LPSPropTagArray exclude,
                                       IMAPIProp* self, IMAPIProp* target,
                                       LPSPropProblemArray* problems) {
    if (!target) return MAPI_E_INVALID_PARAMETER;
    LoadSaved();
    std::vector<SPropValue> copy;
    for (const auto& [id, value] : values_) {
        if (IsComputed(value->ulPropTag) || TagListed(exclude, value->ulPropTag)) continue;
        if (include && !TagListed(include, value->ulPropTag)) continue;
        copy.push_back(*value);
    }
    // The target (another store, a .msg file) may know the same names under other ids.
    if (HRESULT hr = MapNamedTags(self, target, copy); FAILED(hr)) return hr;
    return target->SetProps(static_cast<ULONG>(copy.size()), copy.data(), problems);
}

HRESULT ObjectProperties::OpenProperty(ULONG tag, LPCIID iid, ULONG flags, IUnknown* owner,
                                       LPUNKNOWN* out) {
    if (!out || !iid) return MAPI_E_INVALID_PARAMETER;
    *out = nullptr;
    if (*iid != IID_IStream) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    const ULONG type = PROP_TYPE(tag);
    if (type != PT_STRING8 && type != PT_BINARY && type != PT_UNICODE) return MAPI_E_NO_SUPPORT;
    const bool modify = (flags & (MAPI_MODIFY | MAPI_CREATE)) != 0;
    if (modify && !writable_) return MAPI_E_NO_ACCESS;
    std::vector<std::uint8_t> bytes;
    const SPropValue* value = Current(PROP_ID(tag));
    if (!(flags & MAPI_CREATE)) {
        if (!value || value->ulPropTag != tag) return MAPI_E_NOT_FOUND;
        if (type == PT_BINARY) {
            bytes.assign(value->Value.bin.lpb, value->Value.bin.lpb + value->Value.bin.cb);
        } else {
            bytes = EncodeValue(*value);
            // A string stream carries its terminator, as MAPI's do.
            bytes.resize(bytes.size() + (type == PT_UNICODE ? sizeof(WCHAR) : 1), 0);
        }
    }
    PropertyStream::CommitFn commit;
    if (modify) {
        ComPtr<IUnknown> keep(owner);
        commit = [this, keep, tag](const std::vector<std::uint8_t>& written) -> HRESULT {
            std::vector<std::uint8_t> payload = written;
            if (PROP_TYPE(tag) != PT_BINARY) {
                // Up to the first terminator: a stream may or may not end with one.
                const std::size_t unit = PROP_TYPE(tag) == PT_UNICODE ? sizeof(WCHAR) : 1;
                for (std::size_t i = 0; i + unit <= payload.size(); i += unit)
                    if (std::all_of(payload.begin() + i, payload.begin() + i + unit,
                                    [](std::uint8_t b) { return b == 0; })) {
                        payload.resize(i);
                        break;
                    }
                payload.resize(payload.size() - payload.size() % unit);
            }
            MapiBuffer<SPropValue> value;
            if (FAILED(MAPIAllocateBuffer(sizeof(SPropValue), reinterpret_cast<void**>(&value))))
                return STG_E_INSUFFICIENTMEMORY;
            if (FAILED(DecodeValue(tag, payload, value.Get(), *value))) return STG_E_CANTSAVE;
            values_[PROP_ID(tag)] = std::move(value);
            touched_.insert(PROP_ID(tag));
            return S_OK;
        };
    }
    auto stream = MakeCom<PropertyStream>(std::move(bytes), std::move(commit));
    return ReturnObject(stream, out);
}

HRESULT ObjectProperties::GetIDsFromNames(ULONG count, LPMAPINAMEID* names, ULONG flags,
                                          LPSPropTagArray* tags) {
    if (!tags || (count && !names)) return MAPI_E_INVALID_PARAMETER;
    if (count == 0) return MAPI_E_INVALID_PARAMETER;  // listing every name is not offered
    return Guarded(last_error_, [&]() -> HRESULT {
        void* buffer = nullptr;
        if (FAILED(MAPIAllocateBuffer(CbNewSPropTagArray(count), &buffer)))
            return MAPI_E_NOT_ENOUGH_MEMORY;
        MapiBuffer<SPropTagArray> out(static_cast<LPSPropTagArray>(buffer));
        out->cValues = count;
        bool missing = false;
        for (ULONG i = 0; i < count; ++i) {
            ULONG id = 0;
            const MAPINAMEID* name = names[i];
            if (name && name->lpguid &&
                (name->ulKind == MNID_ID ||
                 (name->ulKind == MNID_STRING && name->Kind.lpwstrName))) {
                NamedProperty key;
                key.guid = *name->lpguid;
                key.kind = name->ulKind;
                if (name->ulKind == MNID_ID) {
                    key.lid = name->Kind.lID;
                } else {
                    key.name = WideToUtf8(name->Kind.lpwstrName);
                }
                id = store_->IdFromName(key, (flags & MAPI_CREATE) != 0 && writable_);
            }
            out->aulPropTag[i] = id ? PROP_TAG(PT_UNSPECIFIED, id) : PROP_TAG(PT_ERROR, 0);
            missing |= id == 0;
        }
        *tags = out.Detach();
        return missing ? MAPI_W_ERRORS_RETURNED : S_OK;
    });
}

HRESULT ObjectProperties::GetNamesFromIDs(LPSPropTagArray* tags, LPGUID, ULONG, ULONG* count,
                                          LPMAPINAMEID** names) {
    if (!tags || !*tags || !count || !names) return MAPI_E_INVALID_PARAMETER;
    return Guarded(last_error_, [&]() -> HRESULT {
        const ULONG n = (*tags)->cValues;
        void* buffer = nullptr;
        if (FAILED(MAPIAllocateBuffer(static_cast<ULONG>(sizeof(LPMAPINAMEID) * (n + 1)), &buffer)))
            return MAPI_E_NOT_ENOUGH_MEMORY;
        MapiBuffer<LPMAPINAMEID> out(static_cast<LPMAPINAMEID*>(buffer));
        bool missing = false;
        for (ULONG i = 0; i < n; ++i) {
            out[i] = nullptr;
            auto name = store_->NameFromId(PROP_ID((*tags)->aulPropTag[i]));
            if (!name) {
                missing = true;
                continue;
            }
            void* entry = nullptr;
            void* guid = nullptr;
            if (FAILED(MAPIAllocateMore(sizeof(MAPINAMEID), buffer, &entry)) ||
                FAILED(MAPIAllocateMore(sizeof(GUID), buffer, &guid)))
                return MAPI_E_NOT_ENOUGH_MEMORY;
            auto* id = static_cast<LPMAPINAMEID>(entry);
            std::memcpy(guid, &name->guid, sizeof(GUID));
            id->lpguid = static_cast<LPGUID>(guid);
            id->ulKind = name->kind;
            if (name->kind == MNID_ID) {
                id->Kind.lID = name->lid;
            } else {
                std::wstring wide = Utf8ToWide(name->name);
                void* text = nullptr;
                if (FAILED(MAPIAllocateMore(static_cast<ULONG>((wide.size() + 1) * sizeof(WCHAR)),
                                            buffer, &text)))
                    return MAPI_E_NOT_ENOUGH_MEMORY;
                std::memcpy(text, wide.c_str(), (wide.size() + 1) * sizeof(WCHAR));
                id->Kind.lpwstrName = static_cast<WCHAR*>(text);
            }
            out[i] = id;
        }
        *count = n;
        *names = out.Detach();
        return missing ? MAPI_W_ERRORS_RETURNED : S_OK;
    });
}

}  // namespace orvella::platform::mapi::store
