// Property values built in memory and served read-only: the address book's containers and
// mail users, and rows of the tables that list them.
#pragma once

#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "mapi_error.h"
#include "mapi_ptr.h"
#include "mapidefs.h"

namespace orvella::platform::mapi::store {

// Collects values; the strings and arrays they point to live as long as the builder.
class PropValueBuilder {
public:
    PropValueBuilder& Long(ULONG tag, ULONG value);
    PropValueBuilder& Bool(ULONG tag, bool value);
    PropValueBuilder& String(ULONG tag, std::string value);
    PropValueBuilder& Binary(ULONG tag, std::vector<std::uint8_t> bytes);
    PropValueBuilder& Strings(ULONG tag, const std::vector<std::string>& values);

    std::span<const SPropValue> values() const { return values_; }

private:
    SPropValue& Add(ULONG tag);

    std::vector<SPropValue> values_;
    std::deque<std::string> strings_;
    std::deque<std::vector<std::uint8_t>> binaries_;
    std::deque<std::vector<LPSTR>> string_arrays_;
};

// A read-only IMAPIProp over a fixed set of values. One object is used by one thread at a time.
// - GetProps with a tag list answers each tag: the value with that tag, or with that id when
//   the tag's type is PT_UNSPECIFIED; a PT_UNICODE tag is answered from the 8-bit value; a
//   missing value is PT_ERROR with MAPI_E_NOT_FOUND and the call then returns
//   MAPI_W_ERRORS_RETURNED. Without a list it returns every value as it is held. The result
//   is one MAPI buffer for the caller to free.
// - Every change (SetProps, DeleteProps, SaveChanges, CopyTo/CopyProps into it) is
//   MAPI_E_NO_ACCESS; named properties and OpenProperty are MAPI_E_NO_SUPPORT.
class FixedProperties {
public:
    // Copies the values; throws std::bad_alloc when memory runs out.
    explicit FixedProperties(std::span<const SPropValue> values);

    HRESULT GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values);
    HRESULT GetPropList(ULONG flags, LPSPropTagArray* tags);
    LastError& last_error() { return last_error_; }

private:
    MapiBuffer<SPropValue> values_;
    ULONG count_ = 0;
    LastError last_error_;
};

// The IMAPIProp methods of an object whose values are a FixedProperties.
#define ORVELLA_FIXED_MAPIPROP(props)                                                           \
    HRESULT GetLastError(HRESULT, ULONG, LPMAPIERROR* e) override {                             \
        return props.last_error().Report(e);                                                    \
    }                                                                                           \
    HRESULT SaveChanges(ULONG) override {                                                       \
        return MAPI_E_NO_ACCESS;                                                                \
    }                                                                                           \
    HRESULT GetProps(LPSPropTagArray t, ULONG f, ULONG* c, LPSPropValue* v) override {          \
        return props.GetProps(t, f, c, v);                                                      \
    }                                                                                           \
    HRESULT GetPropList(ULONG f, LPSPropTagArray* t) override {                                 \
        return props.GetPropList(f, t);                                                         \
    }                                                                                           \
    HRESULT OpenProperty(ULONG, LPCIID, ULONG, ULONG, LPUNKNOWN*) override {                    \
        return MAPI_E_NO_SUPPORT;                                                               \
    }                                                                                           \
    HRESULT SetProps(ULONG, LPSPropValue, LPSPropProblemArray*) override {                      \
        return MAPI_E_NO_ACCESS;                                                                \
    }                                                                                           \
    HRESULT DeleteProps(LPSPropTagArray, LPSPropProblemArray*) override {                       \
        return MAPI_E_NO_ACCESS;                                                                \
    }                                                                                           \
    HRESULT CopyTo(ULONG, LPCIID, LPSPropTagArray, ULONG_PTR, LPMAPIPROGRESS, LPCIID, LPVOID,   \
                   ULONG, LPSPropProblemArray*) override {                                      \
        return MAPI_E_NO_SUPPORT;                                                               \
    }                                                                                           \
    HRESULT CopyProps(LPSPropTagArray, ULONG_PTR, LPMAPIPROGRESS, LPCIID, LPVOID, ULONG,        \
                      LPSPropProblemArray*) override {                                          \
        return MAPI_E_NO_SUPPORT;                                                               \
    }                                                                                           \
    HRESULT GetNamesFromIDs(LPSPropTagArray*, LPGUID, ULONG, ULONG*, LPMAPINAMEID**) override { \
        return MAPI_E_NO_SUPPORT;                                                               \
    }                                                                                           \
    HRESULT GetIDsFromNames(ULONG, LPMAPINAMEID*, ULONG, LPSPropTagArray*) override {           \
        return MAPI_E_NO_SUPPORT;                                                               \
    }

}  // namespace orvella::platform::mapi::store
