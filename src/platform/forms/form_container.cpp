// Installing, removing and resolving the forms of one folder's library.
#include "form_container.h"

#include <cstring>

#include "form_info.h"

namespace orvella::platform::forms {

using mapi::ComPtr;
using mapi::MapiBuffer;

FormContainer::FormContainer(ComPtr<IMAPIFolder> folder, std::string display_name)
    : registrations_(std::move(folder)), display_name_(std::move(display_name)) {}

HRESULT FormContainer::InstallForm(ULONG_PTR, ULONG flags, LPCSTR path) {
    if (!path) return MAPI_E_INVALID_PARAMETER;
    if (flags & MAPI_UNICODE) return MAPI_E_BAD_CHARWIDTH;
    FormDescription form;
    try {
        form = ReadFormConfig(path);
    } catch (const FormConfigError& error) {
        last_error_.Set(error.what());
        return MAPI_E_EXTENDED_ERROR;
    }
    HRESULT hr = registrations_.Write(form);
    if (FAILED(hr))
        last_error_.Set("InstallForm: saving the registration of " + form.message_class +
                        " failed");
    return hr;
}

HRESULT FormContainer::RemoveForm(LPCSTR message_class) {
    if (!message_class) return MAPI_E_INVALID_PARAMETER;
    std::vector<BYTE> entry_id;
    HRESULT hr = registrations_.Find(message_class, entry_id);
    if (SUCCEEDED(hr)) hr = registrations_.Remove(entry_id);
    if (hr == MAPI_E_NOT_FOUND)
        last_error_.Set(std::string("RemoveForm: ") + message_class + " is not registered");
    return hr;
}

HRESULT FormContainer::ResolveMessageClass(LPCSTR message_class, ULONG flags,
                                           LPMAPIFORMINFO* info) {
    if (!message_class || !info) return MAPI_E_INVALID_PARAMETER;
    if (flags & ~ULONG{MAPIFORM_EXACTMATCH}) return MAPI_E_UNKNOWN_FLAGS;
    *info = nullptr;
    for (const auto& candidate : ClassAndBases(message_class, flags & MAPIFORM_EXACTMATCH)) {
        HRESULT hr = Lookup(candidate, info);
        if (hr != MAPI_E_NOT_FOUND) return hr;
    }
    return MAPI_E_NOT_FOUND;
}

HRESULT FormContainer::GetDisplay(ULONG flags, LPSTR* display_name) {
    if (!display_name) return MAPI_E_INVALID_PARAMETER;
    if (flags & MAPI_UNICODE) return MAPI_E_BAD_CHARWIDTH;
    void* buffer = nullptr;
    HRESULT hr = MAPIAllocateBuffer(static_cast<ULONG>(display_name_.size() + 1), &buffer);
    if (FAILED(hr)) return hr;
    std::memcpy(buffer, display_name_.c_str(), display_name_.size() + 1);
    *display_name = static_cast<LPSTR>(buffer);
    return S_OK;
}

HRESULT FormContainer::Lookup(const std::string& message_class, LPMAPIFORMINFO* info) {
    std::vector<BYTE> entry_id;
    HRESULT hr = registrations_.Find(message_class, entry_id);
    ULONG count = 0;
    MapiBuffer<SPropValue> values;
    if (SUCCEEDED(hr)) hr = registrations_.Read(entry_id, &count, &values);
    if (FAILED(hr)) return hr;
    try {
        return mapi::store::ReturnObject(
            mapi::store::MakeCom<FormInfo>(ComPtr<IMAPIFormContainer>(this), values.Get(), count),
            info);
    } catch (const std::bad_alloc&) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
}

}  // namespace orvella::platform::forms
