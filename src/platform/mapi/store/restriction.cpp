// Restriction evaluation and value ordering for the embedded store's tables.
#include "restriction.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string_view>

#include "mapitags.h"

namespace orvella::platform::mapi::store {
namespace {

template <typename T>
int Order(const T& a, const T& b) {
    return a < b ? -1 : (b < a ? 1 : 0);
}

template <typename Char>
Char AsciiLower(Char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<Char>(c - 'A' + 'a') : c;
}

// Strings as unsigned code units, so bytes above 0x7F sort after ASCII.
std::basic_string_view<unsigned char> Bytes(const char* s) {
    if (s == nullptr) return {};
    return {reinterpret_cast<const unsigned char*>(s), std::strlen(s)};
}

std::basic_string_view<unsigned char> Bytes(const SBinary& bin) {
    if (bin.lpb == nullptr) return {};
    return {bin.lpb, bin.cb};
}

std::wstring_view Units(const WCHAR* s) {
    return s == nullptr ? std::wstring_view{} : s;
}

template <typename Char>
int CompareUnits(std::basic_string_view<Char> a, std::basic_string_view<Char> b, bool fold) {
    const size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
        const Char x = fold ? AsciiLower(a[i]) : a[i];
        const Char y = fold ? AsciiLower(b[i]) : b[i];
        if (x != y) return x < y ? -1 : 1;
    }
    return Order(a.size(), b.size());
}

int CompareGuids(const GUID* a, const GUID* b) {
    if (a == nullptr || b == nullptr) return Order(a != nullptr, b != nullptr);
    const int c = std::memcmp(a, b, sizeof(GUID));
    return Order(c, 0);
}

LONGLONG FileTimeValue(const FILETIME& ft) {
    return static_cast<LONGLONG>((static_cast<ULONGLONG>(ft.dwHighDateTime) << 32) |
                                 ft.dwLowDateTime);
}

int CompareSingle(ULONG type, const _PV& a, const _PV& b) {
    switch (type) {
        case PT_I2:
            return Order(a.i, b.i);
        case PT_LONG:
            return Order(a.l, b.l);
        case PT_R4:
            return Order(a.flt, b.flt);
        case PT_DOUBLE:
            return Order(a.dbl, b.dbl);
        case PT_APPTIME:
            return Order(a.at, b.at);
        case PT_CURRENCY:
            return Order(a.cur.int64, b.cur.int64);
        case PT_BOOLEAN:
            return Order(a.b != 0, b.b != 0);
        case PT_I8:
            return Order(a.li.QuadPart, b.li.QuadPart);
        case PT_SYSTIME:
            return Order(FileTimeValue(a.ft), FileTimeValue(b.ft));
        case PT_ERROR:
            return Order(a.err, b.err);
        case PT_STRING8:
            return CompareUnits(Bytes(a.lpszA), Bytes(b.lpszA), true);
        case PT_UNICODE:
            return CompareUnits(Units(a.lpszW), Units(b.lpszW), true);
        case PT_BINARY:
            return CompareUnits(Bytes(a.bin), Bytes(b.bin), false);
        case PT_CLSID:
            return CompareGuids(a.lpguid, b.lpguid);
        default:
            return 0;
    }
}

// The number of values a multi-valued value holds.
ULONG ValueCount(const SPropValue& mv) {
    // Every multi-valued array starts with its count, so any member reads it.
    return mv.Value.MVl.cValues;
}

// Value i of a multi-valued value, as a single value of the base type.
SPropValue ElementAt(const SPropValue& mv, ULONG i) {
    const ULONG type = PROP_TYPE(mv.ulPropTag) & ~MVI_FLAG;
    SPropValue one = {};
    one.ulPropTag = PROP_TAG(type, PROP_ID(mv.ulPropTag));
    const _PV& v = mv.Value;
    switch (type) {
        case PT_I2:
            one.Value.i = v.MVi.lpi[i];
            break;
        case PT_LONG:
            one.Value.l = v.MVl.lpl[i];
            break;
        case PT_R4:
            one.Value.flt = v.MVflt.lpflt[i];
            break;
        case PT_DOUBLE:
            one.Value.dbl = v.MVdbl.lpdbl[i];
            break;
        case PT_APPTIME:
            one.Value.at = v.MVat.lpat[i];
            break;
        case PT_CURRENCY:
            one.Value.cur = v.MVcur.lpcur[i];
            break;
        case PT_I8:
            one.Value.li = v.MVli.lpli[i];
            break;
        case PT_SYSTIME:
            one.Value.ft = v.MVft.lpft[i];
            break;
        case PT_STRING8:
            one.Value.lpszA = v.MVszA.lppszA[i];
            break;
        case PT_UNICODE:
            one.Value.lpszW = v.MVszW.lppszW[i];
            break;
        case PT_BINARY:
            one.Value.bin = v.MVbin.lpbin[i];
            break;
        case PT_CLSID:
            one.Value.lpguid = &v.MVguid.lpguid[i];
            break;
        default:
            break;
    }
    return one;
}

bool IsMultiValued(ULONG tag) {
    return (PROP_TYPE(tag) & MV_FLAG) != 0;
}

ULONG BaseType(ULONG tag) {
    return PROP_TYPE(tag) & ~MVI_FLAG;
}

// Whether `test` holds for the value, or for any value of a multi-valued one.
template <typename Test>
bool AnyValue(const SPropValue& prop, const Test& test) {
    if (!IsMultiValued(prop.ulPropTag)) return test(prop);
    const ULONG count = ValueCount(prop);
    for (ULONG i = 0; i < count; ++i) {
        if (test(ElementAt(prop, i))) return true;
    }
    return false;
}

// The row's value for a restriction's tag: the exact tag, else its multi-valued form.
const SPropValue* Find(const PropLookup& row, ULONG tag) {
    tag &= ~MV_INSTANCE;
    if (const SPropValue* found = row(tag)) return found;
    if (IsMultiValued(tag)) return nullptr;
    return row(tag | MV_FLAG);
}

bool ApplyRelop(ULONG relop, int order) {
    switch (relop) {
        case RELOP_LT:
            return order < 0;
        case RELOP_LE:
            return order <= 0;
        case RELOP_GT:
            return order > 0;
        case RELOP_GE:
            return order >= 0;
        case RELOP_EQ:
            return order == 0;
        case RELOP_NE:
            return order != 0;
        default:
            return false;
    }
}

bool EvaluateProperty(const SPropertyRestriction& r, const PropLookup& row) {
    if (r.lpProp == nullptr || r.relop == RELOP_RE) return false;
    const SPropValue* prop = Find(row, r.ulPropTag);
    // A lacking value sorts before every value.
    if (prop == nullptr) return ApplyRelop(r.relop, -1);
    const SPropValue& wanted = *r.lpProp;
    if (IsMultiValued(wanted.ulPropTag)) {
        if (PROP_TYPE(prop->ulPropTag) != PROP_TYPE(wanted.ulPropTag)) return false;
        return ApplyRelop(r.relop, CompareProps(*prop, wanted));
    }
    if (BaseType(prop->ulPropTag) != PROP_TYPE(wanted.ulPropTag)) return false;
    return AnyValue(*prop, [&](const SPropValue& one) {
        return ApplyRelop(r.relop, CompareProps(one, wanted));
    });
}

bool Matches(std::basic_string_view<unsigned char> text,
             std::basic_string_view<unsigned char> needle, ULONG level, bool fold) {
    auto same = [fold](unsigned char x, unsigned char y) {
        return fold ? AsciiLower(x) == AsciiLower(y) : x == y;
    };
    switch (level & 0xFFFF) {
        case FL_FULLSTRING:
            return text.size() == needle.size() &&
                   std::equal(text.begin(), text.end(), needle.begin(), same);
        case FL_PREFIX:
            return text.size() >= needle.size() &&
                   std::equal(needle.begin(), needle.end(), text.begin(), same);
        case FL_SUBSTRING:
            return std::search(text.begin(), text.end(), needle.begin(), needle.end(), same) !=
                       text.end() ||
                   needle.empty();
        default:
            return false;
    }
}

bool EvaluateContent(const SContentRestriction& r, const PropLookup& row) {
    if (r.lpProp == nullptr) return false;
    const ULONG type = PROP_TYPE(r.lpProp->ulPropTag);
    if (type != PT_STRING8 && type != PT_BINARY) return false;
    const SPropValue* prop = Find(row, r.ulPropTag);
    if (prop == nullptr || BaseType(prop->ulPropTag) != type) return false;
    const bool fold = type == PT_STRING8 && (r.ulFuzzyLevel & (FL_IGNORECASE | FL_LOOSE)) != 0;
    const auto needle =
        type == PT_STRING8 ? Bytes(r.lpProp->Value.lpszA) : Bytes(r.lpProp->Value.bin);
    return AnyValue(*prop, [&](const SPropValue& one) {
        const auto text = type == PT_STRING8 ? Bytes(one.Value.lpszA) : Bytes(one.Value.bin);
        return Matches(text, needle, r.ulFuzzyLevel, fold);
    });
}

bool EvaluateBitMask(const SBitMaskRestriction& r, const PropLookup& row) {
    const SPropValue* prop = row(r.ulPropTag);
    if (prop == nullptr || PROP_TYPE(prop->ulPropTag) != PT_LONG) return false;
    const bool zero = (prop->Value.ul & r.ulMask) == 0;
    if (r.relBMR == BMR_EQZ) return zero;
    if (r.relBMR == BMR_NEZ) return !zero;
    return false;
}

bool EvaluateCompareProps(const SComparePropsRestriction& r, const PropLookup& row) {
    const SPropValue* a = row(r.ulPropTag1);
    const SPropValue* b = row(r.ulPropTag2);
    if (a == nullptr || b == nullptr) return false;
    if (PROP_TYPE(a->ulPropTag) != PROP_TYPE(b->ulPropTag)) return false;
    return ApplyRelop(r.relop, CompareProps(*a, *b));
}

ULONG SingleSize(const SPropValue& v) {
    switch (PROP_TYPE(v.ulPropTag)) {
        case PT_I2:
            return sizeof(short int);
        case PT_BOOLEAN:
            return sizeof(unsigned short int);
        case PT_LONG:
        case PT_R4:
        case PT_ERROR:
            return 4;
        case PT_DOUBLE:
        case PT_APPTIME:
        case PT_CURRENCY:
        case PT_I8:
        case PT_SYSTIME:
            return 8;
        case PT_CLSID:
            return sizeof(GUID);
        case PT_STRING8:
            return static_cast<ULONG>(Bytes(v.Value.lpszA).size() + 1);
        case PT_UNICODE:
            return static_cast<ULONG>((Units(v.Value.lpszW).size() + 1) * sizeof(WCHAR));
        case PT_BINARY:
            return v.Value.bin.cb;
        default:
            return 0;
    }
}

ULONG ValueSize(const SPropValue& v) {
    if (!IsMultiValued(v.ulPropTag)) return SingleSize(v);
    ULONG total = 0;
    for (ULONG i = 0; i < ValueCount(v); ++i) total += SingleSize(ElementAt(v, i));
    return total;
}

bool EvaluateSize(const SSizeRestriction& r, const PropLookup& row) {
    const SPropValue* prop = Find(row, r.ulPropTag);
    if (prop == nullptr) return false;
    return ApplyRelop(r.relop, Order(ValueSize(*prop), r.cb));
}

// A null sub-restriction restricts nothing.
bool Evaluate(const SRestriction* res, const PropLookup& row) {
    return res == nullptr || EvaluateRestriction(*res, row);
}

}  // namespace

PropLookup RowLookup(std::span<const SPropValue> row) {
    return [row](ULONG tag) -> const SPropValue* {
        for (const SPropValue& prop : row) {
            if (prop.ulPropTag == tag) return &prop;
        }
        return nullptr;
    };
}

int CompareProps(const SPropValue& a, const SPropValue& b) {
    const ULONG type = PROP_TYPE(a.ulPropTag);
    if (type != PROP_TYPE(b.ulPropTag)) return Order(type, PROP_TYPE(b.ulPropTag));
    if (!IsMultiValued(a.ulPropTag)) return CompareSingle(type, a.Value, b.Value);
    const ULONG n = std::min(ValueCount(a), ValueCount(b));
    for (ULONG i = 0; i < n; ++i) {
        const SPropValue x = ElementAt(a, i);
        const SPropValue y = ElementAt(b, i);
        if (const int c = CompareSingle(PROP_TYPE(x.ulPropTag), x.Value, y.Value)) return c;
    }
    return Order(ValueCount(a), ValueCount(b));
}

bool EvaluateRestriction(const SRestriction& res, const PropLookup& row) {
    switch (res.rt) {
        case RES_AND:
            if (res.res.resAnd.lpRes == nullptr) return true;
            for (ULONG i = 0; i < res.res.resAnd.cRes; ++i) {
                if (!Evaluate(&res.res.resAnd.lpRes[i], row)) return false;
            }
            return true;
        case RES_OR:
            if (res.res.resOr.lpRes == nullptr) return false;
            for (ULONG i = 0; i < res.res.resOr.cRes; ++i) {
                if (Evaluate(&res.res.resOr.lpRes[i], row)) return true;
            }
            return false;
        case RES_NOT:
            return !Evaluate(res.res.resNot.lpRes, row);
        case RES_CONTENT:
            return EvaluateContent(res.res.resContent, row);
        case RES_PROPERTY:
            return EvaluateProperty(res.res.resProperty, row);
        case RES_COMPAREPROPS:
            return EvaluateCompareProps(res.res.resCompareProps, row);
        case RES_BITMASK:
            return EvaluateBitMask(res.res.resBitMask, row);
        case RES_SIZE:
            return EvaluateSize(res.res.resSize, row);
        case RES_EXIST:
            return Find(row, res.res.resExist.ulPropTag) != nullptr;
        case RES_COMMENT:
            return Evaluate(res.res.resComment.lpRes, row);
        default:
            return false;
    }
}

}  // namespace orvella::platform::mapi::store
