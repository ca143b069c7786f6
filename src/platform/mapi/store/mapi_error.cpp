// GetLastError's MAPIERROR.
#include "mapi_error.h"

#include <cstring>

#include "mapix.h"

namespace orvella::platform::mapi::store {
namespace {

LPSTR CopyText(const std::string& text, void* parent) {
    void* copy = nullptr;
    if (FAILED(MAPIAllocateMore(static_cast<ULONG>(text.size() + 1), parent, &copy)))
        return nullptr;
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return static_cast<LPSTR>(copy);
}

}  // namespace

HRESULT LastError::Report(LPMAPIERROR* out) const {
    if (!out) return MAPI_E_INVALID_PARAMETER;
    *out = nullptr;
    void* buffer = nullptr;
    if (FAILED(MAPIAllocateBuffer(sizeof(MAPIERROR), &buffer))) return MAPI_E_NOT_ENOUGH_MEMORY;
    auto* error = static_cast<LPMAPIERROR>(buffer);
    *error = {};
    error->ulVersion = MAPI_ERROR_VERSION;
    error->lpszError = text_.empty() ? nullptr : CopyText(text_, buffer);
    error->lpszComponent = CopyText("Orvella message store", buffer);
    *out = error;
    return S_OK;
}

}  // namespace orvella::platform::mapi::store
