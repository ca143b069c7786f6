// _ContactItem of the simulated Outlook: a message of class IPM.Contact whose e-mail addresses
// live in Outlook's named properties of PSETID_Address, so that MAPI clients find them there.
#include <array>

#include "mapiguid.h"
#include "mapiutil.h"
#include "outlook_objects.h"

namespace orvella::host::outlook {
namespace {

// The contact properties the item writes or that Outlook's contact form defines on every
// contact (file-as, the selected mailing address, the business address), by numeric name.
enum ContactName : std::size_t {
    kFileAs,
    kPostalAddressId,
    kWorkAddress,
    kWorkStreet,
    kWorkCity,
    kWorkState,
    kWorkPostalCode,
    kWorkCountry,
    kEmailFirst,  // then per e-mail slot: display name, address type, address, original name
    kNameCount = kEmailFirst + 12,
};

struct NameDefinition {
    LONG id;
    ULONG type;
};

constexpr std::array<NameDefinition, kNameCount> kNames = {{
    {0x8005, PT_STRING8}, {0x8022, PT_LONG},    {0x801B, PT_STRING8}, {0x8045, PT_STRING8},
    {0x8046, PT_STRING8}, {0x8047, PT_STRING8}, {0x8048, PT_STRING8}, {0x8049, PT_STRING8},
    {0x8080, PT_STRING8}, {0x8082, PT_STRING8}, {0x8083, PT_STRING8}, {0x8084, PT_STRING8},
    {0x8090, PT_STRING8}, {0x8092, PT_STRING8}, {0x8093, PT_STRING8}, {0x8094, PT_STRING8},
    {0x80A0, PT_STRING8}, {0x80A2, PT_STRING8}, {0x80A3, PT_STRING8}, {0x80A4, PT_STRING8},
}};

enum EmailField : std::size_t { kDisplayName, kAddressType, kAddress, kOriginalName };
constexpr int kEmailSlots = 3;

using ContactTags = std::array<ULONG, kNameCount>;

// The store's tags of the contact names, created when new (as saving a contact creates them).
HRESULT ResolveContactTags(IMAPIProp* object, ContactTags& tags) {
    std::array<MAPINAMEID, kNameCount> names{};
    std::array<LPMAPINAMEID, kNameCount> pointers{};
    for (std::size_t i = 0; i < kNameCount; ++i) {
        names[i].lpguid = const_cast<LPGUID>(&PSETID_Address);
        names[i].ulKind = MNID_ID;
        names[i].Kind.lID = kNames[i].id;
        pointers[i] = &names[i];
    }
    platform::mapi::MapiBuffer<SPropTagArray> ids;
    const HRESULT hr = object->GetIDsFromNames(kNameCount, pointers.data(), MAPI_CREATE, &ids);
    if (FAILED(hr)) return hr;
    for (std::size_t i = 0; i < kNameCount; ++i) {
        if (PROP_ID(ids->aulPropTag[i]) == 0) return MAPI_E_NOT_FOUND;
        tags[i] = PROP_TAG(kNames[i].type, PROP_ID(ids->aulPropTag[i]));
    }
    return S_OK;
}

class ContactItem final : public ComObject<_ContactItem> {
public:
    ContactItem(SessionRef session, ComPtr<IMessage> message, const ContactTags& tags)
        : session_(std::move(session)), message_(std::move(message)), tags_(tags) {}

    HRESULT get_EntryID(std::string* entry_id) override {
        if (!entry_id) return E_POINTER;
        return ItemEntryId(Message().Get(), *entry_id);
    }
    HRESULT get_MAPIOBJECT(IUnknown** message) override { return Return(Message(), message); }
    HRESULT get_Class(Outlook::OlObjectClass* object_class) override {
        if (!object_class) return E_POINTER;
        *object_class = Outlook::olContact;
        return S_OK;
    }

    HRESULT get_FullName(std::string* name) override { return Get(PR_DISPLAY_NAME_A, name); }
    // The subject of a contact is its name, as Outlook keeps it.
    HRESULT put_FullName(const std::string& name) override {
        const HRESULT hr = WriteText(Message().Get(), PR_DISPLAY_NAME_A, name);
        return FAILED(hr) ? hr : WriteText(Message().Get(), PR_SUBJECT_A, name);
    }
    HRESULT get_FileAs(std::string* file_as) override { return Get(tags_[kFileAs], file_as); }
    HRESULT put_FileAs(const std::string& file_as) override { return Put(kFileAs, file_as); }

    HRESULT get_Email1Address(std::string* v) override { return Get(Email(0, kAddress), v); }
    HRESULT put_Email1Address(const std::string& v) override { return PutEmail(0, kAddress, v); }
    HRESULT get_Email1AddressType(std::string* v) override {
        return Get(Email(0, kAddressType), v);
    }
    HRESULT put_Email1AddressType(const std::string& v) override {
        return PutEmail(0, kAddressType, v);
    }
    HRESULT get_Email1DisplayName(std::string* v) override {
        return Get(Email(0, kDisplayName), v);
    }
    HRESULT get_Email2Address(std::string* v) override { return Get(Email(1, kAddress), v); }
    HRESULT put_Email2Address(const std::string& v) override { return PutEmail(1, kAddress, v); }
    HRESULT get_Email2AddressType(std::string* v) override {
        return Get(Email(1, kAddressType), v);
    }
    HRESULT put_Email2AddressType(const std::string& v) override {
        return PutEmail(1, kAddressType, v);
    }
    HRESULT get_Email2DisplayName(std::string* v) override {
        return Get(Email(1, kDisplayName), v);
    }
    HRESULT get_Email3Address(std::string* v) override { return Get(Email(2, kAddress), v); }
    HRESULT put_Email3Address(const std::string& v) override { return PutEmail(2, kAddress, v); }
    HRESULT get_Email3AddressType(std::string* v) override {
        return Get(Email(2, kAddressType), v);
    }
    HRESULT put_Email3AddressType(const std::string& v) override {
        return PutEmail(2, kAddressType, v);
    }
    HRESULT get_Email3DisplayName(std::string* v) override {
        return Get(Email(2, kDisplayName), v);
    }

    HRESULT Save() override {
        ComPtr<IMessage> message = Message();
        std::string name;
        HRESULT hr = ReadTextOrEmpty(message.Get(), PR_DISPLAY_NAME_A, name);
        if (SUCCEEDED(hr)) hr = Derive(message.Get(), name);
        return FAILED(hr) ? hr : message->SaveChanges(KEEP_OPEN_READWRITE);
    }

    HRESULT Close(Outlook::OlInspectorClose save_mode) override {
        return CloseItem(
            save_mode, [this] { return Save(); }, [this] { return Discard(); });
    }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IDispatch, &IID__ContactItem});
    }

private:
    ComPtr<IMessage> Message() const {
        std::lock_guard lock(mutex_);
        return message_;
    }
    ULONG Email(int slot, EmailField field) const {
        return tags_[kEmailFirst + static_cast<std::size_t>(slot) * 4 + field];
    }
    HRESULT Get(ULONG tag, std::string* text) {
        if (!text) return E_POINTER;
        return ReadTextOrEmpty(Message().Get(), tag, *text);
    }
    HRESULT Put(ContactName name, const std::string& text) {
        return WriteText(Message().Get(), tags_[name], text);
    }
    // A changed address drops what was derived from the previous one; Save derives it again.
    HRESULT PutEmail(int slot, EmailField field, const std::string& text) {
        ComPtr<IMessage> message = Message();
        if (field == kAddress) {
            SizedSPropTagArray(2, derived) = {
                2, {Email(slot, kDisplayName), Email(slot, kOriginalName)}};
            const HRESULT hr =
                message->DeleteProps(reinterpret_cast<LPSPropTagArray>(&derived), nullptr);
            if (FAILED(hr)) return hr;
        }
        return WriteText(message.Get(), Email(slot, field), text);
    }

    // What Outlook fills in when a contact is saved: the file-as name from the full name, and
    // for each address its type, display name and original display name when they are missing.
    HRESULT Derive(IMessage* message, const std::string& name) {
        std::string file_as;
        HRESULT hr = ReadTextOrEmpty(message, tags_[kFileAs], file_as);
        if (SUCCEEDED(hr) && file_as.empty() && !name.empty())
            hr = WriteText(message, tags_[kFileAs], name);
        for (int slot = 0; slot < kEmailSlots && SUCCEEDED(hr); ++slot) {
            std::string address;
            hr = ReadTextOrEmpty(message, Email(slot, kAddress), address);
            if (FAILED(hr) || address.empty()) continue;
            hr = FillIfEmpty(message, Email(slot, kAddressType), "SMTP");
            if (SUCCEEDED(hr))
                hr = FillIfEmpty(message, Email(slot, kDisplayName),
                                 name.empty() ? address : name + " (" + address + ")");
            if (SUCCEEDED(hr)) hr = FillIfEmpty(message, Email(slot, kOriginalName), address);
        }
        return hr;
    }
    static HRESULT FillIfEmpty(IMessage* message, ULONG tag, const std::string& text) {
        std::string current;
        const HRESULT hr = ReadTextOrEmpty(message, tag, current);
        if (FAILED(hr) || !current.empty()) return hr;
        return WriteText(message, tag, text);
    }

    HRESULT Discard() {
        std::string hex;
        HRESULT hr = get_EntryID(&hex);
        if (FAILED(hr) || hex.empty()) return hr;  // never saved: nothing to go back to
        ComPtr<IMessage> stored;
        hr = OpenSaved(session_, hex, stored);
        if (FAILED(hr)) return hr;
        std::lock_guard lock(mutex_);
        message_ = std::move(stored);
        return S_OK;
    }

    SessionRef session_;
    mutable std::mutex mutex_;  // guards message_, which Discard replaces
    ComPtr<IMessage> message_;
    ContactTags tags_;
};

}  // namespace

HRESULT WrapContactItem(const SessionRef& session, ComPtr<IMessage> message, IDispatch** item) {
    if (!item) return E_POINTER;
    *item = nullptr;
    ContactTags tags{};
    const HRESULT hr = ResolveContactTags(message.Get(), tags);
    if (FAILED(hr)) return hr;
    *item = MakeCom<ContactItem>(session, std::move(message), tags).Detach();
    return S_OK;
}

HRESULT NewContactItem(const SessionRef& session, IMAPIFolder* folder,
                       const std::string& message_class, IDispatch** item) {
    if (!item) return E_POINTER;
    *item = nullptr;
    ComPtr<IMessage> message;
    HRESULT hr = folder->CreateMessage(nullptr, 0, &message);
    if (SUCCEEDED(hr)) hr = WriteText(message.Get(), PR_MESSAGE_CLASS_A, message_class);
    if (FAILED(hr)) return hr;
    return WrapContactItem(session, std::move(message), item);
}

}  // namespace orvella::host::outlook
