// _Items of the simulated Outlook and the item objects it hands out for stored messages: mail
// and contact items, meeting and task-request items, and a bare item for classes the host does not
// model.
#include "item_types.h"
#include "mapiutil.h"
#include "outlook_objects.h"

namespace orvella::host::outlook {
namespace {

using platform::mapi::RowSetPtr;

// An item of a type the add-in only identifies: its message, entry id and class.
template <class Interface>
class MessageItem final : public ComObject<Interface> {
public:
    MessageItem(ComPtr<IMessage> message, Outlook::OlObjectClass object_class, const IID& iid)
        : message_(std::move(message)), class_(object_class), iid_(iid) {}

    HRESULT get_EntryID(std::string* entry_id) override {
        if (!entry_id) return E_POINTER;
        return ItemEntryId(message_.Get(), *entry_id);
    }
    HRESULT get_MAPIOBJECT(IUnknown** message) override { return Return(message_, message); }
    HRESULT get_Class(Outlook::OlObjectClass* object_class) override {
        if (!object_class) return E_POINTER;
        *object_class = class_;
        return S_OK;
    }

protected:
    bool Supports(REFIID riid) const override { return riid == IID_IDispatch || riid == iid_; }

private:
    ComPtr<IMessage> message_;
    Outlook::OlObjectClass class_;
    IID iid_;
};

// A message of a class no item interface of the host stands for (contacts, appointments,
// posts ...): it answers IDispatch, so a caller asking for a mail item is told E_NOINTERFACE,
// as Outlook tells it for an item of another type.
class OtherItem final : public ComObject<IDispatch> {
public:
    explicit OtherItem(ComPtr<IMessage> message) : message_(std::move(message)) {}

protected:
    bool Supports(REFIID riid) const override { return riid == IID_IDispatch; }

private:
    ComPtr<IMessage> message_;
};

struct RequestClass {
    const char* message_class;  // this class and its sub-classes
    Outlook::OlObjectClass object_class;
};

// Most specific first.
constexpr RequestClass kMeetingClasses[] = {
    {"IPM.Schedule.Meeting.Request", Outlook::olMeetingRequest},
    {"IPM.Schedule.Meeting.Canceled", Outlook::olMeetingCancellation},
    {"IPM.Schedule.Meeting.Resp.Neg", Outlook::olMeetingResponseNegative},
    {"IPM.Schedule.Meeting.Resp.Pos", Outlook::olMeetingResponsePositive},
    {"IPM.Schedule.Meeting.Resp.Tent", Outlook::olMeetingResponseTentative},
};

template <class Interface>
IDispatch* Wrap(ComPtr<IMessage> message, Outlook::OlObjectClass object_class, const IID& iid) {
    return MakeCom<MessageItem<Interface>>(std::move(message), object_class, iid).Detach();
}

}  // namespace

IDispatch* WrapItem(const SessionRef& session, ComPtr<IMessage> message) {
    std::string message_class;
    if (FAILED(ReadTextOrEmpty(message.Get(), PR_MESSAGE_CLASS_A, message_class)))
        message_class.clear();
    // A message without a class is a note, as MAPI's default class says.
    if (message_class.empty() || IsClassOrSubclass(message_class, "IPM.Note"))
        return WrapMailItem(session, std::move(message));
    if (IsClassOrSubclass(message_class, "IPM.Contact")) {
        IDispatch* contact = nullptr;
        // A store that cannot name the contact properties shows a bare item.
        if (SUCCEEDED(WrapContactItem(session, message, &contact))) return contact;
    }
    for (const RequestClass& meeting : kMeetingClasses) {
        if (IsClassOrSubclass(message_class, meeting.message_class))
            return Wrap<_MeetingItem>(std::move(message), meeting.object_class, IID__MeetingItem);
    }
    if (IsClassOrSubclass(message_class, "IPM.TaskRequest.Accept"))
        return Wrap<_TaskRequestAcceptItem>(std::move(message), Outlook::olTaskRequestAccept,
                                            IID__TaskRequestAcceptItem);
    if (IsClassOrSubclass(message_class, "IPM.TaskRequest.Decline"))
        return Wrap<_TaskRequestDeclineItem>(std::move(message), Outlook::olTaskRequestDecline,
                                             IID__TaskRequestDeclineItem);
    if (IsClassOrSubclass(message_class, "IPM.TaskRequest.Update"))
        return Wrap<_TaskRequestUpdateItem>(std::move(message), Outlook::olTaskRequestUpdate,
                                            IID__TaskRequestUpdateItem);
    if (IsClassOrSubclass(message_class, "IPM.TaskRequest"))
        return Wrap<_TaskRequestItem>(std::move(message), Outlook::olTaskRequest,
                                      IID__TaskRequestItem);
    return MakeCom<OtherItem>(std::move(message)).Detach();
}

namespace {

class Items final : public ComObject<_Items> {
public:
    Items(SessionRef session, ComPtr<IMAPIFolder> folder)
        : session_(std::move(session)), folder_(std::move(folder)) {}

    HRESULT get_Count(LONG* count) override {
        if (!count) return E_POINTER;
        ComPtr<IMAPITable> table;
        ULONG rows = 0;
        HRESULT hr = folder_->GetContentsTable(0, &table);
        if (SUCCEEDED(hr)) hr = table->GetRowCount(0, &rows);
        if (SUCCEEDED(hr)) *count = static_cast<LONG>(rows);
        return hr;
    }

    // By 1-based number, or by subject without regard to case (the item's default property).
    HRESULT Item(const VARIANT& index, IDispatch** item) override {
        if (!item) return E_POINTER;
        *item = nullptr;
        if (index.vt != VT_I4 && index.vt != VT_BSTR) return DISP_E_TYPEMISMATCH;
        if (index.vt == VT_I4 && index.lVal < 1) return DISP_E_BADINDEX;
        ComPtr<IMAPITable> table;
        HRESULT hr = folder_->GetContentsTable(0, &table);
        if (FAILED(hr)) return hr;
        SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_SUBJECT_A}};
        RowSetPtr rows;
        if (index.vt == VT_I4) {
            hr = table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0);
            if (SUCCEEDED(hr)) hr = table->SeekRow(BOOKMARK_BEGINNING, index.lVal - 1, nullptr);
            if (SUCCEEDED(hr)) hr = table->QueryRows(1, 0, &rows);
        } else {
            hr = HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                                nullptr, 0, &rows);
        }
        if (FAILED(hr)) return hr;
        std::vector<BYTE> entry_id;
        hr = EntryIdAt(*rows, index, PR_SUBJECT_A, index.vt == VT_I4 ? index.lVal : 1, entry_id);
        if (FAILED(hr)) return hr;
        ComPtr<IMessage> message;
        hr = OpenById(folder_.Get(), entry_id, MAPI_MESSAGE, message);
        if (FAILED(hr)) return hr;
        *item = WrapItem(session_, std::move(message));
        return S_OK;
    }

    // Mail and contact items: by OlItemType, by a message class of IPM.Note's or IPM.Contact's
    // family, or by the folder's own type when missing; other types are E_NOTIMPL.
    HRESULT Add(const VARIANT& type, IDispatch** item) override {
        if (!item) return E_POINTER;
        *item = nullptr;
        Outlook::OlItemType item_type = Outlook::olMailItem;
        std::string message_class;
        if (type.vt == VT_BSTR) {
            message_class = type.bstrVal;
            if (IsClassOrSubclass(message_class, "IPM.Contact"))
                item_type = Outlook::olContactItem;
            else if (!IsClassOrSubclass(message_class, "IPM.Note"))
                return E_NOTIMPL;
        } else if (IsMissing(type)) {
            const HRESULT hr = DefaultItemTypeOf(folder_.Get(), item_type);
            if (FAILED(hr)) return hr;
        } else if (auto number = VariantNumber(type)) {
            item_type = static_cast<Outlook::OlItemType>(*number);
        } else {
            return DISP_E_TYPEMISMATCH;
        }
        switch (item_type) {
            case Outlook::olMailItem:
                return NewMailItem(session_, folder_.Get(),
                                   message_class.empty() ? "IPM.Note" : message_class, item);
            case Outlook::olContactItem:
                return NewContactItem(session_, folder_.Get(),
                                      message_class.empty() ? "IPM.Contact" : message_class, item);
            default:
                return E_NOTIMPL;
        }
    }

protected:
    bool Supports(REFIID riid) const override { return AnyOf(riid, {&IID_IDispatch, &IID__Items}); }

private:
    SessionRef session_;
    ComPtr<IMAPIFolder> folder_;
};

}  // namespace

_Items* WrapItems(const SessionRef& session, ComPtr<IMAPIFolder> folder) {
    return MakeCom<Items>(session, std::move(folder)).Detach();
}

}  // namespace orvella::host::outlook
