// The named-property mapping streams of a .msg file: GUIDs (PS_MAPI and PS_PUBLIC_STRINGS are
// implied as indexes 1 and 2), 8-byte entries, and the UTF-16 names of string-named properties.
#include "name_map.h"

#include <cstring>
#include <vector>

#include "mapi_ptr.h"
#include "mapiguid.h"
#include "msg_streams.h"
#include "msg_values.h"

namespace orvella::platform::ole {
namespace {

const std::wstring kStorageName = L"__nameid_version1.0";
const ULONG kGuidStream = 0x00020102;
const ULONG kEntryStream = 0x00030102;
const ULONG kStringStream = 0x00040102;
constexpr ULONG kFirstNamedId = 0x8000;

bool SameName(const NameMap::Name& a, const MAPINAMEID& b) {
    if (!(a.guid == *b.lpguid) || a.kind != b.ulKind) return false;
    return a.kind == MNID_ID ? a.lid == b.Kind.lID : a.text == b.Kind.lpwstrName;
}

void PutU32(std::vector<std::uint8_t>& out, std::uint32_t v) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&v);
    out.insert(out.end(), bytes, bytes + 4);
}

std::uint32_t U32At(const std::vector<std::uint8_t>& bytes, std::size_t at) {
    std::uint32_t v;
    std::memcpy(&v, bytes.data() + at, 4);
    return v;
}

}  // namespace

ULONG NameMap::IdOf(const MAPINAMEID& name, bool create) {
    if (!name.lpguid || (name.ulKind != MNID_ID && name.ulKind != MNID_STRING) ||
        (name.ulKind == MNID_STRING && !name.Kind.lpwstrName))
        return 0;
    for (const auto& [id, known] : names_)
        if (SameName(known, name)) return id;
    if (!create) return 0;
    const ULONG id = names_.empty() ? kFirstNamedId : names_.rbegin()->first + 1;
    if (id > 0xFFFE) return 0;
    Name added;
    added.guid = *name.lpguid;
    added.kind = name.ulKind;
    if (name.ulKind == MNID_ID)
        added.lid = name.Kind.lID;
    else
        added.text = name.Kind.lpwstrName;
    names_[id] = std::move(added);
    return id;
}

std::optional<NameMap::Name> NameMap::NameOf(ULONG prop_id) const {
    auto found = names_.find(prop_id);
    if (found == names_.end()) return std::nullopt;
    return found->second;
}

HRESULT NameMap::Write(IStorage* storage) const {
    if (names_.empty()) return S_OK;
    mapi::ComPtr<IStorage> named;
    HRESULT hr = storage->CreateStorage(
        kStorageName.c_str(), STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE, 0, 0, &named);
    if (FAILED(hr)) return hr;
    std::vector<GUID> guids;
    std::vector<std::uint8_t> guid_bytes, entries, strings;
    for (const auto& [id, name] : names_) {
        ULONG guid_index = 0;
        if (name.guid == PS_MAPI) {
            guid_index = 1;
        } else if (name.guid == PS_PUBLIC_STRINGS) {
            guid_index = 2;
        } else {
            std::size_t i = 0;
            while (i < guids.size() && !(guids[i] == name.guid)) ++i;
            if (i == guids.size()) {
                guids.push_back(name.guid);
                const auto* bytes = reinterpret_cast<const std::uint8_t*>(&name.guid);
                guid_bytes.insert(guid_bytes.end(), bytes, bytes + sizeof(GUID));
            }
            guid_index = static_cast<ULONG>(i + 3);
        }
        if (name.kind == MNID_ID) {
            PutU32(entries, static_cast<std::uint32_t>(name.lid));
        } else {
            PutU32(entries, static_cast<std::uint32_t>(strings.size()));
            std::vector<std::uint8_t> text = Utf16Bytes(name.text.c_str());
            PutU32(strings, static_cast<std::uint32_t>(text.size()));
            strings.insert(strings.end(), text.begin(), text.end());
            strings.resize((strings.size() + 3) & ~std::size_t{3}, 0);
        }
        PutU32(entries, ((id - kFirstNamedId) << 16) | (guid_index << 1) | name.kind);
    }
    hr = WriteStream(named.Get(), SubstgName(kGuidStream), guid_bytes);
    if (SUCCEEDED(hr)) hr = WriteStream(named.Get(), SubstgName(kEntryStream), entries);
    if (SUCCEEDED(hr)) hr = WriteStream(named.Get(), SubstgName(kStringStream), strings);
    return hr;
}

HRESULT NameMap::Read(IStorage* storage) {
    names_.clear();
    mapi::ComPtr<IStorage> named;
    HRESULT hr = storage->OpenStorage(kStorageName.c_str(), nullptr,
                                      STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, &named);
    if (hr == STG_E_FILENOTFOUND) return S_OK;
    if (FAILED(hr)) return hr;
    std::vector<std::uint8_t> guids, entries, strings;
    for (auto [tag, bytes] : {std::pair{kGuidStream, &guids}, std::pair{kEntryStream, &entries},
                              std::pair{kStringStream, &strings}}) {
        hr = ReadStream(named.Get(), SubstgName(tag), *bytes);
        if (FAILED(hr) && hr != STG_E_FILENOTFOUND) return hr;
    }
    if (guids.size() % sizeof(GUID) || entries.size() % 8) return MAPI_E_CORRUPT_DATA;
    for (std::size_t at = 0; at < entries.size(); at += 8) {
        const std::uint32_t key = U32At(entries, at);
        const std::uint32_t info = U32At(entries, at + 4);
        const ULONG guid_index = (info >> 1) & 0x7FFF;
        Name name;
        name.kind = info & 1;
        if (guid_index == 1) {
            name.guid = PS_MAPI;
        } else if (guid_index == 2) {
            name.guid = PS_PUBLIC_STRINGS;
        } else if (guid_index >= 3 && (guid_index - 3) * sizeof(GUID) < guids.size()) {
            std::memcpy(&name.guid, guids.data() + (guid_index - 3) * sizeof(GUID), sizeof(GUID));
        } else {
            return MAPI_E_CORRUPT_DATA;
        }
        if (name.kind == MNID_ID) {
            name.lid = static_cast<LONG>(key);
        } else {
            if (key + 4 > strings.size()) return MAPI_E_CORRUPT_DATA;
            const std::uint32_t length = U32At(strings, key);
            if (length > strings.size() - key - 4) return MAPI_E_CORRUPT_DATA;
            name.text = FromUtf16(std::vector<std::uint8_t>(strings.begin() + key + 4,
                                                            strings.begin() + key + 4 + length));
        }
        names_[kFirstNamedId + (info >> 16)] = std::move(name);
    }
    return S_OK;
}

}  // namespace orvella::platform::ole
