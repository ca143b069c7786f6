// _MailItem of the simulated Outlook: a message of IPM.Note's family, its recipients, saving,
// and display to the host's listener (the host has no windows).
#include "mapiutil.h"
#include "recipient_list.h"

namespace orvella::host::outlook {
namespace {

class MailItem final : public ComObject<_MailItem> {
public:
    MailItem(SessionRef session, ComPtr<IMessage> message)
        : session_(std::move(session)),
          message_(message),
          recipients_(std::make_shared<RecipientList>(std::move(message))) {}

    HRESULT get_EntryID(std::string* entry_id) override {
        if (!entry_id) return E_POINTER;
        return ItemEntryId(Message().Get(), *entry_id);
    }
    HRESULT get_MAPIOBJECT(IUnknown** message) override { return Return(Message(), message); }
    HRESULT get_Class(Outlook::OlObjectClass* object_class) override {
        if (!object_class) return E_POINTER;
        *object_class = Outlook::olMail;
        return S_OK;
    }
    HRESULT get_Subject(std::string* subject) override {
        if (!subject) return E_POINTER;
        return ReadTextOrEmpty(Message().Get(), PR_SUBJECT_A, *subject);
    }
    HRESULT put_Subject(const std::string& subject) override {
        return WriteText(Message().Get(), PR_SUBJECT_A, subject);
    }
    HRESULT get_Body(std::string* body) override {
        if (!body) return E_POINTER;
        return ReadTextOrEmpty(Message().Get(), PR_BODY_A, *body);
    }
    HRESULT put_Body(const std::string& body) override {
        return WriteText(Message().Get(), PR_BODY_A, body);
    }
    HRESULT get_Recipients(Recipients** recipients) override {
        if (!recipients) return E_POINTER;
        *recipients = WrapRecipients(recipients_);
        return S_OK;
    }

    HRESULT Save() override {
        const HRESULT hr = recipients_->Flush();
        return FAILED(hr) ? hr : Message()->SaveChanges(KEEP_OPEN_READWRITE);
    }

    // An item never saved is saved first, so what was shown stays in its folder (Drafts for a
    // new item); the listener then sees it as saved. There is no window to wait for, so a
    // modal display returns at once too.
    HRESULT Display(const VARIANT&) override {
        DisplayedItem shown;
        HRESULT hr = get_EntryID(&shown.entryId);
        if (SUCCEEDED(hr) && shown.entryId.empty()) {
            hr = Save();
            if (SUCCEEDED(hr)) hr = get_EntryID(&shown.entryId);
        }
        if (SUCCEEDED(hr)) hr = get_Subject(&shown.subject);
        if (SUCCEEDED(hr)) hr = get_Body(&shown.body);
        if (SUCCEEDED(hr)) hr = recipients_->Describe(shown.recipients);
        if (FAILED(hr)) return hr;
        session_->Displayed(shown);
        return S_OK;
    }

    HRESULT Close(Outlook::OlInspectorClose save_mode) override {
        return CloseItem(
            save_mode, [this] { return Save(); }, [this] { return Discard(); });
    }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IDispatch, &IID__MailItem});
    }

private:
    ComPtr<IMessage> Message() const {
        std::lock_guard lock(mutex_);
        return message_;
    }

    HRESULT Discard() {
        std::string hex;
        HRESULT hr = get_EntryID(&hex);
        if (FAILED(hr) || hex.empty()) {
            // Never saved: nothing in the store to go back to, only the pending recipients.
            recipients_->Reset(Message());
            return hr;
        }
        ComPtr<IMessage> stored;
        hr = OpenSaved(session_, hex, stored);
        if (FAILED(hr)) return hr;
        {
            std::lock_guard lock(mutex_);
            message_ = stored;
        }
        recipients_->Reset(std::move(stored));
        return S_OK;
    }

    SessionRef session_;
    mutable std::mutex mutex_;  // guards message_, which Discard replaces
    ComPtr<IMessage> message_;
    std::shared_ptr<RecipientList> recipients_;
};

}  // namespace

HRESULT ItemEntryId(IMessage* message, std::string& hex) {
    const HRESULT hr = ReadBinaryHex(message, PR_ENTRYID, hex);
    if (hr != MAPI_E_NOT_FOUND) return hr;
    hex.clear();
    return S_OK;
}

HRESULT OpenSaved(const SessionRef& session, const std::string& hex, ComPtr<IMessage>& stored) {
    std::optional<std::vector<BYTE>> id = HexId(hex);
    if (!id) return MAPI_E_INVALID_ENTRYID;
    return OpenById(session->session(), *id, MAPI_MESSAGE, stored);
}

IDispatch* WrapMailItem(const SessionRef& session, ComPtr<IMessage> message) {
    return MakeCom<MailItem>(session, std::move(message)).Detach();
}

HRESULT NewMailItem(const SessionRef& session, IMAPIFolder* folder,
                    const std::string& message_class, IDispatch** item) {
    if (!item) return E_POINTER;
    *item = nullptr;
    ComPtr<IMessage> message;
    HRESULT hr = folder->CreateMessage(nullptr, 0, &message);
    if (SUCCEEDED(hr)) hr = WriteText(message.Get(), PR_MESSAGE_CLASS_A, message_class);
    // A draft: composed here, read by its author, not sent.
    SPropValue flags = LongValue(PR_MESSAGE_FLAGS, MSGFLAG_UNSENT | MSGFLAG_READ);
    if (SUCCEEDED(hr)) hr = HrSetOneProp(message.Get(), &flags);
    if (FAILED(hr)) return hr;
    *item = WrapMailItem(session, std::move(message));
    return S_OK;
}

}  // namespace orvella::host::outlook
