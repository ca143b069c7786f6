// The store session fixture: installation, host Outlook and registry helpers.
#include "session_fixture.h"

#include <fstream>
#include <sstream>

#include "addin_ids.h"
#include "installation.h"
#include "mapiutil.h"
#include "outlook_application.h"
#include "registry_values.h"

namespace orvella::testing {

namespace store = platform::mapi::store;

namespace {

constexpr char kSettingsKey[] = "Software\\Orvella\\Vintor";

RegKey OpenSettings() {
    RegKey key;
    EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, kSettingsKey, 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, key.put(), nullptr),
              ERROR_SUCCESS);
    return key;
}

}  // namespace

SessionTest::SessionTest() {
    // A failure the session reports while a test runs shows the error dialog; tests that expect
    // one say so, and any other is closed with OK and recorded.
    dialogs_.OnDialog("Orvella Unexpected Condition").Always().Press(IDOK);
}

SessionTest::~SessionTest() {
    nameSpace_.Reset();
    application_.Reset();
}

void SessionTest::Install(const std::vector<store::StoreSetup>& stores, bool exchange) {
    if (!stores.empty()) store::CreateProfile(store::DefaultProfileName(), stores);
    host::InstallOptions options;
    options.exchange = exchange;
    host::Install(options);
}

std::unique_ptr<COutlookContext> SessionTest::Open() {
    if (!application_) {
        application_ = host::outlook::CreateOutlookApplication();
        EXPECT_EQ(application_->GetNamespace("MAPI", &nameSpace_), S_OK);
    }
    return std::make_unique<COutlookContext>(nameSpace_.Get(), CLSID_Connect);
}

void SessionTest::SetSettingText(const char* name, const std::string& text) {
    RegKey key = OpenSettings();
    ASSERT_EQ(
        RegSetValueExA(key.get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                       static_cast<DWORD>(text.size() + 1)),
        ERROR_SUCCESS);
}

void SessionTest::SetSettingBinary(const char* name, const std::vector<BYTE>& bytes) {
    RegKey key = OpenSettings();
    ASSERT_EQ(RegSetValueExA(key.get(), name, 0, REG_BINARY, bytes.data(),
                             static_cast<DWORD>(bytes.size())),
              ERROR_SUCCESS);
}

void SessionTest::DeleteSetting(const char* name) {
    RegKey key = OpenSettings();
    RegDeleteValueA(key.get(), name);
}

std::optional<std::vector<BYTE>> SessionTest::SettingBinary(const char* name) {
    RegKey key = OpenSettings();
    return ReadRegBinary(key.get(), name);
}

void SessionTest::SetClassesDefault(const std::string& path, const std::string& text) {
    if (text.empty()) {
        RegDeleteTreeA(HKEY_CLASSES_ROOT, path.c_str());
        return;
    }
    RegKey key;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, key.put(), nullptr),
              ERROR_SUCCESS);
    ASSERT_EQ(
        RegSetValueExA(key.get(), nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                       static_cast<DWORD>(text.size() + 1)),
        ERROR_SUCCESS);
}

std::string SessionTest::LogText() const {
    std::ifstream log(host::DefaultInstallDirectory() / "Logs" / "Orvella.log");
    std::stringstream text;
    text << log.rdbuf();
    return text.str();
}

::EntryId SessionTest::StoreEntryId(const std::string& displayName) {
    ComPtr<IUnknown> object;
    EXPECT_EQ(nameSpace_->get_MAPIOBJECT(&object), S_OK);
    ComPtr<IMAPISession> session;
    EXPECT_EQ(object.As(IID_IMAPISession, session), S_OK);
    ComPtr<IMAPITable> table;
    EXPECT_EQ(session->GetMsgStoresTable(0, &table), S_OK);
    SizedSPropTagArray(2, columns) = {2, {PR_DISPLAY_NAME_A, PR_ENTRYID}};
    platform::mapi::RowSetPtr rows;
    EXPECT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              S_OK);
    for (ULONG i = 0; i < rows->cRows; ++i)
        if (displayName == rows->aRow[i].lpProps[0].Value.lpszA)
            return ::EntryId(rows->aRow[i].lpProps[1].Value.bin);
    ADD_FAILURE() << "no store " << displayName;
    return ::EntryId();
}

}  // namespace orvella::testing
