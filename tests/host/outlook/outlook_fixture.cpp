// The simulated Outlook test fixture: profile, application, namespace and a checking session.
#include "outlook_fixture.h"

#include <span>

#include "hex.h"
#include "mapiutil.h"

namespace orvella::testing {

using platform::mapi::MapiBuffer;

void OutlookTest::SetUp() {
    ASSERT_EQ(MAPIInitialize(nullptr), S_OK);
}

void OutlookTest::TearDown() {
    mapi_.Reset();
    app_.Reset();
    session_.Reset();
    MAPIUninitialize();
}

void OutlookTest::Start(std::vector<platform::mapi::store::StoreSetup> stores) {
    platform::mapi::store::CreateProfile("Outlook", stores);
    app_ = host::outlook::CreateOutlookApplication();
    ASSERT_TRUE(app_);
    ASSERT_EQ(app_->GetNamespace("MAPI", &mapi_), S_OK);
    ASSERT_EQ(MAPILogonEx(0, nullptr, nullptr, MAPI_EXTENDED | MAPI_USE_DEFAULT, &session_), S_OK);
}

ComPtr<MAPIFolder> OutlookTest::DefaultFolder(Outlook::OlDefaultFolders folder) {
    ComPtr<MAPIFolder> result;
    EXPECT_EQ(mapi_->GetDefaultFolder(folder, &result), S_OK);
    return result;
}

ComPtr<MAPIFolder> OutlookTest::Child(MAPIFolder* parent, const std::string& name) {
    ComPtr<_Folders> folders;
    EXPECT_EQ(parent->get_Folders(&folders), S_OK);
    ComPtr<MAPIFolder> child;
    EXPECT_EQ(folders->Item(VariantText(name), &child), S_OK);
    return child;
}

ComPtr<_MailItem> OutlookTest::NewMail(const std::string& subject, const std::string& body) {
    ComPtr<IDispatch> item;
    EXPECT_EQ(app_->CreateItem(Outlook::olMailItem, &item), S_OK);
    ComPtr<_MailItem> mail = AsMail(item.Get());
    if (!mail) return mail;
    EXPECT_EQ(mail->put_Subject(subject), S_OK);
    EXPECT_EQ(mail->put_Body(body), S_OK);
    return mail;
}

ComPtr<IMAPIProp> OutlookTest::OpenThroughMapi(const std::string& entry_id_hex) {
    auto id = platform::HexDecode(entry_id_hex).value_or(std::vector<unsigned char>{});
    ComPtr<IMAPIProp> object;
    ULONG type = 0;
    EXPECT_EQ(
        session_->OpenEntry(static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()),
                            nullptr, 0, &type, object.PutUnknown()),
        S_OK)
        << entry_id_hex;
    return object;
}

std::string OutlookTest::TextOf(IMAPIProp* object, ULONG tag) {
    MapiBuffer<SPropValue> value;
    if (!object || FAILED(HrGetOneProp(object, tag, &value))) return "<absent>";
    return value->Value.lpszA;
}

bool OutlookTest::SameEntry(const std::string& hex_a, const std::string& hex_b) {
    auto a = platform::HexDecode(hex_a).value_or(std::vector<unsigned char>{});
    auto b = platform::HexDecode(hex_b).value_or(std::vector<unsigned char>{});
    ULONG same = 0;
    EXPECT_EQ(session_->CompareEntryIDs(
                  static_cast<ULONG>(a.size()), reinterpret_cast<LPENTRYID>(a.data()),
                  static_cast<ULONG>(b.size()), reinterpret_cast<LPENTRYID>(b.data()), 0, &same),
              S_OK);
    return same != 0;
}

std::string NameOf(MAPIFolder* folder) {
    std::string name = "<no folder>";
    if (folder) {
        EXPECT_EQ(folder->get_Name(&name), S_OK);
    }
    return name;
}

std::string EntryIdOf(MAPIFolder* folder) {
    std::string id;
    if (folder) {
        EXPECT_EQ(folder->get_EntryID(&id), S_OK);
    }
    return id;
}

std::string EntryIdOf(_MailItem* item) {
    std::string id;
    if (item) {
        EXPECT_EQ(item->get_EntryID(&id), S_OK);
    }
    return id;
}

ComPtr<_MailItem> AsMail(IDispatch* item) {
    ComPtr<_MailItem> mail;
    if (item) ComPtr<IDispatch>(item).As(IID__MailItem, mail);
    return mail;
}

}  // namespace orvella::testing
