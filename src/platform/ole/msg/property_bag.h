// Property values held in memory behind an IMAPIProp: the properties of a message on storage
// and of a registered form.
#pragma once

#include <map>
#include <vector>

#include "mapi_ptr.h"
#include "mapidefs.h"

namespace orvella::platform::ole {

// Values by property id, one per id. Every method returns what the IMAPIProp method of the
// same name returns; buffers handed out are MAPI buffers the caller frees. Used by one thread
// at a time.
class PropertyBag {
public:
    // GetProps: missing values (or ones of another type) come back as PT_ERROR with
    // MAPI_E_NOT_FOUND and the result MAPI_W_ERRORS_RETURNED; null tags: every value.
    HRESULT GetProps(LPSPropTagArray tags, ULONG* count, LPSPropValue* values) const;
    HRESULT GetPropList(LPSPropTagArray* tags) const;
    // Values of a type that cannot be kept (PT_ERROR, PT_NULL, PT_OBJECT, PT_UNSPECIFIED) or
    // with id 0 are problems (MAPI_E_INVALID_TYPE); the others are kept.
    HRESULT SetProps(ULONG count, const SPropValue* values, LPSPropProblemArray* problems);
    HRESULT DeleteProps(LPSPropTagArray tags, LPSPropProblemArray* problems);

    // Replaces the value of its id with a copy; throws std::bad_alloc when memory runs out.
    void Put(const SPropValue& value);
    const SPropValue* Find(ULONG prop_id) const;
    // The values (pointing into the bag) whose tags are in `include` (all when null) and not in
    // `exclude`.
    std::vector<SPropValue> Select(LPSPropTagArray include, LPSPropTagArray exclude) const;
    bool empty() const { return values_.empty(); }

private:
    std::map<ULONG, mapi::MapiBuffer<SPropValue>> values_;
};

}  // namespace orvella::platform::ole
