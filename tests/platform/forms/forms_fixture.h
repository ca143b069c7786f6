// A logged-on profile with its forms manager open, and the helpers the forms tests share:
// writing a form configuration file, resolving a class, reading a form's properties.
#pragma once

#include <string>

#include "mapiform.h"
#include "store_fixture.h"

namespace orvella::testing {

class FormsTest : public StoreTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // Writes `text` to a file of this name in the test's home; its path.
    std::string WriteConfig(const std::string& name, const std::string& text) const;
    // The manager's resolution of `message_class` for the Inbox (null folder when `in_inbox`
    // is false): S_OK and the form in `info`, or the failure.
    HRESULT Resolve(const char* message_class, ULONG flags,
                    platform::mapi::ComPtr<IMAPIFormInfo>& info, bool in_inbox = true) const;
    // The form container of the Inbox, or the personal one.
    platform::mapi::ComPtr<IMAPIFormContainer> InboxForms() const;
    platform::mapi::ComPtr<IMAPIFormContainer> PersonalForms() const;
    // Logs off and on again: a new session and a new forms manager over the same profile.
    void Relogon();

    platform::mapi::ComPtr<IMAPIFormMgr> manager_;
};

// A string property of a form information object; "<missing>" when it has none.
std::string TextOf(IMAPIFormInfo* info, ULONG tag);
// The text GetLastError gives for a container's last failure.
std::string LastErrorOf(IMAPIFormContainer* container, HRESULT hr);

// A configuration file describing `message_class` with a display name and a version.
std::string FormConfig(const std::string& message_class, const std::string& display_name,
                       const std::string& version);

}  // namespace orvella::testing
