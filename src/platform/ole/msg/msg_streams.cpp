// The property stream and value streams of one object in a .msg storage.
#include "msg_streams.h"

#include <cstdio>
#include <cstring>

#include "mapix.h"
#include "msg_values.h"

namespace orvella::platform::ole {
namespace {

using mapi::ComPtr;

const std::wstring kPropertyStream = L"__properties_version1.0";
constexpr std::size_t kEntryBytes = 16;
// Every property is readable and writable.
constexpr std::uint32_t kEntryFlags = 0x00000006;

constexpr DWORD kReadMode = STGM_READ | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kCreateMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE;

std::wstring Hex8(ULONG value) {
    wchar_t text[9];
    std::swprintf(text, 9, L"%08X", static_cast<unsigned>(value));
    return text;
}

std::wstring ItemName(ULONG tag, ULONG index) {
    return SubstgName(tag) + L"-" + Hex8(index);
}

std::uint32_t U32At(const std::uint8_t* at) {
    std::uint32_t v;
    std::memcpy(&v, at, 4);
    return v;
}

// Removes the value streams of the properties listed in an existing property stream.
void RemoveValueStreams(IStorage* storage, std::size_t header_bytes,
                        const std::vector<std::uint8_t>& old) {
    for (std::size_t at = header_bytes; at + kEntryBytes <= old.size(); at += kEntryBytes) {
        const ULONG tag = U32At(old.data() + at);
        ValueHome home;
        if (!HomeOf(PROP_TYPE(tag), home) || home == ValueHome::Inline) continue;
        if (home == ValueHome::ItemStreams) {
            std::vector<std::uint8_t> lengths;
            if (SUCCEEDED(ReadStream(storage, SubstgName(tag), lengths)))
                for (std::size_t i = 0; i < ItemCount(PROP_TYPE(tag), lengths); ++i)
                    storage->DestroyElement(ItemName(tag, static_cast<ULONG>(i)).c_str());
        }
        storage->DestroyElement(SubstgName(tag).c_str());
    }
}

}  // namespace

std::wstring SubstgName(ULONG tag) {
    return L"__substg1.0_" + Hex8(tag);
}

std::wstring RecipientStorageName(ULONG index) {
    return L"__recip_version1.0_#" + Hex8(index);
}

HRESULT ReadStream(IStorage* storage, const std::wstring& name, std::vector<std::uint8_t>& bytes) {
    ComPtr<IStream> stream;
    HRESULT hr = storage->OpenStream(name.c_str(), nullptr, kReadMode, 0, &stream);
    if (FAILED(hr)) return hr;
    STATSTG stat = {};
    if (HRESULT s = stream->Stat(&stat, STATFLAG_NONAME); FAILED(s)) return s;
    bytes.resize(static_cast<std::size_t>(stat.cbSize.QuadPart));
    ULONG read = 0;
    hr = stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &read);
    if (FAILED(hr)) return hr;
    return read == bytes.size() ? S_OK : STG_E_READFAULT;
}

HRESULT WriteStream(IStorage* storage, const std::wstring& name,
                    const std::vector<std::uint8_t>& bytes) {
    ComPtr<IStream> stream;
    HRESULT hr = storage->CreateStream(name.c_str(), kCreateMode, 0, 0, &stream);
    if (SUCCEEDED(hr) && !bytes.empty())
        hr = stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    return hr;
}

HRESULT WritePropertySet(IStorage* storage, const std::vector<std::uint8_t>& header,
                         const std::vector<SPropValue>& values) {
    std::vector<std::uint8_t> old;
    if (SUCCEEDED(ReadStream(storage, kPropertyStream, old)))
        RemoveValueStreams(storage, header.size(), old);
    std::vector<std::uint8_t> entries = header;
    for (const SPropValue& value : values) {
        ValueHome home;
        if (!HomeOf(PROP_TYPE(value.ulPropTag), home)) continue;
        EncodedValue encoded = EncodeMsgValue(value);
        const std::uint32_t head[2] = {value.ulPropTag, kEntryFlags};
        auto* head_bytes = reinterpret_cast<const std::uint8_t*>(head);
        entries.insert(entries.end(), head_bytes, head_bytes + 8);
        entries.insert(entries.end(), encoded.field.begin(), encoded.field.end());
        if (home == ValueHome::Inline) continue;
        HRESULT hr = WriteStream(storage, SubstgName(value.ulPropTag), encoded.stream);
        for (std::size_t i = 0; SUCCEEDED(hr) && i < encoded.items.size(); ++i)
            hr = WriteStream(storage, ItemName(value.ulPropTag, static_cast<ULONG>(i)),
                             encoded.items[i]);
        if (FAILED(hr)) return hr;
    }
    return WriteStream(storage, kPropertyStream, entries);
}

HRESULT ReadPropertySet(IStorage* storage, std::size_t header_bytes,
                        std::vector<std::uint8_t>& header, mapi::MapiBuffer<SPropValue>& values,
                        ULONG& count) {
    std::vector<std::uint8_t> bytes;
    HRESULT hr = ReadStream(storage, kPropertyStream, bytes);
    count = 0;
    values.Reset();
    if (hr == STG_E_FILENOTFOUND) {
        header.assign(header_bytes, 0);
        return S_FALSE;
    }
    if (FAILED(hr)) return hr;
    if (bytes.size() < header_bytes || (bytes.size() - header_bytes) % kEntryBytes)
        return MAPI_E_CORRUPT_DATA;
    header.assign(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(header_bytes));
    const std::size_t entries = (bytes.size() - header_bytes) / kEntryBytes;
    if (FAILED(MAPIAllocateBuffer(static_cast<ULONG>(sizeof(SPropValue) * (entries + 1)),
                                  reinterpret_cast<void**>(&values))))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    for (std::size_t e = 0; e < entries; ++e) {
        const std::uint8_t* entry = bytes.data() + header_bytes + e * kEntryBytes;
        const ULONG tag = U32At(entry);
        ValueHome home;
        if (!HomeOf(PROP_TYPE(tag), home)) continue;  // a type this platform does not keep
        EncodedValue encoded;
        std::memcpy(encoded.field.data(), entry + 8, 8);
        if (home != ValueHome::Inline) {
            hr = ReadStream(storage, SubstgName(tag), encoded.stream);
            if (FAILED(hr)) return hr == STG_E_FILENOTFOUND ? MAPI_E_CORRUPT_DATA : hr;
        }
        if (home == ValueHome::ItemStreams) {
            encoded.items.resize(ItemCount(PROP_TYPE(tag), encoded.stream));
            for (std::size_t i = 0; i < encoded.items.size(); ++i) {
                hr = ReadStream(storage, ItemName(tag, static_cast<ULONG>(i)), encoded.items[i]);
                if (FAILED(hr)) return hr == STG_E_FILENOTFOUND ? MAPI_E_CORRUPT_DATA : hr;
            }
        }
        hr = DecodeMsgValue(tag, encoded, values.Get(), values[count]);
        if (FAILED(hr)) return hr;
        ++count;
    }
    return S_OK;
}

}  // namespace orvella::platform::ole
