// Extended error information for GetLastError, and the guard that turns the provider's internal
// failures into HRESULTs at every interface method.
#pragma once

#include <new>
#include <string>

#include "db/sqlite_db.h"
#include "mapidefs.h"

namespace orvella::platform::mapi::store {

// The text of an object's last failure, kept for GetLastError.
class LastError {
public:
    void Set(std::string text) { text_ = std::move(text); }
    // S_OK with a MAPIERROR (one MAPI buffer) naming the provider and the last failure's text;
    // MAPI_E_INVALID_PARAMETER for a null out-parameter.
    HRESULT Report(LPMAPIERROR* out) const;

private:
    std::string text_;
};

// Runs `work` (returning an HRESULT); a StoreFailure or an allocation failure thrown inside
// becomes its code, and its text becomes the object's last error.
template <class Work>
HRESULT Guarded(LastError& last_error, Work&& work) {
    try {
        return work();
    } catch (const StoreFailure& failure) {
        last_error.Set(failure.what());
        return failure.code();
    } catch (const std::bad_alloc&) {
        last_error.Set("out of memory");
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
}

}  // namespace orvella::platform::mapi::store
