// Random messages from small pools of values, and reading them back whole.
#include "random_mailbox.h"

#include <gtest/gtest.h>

namespace orvella::testing {

using platform::mapi::RowSetPtr;

// Case variants, a prefix of another name, '_' and '[' (between 'Z' and 'a', so folding to upper
// or to lower case orders them differently), bytes above ASCII that no case folding touches.
const char* const kNames[] = {"alpha", "Alpha", "ALPHA", "alphabet", "al",    "beta",
                              "Beta",  "gamma", "",      "Zeta_",    "zeta_", "[note]",
                              "naïve", "NAÏVE", "b",     "B-side"};
const std::size_t kNameCount = std::size(kNames);

namespace {

const wchar_t* const kTitles[] = {L"Apfel", L"apfel", L"Ärger", L"zebra", L"Zebra", L"éclair", L""};
constexpr GUID kKinds[] = {
    {0x00000001, 0, 0, {0, 0, 0, 0, 0, 0, 0, 1}},
    {0x00000001, 0, 0, {0, 0, 0, 0, 0, 0, 0, 2}},
    {0xF0000000, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}},
};
const std::vector<BYTE> kHashes[] = {{},           {0x00}, {0x00, 0x00}, {0x01},
                                     {0x01, 0x02}, {0xFF}, {0x7F, 0x80}};
constexpr LONGLONG kSizes[] = {-5, 0, 7, 1LL << 40, -(1LL << 40)};
constexpr double kScores[] = {-2.25, -0.0, 0.0, 1.5, 1e300, 3.0};
constexpr ULONGLONG kTimes[] = {0x01D9000000000000ULL, 0x01D9000000000001ULL, 0x01DA00000000FFFFULL,
                                0x0000000100000000ULL};

}  // namespace

SPropValue RandomValue(ULONG tag, std::mt19937& random, ValueArena& arena) {
    auto pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    switch (tag) {
        case kRank:
            return arena.Long(tag, static_cast<LONG>(pick(5)));
        case kFlags:
            return arena.Long(tag, static_cast<LONG>(pick(16)));
        case kFlag:
            return arena.Bool(tag, pick(2) != 0);
        case kWhen:
            return arena.Time(tag, kTimes[pick(std::size(kTimes))]);
        case kSize:
            return arena.I8(tag, kSizes[pick(std::size(kSizes))]);
        case kScore:
            return arena.Double(tag, kScores[pick(std::size(kScores))]);
        case kTitle:
            return arena.Unicode(tag, kTitles[pick(std::size(kTitles))]);
        case kKind:
            return arena.Guid(tag, kKinds[pick(std::size(kKinds))]);
        case kLevel:
            return arena.Long(tag, static_cast<LONG>(pick(4)));
        case kLevels: {
            std::vector<LONG> levels(pick(3));
            for (LONG& level : levels) level = static_cast<LONG>(pick(4));
            return arena.LongList(tag, levels);
        }
        default:
            break;
    }
    switch (PROP_TYPE(tag)) {
        case PT_STRING8:
            return arena.Text(tag, kNames[pick(kNameCount)]);
        case PT_MV_STRING8: {
            std::vector<std::string> texts(pick(4));
            for (std::string& text : texts) text = kNames[pick(kNameCount)];
            return arena.TextList(tag, texts);
        }
        case PT_BINARY:
            return arena.Binary(tag, kHashes[pick(std::size(kHashes))]);
        default:
            return arena.Long(PROP_TAG(PT_LONG, PROP_ID(tag)), static_cast<LONG>(pick(10)));
    }
}

void FillRandomly(IMAPIFolder* folder, ULONG thread, std::mt19937& random, int count,
                  LONG first_serial) {
    for (int i = 0; i < count; ++i) {
        ValueArena arena;
        std::vector<SPropValue> values = {arena.Long(kSerial, first_serial + i)};
        // About one message in five lacks each value.
        for (ULONG tag : {kRank, kFlags, kName, kSender, kFlag, kHash, kWhen, kSize, kScore, kTitle,
                          kKind, thread, kKeywords})
            if (random() % 5 != 0) values.push_back(RandomValue(tag, random, arena));
        switch (random() % 3) {
            case 0:
                values.push_back(RandomValue(kLevel, random, arena));
                break;
            case 1:
                values.push_back(RandomValue(kLevels, random, arena));
                break;
            default:
                break;
        }
        SaveIn(folder, values);
    }
}

std::vector<ULONG> RandomMailboxColumns(ULONG thread) {
    std::vector<ULONG> columns = {kSerial};
    for (ULONG tag : {kRank, kFlags, kName, kSender, kFlag, kHash, kWhen, kSize, kScore, kTitle,
                      kKind, thread, kLevel, PR_OBJECT_TYPE}) {
        columns.push_back(tag);
        columns.push_back(tag | MV_FLAG);
    }
    columns.push_back(kKeywords);
    columns.push_back(PR_ENTRYID);
    columns.push_back(PR_INSTANCE_KEY);
    return columns;
}

RowSetPtr ReadAllRows(IMAPIFolder* folder, const std::vector<ULONG>& columns) {
    platform::mapi::ComPtr<IMAPITable> table;
    EXPECT_EQ(folder->GetContentsTable(0, &table), S_OK);
    if (!table) return {};
    return AllRows(table.Get(), columns);
}

std::vector<LONG> Serials(const SRowSet* rows) {
    std::vector<LONG> serials;
    for (ULONG r = 0; rows && r < rows->cRows; ++r) {
        const SPropValue& first = rows->aRow[r].lpProps[0];
        serials.push_back(first.ulPropTag == kSerial ? first.Value.l : -1);
    }
    return serials;
}

}  // namespace orvella::testing
