// IMAPIFormInfo: the properties of one registered form, as resolving its class returned them.
#pragma once

#include <vector>

#include "com_object.h"
#include "mapi_error.h"
#include "mapiform.h"
#include "property_bag.h"

namespace orvella::platform::forms {

// A snapshot: later changes to the registration are not seen. The properties are read-only
// (SetProps and DeleteProps give MAPI_E_NO_ACCESS); form servers, verbs, icons, named
// properties and saving to a file are not offered (MAPI_E_NO_SUPPORT). One thread at a time.
class FormInfo final : public mapi::store::ComObject<IMAPIFormInfo> {
public:
    // The form's values (PT_ERROR values are left out), registered in `container`.
    FormInfo(mapi::ComPtr<IMAPIFormContainer> container, const SPropValue* values, ULONG count);

    HRESULT GetLastError(HRESULT, ULONG, LPMAPIERROR* error) override {
        return last_error_.Report(error);
    }
    // Nothing is ever pending on a form information object.
    HRESULT SaveChanges(ULONG) override { return S_OK; }
    HRESULT GetProps(LPSPropTagArray tags, ULONG, ULONG* count, LPSPropValue* values) override {
        return bag_.GetProps(tags, count, values);
    }
    HRESULT GetPropList(ULONG, LPSPropTagArray* tags) override { return bag_.GetPropList(tags); }
    HRESULT OpenProperty(ULONG, LPCIID, ULONG, ULONG, LPUNKNOWN*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT SetProps(ULONG, LPSPropValue, LPSPropProblemArray*) override {
        return MAPI_E_NO_ACCESS;
    }
    HRESULT DeleteProps(LPSPropTagArray, LPSPropProblemArray*) override { return MAPI_E_NO_ACCESS; }
    // Copy the form's values into another object (not saved there): all but `exclude`, or
    // those in `include`.
    HRESULT CopyTo(ULONG, LPCIID, LPSPropTagArray exclude, ULONG_PTR, LPMAPIPROGRESS, LPCIID,
                   LPVOID target, ULONG, LPSPropProblemArray* problems) override;
    HRESULT CopyProps(LPSPropTagArray include, ULONG_PTR, LPMAPIPROGRESS, LPCIID, LPVOID target,
                      ULONG, LPSPropProblemArray* problems) override;
    HRESULT GetNamesFromIDs(LPSPropTagArray*, LPGUID, ULONG, ULONG*, LPMAPINAMEID**) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT GetIDsFromNames(ULONG, LPMAPINAMEID*, ULONG, LPSPropTagArray*) override {
        return MAPI_E_NO_SUPPORT;
    }

    HRESULT CalcFormPropSet(ULONG, LPMAPIFORMPROPARRAY*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT CalcVerbSet(ULONG, LPMAPIVERBARRAY*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT MakeIconFromBinary(ULONG, HICON*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT SaveForm(LPCSTR) override { return MAPI_E_NO_SUPPORT; }
    // The container the form is registered in (one reference).
    HRESULT OpenFormContainer(LPMAPIFORMCONTAINER* container) override {
        return mapi::store::ReturnObject(container_, container);
    }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IMAPIFormInfo, &IID_IMAPIProp});
    }

private:
    HRESULT CopyOut(std::vector<SPropValue> values, LPVOID target, LPSPropProblemArray* problems);

    mapi::ComPtr<IMAPIFormContainer> container_;
    ole::PropertyBag bag_;
    mapi::store::LastError last_error_;
};

}  // namespace orvella::platform::forms
