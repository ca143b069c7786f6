// A logged-on session over a fresh profile with one personal store, and the small helpers the
// store tests share: text and long values, saving a message in the Inbox, opening it again.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "profile.h"
#include "temp_home.h"

namespace orvella::testing {

SPropValue Text(ULONG tag, const char* text);
SPropValue Long(ULONG tag, LONG value);

using EntryId = std::vector<BYTE>;

// The object's PR_ENTRYID; empty when it has none (no test failure: forked writers use it).
EntryId EntryIdOf(IMAPIProp* object);
// A message saved in `folder` with these values (flags as for CreateMessage); its entry id.
EntryId SaveIn(IMAPIFolder* folder, std::vector<SPropValue> values, ULONG flags = 0);
// A new subfolder of `parent`, opened for writing.
platform::mapi::ComPtr<IMAPIFolder> MakeFolder(IMAPIFolder* parent, const char* name);

class StoreTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Logs on to the default profile and opens its default store and Inbox.
    void Logon();
    // A saved message in the Inbox with these values; returns its entry id.
    std::vector<BYTE> SaveMessage(std::vector<SPropValue> values);
    platform::mapi::ComPtr<IMessage> Open(std::vector<BYTE>& eid, ULONG flags = MAPI_MODIFY);
    // The tag of a PT_LONG named property in PS_PUBLIC_STRINGS, created when new.
    ULONG NamedLong(const char* name);

    TempHome home_;
    platform::mapi::ComPtr<IMAPISession> session_;
    platform::mapi::ComPtr<IMsgStore> store_;
    platform::mapi::ComPtr<IMAPIFolder> inbox_;
};

}  // namespace orvella::testing
