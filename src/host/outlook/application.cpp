// _Application of the simulated Outlook: the entry to its object model, and the host's side of
// it (displayed items).
#include "outlook_objects.h"

namespace orvella::host::outlook {
namespace {

class Application final : public ComObject<HostApplication> {
public:
    explicit Application(SessionRef session) : session_(std::move(session)) {}

    HRESULT GetNamespace(const std::string& type, _NameSpace** result) override {
        if (!result) return E_POINTER;
        *result = nullptr;
        if (type != "MAPI") return E_INVALIDARG;
        *result = WrapNamespace(session_);
        return S_OK;
    }

    HRESULT CreateItem(Outlook::OlItemType type, IDispatch** item) override {
        if (!item) return E_POINTER;
        *item = nullptr;
        if (type != Outlook::olMailItem && type != Outlook::olContactItem) return E_NOTIMPL;
        const bool contact = type == Outlook::olContactItem;
        ComPtr<MAPIFolder> home;
        ComPtr<_NameSpace> mapi;
        mapi.Attach(WrapNamespace(session_));
        HRESULT hr = mapi->GetDefaultFolder(
            contact ? Outlook::olFolderContacts : Outlook::olFolderDrafts, &home);
        if (FAILED(hr)) return hr;
        ComPtr<IUnknown> folder;
        hr = home->get_MAPIOBJECT(&folder);
        if (FAILED(hr)) return hr;
        auto* mapiFolder = static_cast<IMAPIFolder*>(folder.Get());
        return contact ? NewContactItem(session_, mapiFolder, "IPM.Contact", item)
                       : NewMailItem(session_, mapiFolder, "IPM.Note", item);
    }

    HRESULT get_Version(std::string* version) override {
        if (!version) return E_POINTER;
        *version = "11.0.0.0";
        return S_OK;
    }

    void SetDisplayListener(std::function<void(const DisplayedItem&)> listener) override {
        session_->SetDisplayListener(std::move(listener));
    }
    std::vector<DisplayedItem> DisplayedItems() const override {
        return session_->DisplayedItems();
    }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IDispatch, &IID__Application, &IID_HostApplication});
    }

private:
    SessionRef session_;
};

}  // namespace

ComPtr<_Application> CreateOutlookApplication(const std::string& profile) {
    return MakeCom<Application>(std::make_shared<OutlookSession>(profile));
}

}  // namespace orvella::host::outlook
