// IMAPIFormContainer over one folder: the forms registered in its associated contents.
#pragma once

#include <string>

#include "com_object.h"
#include "form_registrations.h"
#include "mapi_error.h"
#include "mapiform.h"

namespace orvella::platform::forms {

// A folder's form library (HFRMREG_FOLDER), or the personal library kept in the root folder of
// the default store. Installs and removes are saved at once. No dialog is ever shown, and
// MAPI_UNICODE strings are refused with MAPI_E_BAD_CHARWIDTH. One thread at a time.
class FormContainer final : public mapi::store::ComObject<IMAPIFormContainer> {
public:
    FormContainer(mapi::ComPtr<IMAPIFolder> folder, std::string display_name);

    // Registers the form the .cfg file describes, replacing a registration of the same class
    // (MAPIFORM_INSTALL_OVERWRITEONCONFLICT or not). A missing, unreadable or invalid file is
    // MAPI_E_EXTENDED_ERROR with GetLastError naming the file and the problem; a null path is
    // MAPI_E_INVALID_PARAMETER; store failures come back as they are.
    HRESULT InstallForm(ULONG_PTR ui_param, ULONG flags, LPCSTR path) override;
    // MAPI_E_NOT_FOUND when the class (compared without regard to case) is not registered here.
    HRESULT RemoveForm(LPCSTR message_class) override;
    // The registration of the class, or (without MAPIFORM_EXACTMATCH) of its nearest base
    // class registered here; MAPI_E_NOT_FOUND when there is none.
    HRESULT ResolveMessageClass(LPCSTR message_class, ULONG flags, LPMAPIFORMINFO* info) override;
    HRESULT ResolveMultipleMessageClasses(LPSMESSAGECLASSARRAY, ULONG,
                                          LPSMAPIFORMINFOARRAY*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT CalcFormPropSet(ULONG, LPMAPIFORMPROPARRAY*) override { return MAPI_E_NO_SUPPORT; }
    // The container's name, one MAPI buffer.
    HRESULT GetDisplay(ULONG flags, LPSTR* display_name) override;
    HRESULT GetLastError(HRESULT, ULONG, LPMAPIERROR* error) override {
        return last_error_.Report(error);
    }

    // The registration of exactly this class: S_OK with a new form information object,
    // MAPI_E_NOT_FOUND when there is none, or the store's failure.
    HRESULT Lookup(const std::string& message_class, LPMAPIFORMINFO* info);

protected:
    bool Supports(REFIID riid) const override { return AnyOf(riid, {&IID_IMAPIFormContainer}); }

private:
    Registrations registrations_;
    std::string display_name_;
    mapi::store::LastError last_error_;
};

}  // namespace orvella::platform::forms
