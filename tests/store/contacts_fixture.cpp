// The contacts fixture: the session, contact folders and contacts made through Outlook.
#include "contacts_fixture.h"

#include "mapiutil.h"

namespace orvella::testing {

void ContactsTest::Start(bool exchange) {
    Install({}, exchange);
    Reopen();
}

void ContactsTest::Reopen() {
    context_.reset();
    context_ = Open();
    context_->Initialize();
}

ComPtr<IMAPIFolder> ContactsTest::ContactFolder(const std::string& path) {
    ComPtr<IMAPIFolder> contacts = context_->GetContactsFolder(true);
    if (path.empty()) return contacts;
    return context_->GetOrCreateFolder(contacts.Get(), path);
}

::EntryId ContactsTest::AddContact(const std::string& folder, const std::string& name,
                                   const std::vector<std::string>& emails) {
    ComPtr<MAPIFolder> outlookFolder;
    EXPECT_EQ(nameSpace_->GetFolderFromID(context_->GetEID(ContactFolder(folder).Get()).ToHex(),
                                          VariantMissing(), &outlookFolder),
              S_OK);
    ComPtr<_Items> items;
    EXPECT_EQ(outlookFolder->get_Items(&items), S_OK);
    ComPtr<IDispatch> added;
    EXPECT_EQ(items->Add(VariantLong(Outlook::olContactItem), &added), S_OK);
    ComPtr<_ContactItem> contact;
    EXPECT_EQ(added.As(IID__ContactItem, contact), S_OK);
    EXPECT_EQ(contact->put_FullName(name), S_OK);
    HRESULT(_ContactItem::*setters[])
    (const std::string&) = {&_ContactItem::put_Email1Address, &_ContactItem::put_Email2Address,
                            &_ContactItem::put_Email3Address};
    for (size_t i = 0; i < emails.size() && i < 3; ++i)
        EXPECT_EQ((contact.Get()->*setters[i])(emails[i]), S_OK);
    EXPECT_EQ(contact->Save(), S_OK);
    std::string hex;
    EXPECT_EQ(contact->get_EntryID(&hex), S_OK);
    return ::EntryId::FromHex(hex);
}

ComPtr<IMessage> ContactsTest::OpenContact(const ::EntryId& id) {
    return context_->GetMAPIMessage(id);
}

std::optional<LONG> ContactsTest::LongProp(const ::EntryId& id, ULONG tag) {
    platform::mapi::MapiBuffer<SPropValue> value;
    if (FAILED(HrGetOneProp(OpenContact(id).Get(), tag, &value))) return std::nullopt;
    return value->Value.l;
}

}  // namespace orvella::testing
