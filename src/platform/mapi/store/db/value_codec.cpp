// Encoding of property values for the store file.
#include "value_codec.h"

#include <sqlite3.h>

#include <cstring>
#include <cwchar>

#include "mapix.h"

namespace orvella::platform::mapi::store {
namespace {

// Bytes of one element of a fixed-size type; 0 for strings, binaries and unknown types.
std::size_t FixedSize(ULONG type) {
    switch (type & ~MV_FLAG) {
        case PT_I2:
        case PT_BOOLEAN:
            return 2;
        case PT_LONG:
        case PT_R4:
            return 4;
        case PT_DOUBLE:
        case PT_APPTIME:
        case PT_CURRENCY:
        case PT_I8:
        case PT_SYSTIME:
            return 8;
        case PT_CLSID:
            return sizeof(GUID);
        default:
            return 0;
    }
}

bool IsVariable(ULONG type) {
    ULONG single = type & ~MV_FLAG;
    return single == PT_STRING8 || single == PT_UNICODE || single == PT_BINARY;
}

class Writer {
public:
    void U32(std::uint32_t v) { Bytes(&v, sizeof v); }
    void Bytes(const void* p, std::size_t n) {
        auto* b = static_cast<const std::uint8_t*>(p);
        out.insert(out.end(), b, b + n);
    }
    // One string or binary element: its byte count, then its bytes.
    void Counted(const void* p, std::size_t n) {
        U32(static_cast<std::uint32_t>(n));
        Bytes(p, n);
    }
    std::vector<std::uint8_t> out;
};

class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> in) : in_(in) {}
    bool U32(std::uint32_t& v) { return Take(&v, sizeof v); }
    bool Take(void* p, std::size_t n) {
        if (in_.size() - at_ < n) return false;
        std::memcpy(p, in_.data() + at_, n);
        at_ += n;
        return true;
    }
    std::span<const std::uint8_t> Span(std::size_t n) {
        auto s = in_.subspan(at_, n);
        at_ += n;
        return s;
    }
    std::size_t Left() const { return in_.size() - at_; }

private:
    std::span<const std::uint8_t> in_;
    std::size_t at_ = 0;
};

// The bytes of one variable element, for encoding.
std::span<const std::uint8_t> VariableBytes(ULONG type, const void* element) {
    switch (type & ~MV_FLAG) {
        case PT_STRING8: {
            const char* s = *static_cast<const LPSTR*>(element);
            return {reinterpret_cast<const std::uint8_t*>(s ? s : ""), s ? std::strlen(s) : 0};
        }
        case PT_UNICODE: {
            const WCHAR* s = *static_cast<const LPWSTR*>(element);
            return {reinterpret_cast<const std::uint8_t*>(s ? s : L""),
                    (s ? std::wcslen(s) : 0) * sizeof(WCHAR)};
        }
        default: {
            auto* bin = static_cast<const SBinary*>(element);
            return {bin->lpb, bin->cb};
        }
    }
}

// Stores one variable element read from `bytes` at `element`, allocating on `parent`.
SCODE PlaceVariable(ULONG type, std::span<const std::uint8_t> bytes, void* parent, void* element) {
    ULONG single = type & ~MV_FLAG;
    std::size_t extra = single == PT_STRING8 ? 1 : single == PT_UNICODE ? sizeof(WCHAR) : 0;
    if (single == PT_UNICODE && bytes.size() % sizeof(WCHAR)) return MAPI_E_CORRUPT_DATA;
    void* copy = nullptr;
    SCODE sc = MAPIAllocateMore(static_cast<ULONG>(bytes.size() + extra), parent, &copy);
    if (FAILED(sc)) return sc;
    if (!bytes.empty()) std::memcpy(copy, bytes.data(), bytes.size());
    std::memset(static_cast<std::uint8_t*>(copy) + bytes.size(), 0, extra);
    if (single == PT_STRING8) {
        *static_cast<LPSTR*>(element) = static_cast<LPSTR>(copy);
    } else if (single == PT_UNICODE) {
        *static_cast<LPWSTR*>(element) = static_cast<LPWSTR>(copy);
    } else {
        auto* bin = static_cast<SBinary*>(element);
        bin->cb = static_cast<ULONG>(bytes.size());
        bin->lpb = static_cast<LPBYTE>(copy);
    }
    return S_OK;
}

std::size_t VariableElementSize(ULONG type) {
    return (type & ~MV_FLAG) == PT_BINARY ? sizeof(SBinary) : sizeof(void*);
}

// Every multi-valued array has the layout {ULONG cValues; T* values}.
struct AnyArray {
    ULONG cValues;
    void* values;
};
static_assert(sizeof(AnyArray) == sizeof(SBinaryArray));

}  // namespace

bool IsStorableType(ULONG type) {
    return FixedSize(type) != 0 || IsVariable(type);
}

std::vector<std::uint8_t> EncodeValue(const SPropValue& value) {
    const ULONG type = PROP_TYPE(value.ulPropTag);
    Writer w;
    if (!(type & MV_FLAG)) {
        if (std::size_t size = FixedSize(type)) {
            w.Bytes(type == PT_CLSID ? static_cast<const void*>(value.Value.lpguid)
                                     : static_cast<const void*>(&value.Value),
                    size);
        } else {
            auto bytes = VariableBytes(type, &value.Value);
            w.Bytes(bytes.data(), bytes.size());
        }
        return std::move(w.out);
    }
    AnyArray array;
    std::memcpy(&array, &value.Value, sizeof array);
    w.U32(array.cValues);
    if (std::size_t size = FixedSize(type)) {
        w.Bytes(array.values, size * array.cValues);
    } else {
        const std::size_t stride = VariableElementSize(type);
        for (ULONG i = 0; i < array.cValues; ++i) {
            auto bytes =
                VariableBytes(type, static_cast<const std::uint8_t*>(array.values) + i * stride);
            w.Counted(bytes.data(), bytes.size());
        }
    }
    return std::move(w.out);
}

SCODE DecodeValue(ULONG tag, std::span<const std::uint8_t> bytes, void* parent, SPropValue& out) {
    const ULONG type = PROP_TYPE(tag);
    out = {};
    out.ulPropTag = tag;
    if (!IsStorableType(type)) return MAPI_E_CORRUPT_DATA;
    Reader r(bytes);
    if (!(type & MV_FLAG)) {
        std::size_t size = FixedSize(type);
        if (!size) return PlaceVariable(type, bytes, parent, &out.Value);
        if (bytes.size() != size) return MAPI_E_CORRUPT_DATA;
        if (type != PT_CLSID) {
            std::memcpy(&out.Value, bytes.data(), size);
            return S_OK;
        }
        void* guid = nullptr;
        SCODE sc = MAPIAllocateMore(sizeof(GUID), parent, &guid);
        if (FAILED(sc)) return sc;
        std::memcpy(guid, bytes.data(), sizeof(GUID));
        out.Value.lpguid = static_cast<LPGUID>(guid);
        return S_OK;
    }
    std::uint32_t count = 0;
    if (!r.U32(count)) return MAPI_E_CORRUPT_DATA;
    const std::size_t fixed = FixedSize(type);
    const std::size_t stride = fixed ? fixed : VariableElementSize(type);
    // Each element takes at least 4 bytes (fixed ones at least 2), so a count can't exceed this.
    if (count > r.Left()) return MAPI_E_CORRUPT_DATA;
    AnyArray array{count, nullptr};
    SCODE sc = MAPIAllocateMore(static_cast<ULONG>(stride * count + 1), parent, &array.values);
    if (FAILED(sc)) return sc;
    if (fixed) {
        if (!r.Take(array.values, fixed * count) || r.Left()) return MAPI_E_CORRUPT_DATA;
    } else {
        for (std::uint32_t i = 0; i < count; ++i) {
            std::uint32_t n = 0;
            if (!r.U32(n) || n > r.Left()) return MAPI_E_CORRUPT_DATA;
            sc = PlaceVariable(type, r.Span(n), parent,
                               static_cast<std::uint8_t*>(array.values) + i * stride);
            if (FAILED(sc)) return sc;
        }
        if (r.Left()) return MAPI_E_CORRUPT_DATA;
    }
    std::memcpy(&out.Value, &array, sizeof array);
    return S_OK;
}

std::vector<std::uint8_t> EncodeRow(std::span<const SPropValue> values) {
    Writer w;
    w.U32(static_cast<std::uint32_t>(values.size()));
    for (const SPropValue& v : values) {
        w.U32(v.ulPropTag);
        auto bytes = EncodeValue(v);
        w.Counted(bytes.data(), bytes.size());
    }
    return std::move(w.out);
}

SCODE DecodeRow(std::span<const std::uint8_t> bytes, MapiBuffer<SPropValue>& values, ULONG& count) {
    Reader r(bytes);
    std::uint32_t n = 0;
    if (!r.U32(n) || n > r.Left() / 8) return MAPI_E_CORRUPT_DATA;
    void* buffer = nullptr;
    SCODE sc = MAPIAllocateBuffer(static_cast<ULONG>(sizeof(SPropValue) * (n ? n : 1)), &buffer);
    if (FAILED(sc)) return sc;
    values.Reset(static_cast<LPSPropValue>(buffer));
    for (std::uint32_t i = 0; i < n; ++i) {
        std::uint32_t tag = 0, size = 0;
        if (!r.U32(tag) || !r.U32(size) || size > r.Left()) return MAPI_E_CORRUPT_DATA;
        sc = DecodeValue(tag, r.Span(size), buffer, values[i]);
        if (FAILED(sc)) return sc;
    }
    count = n;
    return r.Left() ? MAPI_E_CORRUPT_DATA : S_OK;
}

void BindValue(Statement& statement, int index, const SPropValue& value) {
    switch (PROP_TYPE(value.ulPropTag)) {
        case PT_I2:
            statement.Bind(index, std::int64_t{value.Value.i});
            return;
        case PT_LONG:
            statement.Bind(index, std::int64_t{value.Value.l});
            return;
        case PT_BOOLEAN:
            statement.Bind(index, std::int64_t{value.Value.b ? 1 : 0});
            return;
        case PT_I8:
        case PT_CURRENCY:
        case PT_SYSTIME: {
            std::int64_t v;
            std::memcpy(&v, &value.Value, sizeof v);
            statement.Bind(index, v);
            return;
        }
        case PT_R4:
            statement.Bind(index, double{value.Value.flt});
            return;
        case PT_DOUBLE:
        case PT_APPTIME:
            statement.Bind(index, value.Value.dbl);
            return;
        case PT_STRING8:
            statement.BindText(index, value.Value.lpszA ? value.Value.lpszA : "");
            return;
        default:
            statement.BindBlob(index, EncodeValue(value));
    }
}

SCODE ReadValue(const Statement& statement, int column, ULONG tag, void* parent, SPropValue& out) {
    out = {};
    out.ulPropTag = tag;
    switch (PROP_TYPE(tag)) {
        case PT_I2:
            out.Value.i = static_cast<short>(statement.Int(column));
            return S_OK;
        case PT_LONG:
            out.Value.l = static_cast<LONG>(statement.Int(column));
            return S_OK;
        case PT_BOOLEAN:
            out.Value.b = statement.Int(column) ? 1 : 0;
            return S_OK;
        case PT_I8:
        case PT_CURRENCY:
        case PT_SYSTIME: {
            std::int64_t v = statement.Int(column);
            std::memcpy(&out.Value, &v, sizeof v);
            return S_OK;
        }
        case PT_R4:
            out.Value.flt = static_cast<float>(statement.Real(column));
            return S_OK;
        case PT_DOUBLE:
        case PT_APPTIME:
            out.Value.dbl = statement.Real(column);
            return S_OK;
        case PT_STRING8: {
            auto text = statement.Text(column);
            return PlaceVariable(PT_STRING8,
                                 {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()},
                                 parent, &out.Value);
        }
        default:
            return DecodeValue(tag, statement.Blob(column), parent, out);
    }
}

std::size_t ValueBytes(const SPropValue& value) {
    switch (PROP_TYPE(value.ulPropTag)) {
        case PT_STRING8:
        case PT_UNICODE:
        case PT_BINARY:
            return VariableBytes(PROP_TYPE(value.ulPropTag), &value.Value).size();
        default:
            return 0;
    }
}

}  // namespace orvella::platform::mapi::store
