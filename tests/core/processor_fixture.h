// The scorer's and processor's world: an installed profile whose session knows the user's
// address (and friendly domains), contacts made through Outlook with a priority and reply
// counter, and Inbox messages with sender, recipients, importance and times, as mail arrives.
#pragma once

#include <optional>
#include <string>

#include "clock.h"
#include "contacts_fixture.h"
#include "mapi_ptr.h"
#include "test_mail.h"

namespace orvella::testing {

// Saturday 10 January 2026 12:00:00 UTC: midday, so that its date is the same in the time
// zones the tests run in.
inline constexpr platform::FileTimeTicks kProcessorStart = 134125200000000000ULL;

class ProcessorTest : public ContactsTest {
protected:
    ProcessorTest() : clock_(kProcessorStart) {}
    ~ProcessorTest() override { context_.reset(); }

    // Installs Orvella with the user's address and these friendly domains (blank-separated)
    // in the settings, opens the initialised session and empties the statistics.
    void StartWithUser(const std::string& friendlyDomains = "");
    // A contact with an address, and when given its stored priority ("OV-ContactPriority") and
    // reply counter ("OV-ContactReplyCounter").
    ::EntryId AddRankedContact(const std::string& address, std::optional<LONG> priority,
                               std::optional<LONG> replyCounter = std::nullopt);
    // The mail saved in the Inbox (or folder); its entry id.
    ::EntryId Deliver(const TestMail& mail, IMAPIFolder* folder = nullptr);
    void Delete(const ::EntryId& message);

    // A REG_DWORD under the scorer's "Scoring" key.
    void SetScoring(const char* name, DWORD value);

    // The message's value of an items-table property; nullopt when it has none.
    std::optional<LONG> LongOf(const ::EntryId& message, ItemsProp prop);
    std::optional<std::string> TextOf(const ::EntryId& message, ItemsProp prop);
    // The message's eight properties, read as the processor reads them.
    platform::mapi::MapiBuffer<SPropValue> PropsOf(IMessage* message);
    // The registered thread of a subject's thread name; null when there is none.
    MsgThreadPtr ThreadOf(const std::string& subject);

    platform::ScopedTestClock clock_;
};

}  // namespace orvella::testing
