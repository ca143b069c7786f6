// Mail items of the simulated Outlook: created, saved, displayed and closed through the object
// model, and found again through MAPI; items of stored messages by their class.
#include <gtest/gtest.h>

#include <stdexcept>

#include "ascii_case.h"
#include "hex.h"
#include "mapiutil.h"
#include "outlook_fixture.h"

namespace orvella::testing {
namespace {

using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;

struct RecipientRow {
    std::string name, address, type;
    LONG recipient_type;
    bool operator==(const RecipientRow&) const = default;
};

std::vector<RecipientRow> RecipientsOf(IMessage* message) {
    std::vector<RecipientRow> found;
    ComPtr<IMAPITable> table;
    EXPECT_EQ(message->GetRecipientTable(0, &table), S_OK);
    SizedSPropTagArray(4, columns) = {
        4, {PR_DISPLAY_NAME_A, PR_EMAIL_ADDRESS_A, PR_ADDRTYPE_A, PR_RECIPIENT_TYPE}};
    RowSetPtr rows;
    EXPECT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              S_OK);
    for (ULONG i = 0; rows && i < rows->cRows; ++i) {
        const SPropValue* p = rows->aRow[i].lpProps;
        found.push_back({p[0].Value.lpszA, p[1].Value.lpszA, p[2].Value.lpszA, p[3].Value.l});
    }
    return found;
}

// A message of this class saved in the Inbox through MAPI; its entry id in hex.
std::string SaveWithClass(MAPIFolder* inbox, const char* message_class) {
    ComPtr<IUnknown> object;
    EXPECT_EQ(inbox->get_MAPIOBJECT(&object), S_OK);
    auto* folder = static_cast<IMAPIFolder*>(object.Get());
    ComPtr<IMessage> message;
    EXPECT_EQ(folder->CreateMessage(nullptr, 0, &message), S_OK);
    SPropValue values[2] = {};
    values[0].ulPropTag = PR_MESSAGE_CLASS_A;
    values[0].Value.lpszA = const_cast<char*>(message_class);
    values[1].ulPropTag = PR_SUBJECT_A;
    values[1].Value.lpszA = const_cast<char*>("Stored");
    EXPECT_EQ(message->SetProps(2, values, nullptr), S_OK);
    EXPECT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    MapiBuffer<SPropValue> id;
    EXPECT_EQ(HrGetOneProp(message.Get(), PR_ENTRYID, &id), S_OK);
    return id ? platform::HexEncode({id->Value.bin.lpb, id->Value.bin.cb}) : "";
}

class ItemsTest : public OutlookTest {};

TEST_F(ItemsTest, SavedItemIsTheMessageMapiOpensByItsEntryId) {
    Start();
    ComPtr<_MailItem> mail = NewMail("Quarterly plan", "Draft of the plan.");
    ASSERT_TRUE(mail);
    EXPECT_EQ(EntryIdOf(mail.Get()), "");
    ComPtr<Recipients> recipients;
    ASSERT_EQ(mail->get_Recipients(&recipients), S_OK);
    ComPtr<Recipient> added;
    ASSERT_EQ(recipients->Add("Pat Doe <pat@orvella.test>", &added), S_OK);
    ASSERT_EQ(mail->Save(), S_OK);

    const std::string id = EntryIdOf(mail.Get());
    ASSERT_FALSE(id.empty());
    EXPECT_EQ(id.find_first_not_of("0123456789ABCDEF"), std::string::npos) << id;
    ComPtr<IMAPIProp> opened = OpenThroughMapi(id);
    ASSERT_TRUE(opened);
    EXPECT_EQ(TextOf(opened.Get(), PR_SUBJECT_A), "Quarterly plan");
    EXPECT_EQ(TextOf(opened.Get(), PR_BODY_A), "Draft of the plan.");
    EXPECT_EQ(TextOf(opened.Get(), PR_MESSAGE_CLASS_A), "IPM.Note");
    EXPECT_EQ(RecipientsOf(static_cast<IMessage*>(opened.Get())),
              (std::vector<RecipientRow>{{"Pat Doe", "pat@orvella.test", "SMTP", MAPI_TO}}));

    // The item's MAPIOBJECT is that message, and it was made in Drafts.
    ComPtr<IUnknown> object;
    ASSERT_EQ(mail->get_MAPIOBJECT(&object), S_OK);
    MapiBuffer<SPropValue> own_id, parent;
    ASSERT_EQ(HrGetOneProp(static_cast<IMessage*>(object.Get()), PR_ENTRYID, &own_id), S_OK);
    ASSERT_EQ(HrGetOneProp(opened.Get(), PR_PARENT_ENTRYID, &parent), S_OK);
    EXPECT_TRUE(SameEntry(id, platform::HexEncode({own_id->Value.bin.lpb, own_id->Value.bin.cb})));
    EXPECT_TRUE(SameEntry(EntryIdOf(DefaultFolder(Outlook::olFolderDrafts).Get()),
                          platform::HexEncode({parent->Value.bin.lpb, parent->Value.bin.cb})));
}

// The item answers as an Interface with this class and entry id.
template <class Interface>
void ExpectItem(IDispatch* item, const IID& iid, Outlook::OlObjectClass object_class,
                const std::string& entry_id) {
    ComPtr<Interface> typed;
    ASSERT_EQ(ComPtr<IDispatch>(item).As(iid, typed), S_OK);
    Outlook::OlObjectClass answered = Outlook::olApplication;
    std::string id;
    EXPECT_EQ(typed->get_Class(&answered), S_OK);
    EXPECT_EQ(answered, object_class);
    EXPECT_EQ(typed->get_EntryID(&id), S_OK);
    EXPECT_EQ(id, entry_id);
}

TEST_F(ItemsTest, GetItemFromIdGivesTheItemTypeOfTheMessageClass) {
    Start();
    using Expect = void (*)(IDispatch*, const IID&, Outlook::OlObjectClass, const std::string&);
    struct Case {
        const char* message_class;
        Expect expect;  // null: the item answers no item interface
        const IID* iid;
        Outlook::OlObjectClass object_class;
    };
    const Case cases[] = {
        {"IPM.Note", &ExpectItem<_MailItem>, &IID__MailItem, Outlook::olMail},
        {"IPM.Note.Orvella.View", &ExpectItem<_MailItem>, &IID__MailItem, Outlook::olMail},
        {"IPM.Schedule.Meeting.Request", &ExpectItem<_MeetingItem>, &IID__MeetingItem,
         Outlook::olMeetingRequest},
        {"IPM.Schedule.Meeting.Canceled", &ExpectItem<_MeetingItem>, &IID__MeetingItem,
         Outlook::olMeetingCancellation},
        {"IPM.Schedule.Meeting.Resp.Pos", &ExpectItem<_MeetingItem>, &IID__MeetingItem,
         Outlook::olMeetingResponsePositive},
        {"IPM.TaskRequest", &ExpectItem<_TaskRequestItem>, &IID__TaskRequestItem,
         Outlook::olTaskRequest},
        {"IPM.TaskRequest.Accept", &ExpectItem<_TaskRequestAcceptItem>, &IID__TaskRequestAcceptItem,
         Outlook::olTaskRequestAccept},
        {"IPM.TaskRequest.Decline", &ExpectItem<_TaskRequestDeclineItem>,
         &IID__TaskRequestDeclineItem, Outlook::olTaskRequestDecline},
        {"IPM.TaskRequest.Update", &ExpectItem<_TaskRequestUpdateItem>, &IID__TaskRequestUpdateItem,
         Outlook::olTaskRequestUpdate},
        {"IPM.Contact", nullptr, nullptr, Outlook::olContact},
        {"IPM.Notes", nullptr, nullptr, Outlook::olContact},
    };
    ComPtr<MAPIFolder> inbox = DefaultFolder(Outlook::olFolderInbox);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message_class);
        const std::string id = SaveWithClass(inbox.Get(), c.message_class);
        ComPtr<IDispatch> item;
        ASSERT_EQ(mapi_->GetItemFromID(orvella::platform::AsciiLower(id), VariantMissing(), &item),
                  S_OK);
        EXPECT_EQ(AsMail(item.Get()).Get() != nullptr, c.iid == &IID__MailItem);
        if (c.expect) {
            c.expect(item.Get(), *c.iid, c.object_class, id);
        } else {
            ComPtr<IDispatch> plain;
            EXPECT_EQ(item.As(IID_IDispatch, plain), S_OK);
        }
    }
}

TEST_F(ItemsTest, DisplaySavesAnUnsavedItemInDraftsAndTellsTheHost) {
    Start();
    ComPtr<host::outlook::HostApplication> host;
    ASSERT_EQ(app_.As(host::outlook::IID_HostApplication, host), S_OK);
    std::vector<host::outlook::DisplayedItem> heard;
    host->SetDisplayListener(
        [&](const host::outlook::DisplayedItem& shown) { heard.push_back(shown); });

    ComPtr<_MailItem> mail = NewMail("Lunch?", "At noon.");
    ComPtr<Recipients> recipients;
    ASSERT_EQ(mail->get_Recipients(&recipients), S_OK);
    ComPtr<Recipient> first, second;
    ASSERT_EQ(recipients->Add("sam@orvella.test", &first), S_OK);
    ASSERT_EQ(recipients->Add("Lee Roe <lee@orvella.test>", &second), S_OK);
    ASSERT_EQ(mail->Display(VariantBool(true)), S_OK);

    const std::string id = EntryIdOf(mail.Get());
    ASSERT_FALSE(id.empty());
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_EQ(heard[0].entryId, id);
    EXPECT_EQ(heard[0].subject, "Lunch?");
    EXPECT_EQ(heard[0].body, "At noon.");
    EXPECT_EQ(heard[0].recipients,
              (std::vector<std::string>{"sam@orvella.test", "Lee Roe <lee@orvella.test>"}));
    ASSERT_EQ(host->DisplayedItems().size(), 1u);
    EXPECT_EQ(host->DisplayedItems()[0].subject, "Lunch?");

    ComPtr<_Items> drafts;
    ASSERT_EQ(DefaultFolder(Outlook::olFolderDrafts)->get_Items(&drafts), S_OK);
    LONG count = 0;
    ASSERT_EQ(drafts->get_Count(&count), S_OK);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(TextOf(OpenThroughMapi(id).Get(), PR_SUBJECT_A), "Lunch?");

    // Displayed again: the same item, not a second copy.
    ASSERT_EQ(mail->Display(VariantMissing()), S_OK);
    ASSERT_EQ(heard.size(), 2u);
    EXPECT_EQ(heard[1].entryId, id);
    ASSERT_EQ(drafts->get_Count(&count), S_OK);
    EXPECT_EQ(count, 1);
}

TEST_F(ItemsTest, CloseSavesOrDiscardsTheChangesSinceTheLastSave) {
    Start();
    struct Case {
        Outlook::OlInspectorClose mode;
        const char* stored_subject;
        LONG stored_recipients;
    };
    const Case cases[] = {
        {Outlook::olSave, "Second", 2},
        {Outlook::olDiscard, "First", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        ComPtr<_MailItem> mail = NewMail("First", "Body");
        ComPtr<Recipients> recipients;
        ComPtr<Recipient> added;
        ASSERT_EQ(mail->get_Recipients(&recipients), S_OK);
        ASSERT_EQ(recipients->Add("one@orvella.test", &added), S_OK);
        ASSERT_EQ(mail->Save(), S_OK);
        ASSERT_EQ(mail->put_Subject("Second"), S_OK);
        ASSERT_EQ(recipients->Add("two@orvella.test", &added), S_OK);
        ASSERT_EQ(mail->Close(c.mode), S_OK);

        std::string subject;
        LONG count = 0;
        ASSERT_EQ(mail->get_Subject(&subject), S_OK);
        ASSERT_EQ(recipients->get_Count(&count), S_OK);
        EXPECT_EQ(subject, c.stored_subject);
        EXPECT_EQ(count, c.stored_recipients);
        ComPtr<IMAPIProp> stored = OpenThroughMapi(EntryIdOf(mail.Get()));
        EXPECT_EQ(TextOf(stored.Get(), PR_SUBJECT_A), c.stored_subject);
        EXPECT_EQ(RecipientsOf(static_cast<IMessage*>(stored.Get())).size(),
                  static_cast<size_t>(c.stored_recipients));
    }
}

TEST_F(ItemsTest, RecipientTypeChangedAfterSavingIsWrittenOnTheNextSave) {
    Start();
    ComPtr<_MailItem> mail = NewMail("Copy", "");
    ComPtr<Recipients> recipients;
    ComPtr<Recipient> added;
    ASSERT_EQ(mail->get_Recipients(&recipients), S_OK);
    ASSERT_EQ(recipients->Add("Kim Poe <kim@orvella.test>", &added), S_OK);
    ASSERT_EQ(mail->Save(), S_OK);
    ASSERT_EQ(added->put_Type(Outlook::olCC), S_OK);
    ASSERT_EQ(mail->Save(), S_OK);

    ComPtr<IMAPIProp> stored = OpenThroughMapi(EntryIdOf(mail.Get()));
    EXPECT_EQ(RecipientsOf(static_cast<IMessage*>(stored.Get())),
              (std::vector<RecipientRow>{{"Kim Poe", "kim@orvella.test", "SMTP", MAPI_CC}}));
    ComPtr<Recipient> found;
    ASSERT_EQ(recipients->Item(VariantText("KIM POE"), &found), S_OK);
    std::string address;
    ASSERT_EQ(found->get_Address(&address), S_OK);
    EXPECT_EQ(address, "kim@orvella.test");
    EXPECT_EQ(recipients->Item(VariantLong(2), &found), DISP_E_BADINDEX);
}

TEST_F(ItemsTest, ItemsOfAFolderCountFindAndAdd) {
    Start();
    ComPtr<MAPIFolder> inbox = DefaultFolder(Outlook::olFolderInbox);
    SaveWithClass(inbox.Get(), "IPM.Note");
    ComPtr<_Items> items;
    ASSERT_EQ(inbox->get_Items(&items), S_OK);
    ComPtr<IDispatch> added;
    ASSERT_EQ(items->Add(VariantMissing(), &added), S_OK);
    ComPtr<_MailItem> mail = AsMail(added.Get());
    ASSERT_TRUE(mail);
    ASSERT_EQ(mail->put_Subject("Added here"), S_OK);
    ASSERT_EQ(mail->Save(), S_OK);

    LONG count = 0;
    ASSERT_EQ(items->get_Count(&count), S_OK);
    EXPECT_EQ(count, 2);
    struct Lookup {
        VARIANT index;
        HRESULT result;
        const char* subject;
    };
    const Lookup lookups[] = {
        {VariantLong(1), S_OK, "Stored"},
        {VariantLong(2), S_OK, "Added here"},
        {VariantText("ADDED HERE"), S_OK, "Added here"},
        {VariantLong(3), DISP_E_BADINDEX, ""},
        {VariantLong(0), DISP_E_BADINDEX, ""},
        {VariantText("Nothing like it"), DISP_E_BADINDEX, ""},
        {VariantBool(true), DISP_E_TYPEMISMATCH, ""},
    };
    for (const Lookup& lookup : lookups) {
        SCOPED_TRACE(lookup.subject);
        ComPtr<IDispatch> item;
        ASSERT_EQ(items->Item(lookup.index, &item), lookup.result);
        if (lookup.result != S_OK) continue;
        std::string subject;
        ASSERT_EQ(AsMail(item.Get())->get_Subject(&subject), S_OK);
        EXPECT_EQ(subject, lookup.subject);
    }

    ComPtr<_Items> contacts;
    ASSERT_EQ(DefaultFolder(Outlook::olFolderContacts)->get_Items(&contacts), S_OK);
    EXPECT_EQ(contacts->Add(VariantLong(Outlook::olMailItem), &added), S_OK);
    EXPECT_EQ(items->Add(VariantLong(Outlook::olAppointmentItem), &added), E_NOTIMPL);
    EXPECT_EQ(items->Add(VariantText("IPM.Appointment"), &added), E_NOTIMPL);
}

TEST_F(ItemsTest, ApplicationIsVersionElevenWithOneNamespace) {
    Start();
    std::string version;
    ASSERT_EQ(app_->get_Version(&version), S_OK);
    EXPECT_EQ(version, "11.0.0.0");
    ComPtr<_NameSpace> other;
    EXPECT_EQ(app_->GetNamespace("Other", &other), E_INVALIDARG);
    ComPtr<IDispatch> item;
    EXPECT_EQ(app_->CreateItem(Outlook::olTaskItem, &item), E_NOTIMPL);
    ComPtr<IUnknown> session;
    ASSERT_EQ(mapi_->get_MAPIOBJECT(&session), S_OK);
    EXPECT_TRUE(session);
}

TEST_F(ItemsTest, StartingOnAMissingProfileNamesIt) {
    Start();
    try {
        host::outlook::CreateOutlookApplication("Nobody");
        FAIL() << "logged on to a profile that does not exist";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(),
                     "cannot log on to profile \"Nobody\": there is no such profile");
    }
}

}  // namespace
}  // namespace orvella::testing
