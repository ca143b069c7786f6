// Folders of messages with random values drawn from small pools, so that equal values, values
// that differ only in case, ties and absent values are common: the data of the tests that hold
// the store's tables against the documented evaluator and value order.
#pragma once

#include <random>
#include <vector>

#include "mapi_ptr.h"
#include "mapidefs.h"
#include "mapitags.h"
#include "store_test_support.h"

namespace orvella::testing {

// The properties a random message may carry. Each but kSerial is absent from some messages.
inline constexpr ULONG kSerial = PROP_TAG(PT_LONG, 0x6840);  // the message's number, from 0
inline constexpr ULONG kRank = PR_IMPORTANCE;                // 0 to 4
inline constexpr ULONG kFlags = PR_MESSAGE_FLAGS;            // a few bits
inline constexpr ULONG kName = PR_SUBJECT_A;                 // kNames, case variants included
inline constexpr ULONG kSender = PR_SENDER_NAME_A;           // kNames
inline constexpr ULONG kFlag = PROP_TAG(PT_BOOLEAN, 0x6841);
inline constexpr ULONG kHash = PROP_TAG(PT_BINARY, 0x6842);
inline constexpr ULONG kWhen = PROP_TAG(PT_SYSTIME, 0x6843);
inline constexpr ULONG kSize = PROP_TAG(PT_I8, 0x6844);
inline constexpr ULONG kScore = PROP_TAG(PT_DOUBLE, 0x6845);
inline constexpr ULONG kTitle = PROP_TAG(PT_UNICODE, 0x6846);
inline constexpr ULONG kKind = PROP_TAG(PT_CLSID, 0x6847);
inline constexpr ULONG kKeywords = PROP_TAG(PT_MV_STRING8, 0x6848);  // kNames, 0 to 3 of them
// One property id held single-valued by some messages and multi-valued by others.
inline constexpr ULONG kLevel = PROP_TAG(PT_LONG, 0x6849);
inline constexpr ULONG kLevels = PROP_TAG(PT_MV_LONG, 0x6849);

// The strings kName, kSender and kKeywords are drawn from.
extern const char* const kNames[];
extern const std::size_t kNameCount;

// A random value for `tag` from its pool: the pools above by tag, then by type (strings from
// kNames, binaries from a few short byte strings), anything else a PT_LONG from 0 to 9.
SPropValue RandomValue(ULONG tag, std::mt19937& random, ValueArena& arena);

// Saves `count` random messages in `folder`, numbered (kSerial) from `first_serial`. `thread` is
// the tag of a named PT_LONG property that takes 0 to 9.
void FillRandomly(IMAPIFolder* folder, ULONG thread, std::mt19937& random, int count,
                  LONG first_serial);

// Every column a random message may have, kSerial first: each of the properties above and the
// named one, each single-valued one also in its multi-valued form, and PR_ENTRYID,
// PR_INSTANCE_KEY and PR_OBJECT_TYPE.
std::vector<ULONG> RandomMailboxColumns(ULONG thread);

// A whole contents table of `folder` read with `columns`, in the table's natural order.
platform::mapi::RowSetPtr ReadAllRows(IMAPIFolder* folder, const std::vector<ULONG>& columns);

// The kSerial values of rows whose first column is kSerial.
std::vector<LONG> Serials(const SRowSet* rows);

}  // namespace orvella::testing
