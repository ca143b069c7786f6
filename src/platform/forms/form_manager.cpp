// The forms manager: containers by HFRMREG, resolution across them, and MAPIOpenFormMgr.
#include "form_manager.h"

#include "mapitags.h"
#include "mapiutil.h"

namespace orvella::platform::forms {
namespace {

using mapi::ComPtr;
using mapi::MapiBuffer;
using mapi::RowSetPtr;
using mapi::store::MakeCom;

constexpr char kPersonalName[] = "Personal Forms";

// The root folder of the session's default store, opened for writing.
HRESULT OpenDefaultRoot(IMAPISession* session, ComPtr<IMAPIFolder>& root) {
    ComPtr<IMAPITable> table;
    HRESULT hr = session->GetMsgStoresTable(0, &table);
    SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_DEFAULT_STORE}};
    RowSetPtr rows;
    if (SUCCEEDED(hr))
        hr = HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                            nullptr, 0, &rows);
    if (FAILED(hr)) return hr;
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* values = rows->aRow[i].lpProps;
        if (values[0].ulPropTag != PR_ENTRYID || values[1].ulPropTag != PR_DEFAULT_STORE ||
            !values[1].Value.b)
            continue;
        ComPtr<IMsgStore> store;
        const SBinary& eid = values[0].Value.bin;
        hr = session->OpenMsgStore(0, eid.cb, reinterpret_cast<LPENTRYID>(eid.lpb), nullptr,
                                   MDB_WRITE, &store);
        if (FAILED(hr)) return hr;
        ULONG type = 0;
        return store->OpenEntry(0, nullptr, nullptr, MAPI_MODIFY, &type, root.PutUnknown());
    }
    return MAPI_E_NOT_FOUND;
}

std::string FolderName(IMAPIFolder* folder) {
    MapiBuffer<SPropValue> name;
    if (SUCCEEDED(HrGetOneProp(folder, PR_DISPLAY_NAME_A, &name))) return name->Value.lpszA;
    return "Folder Forms";
}

}  // namespace

FormManager::FormManager(ComPtr<IMAPISession> session) : session_(std::move(session)) {}

HRESULT FormManager::Personal(ComPtr<FormContainer>& container) {
    if (!personal_) {
        ComPtr<IMAPIFolder> root;
        HRESULT hr = OpenDefaultRoot(session_.Get(), root);
        if (FAILED(hr)) {
            last_error_.Set("the profile's default store cannot be opened for its personal forms");
            return hr;
        }
        personal_ = MakeCom<FormContainer>(root, kPersonalName);
    }
    container = personal_;
    return S_OK;
}

HRESULT FormManager::ResolveMessageClass(LPCSTR message_class, ULONG flags, LPMAPIFOLDER folder,
                                         LPMAPIFORMINFO* info) {
    if (!message_class || !info) return MAPI_E_INVALID_PARAMETER;
    if (flags & ~ULONG{MAPIFORM_EXACTMATCH}) return MAPI_E_UNKNOWN_FLAGS;
    *info = nullptr;
    try {
        std::vector<ComPtr<FormContainer>> libraries;
        if (folder) libraries.push_back(MakeCom<FormContainer>(ComPtr<IMAPIFolder>(folder), ""));
        libraries.emplace_back();
        HRESULT hr = Personal(libraries.back());
        if (FAILED(hr)) return hr;
        for (const auto& candidate : ClassAndBases(message_class, flags & MAPIFORM_EXACTMATCH)) {
            for (const auto& library : libraries) {
                hr = library->Lookup(candidate, info);
                if (hr != MAPI_E_NOT_FOUND) return hr;
            }
        }
    } catch (const std::bad_alloc&) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    last_error_.Set(std::string("ResolveMessageClass: no form is registered for ") + message_class);
    return MAPI_E_NOT_FOUND;
}

HRESULT FormManager::OpenFormContainer(HFRMREG registry, LPUNKNOWN unknown,
                                       LPMAPIFORMCONTAINER* container) {
    if (!container) return MAPI_E_INVALID_PARAMETER;
    *container = nullptr;
    try {
        switch (registry) {
            case HFRMREG_FOLDER: {
                if (!unknown) return MAPI_E_INVALID_PARAMETER;
                ComPtr<IMAPIFolder> folder;
                void* raw = nullptr;
                if (FAILED(unknown->QueryInterface(IID_IMAPIFolder, &raw)))
                    return MAPI_E_INTERFACE_NOT_SUPPORTED;
                folder.Attach(static_cast<IMAPIFolder*>(raw));
                std::string name = FolderName(folder.Get());
                return mapi::store::ReturnObject(MakeCom<FormContainer>(folder, name), container);
            }
            case HFRMREG_DEFAULT:
            case HFRMREG_LOCAL:
            case HFRMREG_PERSONAL: {
                ComPtr<FormContainer> personal;
                HRESULT hr = Personal(personal);
                if (FAILED(hr)) return hr;
                return mapi::store::ReturnObject(personal, container);
            }
            default:
                return MAPI_E_INVALID_PARAMETER;
        }
    } catch (const std::bad_alloc&) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
}

}  // namespace orvella::platform::forms

HRESULT MAPIOpenFormMgr(LPMAPISESSION pSession, LPMAPIFORMMGR* ppmgr) {
    using namespace orvella::platform;
    if (!pSession || !ppmgr) return MAPI_E_INVALID_PARAMETER;
    *ppmgr = nullptr;
    try {
        return mapi::store::ReturnObject(
            mapi::store::MakeCom<forms::FormManager>(mapi::ComPtr<IMAPISession>(pSession)), ppmgr);
    } catch (const std::bad_alloc&) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
}
