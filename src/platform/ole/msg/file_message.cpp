// A message on structured storage: loaded whole from its storage, written whole by SaveChanges.
#include "file_message.h"

#include <cstring>

#include "db/value_codec.h"
#include "mapi_named_copy.h"
#include "mapi_prop_lists.h"
#include "mapi_wide_text.h"
#include "mapitags.h"
#include "mapix.h"
#include "msg_streams.h"
#include "property_stream.h"

#ifndef PR_MESSAGE_RECIPIENTS
#define PR_MESSAGE_RECIPIENTS PROP_TAG(PT_OBJECT, 0x0E12)
#endif

namespace orvella::platform::ole {
namespace {

using mapi::ComPtr;
using mapi::MapiBuffer;
using mapi::MapNamedTags;
using mapi::TagListed;

// Offsets in the top-level message's property-stream header.
constexpr std::size_t kNextRecipientId = 8;
constexpr std::size_t kRecipientCount = 16;

void PutU32At(std::vector<std::uint8_t>& bytes, std::size_t at, std::uint32_t v) {
    std::memcpy(bytes.data() + at, &v, 4);
}

// One name for GetNamesFromIDs, allocated on `parent`.
LPMAPINAMEID NameEntry(const NameMap::Name& name, void* parent) {
    void* entry = nullptr;
    void* guid = nullptr;
    if (FAILED(MAPIAllocateMore(sizeof(MAPINAMEID), parent, &entry)) ||
        FAILED(MAPIAllocateMore(sizeof(GUID), parent, &guid)))
        throw std::bad_alloc();
    auto* id = static_cast<LPMAPINAMEID>(entry);
    *static_cast<GUID*>(guid) = name.guid;
    id->lpguid = static_cast<LPGUID>(guid);
    id->ulKind = name.kind;
    if (name.kind == MNID_ID) {
        id->Kind.lID = name.lid;
        return id;
    }
    const std::size_t bytes = (name.text.size() + 1) * sizeof(WCHAR);
    void* text = nullptr;
    if (FAILED(MAPIAllocateMore(static_cast<ULONG>(bytes), parent, &text))) throw std::bad_alloc();
    std::memcpy(text, name.text.c_str(), bytes);
    id->Kind.lpwstrName = static_cast<WCHAR*>(text);
    return id;
}

}  // namespace

FileMessage::FileMessage(ComPtr<IStorage> storage, ULONG flags, MSGCALLRELEASE* on_release,
                         ULONG caller_data, LPMSGSESS session)
    : storage_(std::move(storage)),
      flags_(flags),
      on_release_(on_release),
      caller_data_(caller_data),
      session_(session) {
    STATSTG stat = {};
    writable_ = SUCCEEDED(storage_->Stat(&stat, STATFLAG_NONAME)) &&
                (stat.grfMode & (STGM_WRITE | STGM_READWRITE)) != 0;
    if (session_) {
        std::lock_guard lock(session_->mutex);
        session_->messages.insert(this);
    }
}

FileMessage::~FileMessage() {
    if (session_) {
        std::lock_guard lock(session_->mutex);
        session_->messages.erase(this);
    }
    if (on_release_) on_release_(caller_data_, this);
}

void FileMessage::Close() {
    closed_ = true;
    session_ = nullptr;
    storage_.Reset();
}

HRESULT FileMessage::Usable(bool change) const {
    if (closed_) return MAPI_E_INVALID_OBJECT;
    return change && !writable_ ? MAPI_E_NO_ACCESS : S_OK;
}

HRESULT FileMessage::Load() {
    std::vector<std::uint8_t> header;
    MapiBuffer<SPropValue> values;
    ULONG count = 0;
    HRESULT hr = ReadPropertySet(storage_.Get(), kMessageHeaderBytes, header, values, count);
    if (FAILED(hr)) return hr;
    if (hr == S_FALSE) return names_.Read(storage_.Get());
    if (FAILED(bag_.SetProps(count, values.Get(), nullptr))) return MAPI_E_NOT_ENOUGH_MEMORY;
    std::uint32_t recipients = 0;
    std::memcpy(&recipients, header.data() + kRecipientCount, 4);
    for (ULONG i = 0; i < recipients; ++i) {
        ComPtr<IStorage> row;
        hr = storage_->OpenStorage(RecipientStorageName(i).c_str(), nullptr,
                                   STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, &row);
        if (FAILED(hr)) return hr == STG_E_FILENOTFOUND ? MAPI_E_CORRUPT_DATA : hr;
        std::vector<std::uint8_t> row_header;
        MapiBuffer<SPropValue> row_values;
        ULONG row_count = 0;
        hr = ReadPropertySet(row.Get(), kRecipientHeaderBytes, row_header, row_values, row_count);
        if (FAILED(hr)) return hr;
        recipients_.Load({row_values.Get(), row_count}, i);
    }
    stored_recipients_ = recipients;
    return names_.Read(storage_.Get());
}

HRESULT FileMessage::WriteAll() {
    IStorage* storage = storage_.Get();
    const auto& rows = recipients_.rows();
    std::vector<std::uint8_t> header(kMessageHeaderBytes, 0);
    PutU32At(header, kNextRecipientId, static_cast<std::uint32_t>(rows.size()));
    PutU32At(header, kRecipientCount, static_cast<std::uint32_t>(rows.size()));
    HRESULT hr = WritePropertySet(storage, header, bag_.Select(nullptr, nullptr));
    for (ULONG i = 0; SUCCEEDED(hr) && i < rows.size(); ++i) {
        ComPtr<IStorage> row;
        hr =
            storage->CreateStorage(RecipientStorageName(i).c_str(),
                                   STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE, 0, 0, &row);
        if (SUCCEEDED(hr))
            hr = WritePropertySet(row.Get(), std::vector<std::uint8_t>(kRecipientHeaderBytes, 0),
                                  {rows[i].values.Get(), rows[i].values.Get() + rows[i].count});
    }
    for (ULONG i = static_cast<ULONG>(rows.size()); SUCCEEDED(hr) && i < stored_recipients_; ++i)
        storage->DestroyElement(RecipientStorageName(i).c_str());
    if (SUCCEEDED(hr)) stored_recipients_ = static_cast<ULONG>(rows.size());
    if (SUCCEEDED(hr)) hr = names_.Write(storage);
    if (SUCCEEDED(hr)) hr = storage->SetClass(CLSID_MailMessage);
    if (SUCCEEDED(hr) && !(flags_ & IMSG_NO_ISTG_COMMIT)) hr = storage->Commit(STGC_DEFAULT);
    return hr;
}

HRESULT FileMessage::SaveChanges(ULONG flags) {
    if (HRESULT hr = Usable(true); FAILED(hr)) return hr;
    HRESULT hr = WriteAll();
    if (FAILED(hr)) {
        last_error_.Set("the message could not be written to its storage");
        return hr;
    }
    if (!(flags & KEEP_OPEN_READWRITE)) writable_ = false;
    return S_OK;
}

HRESULT FileMessage::GetProps(LPSPropTagArray tags, ULONG, ULONG* count, LPSPropValue* values) {
    if (HRESULT hr = Usable(false); FAILED(hr)) return hr;
    return bag_.GetProps(tags, count, values);
}

HRESULT FileMessage::GetPropList(ULONG, LPSPropTagArray* tags) {
    if (HRESULT hr = Usable(false); FAILED(hr)) return hr;
    return bag_.GetPropList(tags);
}

HRESULT FileMessage::OpenProperty(ULONG tag, LPCIID iid, ULONG, ULONG flags, LPUNKNOWN* out) {
    if (!out || !iid) return MAPI_E_INVALID_PARAMETER;
    *out = nullptr;
    if (HRESULT hr = Usable(false); FAILED(hr)) return hr;
    if (*iid != IID_IStream) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    // Streams over a file message are for reading.
    if (flags & (MAPI_MODIFY | MAPI_CREATE)) return MAPI_E_NO_SUPPORT;
    const ULONG type = PROP_TYPE(tag);
    if (type != PT_STRING8 && type != PT_BINARY && type != PT_UNICODE) return MAPI_E_NO_SUPPORT;
    const SPropValue* value = bag_.Find(PROP_ID(tag));
    if (!value || value->ulPropTag != tag) return MAPI_E_NOT_FOUND;
    std::vector<std::uint8_t> bytes = mapi::store::EncodeValue(*value);
    if (type != PT_BINARY) bytes.resize(bytes.size() + (type == PT_UNICODE ? sizeof(WCHAR) : 1), 0);
    auto stream = mapi::store::MakeCom<mapi::store::PropertyStream>(std::move(bytes), nullptr);
    return mapi::store::ReturnObject(stream, out);
}

HRESULT FileMessage::SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray* problems) {
    if (HRESULT hr = Usable(true); FAILED(hr)) return hr;
    return bag_.SetProps(count, values, problems);
}

HRESULT FileMessage::DeleteProps(LPSPropTagArray tags, LPSPropProblemArray* problems) {
    if (HRESULT hr = Usable(true); FAILED(hr)) return hr;
    return bag_.DeleteProps(tags, problems);
}

HRESULT FileMessage::CopyOut(std::vector<SPropValue> values, bool recipients, IMAPIProp* target,
                             LPSPropProblemArray* problems) {
    if (!target) return MAPI_E_INVALID_PARAMETER;
    if (HRESULT hr = Usable(false); FAILED(hr)) return hr;
    try {
        HRESULT hr = MapNamedTags(this, target, values);
        if (SUCCEEDED(hr))
            hr = target->SetProps(static_cast<ULONG>(values.size()), values.data(), problems);
        if (FAILED(hr) || !recipients || recipients_.rows().empty()) return hr;
        auto* message = static_cast<IMessage*>(target);
        mapi::AdrListPtr list = recipients_.ToAdrList();
        for (ULONG i = 0; i < list->cEntries; ++i) {
            ADRENTRY& entry = list->aEntries[i];
            std::vector<SPropValue> row(entry.rgPropVals, entry.rgPropVals + entry.cValues);
            HRESULT mapped = MapNamedTags(this, target, row);
            if (FAILED(mapped)) return mapped;
            std::copy(row.begin(), row.end(), entry.rgPropVals);
            entry.cValues = static_cast<ULONG>(row.size());
        }
        HRESULT copied = message->ModifyRecipients(0, list.Get());
        return FAILED(copied) ? copied : hr;
    } catch (const std::bad_alloc&) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
}

HRESULT FileMessage::CopyTo(ULONG, LPCIID, LPSPropTagArray exclude, ULONG_PTR, LPMAPIPROGRESS,
                            LPCIID, LPVOID target, ULONG, LPSPropProblemArray* problems) {
    return CopyOut(bag_.Select(nullptr, exclude), !TagListed(exclude, PR_MESSAGE_RECIPIENTS),
                   static_cast<IMAPIProp*>(target), problems);
}

HRESULT FileMessage::CopyProps(LPSPropTagArray include, ULONG_PTR, LPMAPIPROGRESS, LPCIID,
                               LPVOID target, ULONG, LPSPropProblemArray* problems) {
    if (!include) return MAPI_E_INVALID_PARAMETER;
    return CopyOut(bag_.Select(include, nullptr), TagListed(include, PR_MESSAGE_RECIPIENTS),
                   static_cast<IMAPIProp*>(target), problems);
}

HRESULT FileMessage::GetNamesFromIDs(LPSPropTagArray* tags, LPGUID, ULONG, ULONG* count,
                                     LPMAPINAMEID** names) {
    if (!tags || !*tags || !count || !names) return MAPI_E_INVALID_PARAMETER;
    if (HRESULT hr = Usable(false); FAILED(hr)) return hr;
    const ULONG n = (*tags)->cValues;
    MapiBuffer<LPMAPINAMEID> out;
    if (FAILED(MAPIAllocateBuffer(static_cast<ULONG>(sizeof(LPMAPINAMEID) * (n + 1)),
                                  reinterpret_cast<void**>(&out))))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    HRESULT result = S_OK;
    try {
        for (ULONG i = 0; i < n; ++i) {
            auto name = names_.NameOf(PROP_ID((*tags)->aulPropTag[i]));
            out[i] = name ? NameEntry(*name, out.Get()) : nullptr;
            if (!name) result = MAPI_W_ERRORS_RETURNED;
        }
    } catch (const std::bad_alloc&) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    *count = n;
    *names = out.Detach();
    return result;
}

HRESULT FileMessage::GetIDsFromNames(ULONG count, LPMAPINAMEID* names, ULONG flags,
                                     LPSPropTagArray* tags) {
    if (!tags || !count || !names) return MAPI_E_INVALID_PARAMETER;
    if (HRESULT hr = Usable(false); FAILED(hr)) return hr;
    MapiBuffer<SPropTagArray> out;
    if (FAILED(MAPIAllocateBuffer(CbNewSPropTagArray(count), reinterpret_cast<void**>(&out))))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    out->cValues = count;
    HRESULT result = S_OK;
    const bool create = (flags & MAPI_CREATE) && writable_;
    for (ULONG i = 0; i < count; ++i) {
        const ULONG id = names[i] ? names_.IdOf(*names[i], create) : 0;
        out->aulPropTag[i] = id ? PROP_TAG(PT_UNSPECIFIED, id) : PROP_TAG(PT_ERROR, 0);
        if (!id) result = MAPI_W_ERRORS_RETURNED;
    }
    *tags = out.Detach();
    return result;
}

HRESULT FileMessage::GetRecipientTable(ULONG, LPMAPITABLE* table) {
    if (!table) return MAPI_E_INVALID_PARAMETER;
    if (HRESULT hr = Usable(false); FAILED(hr)) return hr;
    try {
        auto opened = recipients_.Table();
        if (!opened) return MAPI_E_NOT_ENOUGH_MEMORY;
        *table = opened.Detach();
        return S_OK;
    } catch (const std::bad_alloc&) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
}

HRESULT FileMessage::ModifyRecipients(ULONG flags, LPADRLIST changes) {
    if (!changes) return MAPI_E_INVALID_PARAMETER;
    if (HRESULT hr = Usable(true); FAILED(hr)) return hr;
    return recipients_.Modify(flags, *changes);
}

}  // namespace orvella::platform::ole
