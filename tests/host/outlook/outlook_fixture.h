// A fresh profile in a temporary home, the simulated Outlook started on it, and a separate MAPI
// session on the same profile to check what the object model wrote.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapix.h"
#include "msoutl.h"
#include "outlook_application.h"
#include "profile.h"
#include "temp_home.h"

namespace orvella::testing {

using platform::mapi::ComPtr;

class OutlookTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Creates the default profile "Outlook" with these stores, starts Outlook and logs on a
    // separate MAPI session.
    void Start(std::vector<platform::mapi::store::StoreSetup> stores = {
                   {"Personal Folders", platform::mapi::store::StoreKind::Personal, true, false}});

    ComPtr<MAPIFolder> DefaultFolder(Outlook::OlDefaultFolders folder);
    ComPtr<MAPIFolder> Child(MAPIFolder* parent, const std::string& name);
    ComPtr<_MailItem> NewMail(const std::string& subject, const std::string& body);

    // Through the separate session.
    ComPtr<IMAPIProp> OpenThroughMapi(const std::string& entry_id_hex);
    std::string TextOf(IMAPIProp* object, ULONG tag);
    bool SameEntry(const std::string& hex_a, const std::string& hex_b);

    TempHome home_;
    ComPtr<_Application> app_;
    ComPtr<_NameSpace> mapi_;
    ComPtr<IMAPISession> session_;
};

std::string NameOf(MAPIFolder* folder);
std::string EntryIdOf(MAPIFolder* folder);
std::string EntryIdOf(_MailItem* item);
// The item's _MailItem interface, or null.
ComPtr<_MailItem> AsMail(IDispatch* item);

}  // namespace orvella::testing
