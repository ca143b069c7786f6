// Mail as it arrives in a folder for the scorer's and processor's tests: sender, recipients
// (PR_RECIPIENT_TYPE and PR_EMAIL_ADDRESS in the recipient table), importance, times, class.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "clock.h"
#include "mapidefs.h"

namespace orvella::testing {

// Monday 14 March 2005 12:00:00 UTC and Sunday 13 March 2005 12:00:00 UTC: midday, so that
// their dates are the same in the time zones the tests run in.
inline constexpr platform::FileTimeTicks kMonday14March2005 = 127552932000000000ULL;
inline constexpr platform::FileTimeTicks kSunday13March2005 = 127552068000000000ULL;

// The user's own address, as the settings list it.
inline constexpr char kUserAddress[] = "me@example.com";

struct TestRecipient {
    LONG type;  // MAPI_TO, MAPI_CC, MAPI_BCC
    std::string address;
};

struct TestMail {
    std::string sender;
    std::vector<TestRecipient> recipients;
    std::optional<LONG> importance;  // PR_IMPORTANCE; absent when not given
    std::optional<platform::FileTimeTicks> delivered;
    std::optional<platform::FileTimeTicks> created;
    std::string subject = "Budget";
    std::string messageClass = "IPM.Note";
};

// The mail saved in folder; its entry id (empty, with a test failure, when saving failed).
std::vector<BYTE> SaveMail(IMAPIFolder* folder, const TestMail& mail);

}  // namespace orvella::testing
