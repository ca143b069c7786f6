// Deep copies of property values, linked to a MAPI buffer (PropCopyMore) or in one block
// (ScCountProps, ScCopyProps, ScDupPropset): one walk over the types; only the bytes' home differs.
#include <cstddef>
#include <cstring>
#include <string>

#include "mapiutil.h"

namespace {

constexpr std::size_t Aligned(std::size_t bytes) {
    return (bytes + 7) & ~std::size_t{7};
}

// Where the parts a value points to are put.
class Sink {
public:
    // Places `bytes` bytes, copied from `from` unless it is null, and returns where they are;
    // null when the sink only counts or an allocation failed (then status says why).
    virtual void* Place(const void* from, std::size_t bytes) = 0;
    SCODE status = S_OK;

protected:
    ~Sink() = default;
};

class CountingSink final : public Sink {
public:
    void* Place(const void*, std::size_t bytes) override {
        total += Aligned(bytes);
        return nullptr;
    }
    std::size_t total = 0;
};

class BlockSink final : public Sink {
public:
    explicit BlockSink(void* start) : start_(static_cast<std::byte*>(start)), next_(start_) {}
    void* Place(const void* from, std::size_t bytes) override {
        std::byte* at = next_;
        next_ += Aligned(bytes);
        if (from != nullptr) std::memcpy(at, from, bytes);
        return at;
    }
    std::size_t Used() const { return static_cast<std::size_t>(next_ - start_); }

private:
    std::byte* start_;
    std::byte* next_;
};

class LinkedSink final : public Sink {
public:
    LinkedSink(ALLOCATEMORE* allocate, void* parent) : allocate_(allocate), parent_(parent) {}
    void* Place(const void* from, std::size_t bytes) override {
        if (FAILED(status)) return nullptr;
        void* at = nullptr;
        SCODE sc = allocate_(static_cast<ULONG>(bytes), parent_, &at);
        if (FAILED(sc) || at == nullptr) {
            status = FAILED(sc) ? sc : MAPI_E_NOT_ENOUGH_MEMORY;
            return nullptr;
        }
        if (from != nullptr) std::memcpy(at, from, bytes);
        return at;
    }

private:
    ALLOCATEMORE* allocate_;
    void* parent_;
};

template <class T>
T* PlaceItems(Sink& sink, const T* from, ULONG count) {
    if (count == 0) return nullptr;
    return static_cast<T*>(sink.Place(from, sizeof(T) * count));
}

template <class C>
C* PlaceString(Sink& sink, const C* text) {
    if (text == nullptr) return nullptr;
    std::size_t length = std::char_traits<C>::length(text) + 1;
    return static_cast<C*>(sink.Place(text, length * sizeof(C)));
}

// A multi-valued array of fixed-size items (SLongArray, SDateTimeArray, ...).
template <class Array, class T>
void CopyItems(const Array& from, Array* to, T* Array::*items, Sink& sink) {
    T* copy = PlaceItems(sink, from.*items, from.cValues);
    if (to != nullptr) to->*items = copy;
}

// A multi-valued array of strings: the pointer array, then each string.
template <class Array, class C>
void CopyStrings(const Array& from, Array* to, C** Array::*items, Sink& sink) {
    C** list = PlaceItems<C*>(sink, nullptr, from.cValues);
    for (ULONG i = 0; i < from.cValues; ++i) {
        C* copy = PlaceString(sink, (from.*items)[i]);
        if (list != nullptr) list[i] = copy;
    }
    if (to != nullptr) to->*items = list;
}

// Copies what src points to through the sink; *dst (when given) becomes the full copy.
SCODE CopyValue(const SPropValue& src, SPropValue* dst, Sink& sink) {
    if (dst != nullptr) *dst = src;
    const _PV& from = src.Value;
    _PV* to = dst != nullptr ? &dst->Value : nullptr;
    ULONG type = PROP_TYPE(src.ulPropTag);
    if ((type & MV_INSTANCE) != 0) type &= ~MVI_FLAG;  // one instance of a multi-valued column
    switch (type) {
        case PT_NULL:
        case PT_I2:
        case PT_LONG:
        case PT_R4:
        case PT_DOUBLE:
        case PT_CURRENCY:
        case PT_APPTIME:
        case PT_ERROR:
        case PT_BOOLEAN:
        case PT_OBJECT:
        case PT_I8:
        case PT_SYSTIME:
            break;
        case PT_STRING8: {
            LPSTR copy = PlaceString(sink, from.lpszA);
            if (to != nullptr) to->lpszA = copy;
            break;
        }
        case PT_UNICODE: {
            LPWSTR copy = PlaceString(sink, from.lpszW);
            if (to != nullptr) to->lpszW = copy;
            break;
        }
        case PT_CLSID: {
            LPGUID copy = PlaceItems(sink, from.lpguid, from.lpguid != nullptr ? 1 : 0);
            if (to != nullptr) to->lpguid = copy;
            break;
        }
        case PT_BINARY: {
            LPBYTE copy = PlaceItems(sink, from.bin.lpb, from.bin.cb);
            if (to != nullptr) to->bin.lpb = copy;
            break;
        }
        case PT_MV_I2:
            CopyItems(from.MVi, to ? &to->MVi : nullptr, &SShortArray::lpi, sink);
            break;
        case PT_MV_LONG:
            CopyItems(from.MVl, to ? &to->MVl : nullptr, &SLongArray::lpl, sink);
            break;
        case PT_MV_R4:
            CopyItems(from.MVflt, to ? &to->MVflt : nullptr, &SRealArray::lpflt, sink);
            break;
        case PT_MV_DOUBLE:
            CopyItems(from.MVdbl, to ? &to->MVdbl : nullptr, &SDoubleArray::lpdbl, sink);
            break;
        case PT_MV_CURRENCY:
            CopyItems(from.MVcur, to ? &to->MVcur : nullptr, &SCurrencyArray::lpcur, sink);
            break;
        case PT_MV_APPTIME:
            CopyItems(from.MVat, to ? &to->MVat : nullptr, &SAppTimeArray::lpat, sink);
            break;
        case PT_MV_SYSTIME:
            CopyItems(from.MVft, to ? &to->MVft : nullptr, &SDateTimeArray::lpft, sink);
            break;
        case PT_MV_I8:
            CopyItems(from.MVli, to ? &to->MVli : nullptr, &SLargeIntegerArray::lpli, sink);
            break;
        case PT_MV_CLSID:
            CopyItems(from.MVguid, to ? &to->MVguid : nullptr, &SGuidArray::lpguid, sink);
            break;
        case PT_MV_STRING8:
            CopyStrings(from.MVszA, to ? &to->MVszA : nullptr, &SLPSTRArray::lppszA, sink);
            break;
        case PT_MV_UNICODE:
            CopyStrings(from.MVszW, to ? &to->MVszW : nullptr, &SWStringArray::lppszW, sink);
            break;
        case PT_MV_BINARY: {
            SBinary* list = PlaceItems(sink, from.MVbin.lpbin, from.MVbin.cValues);
            for (ULONG i = 0; i < from.MVbin.cValues; ++i) {
                const SBinary& item = from.MVbin.lpbin[i];
                LPBYTE copy = PlaceItems(sink, item.lpb, item.cb);
                if (list != nullptr) list[i].lpb = copy;
            }
            if (to != nullptr) to->MVbin.lpbin = list;
            break;
        }
        default:
            return MAPI_E_INVALID_PARAMETER;
    }
    return sink.status;
}

// Lays out the array first, then every value's parts after it.
SCODE LayOut(int cValues, const SPropValue* values, Sink& sink) {
    if (cValues < 0 || (cValues > 0 && values == nullptr)) return MAPI_E_INVALID_PARAMETER;
    SPropValue* array = PlaceItems(sink, values, static_cast<ULONG>(cValues));
    for (int i = 0; i < cValues; ++i) {
        SCODE sc = CopyValue(values[i], array != nullptr ? &array[i] : nullptr, sink);
        if (FAILED(sc)) return sc;
    }
    return S_OK;
}

}  // namespace

SCODE PropCopyMore(LPSPropValue lpSPropValueDest, LPSPropValue lpSPropValueSrc,
                   ALLOCATEMORE* lpfAllocMore, LPVOID lpvObject) {
    if (lpSPropValueDest == nullptr || lpSPropValueSrc == nullptr || lpfAllocMore == nullptr) {
        return MAPI_E_INVALID_PARAMETER;
    }
    LinkedSink sink(lpfAllocMore, lpvObject);
    return CopyValue(*lpSPropValueSrc, lpSPropValueDest, sink);
}

SCODE ScCountProps(int cValues, LPSPropValue rgpropv, ULONG* pcb) {
    CountingSink sink;
    SCODE sc = LayOut(cValues, rgpropv, sink);
    if (FAILED(sc)) return sc;
    if (pcb != nullptr) *pcb = static_cast<ULONG>(sink.total);
    return S_OK;
}

SCODE ScCopyProps(int cValues, LPSPropValue rgpropv, LPVOID pvDst, ULONG* pcb) {
    if (pvDst == nullptr) return MAPI_E_INVALID_PARAMETER;
    BlockSink sink(pvDst);
    SCODE sc = LayOut(cValues, rgpropv, sink);
    if (FAILED(sc)) return sc;
    if (pcb != nullptr) *pcb = static_cast<ULONG>(sink.Used());
    return S_OK;
}

SCODE ScDupPropset(int cValues, LPSPropValue rgprop, LPALLOCATEBUFFER lpAllocateBuffer,
                   LPSPropValue* prgprop) {
    if (lpAllocateBuffer == nullptr || prgprop == nullptr) return MAPI_E_INVALID_PARAMETER;
    *prgprop = nullptr;
    ULONG size = 0;
    SCODE sc = ScCountProps(cValues, rgprop, &size);
    if (FAILED(sc)) return sc;
    void* block = nullptr;
    sc = lpAllocateBuffer(size, &block);
    if (FAILED(sc)) return sc;
    // Counting accepted every value, so the copy cannot fail.
    BlockSink sink(block);
    LayOut(cValues, rgprop, sink);
    *prgprop = static_cast<LPSPropValue>(block);
    return S_OK;
}
