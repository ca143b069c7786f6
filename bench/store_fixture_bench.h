// Generated stores for the store benchmarks: mailboxes of N messages in one Inbox and a Contacts
// folder of N contacts, each built once per run in a temporary Orvella home removed at exit.
#pragma once

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>

#include "mapi_ptr.h"
#include "mapidefs.h"
#include "mapix.h"

namespace orvella::bench {

// Throws std::runtime_error naming `what` when `hr` is a failure, so that a benchmark can skip
// with the reason.
void Check(HRESULT hr, const char* what);

// A value for SetProps or a restriction; text stays owned by the caller.
SPropValue LongValue(ULONG tag, LONG value);
SPropValue TextValue(ULONG tag, const std::string& text);

// The tag of the named property `name` in PS_PUBLIC_STRINGS with `type`, created when new.
ULONG PublicStringTag(IMAPIProp* object, const wchar_t* name, ULONG type);

// Messages that share one thread id.
inline constexpr int kMessagesPerThread = 5;

// An Inbox of generated mail, logged on with write access. Every message carries a subject, a
// sender address, a delivery time, an importance and a thread id (`thread_tag`, the PT_LONG
// named property "OV-ThreadID" in PS_PUBLIC_STRINGS). Each thread id is held by exactly
// kMessagesPerThread messages, spread evenly over the folder; `chosen_thread` is one of them.
// The thread id's value index exists before any benchmark runs.
struct Mailbox {
    std::int64_t size = 0;
    platform::mapi::ComPtr<IMAPISession> session;
    platform::mapi::ComPtr<IMsgStore> store;
    platform::mapi::ComPtr<IMAPIFolder> inbox;
    ULONG thread_tag = 0;
    LONG chosen_thread = 0;
};

// The mailbox of `size` messages, generated at the first call for that size (its time goes to
// stderr). Throws std::runtime_error when the store cannot be built. Not thread-safe: the
// benchmarks run one at a time.
Mailbox& MailboxOf(std::int64_t size);

// The six string properties a contact is looked up by: the three e-mail addresses and their
// original display names (named properties in PSETID_Address).
inline constexpr std::size_t kContactAddressFields = 6;

// A Contacts folder of generated contacts. Contact k has a first address, every second one a
// second and every fourth one a third; each original display name repeats its address. Every
// address belongs to one contact only.
struct ContactBook {
    std::int64_t size = 0;
    platform::mapi::ComPtr<IMAPISession> session;
    platform::mapi::ComPtr<IMsgStore> store;
    platform::mapi::ComPtr<IMAPIFolder> contacts;
    std::array<ULONG, kContactAddressFields> address_tags = {};
};

// The contact book of `size` contacts, generated at the first call (as MailboxOf).
ContactBook& ContactsOf(std::int64_t size);

// Address `slot` (0 to 2) of contact `k`, or empty when the contact has none there.
std::string ContactAddress(std::int64_t k, int slot);

// Mailbox sizes: 10k and 100k messages, and 1M with ORVELLA_BENCH_LARGE=1.
void MailboxSizes(benchmark::internal::Benchmark* benchmark);

}  // namespace orvella::bench
