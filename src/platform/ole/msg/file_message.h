// IMessage over an IStorage in the .msg layout: what OpenIMsgOnIStg hands out.
#pragma once

#include <mutex>
#include <set>

#include "com_object.h"
#include "imessage.h"
#include "mapi_error.h"
#include "name_map.h"
#include "property_bag.h"
#include "recipient_list.h"

namespace orvella::platform::ole {
class FileMessage;
}

// The messages open in a session, closed together by CloseIMsgSession.
struct _MSGSESS {
    std::mutex mutex;
    std::set<orvella::platform::ole::FileMessage*> messages;
};

namespace orvella::platform::ole {

class FileMessage final : public mapi::store::ComObject<IMessage> {
public:
    FileMessage(mapi::ComPtr<IStorage> storage, ULONG flags, MSGCALLRELEASE* on_release,
                ULONG caller_data, LPMSGSESS session);

    // Reads the message from the storage (S_OK also for an empty storage).
    HRESULT Load();
    // Lets go of the storage; every later call is MAPI_E_INVALID_OBJECT. Called by the session.
    void Close();

    HRESULT GetLastError(HRESULT, ULONG, LPMAPIERROR* error) override {
        return last_error_.Report(error);
    }
    HRESULT SaveChanges(ULONG flags) override;
    HRESULT GetProps(LPSPropTagArray tags, ULONG, ULONG* count, LPSPropValue* values) override;
    HRESULT GetPropList(ULONG, LPSPropTagArray* tags) override;
    HRESULT OpenProperty(ULONG tag, LPCIID iid, ULONG, ULONG flags, LPUNKNOWN* out) override;
    HRESULT SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray* problems) override;
    HRESULT DeleteProps(LPSPropTagArray tags, LPSPropProblemArray* problems) override;
    HRESULT CopyTo(ULONG, LPCIID, LPSPropTagArray exclude, ULONG_PTR, LPMAPIPROGRESS, LPCIID,
                   LPVOID target, ULONG, LPSPropProblemArray* problems) override;
    HRESULT CopyProps(LPSPropTagArray include, ULONG_PTR, LPMAPIPROGRESS, LPCIID, LPVOID target,
                      ULONG, LPSPropProblemArray* problems) override;
    HRESULT GetNamesFromIDs(LPSPropTagArray* tags, LPGUID guid, ULONG flags, ULONG* count,
                            LPMAPINAMEID** names) override;
    HRESULT GetIDsFromNames(ULONG count, LPMAPINAMEID* names, ULONG flags,
                            LPSPropTagArray* tags) override;

    HRESULT GetAttachmentTable(ULONG, LPMAPITABLE*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT OpenAttach(ULONG, LPCIID, ULONG, LPATTACH*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT CreateAttach(LPCIID, ULONG, ULONG*, LPATTACH*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT DeleteAttach(ULONG, ULONG_PTR, LPMAPIPROGRESS, ULONG) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT GetRecipientTable(ULONG flags, LPMAPITABLE* table) override;
    HRESULT ModifyRecipients(ULONG flags, LPADRLIST changes) override;
    HRESULT SubmitMessage(ULONG) override { return MAPI_E_NO_SUPPORT; }
    // A file message has no read state of its own.
    HRESULT SetReadFlag(ULONG) override { return MAPI_E_NO_SUPPORT; }

protected:
    ~FileMessage() override;
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IMessage, &IID_IMAPIProp});
    }

private:
    // MAPI_E_INVALID_OBJECT once closed; with `change`, MAPI_E_NO_ACCESS when read-only.
    HRESULT Usable(bool change) const;
    HRESULT WriteAll();
    // Copies `values` (and, with `recipients`, the recipient rows) to another object.
    HRESULT CopyOut(std::vector<SPropValue> values, bool recipients, IMAPIProp* target,
                    LPSPropProblemArray* problems);

    mapi::ComPtr<IStorage> storage_;
    ULONG flags_;
    MSGCALLRELEASE* on_release_;
    ULONG caller_data_;
    LPMSGSESS session_;
    bool writable_ = false;
    bool closed_ = false;
    PropertyBag bag_;
    RecipientList recipients_;
    NameMap names_;
    ULONG stored_recipients_ = 0;  // recipient storages the file holds
    mapi::store::LastError last_error_;
};

}  // namespace orvella::platform::ole
