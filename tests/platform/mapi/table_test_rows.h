// Row layout, value builders and readers shared by the table tests: message-like rows with an
// id, a rank, a name and a group, restrictions that own what they point to, and row sets
// turned into plain text for literal comparison.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "mapidefs.h"
#include "mapitags.h"
#include "test_objects.h"

namespace orvella::platform::mapi::testing {

inline constexpr ULONG kId = PROP_TAG(PT_LONG, 0x6710);
inline constexpr ULONG kRank = PROP_TAG(PT_LONG, 0x6711);
inline constexpr ULONG kName = PROP_TAG(PT_STRING8, 0x6712);
inline constexpr ULONG kGroup = PROP_TAG(PT_LONG, 0x6713);
inline constexpr ULONG kAbsent = PROP_TAG(PT_LONG, 0x6714);  // no row ever has it

// LongValue (test_objects.h) builds PT_LONG values; this builds PT_STRING8 ones.
SPropValue StringProp(ULONG tag, const char* text);

// One value as text: "L:5", "S:alpha", "B:00000000000000ff", "E(6712):8004010F" (an error with
// the property id of its column).
std::string ValueText(const SPropValue& value);
// A row's values as text, joined by '|'.
std::string RowText(const SRow& row);
// Each row of the set as RowText.
std::vector<std::string> RowTexts(const SRowSet* rows);
// The kId value of each row, in order; -1 for a row without one. Null reads as no rows.
std::vector<LONG> RowIds(const SRowSet* rows);

// Builds restrictions whose values and sub-restrictions live as long as the builder.
class Restrictions {
public:
    SRestriction Property(ULONG relop, SPropValue value);
    SRestriction Content(ULONG fuzzy_level, SPropValue value);
    SRestriction Exist(ULONG tag);
    SRestriction Not(SRestriction inner);
    SRestriction And(std::vector<SRestriction> parts);
    SRestriction Or(std::vector<SRestriction> parts);

private:
    // Keep the value or the parts alive and say where they are.
    LPSPropValue Keep(SPropValue value);
    SAndRestriction Keep(std::vector<SRestriction> parts);

    std::deque<SPropValue> values_;
    std::deque<std::vector<SRestriction>> parts_;
};

}  // namespace orvella::platform::mapi::testing
