// Message values, recipients and the kept source written with one save.
#include "store_writer.h"

#include <cstddef>
#include <vector>

#include "import_folders.h"
#include "mapi_values.h"
#include "mapitags.h"
#include "mapiutil.h"

namespace orvella::host::mail {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;

using platform::mapi::LongValue;
using platform::mapi::TextValue;
using platform::mapi::TimeValue;

const std::string kSmtp = "SMTP";

std::vector<SPropValue> MessageValues(const ImportedMail& mail, ULONG source_tag) {
    std::vector<SPropValue> values = {
        TextValue(PR_MESSAGE_CLASS_A, mail.message_class),
        TextValue(PR_SUBJECT_A, mail.subject),
        TextValue(PR_DISPLAY_TO_A, mail.display_to),
        TextValue(PR_DISPLAY_CC_A, mail.display_cc),
        TextValue(PR_DISPLAY_BCC_A, mail.display_bcc),
        TimeValue(PR_MESSAGE_DELIVERY_TIME, mail.delivery_time),
        // The message came into being in this mailbox when it was delivered.
        TimeValue(PR_CREATION_TIME, mail.delivery_time),
        LongValue(PR_IMPORTANCE, mail.importance),
        TextValue(PR_BODY_A, mail.body),
        TextValue(PR_TRANSPORT_MESSAGE_HEADERS_A, mail.headers),
        LongValue(PR_MESSAGE_FLAGS, static_cast<LONG>(mail.read ? MSGFLAG_READ : 0)),
    };
    if (mail.sender) {
        values.push_back(TextValue(PR_SENDER_NAME_A, mail.sender->name));
        values.push_back(TextValue(PR_SENDER_EMAIL_ADDRESS_A, mail.sender->address));
        values.push_back(TextValue(PR_SENDER_ADDRTYPE_A, kSmtp));
        values.push_back(TextValue(PR_SENT_REPRESENTING_NAME_A, mail.sender->name));
        values.push_back(TextValue(PR_SENT_REPRESENTING_EMAIL_ADDRESS_A, mail.sender->address));
        values.push_back(TextValue(PR_SENT_REPRESENTING_ADDRTYPE_A, kSmtp));
    }
    if (mail.submit_time) values.push_back(TimeValue(PR_CLIENT_SUBMIT_TIME, *mail.submit_time));
    if (!mail.received_by.empty()) {
        values.push_back(TextValue(PR_RECEIVED_BY_EMAIL_ADDRESS_A, mail.received_by));
    }
    if (!mail.message_id.empty()) {
        values.push_back(TextValue(PR_INTERNET_MESSAGE_ID_A, mail.message_id));
    }
    SPropValue source = {};
    source.ulPropTag = source_tag;
    source.Value.bin = {static_cast<ULONG>(mail.source.size()),
                        reinterpret_cast<BYTE*>(const_cast<char*>(mail.source.data()))};
    values.push_back(source);
    return values;
}

// The recipient rows; ModifyRecipients copies them, so they may live in our own memory.
void AddRecipients(IMessage* message, const ImportedMail& mail) {
    if (mail.recipients.empty()) return;
    constexpr size_t kColumns = 6;
    std::vector<SPropValue> values;
    values.reserve(mail.recipients.size() * kColumns);
    MapiBuffer<ADRLIST> list;
    CheckStore(MAPIAllocateBuffer(static_cast<ULONG>(CbNewADRLIST(mail.recipients.size())),
                                  reinterpret_cast<void**>(&list)),
               "listing recipients");
    list->cEntries = 0;
    for (const MailRecipient& recipient : mail.recipients) {
        const size_t first = values.size();
        values.push_back(LongValue(PR_RECIPIENT_TYPE, recipient.type));
        values.push_back(TextValue(PR_DISPLAY_NAME_A, recipient.who.name));
        if (!recipient.who.address.empty()) {
            values.push_back(TextValue(PR_EMAIL_ADDRESS_A, recipient.who.address));
            values.push_back(TextValue(PR_ADDRTYPE_A, kSmtp));
            values.push_back(TextValue(PR_SMTP_ADDRESS_A, recipient.who.address));
        }
        ADRENTRY& entry = list->aEntries[list->cEntries++];
        entry.ulReserved1 = 0;
        entry.cValues = static_cast<ULONG>(values.size() - first);
        entry.rgPropVals = values.data() + first;  // reserved above: never moves
    }
    CheckStore(message->ModifyRecipients(MODRECIP_ADD, list.Get()), "adding recipients");
}

}  // namespace

ULONG SourcePropertyTag(IMAPIProp* object) {
    MAPINAMEID name = {const_cast<LPGUID>(&PS_PUBLIC_STRINGS), MNID_STRING, {}};
    name.Kind.lpwstrName = const_cast<LPWSTR>(kSourcePropertyName);
    LPMAPINAMEID names[] = {&name};
    MapiBuffer<SPropTagArray> tags;
    CheckStore(object->GetIDsFromNames(1, names, MAPI_CREATE, &tags),
               "naming the message source property");
    return PROP_TAG(PT_BINARY, PROP_ID(tags->aulPropTag[0]));
}

StoreWriter::StoreWriter(IMsgStore* store) : source_tag_(SourcePropertyTag(store)) {}

void StoreWriter::Save(IMAPIFolder* folder, const ImportedMail& mail) {
    ComPtr<IMessage> message;
    CheckStore(folder->CreateMessage(nullptr, 0, &message), "creating a message");
    std::vector<SPropValue> values = MessageValues(mail, source_tag_);
    CheckStore(message->SetProps(static_cast<ULONG>(values.size()), values.data(), nullptr),
               "setting message properties");
    AddRecipients(message.Get(), mail);
    CheckStore(message->SaveChanges(0), "saving a message");
}

bool StoreWriter::HoldsMessageId(IMAPIFolder* folder, const std::string& message_id) {
    ComPtr<IMAPITable>& table = contents_[folder];
    if (!table) CheckStore(folder->GetContentsTable(0, &table), "reading a folder");
    SPropValue value = TextValue(PR_INTERNET_MESSAGE_ID_A, message_id);
    SRestriction same = {};
    same.rt = RES_PROPERTY;
    same.res.resProperty = {RELOP_EQ, PR_INTERNET_MESSAGE_ID_A, &value};
    CheckStore(table->Restrict(&same, 0), "looking for a Message-ID");
    ULONG count = 0;
    CheckStore(table->GetRowCount(0, &count), "looking for a Message-ID");
    return count > 0;
}

}  // namespace orvella::host::mail
