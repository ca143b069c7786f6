// A store session as the add-in opens it at Outlook's start, over an installation in a fresh
// home: the registry values the installer writes, a profile, and the host's Outlook.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "COutlookContext.h"
#include "headless_driver.h"
#include "profile.h"
#include "temp_home.h"

namespace orvella::testing {

class SessionTest : public ::testing::Test {
protected:
    SessionTest();
    ~SessionTest() override;

    // Installs Orvella; a profile with these stores is created first when they are given (the
    // first of them the default), else the installation creates its own.
    void Install(const std::vector<platform::mapi::store::StoreSetup>& stores = {},
                 bool exchange = false);
    // The store session over the host's Outlook namespace (constructed, not initialised).
    std::unique_ptr<COutlookContext> Open();

    void SetSettingText(const char* name, const std::string& text);
    void SetSettingBinary(const char* name, const std::vector<BYTE>& bytes);
    void DeleteSetting(const char* name);
    // The default value of a key below HKEY_CLASSES_ROOT; an empty text deletes the key.
    void SetClassesDefault(const std::string& key, const std::string& text);
    std::optional<std::vector<BYTE>> SettingBinary(const char* name);

    // The add-in's log as written so far ("" when there is none).
    std::string LogText() const;

    // The stores of the default profile by display name: their entry ids.
    ::EntryId StoreEntryId(const std::string& displayName);

    TempHome home_;
    platform::gui::HeadlessDialogDriver dialogs_;
    ComPtr<_Application> application_;
    ComPtr<_NameSpace> nameSpace_;
};

// Catches what fn throws from the add-in's exception family; fails the test when nothing is
// thrown. The exception's type name, message and details come back.
struct CaughtFailure {
    std::string type;
    std::string message;
    std::string details;
    HRESULT code = 0;
};
template <class Fn>
CaughtFailure CatchFailure(Fn fn);

}  // namespace orvella::testing

#include "session_fixture_inl.h"
