// IMAPIFormMgr over a session: resolves message classes across the folder and personal form
// libraries and opens them.
#pragma once

#include "com_object.h"
#include "form_container.h"
#include "mapi_error.h"
#include "mapiform.h"

namespace orvella::platform::forms {

// The personal library (HFRMREG_PERSONAL; HFRMREG_DEFAULT and HFRMREG_LOCAL open the same one)
// lives in the root folder of the session's default store; a folder's library
// (HFRMREG_FOLDER) in that folder. Loading, creating and selecting forms need form servers and
// dialogs this platform doesn't have: MAPI_E_NO_SUPPORT. One thread at a time.
class FormManager final : public mapi::store::ComObject<IMAPIFormMgr> {
public:
    explicit FormManager(mapi::ComPtr<IMAPISession> session);

    HRESULT LoadForm(ULONG_PTR, ULONG, LPCSTR, ULONG, ULONG, LPMAPIFOLDER, LPMAPIMESSAGESITE,
                     LPMESSAGE, LPMAPIVIEWCONTEXT, REFIID, LPVOID*) override {
        return MAPI_E_NO_SUPPORT;
    }
    // The nearest class first: the class itself, then (without MAPIFORM_EXACTMATCH) each base
    // class in turn, each looked up in the folder's library (when `folder` is given) and then
    // in the personal library. MAPI_E_NOT_FOUND when none is registered; MAPI_E_UNKNOWN_FLAGS
    // for any other flag; store failures as they come.
    HRESULT ResolveMessageClass(LPCSTR message_class, ULONG flags, LPMAPIFOLDER folder,
                                LPMAPIFORMINFO* info) override;
    HRESULT ResolveMultipleMessageClasses(LPSMESSAGECLASSARRAY, ULONG, LPMAPIFOLDER,
                                          LPSMAPIFORMINFOARRAY*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT CalcFormPropSet(LPSMAPIFORMINFOARRAY, ULONG, LPMAPIFORMPROPARRAY*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT CreateForm(ULONG_PTR, ULONG, LPMAPIFORMINFO, REFIID, LPVOID*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT SelectForm(ULONG_PTR, ULONG, LPCSTR, LPMAPIFOLDER, LPMAPIFORMINFO*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT SelectMultipleForms(ULONG_PTR, ULONG, LPCSTR, LPMAPIFOLDER, LPSMAPIFORMINFOARRAY,
                                LPSMAPIFORMINFOARRAY*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT SelectFormContainer(ULONG_PTR, ULONG, LPMAPIFORMCONTAINER*) override {
        return MAPI_E_NO_SUPPORT;
    }
    // HFRMREG_FOLDER needs `unknown` to answer IID_IMAPIFolder (MAPI_E_INTERFACE_NOT_SUPPORTED
    // when it does not, MAPI_E_INVALID_PARAMETER when null); any other HFRMREG is
    // MAPI_E_INVALID_PARAMETER. MAPI_E_NOT_FOUND when the personal library is asked for and the
    // profile has no default store.
    HRESULT OpenFormContainer(HFRMREG registry, LPUNKNOWN unknown,
                              LPMAPIFORMCONTAINER* container) override;
    HRESULT PrepareForm(ULONG_PTR, ULONG, LPMAPIFORMINFO) override { return MAPI_E_NO_SUPPORT; }
    HRESULT IsInConflict(ULONG, ULONG, LPCSTR, LPMAPIFOLDER) override { return MAPI_E_NO_SUPPORT; }
    HRESULT GetLastError(HRESULT, ULONG, LPMAPIERROR* error) override {
        return last_error_.Report(error);
    }

protected:
    bool Supports(REFIID riid) const override { return AnyOf(riid, {&IID_IMAPIFormMgr}); }

private:
    // The personal library, opened on first use and kept.
    HRESULT Personal(mapi::ComPtr<FormContainer>& container);

    mapi::ComPtr<IMAPISession> session_;
    mapi::ComPtr<FormContainer> personal_;
    mapi::store::LastError last_error_;
};

}  // namespace orvella::platform::forms
