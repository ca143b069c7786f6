// Contact items of the simulated Outlook: created in a contacts folder, saved with Outlook's
// named e-mail properties, found again by entry id, and their changes discarded.
#include <gtest/gtest.h>

#include "mapiguid.h"
#include "mapiutil.h"
#include "outlook_fixture.h"

namespace orvella::testing {
namespace {

using platform::mapi::MapiBuffer;

ComPtr<_ContactItem> AsContact(IDispatch* item) {
    ComPtr<_ContactItem> contact;
    void* raw = nullptr;
    if (item && SUCCEEDED(item->QueryInterface(IID__ContactItem, &raw)))
        contact.Attach(static_cast<_ContactItem*>(raw));
    return contact;
}

class ContactItemTest : public OutlookTest {
protected:
    // A PSETID_Address string property read through the checking session; "<absent>" when the
    // contact does not carry it.
    std::string AddressProp(IMAPIProp* object, LONG id) {
        MAPINAMEID name{const_cast<LPGUID>(&PSETID_Address), MNID_ID, {id}};
        LPMAPINAMEID names[] = {&name};
        MapiBuffer<SPropTagArray> tags;
        EXPECT_EQ(object->GetIDsFromNames(1, names, 0, &tags), S_OK);
        MapiBuffer<SPropValue> value;
        if (FAILED(
                HrGetOneProp(object, PROP_TAG(PT_STRING8, PROP_ID(tags->aulPropTag[0])), &value)))
            return "<absent>";
        return value->Value.lpszA;
    }

    ComPtr<_ContactItem> AddContact(const VARIANT& type) {
        ComPtr<_Items> items;
        EXPECT_EQ(DefaultFolder(Outlook::olFolderContacts)->get_Items(&items), S_OK);
        ComPtr<IDispatch> item;
        EXPECT_EQ(items->Add(type, &item), S_OK);
        return AsContact(item.Get());
    }
};

TEST_F(ContactItemTest, SavedContactCarriesOutlooksAddressPropertiesForMapi) {
    Start();
    ComPtr<_ContactItem> contact = AddContact(VariantLong(Outlook::olContactItem));
    ASSERT_TRUE(contact);
    std::string entry_id;
    ASSERT_EQ(contact->get_EntryID(&entry_id), S_OK);
    EXPECT_EQ(entry_id, "");
    ASSERT_EQ(contact->put_FullName("Ada Lovelace"), S_OK);
    ASSERT_EQ(contact->put_Email1Address("ada@example.org"), S_OK);
    ASSERT_EQ(contact->put_Email3Address("/o=Lab/cn=ada"), S_OK);
    ASSERT_EQ(contact->put_Email3AddressType("EX"), S_OK);
    ASSERT_EQ(contact->Save(), S_OK);
    ASSERT_EQ(contact->get_EntryID(&entry_id), S_OK);
    ASSERT_NE(entry_id, "");

    ComPtr<IMAPIProp> stored = OpenThroughMapi(entry_id);
    ASSERT_TRUE(stored);
    EXPECT_EQ(TextOf(stored.Get(), PR_MESSAGE_CLASS_A), "IPM.Contact");
    EXPECT_EQ(TextOf(stored.Get(), PR_DISPLAY_NAME_A), "Ada Lovelace");
    EXPECT_EQ(TextOf(stored.Get(), PR_SUBJECT_A), "Ada Lovelace");
    struct Expected {
        LONG id;
        const char* value;
    } expected[] = {
        {0x8005, "Ada Lovelace"},
        {0x8083, "ada@example.org"},
        {0x8082, "SMTP"},
        {0x8084, "ada@example.org"},
        {0x8080, "Ada Lovelace (ada@example.org)"},
        {0x8093, "<absent>"},
        {0x8092, "<absent>"},
        {0x8094, "<absent>"},
        {0x80A3, "/o=Lab/cn=ada"},
        {0x80A2, "EX"},
        {0x80A4, "/o=Lab/cn=ada"},
    };
    for (const Expected& e : expected)
        EXPECT_EQ(AddressProp(stored.Get(), e.id), e.value) << std::hex << e.id;

    // Every contact property Outlook's contact form defines is named in the store.
    for (LONG id : {0x8022, 0x801B, 0x8045, 0x8046, 0x8047, 0x8048, 0x8049}) {
        MAPINAMEID name{const_cast<LPGUID>(&PSETID_Address), MNID_ID, {id}};
        LPMAPINAMEID names[] = {&name};
        MapiBuffer<SPropTagArray> tags;
        ASSERT_EQ(stored->GetIDsFromNames(1, names, 0, &tags), S_OK);
        EXPECT_NE(PROP_ID(tags->aulPropTag[0]), 0u) << std::hex << id;
    }
}

TEST_F(ContactItemTest, GetItemFromIdGivesTheContactBack) {
    Start();
    ComPtr<_ContactItem> contact = AddContact(VariantMissing());  // the folder's own type
    ASSERT_TRUE(contact);
    ASSERT_EQ(contact->put_FullName("Grace Hopper"), S_OK);
    ASSERT_EQ(contact->put_FileAs("Hopper, Grace"), S_OK);
    ASSERT_EQ(contact->put_Email2Address("grace@navy.example"), S_OK);
    ASSERT_EQ(contact->Close(Outlook::olSave), S_OK);
    std::string entry_id;
    ASSERT_EQ(contact->get_EntryID(&entry_id), S_OK);

    ComPtr<IDispatch> item;
    ASSERT_EQ(mapi_->GetItemFromID(entry_id, VariantMissing(), &item), S_OK);
    ComPtr<_ContactItem> found = AsContact(item.Get());
    ASSERT_TRUE(found);
    EXPECT_FALSE(AsMail(item.Get()));
    Outlook::OlObjectClass object_class = Outlook::olMail;
    ASSERT_EQ(found->get_Class(&object_class), S_OK);
    EXPECT_EQ(object_class, Outlook::olContact);
    std::string text;
    struct Read {
        HRESULT (_ContactItem::*get)(std::string*);
        const char* value;
    } reads[] = {
        {&_ContactItem::get_FullName, "Grace Hopper"},
        {&_ContactItem::get_FileAs, "Hopper, Grace"},
        {&_ContactItem::get_Email1Address, ""},
        {&_ContactItem::get_Email1AddressType, ""},
        {&_ContactItem::get_Email1DisplayName, ""},
        {&_ContactItem::get_Email2Address, "grace@navy.example"},
        {&_ContactItem::get_Email2AddressType, "SMTP"},
        {&_ContactItem::get_Email2DisplayName, "Grace Hopper (grace@navy.example)"},
        {&_ContactItem::get_Email3Address, ""},
        {&_ContactItem::get_Email3AddressType, ""},
        {&_ContactItem::get_Email3DisplayName, ""},
    };
    for (const Read& read : reads) {
        ASSERT_EQ((found.Get()->*read.get)(&text), S_OK);
        EXPECT_EQ(text, read.value);
    }

    // A new address replaces what Outlook derived from the old one.
    ASSERT_EQ(found->put_Email2Address("grace@example.org"), S_OK);
    ASSERT_EQ(found->Save(), S_OK);
    ComPtr<IMAPIProp> stored = OpenThroughMapi(entry_id);
    EXPECT_EQ(AddressProp(stored.Get(), 0x8094), "grace@example.org");
    EXPECT_EQ(AddressProp(stored.Get(), 0x8090), "Grace Hopper (grace@example.org)");
}

TEST_F(ContactItemTest, ContactsAreAddedByTypeOrClassAndDiscardedChangesAreDropped) {
    Start();
    ComPtr<IDispatch> created;
    ASSERT_EQ(app_->CreateItem(Outlook::olContactItem, &created), S_OK);
    ComPtr<_ContactItem> contact = AsContact(created.Get());
    ASSERT_TRUE(contact);
    ASSERT_EQ(contact->put_FullName("Alan Turing"), S_OK);
    ASSERT_EQ(contact->Save(), S_OK);
    ASSERT_EQ(contact->put_FullName("Someone Else"), S_OK);
    ASSERT_EQ(contact->Close(Outlook::olDiscard), S_OK);
    std::string text;
    ASSERT_EQ(contact->get_FullName(&text), S_OK);
    EXPECT_EQ(text, "Alan Turing");

    ComPtr<_Items> items;
    ASSERT_EQ(DefaultFolder(Outlook::olFolderContacts)->get_Items(&items), S_OK);
    LONG count = 0;
    ASSERT_EQ(items->get_Count(&count), S_OK);
    EXPECT_EQ(count, 1);
    ComPtr<_ContactItem> custom = AddContact(VariantText("IPM.Contact.Custom"));
    ASSERT_TRUE(custom);
    ASSERT_EQ(custom->Save(), S_OK);
    std::string entry_id;
    ASSERT_EQ(custom->get_EntryID(&entry_id), S_OK);
    EXPECT_EQ(TextOf(OpenThroughMapi(entry_id).Get(), PR_MESSAGE_CLASS_A), "IPM.Contact.Custom");
}

}  // namespace
}  // namespace orvella::testing
