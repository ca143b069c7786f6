// The forms test fixture: a fresh profile, logged on, with MAPIOpenFormMgr's manager.
#include "forms_fixture.h"

#include <fstream>

namespace orvella::testing {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;

void FormsTest::SetUp() {
    StoreTest::SetUp();
    ASSERT_EQ(MAPIOpenFormMgr(session_.Get(), &manager_), S_OK);
}

void FormsTest::TearDown() {
    manager_.Reset();
    StoreTest::TearDown();
}

std::string FormsTest::WriteConfig(const std::string& name, const std::string& text) const {
    auto path = home_.path() / name;
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
}

HRESULT FormsTest::Resolve(const char* message_class, ULONG flags, ComPtr<IMAPIFormInfo>& info,
                           bool in_inbox) const {
    return manager_->ResolveMessageClass(message_class, flags, in_inbox ? inbox_.Get() : nullptr,
                                         &info);
}

ComPtr<IMAPIFormContainer> FormsTest::InboxForms() const {
    ComPtr<IMAPIFormContainer> container;
    EXPECT_EQ(manager_->OpenFormContainer(HFRMREG_FOLDER, inbox_.Get(), &container), S_OK);
    return container;
}

ComPtr<IMAPIFormContainer> FormsTest::PersonalForms() const {
    ComPtr<IMAPIFormContainer> container;
    EXPECT_EQ(manager_->OpenFormContainer(HFRMREG_PERSONAL, nullptr, &container), S_OK);
    return container;
}

void FormsTest::Relogon() {
    manager_.Reset();
    inbox_.Reset();
    store_.Reset();
    session_.Reset();
    Logon();
    ASSERT_EQ(MAPIOpenFormMgr(session_.Get(), &manager_), S_OK);
}

std::string TextOf(IMAPIFormInfo* info, ULONG tag) {
    MapiBuffer<SPropValue> value;
    if (FAILED(HrGetOneProp(info, tag, &value))) return "<missing>";
    return value->Value.lpszA;
}

std::string LastErrorOf(IMAPIFormContainer* container, HRESULT hr) {
    MapiBuffer<MAPIERROR> error;
    if (FAILED(container->GetLastError(hr, 0, &error)) || !error->lpszError) return "";
    return error->lpszError;
}

std::string FormConfig(const std::string& message_class, const std::string& display_name,
                       const std::string& version) {
    return "[Description]\r\nMessageClass=" + message_class + "\r\nDisplayName=" + display_name +
           "\r\nVersion=" + version +
           "\r\nLocale=enu\r\nHidden=1\r\n\r\n[Platforms]\r\n"
           "Platform1=NTx86\r\n\r\n[Platform.NTx86]\r\nCPU=ix86\r\nOSVersion=Win32\r\n";
}

}  // namespace orvella::testing
