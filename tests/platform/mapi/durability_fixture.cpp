// Helpers shared by the store's durability tests.
#include "durability_fixture.h"

#include "profile.h"

namespace orvella::testing {

HRESULT OpenOwnFolder(std::vector<BYTE> folder_eid, ComPtr<IMAPISession>& session,
                      ComPtr<IMAPIFolder>& folder) {
    HRESULT hr = MAPILogonEx(0, nullptr, nullptr, MAPI_EXTENDED | MAPI_USE_DEFAULT, &session);
    if (FAILED(hr)) return hr;
    ULONG type = 0;
    return session->OpenEntry(static_cast<ULONG>(folder_eid.size()),
                              reinterpret_cast<LPENTRYID>(folder_eid.data()), nullptr, MAPI_MODIFY,
                              &type, folder.PutUnknown());
}

HRESULT ReadAllRows(IMAPIFolder* folder, std::span<const ULONG> columns, RowSetPtr& rows,
                    SRestriction* restriction) {
    ComPtr<IMAPITable> table;
    HRESULT hr = folder->GetContentsTable(0, &table);
    if (FAILED(hr)) return hr;
    std::vector<ULONG> tags(columns.size() + 1);
    tags[0] = static_cast<ULONG>(columns.size());
    std::copy(columns.begin(), columns.end(), tags.begin() + 1);
    return HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(tags.data()), restriction,
                          nullptr, 0, &rows);
}

std::string TextOf(const SPropValue& value) {
    return PROP_TYPE(value.ulPropTag) == PT_STRING8 ? value.Value.lpszA : "";
}

void DurabilityTest::CloseStore() {
    inbox_.Reset();
    store_.Reset();
    session_.Reset();
}

std::filesystem::path DurabilityTest::StoreFile() {
    return store::ProfileStores(store::DefaultProfileName())[0].file;
}

std::shared_ptr<store::StoreDatabase> DurabilityTest::OpenStoreFile() {
    return store::StoreDatabase::Open(StoreFile());
}

std::vector<std::string> DurabilityTest::CheckStore() {
    return OpenStoreFile()->Check();
}

HRESULT DurabilityTest::OpenResult(std::vector<BYTE> eid) {
    ComPtr<IUnknown> opened;
    ULONG type = 0;
    return session_->OpenEntry(static_cast<ULONG>(eid.size()),
                               reinterpret_cast<LPENTRYID>(eid.data()), nullptr, 0, &type,
                               opened.PutUnknown());
}

bool DurabilityTest::SameEntry(std::vector<BYTE> one, std::vector<BYTE> other) {
    ULONG same = FALSE;
    EXPECT_EQ(session_->CompareEntryIDs(static_cast<ULONG>(one.size()),
                                        reinterpret_cast<LPENTRYID>(one.data()),
                                        static_cast<ULONG>(other.size()),
                                        reinterpret_cast<LPENTRYID>(other.data()), 0, &same),
              S_OK);
    return same != FALSE;
}

}  // namespace orvella::testing
