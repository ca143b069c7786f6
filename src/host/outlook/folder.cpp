// MAPIFolder and _Folders of the simulated Outlook: a store folder, its sub-folders, and new
// sub-folders that take the kind of their parent.
#include "item_types.h"
#include "mapiutil.h"
#include "outlook_objects.h"

namespace orvella::host::outlook {
namespace {

using platform::mapi::RowSetPtr;

class Folder final : public ComObject<MAPIFolder> {
public:
    Folder(SessionRef session, ComPtr<IMAPIFolder> folder)
        : session_(std::move(session)), folder_(std::move(folder)) {}

    HRESULT get_Name(std::string* name) override {
        if (!name) return E_POINTER;
        return ReadTextOrEmpty(folder_.Get(), PR_DISPLAY_NAME_A, *name);
    }
    HRESULT put_Name(const std::string& name) override {
        if (name.empty()) return E_INVALIDARG;
        const HRESULT hr = WriteText(folder_.Get(), PR_DISPLAY_NAME_A, name);
        return FAILED(hr) ? hr : folder_->SaveChanges(KEEP_OPEN_READWRITE);
    }
    HRESULT get_EntryID(std::string* entry_id) override {
        if (!entry_id) return E_POINTER;
        return ReadBinaryHex(folder_.Get(), PR_ENTRYID, *entry_id);
    }
    HRESULT get_StoreID(std::string* store_id) override {
        if (!store_id) return E_POINTER;
        return ReadBinaryHex(folder_.Get(), PR_STORE_ENTRYID, *store_id);
    }
    HRESULT get_DefaultItemType(Outlook::OlItemType* type) override {
        if (!type) return E_POINTER;
        return DefaultItemTypeOf(folder_.Get(), *type);
    }
    HRESULT get_Folders(_Folders** folders) override {
        if (!folders) return E_POINTER;
        *folders = WrapFolders(session_, folder_);
        return S_OK;
    }
    HRESULT get_Items(_Items** items) override {
        if (!items) return E_POINTER;
        *items = WrapItems(session_, folder_);
        return S_OK;
    }
    HRESULT get_MAPIOBJECT(IUnknown** folder) override { return Return(folder_, folder); }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IDispatch, &IID_MAPIFolder});
    }

private:
    SessionRef session_;
    ComPtr<IMAPIFolder> folder_;
};

// The container class a new sub-folder gets: that of the folder kind `type` names (an
// OlDefaultFolders value), or the parent's kind when the type is missing.
HRESULT ContainerClassForNewFolder(IMAPIFolder* parent, const VARIANT& type,
                                   const char*& container_class) {
    Outlook::OlItemType item_type = Outlook::olMailItem;
    if (IsMissing(type)) {
        const HRESULT hr = DefaultItemTypeOf(parent, item_type);
        if (FAILED(hr)) return hr;
    } else {
        auto number = VariantNumber(type);
        if (!number) return DISP_E_TYPEMISMATCH;
        auto kind = ItemTypeOfDefaultFolder(*number);
        if (!kind) return E_INVALIDARG;
        item_type = *kind;
    }
    container_class = ContainerClassOf(item_type);
    return S_OK;
}

class Folders final : public ComObject<_Folders> {
public:
    Folders(SessionRef session, ComPtr<IMAPIFolder> parent)
        : session_(std::move(session)), parent_(std::move(parent)) {}

    HRESULT get_Count(LONG* count) override {
        if (!count) return E_POINTER;
        RowSetPtr rows;
        const HRESULT hr = Children(rows);
        if (SUCCEEDED(hr)) *count = static_cast<LONG>(rows->cRows);
        return hr;
    }

    HRESULT Item(const VARIANT& index, MAPIFolder** folder) override {
        if (!folder) return E_POINTER;
        *folder = nullptr;
        RowSetPtr rows;
        std::vector<BYTE> entry_id;
        HRESULT hr = Children(rows);
        if (SUCCEEDED(hr)) hr = EntryIdAt(*rows, index, PR_DISPLAY_NAME_A, 1, entry_id);
        if (FAILED(hr)) return hr;
        ComPtr<IMAPIFolder> child;
        hr = OpenById(parent_.Get(), entry_id, MAPI_FOLDER, child);
        if (FAILED(hr)) return hr;
        *folder = WrapFolder(session_, std::move(child));
        return S_OK;
    }

    HRESULT Add(const std::string& name, const VARIANT& type, MAPIFolder** folder) override {
        if (!folder) return E_POINTER;
        *folder = nullptr;
        if (name.empty()) return E_INVALIDARG;
        const char* container_class = nullptr;
        HRESULT hr = ContainerClassForNewFolder(parent_.Get(), type, container_class);
        if (FAILED(hr)) return hr;
        ComPtr<IMAPIFolder> created;
        hr = parent_->CreateFolder(FOLDER_GENERIC, const_cast<char*>(name.c_str()), nullptr,
                                   nullptr, 0, &created);
        if (SUCCEEDED(hr)) hr = WriteText(created.Get(), PR_CONTAINER_CLASS_A, container_class);
        if (SUCCEEDED(hr)) hr = created->SaveChanges(KEEP_OPEN_READWRITE);
        if (FAILED(hr)) return hr;
        *folder = WrapFolder(session_, std::move(created));
        return S_OK;
    }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IDispatch, &IID__Folders});
    }

private:
    // Entry id and name of every sub-folder, in the store's order.
    HRESULT Children(RowSetPtr& rows) const {
        ComPtr<IMAPITable> table;
        HRESULT hr = parent_->GetHierarchyTable(0, &table);
        if (FAILED(hr)) return hr;
        SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_DISPLAY_NAME_A}};
        return HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                              nullptr, 0, &rows);
    }

    SessionRef session_;
    ComPtr<IMAPIFolder> parent_;
};

}  // namespace

HRESULT DefaultItemTypeOf(IMAPIFolder* folder, Outlook::OlItemType& type) {
    std::string container_class;
    const HRESULT hr = ReadTextOrEmpty(folder, PR_CONTAINER_CLASS_A, container_class);
    if (SUCCEEDED(hr)) type = ItemTypeOfContainerClass(container_class);
    return hr;
}

MAPIFolder* WrapFolder(const SessionRef& session, ComPtr<IMAPIFolder> folder) {
    return MakeCom<Folder>(session, std::move(folder)).Detach();
}

_Folders* WrapFolders(const SessionRef& session, ComPtr<IMAPIFolder> parent) {
    return MakeCom<Folders>(session, std::move(parent)).Detach();
}

}  // namespace orvella::host::outlook
