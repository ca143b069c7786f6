// Contacts for the store session's contact tests: an installation whose session is open and
// initialised, and contacts created through the host's Outlook as a user creates them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "session_fixture.h"

namespace orvella::testing {

class ContactsTest : public SessionTest {
protected:
    // Installs Orvella (an Exchange-like profile when asked) and opens an initialised session.
    void Start(bool exchange = false);
    // A new session, which reads the contact folder list again.
    void Reopen();
    // The contact folder at path below the default contacts folder ("" is that folder),
    // created when missing.
    ComPtr<IMAPIFolder> ContactFolder(const std::string& path);
    // A contact saved through Outlook's object model in that folder with up to three
    // addresses; its entry id.
    ::EntryId AddContact(const std::string& folder, const std::string& name,
                         const std::vector<std::string>& emails);
    // The contact opened read-write through the session's store.
    ComPtr<IMessage> OpenContact(const ::EntryId& id);
    // The contact's PT_LONG property, or nullopt when it has none.
    std::optional<LONG> LongProp(const ::EntryId& id, ULONG tag);

    std::unique_ptr<COutlookContext> context_;
};

}  // namespace orvella::testing
