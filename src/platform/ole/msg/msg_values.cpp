// Encoding of property values for the .msg layout (little-endian, UTF-16LE wide strings).
#include "msg_values.h"

#include <cstring>
#include <string>

#include "mapix.h"

namespace orvella::platform::ole {
namespace {

std::size_t FixedSize(ULONG type) {
    switch (type) {
        case PT_I2:
            return 2;
        case PT_LONG:
        case PT_R4:
        case PT_ERROR:
            return 4;
        case PT_BOOLEAN:
            return 2;
        case PT_DOUBLE:
        case PT_CURRENCY:
        case PT_APPTIME:
        case PT_I8:
        case PT_SYSTIME:
            return 8;
        case PT_CLSID:
            return 16;
        default:
            return 0;
    }
}

// The address and count of a fixed-size multi-valued array.
std::pair<void*, ULONG> FixedArray(const SPropValue& value) {
    const _PV& v = value.Value;
    switch (PROP_TYPE(value.ulPropTag) & ~MV_FLAG) {
        case PT_I2:
            return {v.MVi.lpi, v.MVi.cValues};
        case PT_LONG:
            return {v.MVl.lpl, v.MVl.cValues};
        case PT_R4:
            return {v.MVflt.lpflt, v.MVflt.cValues};
        case PT_DOUBLE:
            return {v.MVdbl.lpdbl, v.MVdbl.cValues};
        case PT_CURRENCY:
            return {v.MVcur.lpcur, v.MVcur.cValues};
        case PT_APPTIME:
            return {v.MVat.lpat, v.MVat.cValues};
        case PT_SYSTIME:
            return {v.MVft.lpft, v.MVft.cValues};
        case PT_CLSID:
            return {v.MVguid.lpguid, v.MVguid.cValues};
        case PT_I8:
            return {v.MVli.lpli, v.MVli.cValues};
        default:
            return {nullptr, 0};
    }
}

void SetFixedArray(SPropValue& out, void* data, ULONG count) {
    _PV& v = out.Value;
    switch (PROP_TYPE(out.ulPropTag) & ~MV_FLAG) {
        case PT_I2:
            v.MVi = {count, static_cast<short*>(data)};
            break;
        case PT_LONG:
            v.MVl = {count, static_cast<LONG*>(data)};
            break;
        case PT_R4:
            v.MVflt = {count, static_cast<float*>(data)};
            break;
        case PT_DOUBLE:
            v.MVdbl = {count, static_cast<double*>(data)};
            break;
        case PT_CURRENCY:
            v.MVcur = {count, static_cast<CURRENCY*>(data)};
            break;
        case PT_APPTIME:
            v.MVat = {count, static_cast<double*>(data)};
            break;
        case PT_SYSTIME:
            v.MVft = {count, static_cast<FILETIME*>(data)};
            break;
        case PT_CLSID:
            v.MVguid = {count, static_cast<GUID*>(data)};
            break;
        case PT_I8:
            v.MVli = {count, static_cast<LARGE_INTEGER*>(data)};
            break;
        default:
            break;
    }
}

void PutU32(std::vector<std::uint8_t>& out, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

}  // namespace

std::vector<std::uint8_t> Utf16Bytes(const WCHAR* text) {
    std::vector<std::uint8_t> out;
    auto unit = [&](std::uint32_t u) {
        out.push_back(static_cast<std::uint8_t>(u));
        out.push_back(static_cast<std::uint8_t>(u >> 8));
    };
    for (; text && *text; ++text) {
        std::uint32_t c = static_cast<std::uint32_t>(*text);
        if (c >= 0x10000) {
            c -= 0x10000;
            unit(0xD800 + (c >> 10));
            unit(0xDC00 + (c & 0x3FF));
        } else {
            unit(c);
        }
    }
    return out;
}

std::wstring FromUtf16(const std::vector<std::uint8_t>& bytes) {
    std::wstring out;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::uint32_t u = bytes[i] | (bytes[i + 1] << 8);
        if (u == 0) break;
        if (u >= 0xD800 && u < 0xDC00 && i + 3 < bytes.size()) {
            std::uint32_t low = bytes[i + 2] | (bytes[i + 3] << 8);
            if (low >= 0xDC00 && low < 0xE000) {
                u = 0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00);
                i += 2;
            }
        }
        out.push_back(static_cast<WCHAR>(u));
    }
    return out;
}

namespace {

std::vector<std::uint8_t> StringBytes(ULONG type, const void* text) {
    if (type == PT_UNICODE) return Utf16Bytes(static_cast<const WCHAR*>(text));
    const char* s = static_cast<const char*>(text);
    return s ? std::vector<std::uint8_t>(s, s + std::strlen(s)) : std::vector<std::uint8_t>{};
}

// Copies bytes into a new buffer on `parent`; null on failure (or for no bytes).
void* Place(const void* bytes, std::size_t size, void* parent, SCODE& status) {
    if (size == 0 || FAILED(status)) return nullptr;
    void* at = nullptr;
    status = MAPIAllocateMore(static_cast<ULONG>(size), parent, &at);
    if (FAILED(status)) return nullptr;
    if (bytes) std::memcpy(at, bytes, size);
    return at;
}

// A string value from its stored bytes (up to the first terminator).
void* DecodeString(ULONG type, const std::vector<std::uint8_t>& bytes, void* parent,
                   SCODE& status) {
    if (type == PT_UNICODE) {
        std::wstring text = FromUtf16(bytes);
        return Place(text.c_str(), (text.size() + 1) * sizeof(WCHAR), parent, status);
    }
    std::string text(bytes.begin(), bytes.end());
    text.resize(std::strlen(text.c_str()));
    return Place(text.c_str(), text.size() + 1, parent, status);
}

}  // namespace

bool HomeOf(ULONG type, ValueHome& home) {
    const ULONG base = type & ~MV_FLAG;
    if (type & MV_FLAG) {
        if (base == PT_STRING8 || base == PT_UNICODE || base == PT_BINARY) {
            home = ValueHome::ItemStreams;
            return true;
        }
        home = ValueHome::Stream;
        return FixedSize(base) != 0 && base != PT_ERROR && base != PT_BOOLEAN;
    }
    if (type == PT_STRING8 || type == PT_UNICODE || type == PT_BINARY || type == PT_CLSID) {
        home = ValueHome::Stream;
        return true;
    }
    home = ValueHome::Inline;
    return FixedSize(type) != 0;
}

EncodedValue EncodeMsgValue(const SPropValue& value) {
    EncodedValue out;
    const ULONG type = PROP_TYPE(value.ulPropTag);
    ValueHome home = ValueHome::Inline;
    HomeOf(type, home);
    std::uint32_t size = 0;
    if (home == ValueHome::Inline) {
        if (type == PT_BOOLEAN)
            out.field[0] = value.Value.b ? 1 : 0;
        else
            std::memcpy(out.field.data(), &value.Value, FixedSize(type));
        return out;
    }
    if (type == PT_STRING8 || type == PT_UNICODE) {
        out.stream =
            StringBytes(type, type == PT_UNICODE ? static_cast<const void*>(value.Value.lpszW)
                                                 : value.Value.lpszA);
        size = static_cast<std::uint32_t>(out.stream.size() + (type == PT_UNICODE ? 2 : 1));
    } else if (type == PT_BINARY) {
        out.stream.assign(value.Value.bin.lpb, value.Value.bin.lpb + value.Value.bin.cb);
    } else if (type == PT_CLSID) {
        auto* guid = reinterpret_cast<const std::uint8_t*>(value.Value.lpguid);
        out.stream.assign(guid, guid + sizeof(GUID));
    } else if (home == ValueHome::Stream) {
        auto [data, count] = FixedArray(value);
        auto* bytes = static_cast<const std::uint8_t*>(data);
        out.stream.assign(bytes, bytes + count * FixedSize(type & ~MV_FLAG));
    } else {
        const ULONG base = type & ~MV_FLAG;
        const ULONG count = value.Value.MVbin.cValues;
        for (ULONG i = 0; i < count; ++i) {
            std::vector<std::uint8_t> item;
            if (base == PT_BINARY) {
                const SBinary& bin = value.Value.MVbin.lpbin[i];
                item.assign(bin.lpb, bin.lpb + bin.cb);
            } else {
                item = StringBytes(base, base == PT_UNICODE
                                             ? static_cast<const void*>(value.Value.MVszW.lppszW[i])
                                             : value.Value.MVszA.lppszA[i]);
                item.resize(item.size() + (base == PT_UNICODE ? 2 : 1), 0);
            }
            PutU32(out.stream, static_cast<std::uint32_t>(item.size()));
            if (base == PT_BINARY) PutU32(out.stream, 0);
            out.items.push_back(std::move(item));
        }
    }
    if (size == 0) size = static_cast<std::uint32_t>(out.stream.size());
    std::memcpy(out.field.data(), &size, 4);
    return out;
}

std::size_t ItemCount(ULONG type, const std::vector<std::uint8_t>& length_stream) {
    return length_stream.size() / ((type & ~MV_FLAG) == PT_BINARY ? 8 : 4);
}

SCODE DecodeMsgValue(ULONG tag, const EncodedValue& encoded, void* parent, SPropValue& out) {
    out = {};
    out.ulPropTag = tag;
    const ULONG type = PROP_TYPE(tag);
    const ULONG base = type & ~MV_FLAG;
    ValueHome home = ValueHome::Inline;
    if (!HomeOf(type, home)) return MAPI_E_CORRUPT_DATA;
    SCODE status = S_OK;
    const auto& stream = encoded.stream;
    if (home == ValueHome::Inline) {
        if (type == PT_BOOLEAN)
            out.Value.b = encoded.field[0] != 0;
        else
            std::memcpy(&out.Value, encoded.field.data(), FixedSize(type));
    } else if (type == PT_STRING8 || type == PT_UNICODE) {
        void* text = DecodeString(type, stream, parent, status);
        if (type == PT_UNICODE)
            out.Value.lpszW = static_cast<WCHAR*>(text);
        else
            out.Value.lpszA = static_cast<char*>(text);
    } else if (type == PT_BINARY) {
        out.Value.bin.cb = static_cast<ULONG>(stream.size());
        out.Value.bin.lpb =
            static_cast<LPBYTE>(Place(stream.data(), stream.size(), parent, status));
    } else if (type == PT_CLSID) {
        if (stream.size() != sizeof(GUID)) return MAPI_E_CORRUPT_DATA;
        out.Value.lpguid = static_cast<LPGUID>(Place(stream.data(), sizeof(GUID), parent, status));
    } else if (home == ValueHome::Stream) {
        const std::size_t unit = FixedSize(base);
        if (stream.size() % unit) return MAPI_E_CORRUPT_DATA;
        SetFixedArray(out, Place(stream.data(), stream.size(), parent, status),
                      static_cast<ULONG>(stream.size() / unit));
    } else {
        const ULONG count = static_cast<ULONG>(encoded.items.size());
        if (ItemCount(type, stream) != count) return MAPI_E_CORRUPT_DATA;
        if (base == PT_BINARY) {
            auto* bins =
                static_cast<SBinary*>(Place(nullptr, sizeof(SBinary) * count, parent, status));
            for (ULONG i = 0; i < count && bins; ++i) {
                const auto& item = encoded.items[i];
                bins[i].cb = static_cast<ULONG>(item.size());
                bins[i].lpb = static_cast<LPBYTE>(Place(item.data(), item.size(), parent, status));
            }
            out.Value.MVbin = {count, bins};
        } else {
            auto** texts =
                static_cast<void**>(Place(nullptr, sizeof(void*) * count, parent, status));
            for (ULONG i = 0; i < count && texts; ++i)
                texts[i] = DecodeString(base, encoded.items[i], parent, status);
            if (base == PT_UNICODE)
                out.Value.MVszW = {count, reinterpret_cast<LPWSTR*>(texts)};
            else
                out.Value.MVszA = {count, reinterpret_cast<LPSTR*>(texts)};
        }
    }
    return status;
}

}  // namespace orvella::platform::ole
