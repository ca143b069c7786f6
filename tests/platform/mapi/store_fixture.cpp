// The shared store test fixture: a fresh profile with one personal store, logged on.
#include "store_fixture.h"

#include "mapi_values.h"

#include <cstring>
#include <span>
#include <string>

namespace orvella::testing {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;
namespace store = platform::mapi::store;

SPropValue Text(ULONG tag, const char* text) {
    return platform::mapi::TextValue(tag, text);
}

SPropValue Long(ULONG tag, LONG value) {
    return platform::mapi::LongValue(tag, value);
}

EntryId EntryIdOf(IMAPIProp* object) {
    MapiBuffer<SPropValue> eid;
    if (FAILED(HrGetOneProp(object, PR_ENTRYID, &eid))) return {};
    return {eid->Value.bin.lpb, eid->Value.bin.lpb + eid->Value.bin.cb};
}

EntryId SaveIn(IMAPIFolder* folder, std::vector<SPropValue> values, ULONG flags) {
    ComPtr<IMessage> message;
    EXPECT_EQ(folder->CreateMessage(nullptr, flags, &message), S_OK);
    if (!message) return {};
    EXPECT_EQ(message->SetProps(static_cast<ULONG>(values.size()), values.data(), nullptr), S_OK);
    EXPECT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    return EntryIdOf(message.Get());
}

ComPtr<IMAPIFolder> MakeFolder(IMAPIFolder* parent, const char* name) {
    ComPtr<IMAPIFolder> folder;
    EXPECT_EQ(
        parent->CreateFolder(FOLDER_GENERIC, const_cast<char*>(name), nullptr, nullptr, 0, &folder),
        S_OK);
    return folder;
}

void StoreTest::SetUp() {
    ASSERT_EQ(MAPIInitialize(nullptr), S_OK);
    store::StoreSetup setup{"Personal Folders", store::StoreKind::Personal, true, false};
    store::CreateProfile("Outlook", std::span(&setup, 1));
    Logon();
}

void StoreTest::TearDown() {
    inbox_.Reset();
    store_.Reset();
    session_.Reset();
    MAPIUninitialize();
}

void StoreTest::Logon() {
    ASSERT_EQ(MAPILogonEx(0, nullptr, nullptr, MAPI_EXTENDED | MAPI_USE_DEFAULT, &session_), S_OK);
    RowSetPtr rows;
    SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_DEFAULT_STORE}};
    ComPtr<IMAPITable> table;
    ASSERT_EQ(session_->GetMsgStoresTable(0, &table), S_OK);
    ASSERT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              S_OK);
    ASSERT_EQ(rows->cRows, 1u);
    const SBinary& eid = rows->aRow[0].lpProps[0].Value.bin;
    ASSERT_EQ(session_->OpenMsgStore(0, eid.cb, reinterpret_cast<LPENTRYID>(eid.lpb), nullptr,
                                     MDB_WRITE, &store_),
              S_OK);
    ULONG cb = 0;
    MapiBuffer<ENTRYID> inbox_id;
    ASSERT_EQ(store_->GetReceiveFolder(const_cast<char*>("IPM.Note"), 0, &cb, &inbox_id, nullptr),
              S_OK);
    ULONG type = 0;
    ASSERT_EQ(
        store_->OpenEntry(cb, inbox_id.Get(), nullptr, MAPI_MODIFY, &type, inbox_.PutUnknown()),
        S_OK);
    EXPECT_EQ(type, ULONG{MAPI_FOLDER});
}

std::vector<BYTE> StoreTest::SaveMessage(std::vector<SPropValue> values) {
    return SaveIn(inbox_.Get(), std::move(values));
}

ComPtr<IMessage> StoreTest::Open(std::vector<BYTE>& eid, ULONG flags) {
    ComPtr<IMessage> message;
    ULONG type = 0;
    EXPECT_EQ(
        session_->OpenEntry(static_cast<ULONG>(eid.size()), reinterpret_cast<LPENTRYID>(eid.data()),
                            nullptr, flags, &type, message.PutUnknown()),
        S_OK);
    return message;
}

ULONG StoreTest::NamedLong(const char* name) {
    std::wstring wide(name, name + std::strlen(name));
    MAPINAMEID id = {const_cast<LPGUID>(&PS_PUBLIC_STRINGS), MNID_STRING, {}};
    id.Kind.lpwstrName = wide.data();
    LPMAPINAMEID ids[] = {&id};
    MapiBuffer<SPropTagArray> tags;
    EXPECT_EQ(inbox_->GetIDsFromNames(1, ids, MAPI_CREATE, &tags), S_OK);
    return PROP_TAG(PT_LONG, PROP_ID(tags->aulPropTag[0]));
}

}  // namespace orvella::testing
