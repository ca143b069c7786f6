// Deep copies of property values: a copy shares no memory with its source, survives the
// source, and is freed with the one buffer it hangs from.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"

namespace {

using orvella::platform::mapi::MapiBuffer;

// Source values of many types, living in ordinary memory the test can overwrite.
struct Sources {
    char subject[8] = "Welcome";
    WCHAR wide[4] = L"abc";
    BYTE entry[5] = {1, 2, 3, 4, 5};
    GUID guid = {0x00062004, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    LONG numbers[3] = {-2, 0, 2};
    char first[4] = "one";
    char second[4] = "two";
    LPSTR strings[2] = {first, second};
    BYTE blob1[2] = {9, 8};
    BYTE blob2[1] = {7};
    SBinary blobs[2] = {{2, blob1}, {1, blob2}};
    FILETIME times[1] = {{0x11111111, 0x01D00000}};

    std::vector<SPropValue> Values() {
        std::vector<SPropValue> v(10);
        v[0].ulPropTag = PR_SUBJECT_A;
        v[0].Value.lpszA = subject;
        v[1].ulPropTag = PR_SUBJECT_W;
        v[1].Value.lpszW = wide;
        v[2].ulPropTag = PR_ENTRYID;
        v[2].Value.bin = {sizeof entry, entry};
        v[3].ulPropTag = PROP_TAG(PT_CLSID, 0x8001);
        v[3].Value.lpguid = &guid;
        v[4].ulPropTag = PROP_TAG(PT_MV_LONG, 0x8002);
        v[4].Value.MVl = {3, numbers};
        v[5].ulPropTag = PROP_TAG(PT_MV_STRING8, 0x8003);
        v[5].Value.MVszA = {2, strings};
        v[6].ulPropTag = PROP_TAG(PT_MV_BINARY, 0x8004);
        v[6].Value.MVbin = {2, blobs};
        v[7].ulPropTag = PROP_TAG(PT_MV_SYSTIME, 0x8005);
        v[7].Value.MVft = {1, times};
        v[8].ulPropTag = PR_MESSAGE_FLAGS;
        v[8].Value.l = 9;
        v[9].ulPropTag = CHANGE_PROP_TYPE(PR_BODY_A, PT_ERROR);
        v[9].Value.err = MAPI_E_NOT_ENOUGH_MEMORY;
        return v;
    }

    void Overwrite() { std::memset(this, 0x5A, sizeof *this); }
};

// The copies hold the values Sources started with.
void ExpectOriginalValues(const SPropValue* c) {
    EXPECT_STREQ(c[0].Value.lpszA, "Welcome");
    EXPECT_EQ(std::wstring(c[1].Value.lpszW), L"abc");
    ASSERT_EQ(c[2].Value.bin.cb, 5u);
    EXPECT_EQ(std::vector<BYTE>(c[2].Value.bin.lpb, c[2].Value.bin.lpb + 5),
              (std::vector<BYTE>{1, 2, 3, 4, 5}));
    EXPECT_EQ(c[3].Value.lpguid->Data1, 0x00062004u);
    ASSERT_EQ(c[4].Value.MVl.cValues, 3u);
    EXPECT_EQ(c[4].Value.MVl.lpl[0], -2);
    EXPECT_EQ(c[4].Value.MVl.lpl[2], 2);
    ASSERT_EQ(c[5].Value.MVszA.cValues, 2u);
    EXPECT_STREQ(c[5].Value.MVszA.lppszA[0], "one");
    EXPECT_STREQ(c[5].Value.MVszA.lppszA[1], "two");
    ASSERT_EQ(c[6].Value.MVbin.cValues, 2u);
    EXPECT_EQ(c[6].Value.MVbin.lpbin[0].cb, 2u);
    EXPECT_EQ(c[6].Value.MVbin.lpbin[0].lpb[1], 8);
    EXPECT_EQ(c[6].Value.MVbin.lpbin[1].lpb[0], 7);
    EXPECT_EQ(c[7].Value.MVft.lpft[0].dwHighDateTime, 0x01D00000u);
    EXPECT_EQ(c[8].Value.l, 9);
    EXPECT_EQ(c[9].ulPropTag, 0x1000000Au);
    EXPECT_EQ(c[9].Value.err, static_cast<SCODE>(0x8007000E));
}

TEST(PropCopy, PropCopyMoreCopiesEveryPartIntoTheParentBuffer) {
    Sources sources;
    std::vector<SPropValue> values = sources.Values();
    LPVOID block = nullptr;
    ASSERT_EQ(MAPIAllocateBuffer(values.size() * sizeof(SPropValue), &block), S_OK);
    MapiBuffer<SPropValue> copies(static_cast<LPSPropValue>(block));
    for (size_t i = 0; i < values.size(); ++i) {
        ASSERT_EQ(PropCopyMore(&copies[i], &values[i], MAPIAllocateMore, block), S_OK) << i;
    }
    sources.Overwrite();
    ExpectOriginalValues(copies.Get());
}

TEST(PropCopy, DuplicatedSetIsOneBufferIndependentOfItsSource) {
    Sources sources;
    std::vector<SPropValue> values = sources.Values();
    LPSPropValue raw = nullptr;
    ASSERT_EQ(
        ScDupPropset(static_cast<int>(values.size()), values.data(), MAPIAllocateBuffer, &raw),
        S_OK);
    MapiBuffer<SPropValue> copies(raw);
    sources.Overwrite();
    ExpectOriginalValues(copies.Get());
}

TEST(PropCopy, CountAndCopyAgreeOnTheBytesUsed) {
    Sources sources;
    std::vector<SPropValue> values = sources.Values();
    ULONG counted = 0;
    ASSERT_EQ(ScCountProps(static_cast<int>(values.size()), values.data(), &counted), S_OK);
    std::vector<unsigned long long> block((counted + 7) / 8);
    ULONG used = 0;
    ASSERT_EQ(ScCopyProps(static_cast<int>(values.size()), values.data(), block.data(), &used),
              S_OK);
    EXPECT_EQ(used, counted);
    sources.Overwrite();
    ExpectOriginalValues(reinterpret_cast<SPropValue*>(block.data()));
}

TEST(PropCopy, CountIncludesTheArrayAndEachPartRoundedToEightBytes) {
    char text[] = "abc";  // 4 bytes, rounded to 8
    BYTE bytes[9] = {};   // 9 bytes, rounded to 16
    SPropValue values[3] = {};
    values[0].ulPropTag = PR_SUBJECT_A;
    values[0].Value.lpszA = text;
    values[1].ulPropTag = PR_ENTRYID;
    values[1].Value.bin = {9, bytes};
    values[2].ulPropTag = PR_MESSAGE_FLAGS;
    struct Case {
        int count;
        ULONG expected;
    };
    const Case cases[] = {{0, 0}, {1, 24 + 8}, {2, 48 + 8 + 16}, {3, 72 + 8 + 16}};
    for (const Case& c : cases) {
        ULONG bytes_needed = 0;
        ASSERT_EQ(ScCountProps(c.count, values, &bytes_needed), S_OK);
        EXPECT_EQ(bytes_needed, c.expected) << c.count;
    }
}

TEST(PropCopy, UnknownPropertyTypesAndBadArgumentsAreRefused) {
    SPropValue value = {};
    value.ulPropTag = PROP_TAG(0x0099, 0x8001);
    SPropValue copy = {};
    LPVOID block = nullptr;
    ASSERT_EQ(MAPIAllocateBuffer(8, &block), S_OK);
    MapiBuffer<BYTE> parent(static_cast<BYTE*>(block));
    ULONG bytes = 0;
    LPSPropValue dup = nullptr;
    const SCODE invalid = static_cast<SCODE>(0x80070057);
    EXPECT_EQ(PropCopyMore(&copy, &value, MAPIAllocateMore, block), invalid);
    EXPECT_EQ(ScCountProps(1, &value, &bytes), invalid);
    EXPECT_EQ(ScDupPropset(1, &value, MAPIAllocateBuffer, &dup), invalid);
    EXPECT_EQ(dup, nullptr);
    EXPECT_EQ(ScCountProps(-1, &value, &bytes), invalid);
    EXPECT_EQ(ScCountProps(1, nullptr, &bytes), invalid);
    EXPECT_EQ(PropCopyMore(nullptr, &value, MAPIAllocateMore, block), invalid);
}

TEST(PropCopy, FailedAllocationIsReportedByPropCopyMore) {
    auto refuse = [](ULONG, LPVOID, LPVOID* out) -> SCODE {
        *out = nullptr;
        return MAPI_E_NOT_ENOUGH_MEMORY;
    };
    char text[] = "text";
    SPropValue value = {};
    value.ulPropTag = PR_SUBJECT_A;
    value.Value.lpszA = text;
    SPropValue copy = {};
    EXPECT_EQ(PropCopyMore(&copy, &value, refuse, nullptr), static_cast<SCODE>(0x8007000E));
}

}  // namespace
