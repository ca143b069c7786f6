// Named properties of the embedded store: ids from names, created only when asked, the same in
// every later session, and names back from ids, including names outside ASCII.
#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "store_fixture.h"
#include "store_test_support.h"

namespace {

using orvella::platform::mapi::MapiBuffer;
using orvella::testing::StoreTest;

// Two property sets of our own, so that equal names in different sets can be told apart.
constexpr GUID kTaskSet = {
    0x3C0A51E2, 0x7B1D, 0x4E8F, {0x9A, 0x10, 0x2B, 0x44, 0x6C, 0x8E, 0x01, 0xD7}};
constexpr GUID kNoteSet = {
    0x3C0A51E3, 0x7B1D, 0x4E8F, {0x9A, 0x10, 0x2B, 0x44, 0x6C, 0x8E, 0x01, 0xD7}};

// A name to ask for: a set, and a string or a number.
struct Name {
    const GUID* set;
    const wchar_t* text;  // null: MNID_ID with `lid`
    LONG lid;
};

class NamedPropertyTest : public StoreTest {
protected:
    // GetIDsFromNames on the Inbox: its result, and the tags it gave.
    HRESULT Ids(const std::vector<Name>& names, ULONG flags, std::vector<ULONG>& tags) {
        std::deque<MAPINAMEID> ids;
        std::vector<LPMAPINAMEID> pointers;
        for (const Name& name : names) {
            MAPINAMEID& id = ids.emplace_back();
            id.lpguid = const_cast<LPGUID>(name.set);
            id.ulKind = name.text ? MNID_STRING : MNID_ID;
            if (name.text)
                id.Kind.lpwstrName = const_cast<wchar_t*>(name.text);
            else
                id.Kind.lID = name.lid;
            pointers.push_back(&id);
        }
        MapiBuffer<SPropTagArray> out;
        HRESULT hr = inbox_->GetIDsFromNames(static_cast<ULONG>(pointers.size()), pointers.data(),
                                             flags, &out);
        tags.clear();
        if (out) tags.assign(out->aulPropTag, out->aulPropTag + out->cValues);
        return hr;
    }
};

TEST_F(NamedPropertyTest, IdsAreMadeOnlyWhenAskedAndStartAt0x8000) {
    const Name keyword = {&kTaskSet, L"Keyword", 0};
    const Name lower_keyword = {&kTaskSet, L"keyword", 0};
    const Name other_set = {&kNoteSet, L"Keyword", 0};
    const Name number = {&kTaskSet, nullptr, 0x8501};
    const Name public_string = {&PS_PUBLIC_STRINGS, L"OV-ThreadID", 0};
    const Name no_set = {nullptr, L"Keyword", 0};
    struct Step {
        std::vector<Name> names;
        ULONG flags;
        HRESULT result;
        std::vector<ULONG> tags;
    };
    const Step steps[] = {
        {{keyword, number}, 0, MAPI_W_ERRORS_RETURNED, {0x0000000A, 0x0000000A}},
        {{keyword, number}, MAPI_CREATE, S_OK, {0x80000000, 0x80010000}},
        {{number, keyword}, 0, S_OK, {0x80010000, 0x80000000}},
        // Names are case-sensitive and belong to their set.
        {{lower_keyword, other_set, public_string},
         0,
         MAPI_W_ERRORS_RETURNED,
         {0x0000000A, 0x0000000A, 0x0000000A}},
        {{keyword, lower_keyword, other_set, public_string},
         MAPI_CREATE,
         S_OK,
         {0x80000000, 0x80020000, 0x80030000, 0x80040000}},
        {{no_set, public_string}, MAPI_CREATE, MAPI_W_ERRORS_RETURNED, {0x0000000A, 0x80040000}},
    };
    int n = 0;
    for (const Step& step : steps) {
        SCOPED_TRACE("step " + std::to_string(n++));
        std::vector<ULONG> tags;
        EXPECT_EQ(Ids(step.names, step.flags, tags), step.result);
        EXPECT_EQ(tags, step.tags);
    }
    // Listing every name is not offered.
    MapiBuffer<SPropTagArray> all;
    EXPECT_EQ(inbox_->GetIDsFromNames(0, nullptr, 0, &all), MAPI_E_INVALID_PARAMETER);
}

TEST_F(NamedPropertyTest, IdsAndValuesAreTheSameInANewSession) {
    std::vector<ULONG> tags;
    ASSERT_EQ(Ids({{&kTaskSet, L"Due", 0}, {&kNoteSet, nullptr, 7}}, MAPI_CREATE, tags), S_OK);
    ASSERT_EQ(tags, (std::vector<ULONG>{0x80000000, 0x80010000}));
    auto eid = SaveMessage({orvella::testing::Long(PROP_TAG(PT_LONG, 0x8000), 20240131),
                            orvella::testing::Text(PROP_TAG(PT_STRING8, 0x8001), "seven")});
    inbox_.Reset();
    store_.Reset();
    session_.Reset();
    Logon();

    // Asked the other way round and without MAPI_CREATE, after the store file was reopened.
    ASSERT_EQ(Ids({{&kNoteSet, nullptr, 7}, {&kTaskSet, L"Due", 0}}, 0, tags), S_OK);
    EXPECT_EQ(tags, (std::vector<ULONG>{0x80010000, 0x80000000}));
    ASSERT_EQ(Ids({{&kTaskSet, L"Later", 0}}, MAPI_CREATE, tags), S_OK);
    EXPECT_EQ(tags, (std::vector<ULONG>{0x80020000}));
    auto message = Open(eid, 0);
    EXPECT_EQ(orvella::testing::LongOf(message.Get(), PROP_TAG(PT_LONG, 0x8000)), 20240131);
    MapiBuffer<SPropValue> seven;
    ASSERT_EQ(HrGetOneProp(message.Get(), PROP_TAG(PT_STRING8, 0x8001), &seven), S_OK);
    EXPECT_STREQ(seven->Value.lpszA, "seven");
}

TEST_F(NamedPropertyTest, NamesComeBackFromIdsAsTheyWereGiven) {
    const std::vector<Name> names = {
        {&kTaskSet, L"Größe", 0},           {&kTaskSet, L"日本語の件名", 0},
        {&kNoteSet, L"mood \U0001F600", 0}, {&PS_PUBLIC_STRINGS, L"Keywords", 0},
        {&kNoteSet, nullptr, 0x8501},       {&kNoteSet, nullptr, -1},
    };
    std::vector<ULONG> tags;
    ASSERT_EQ(Ids(names, MAPI_CREATE, tags), S_OK);
    tags.push_back(PROP_TAG(PT_LONG, 0x9000));  // an id no name was given
    tags.push_back(PR_SUBJECT_A);               // not a named property at all

    MapiBuffer<SPropTagArray> asked = orvella::testing::TagArray(tags);
    LPSPropTagArray asked_ptr = asked.Get();
    ULONG count = 0;
    MapiBuffer<LPMAPINAMEID> found;
    ASSERT_EQ(inbox_->GetNamesFromIDs(&asked_ptr, nullptr, 0, &count, &found),
              MAPI_W_ERRORS_RETURNED);
    ASSERT_EQ(count, names.size() + 2);
    for (std::size_t i = 0; i < names.size(); ++i) {
        SCOPED_TRACE("name " + std::to_string(i));
        const MAPINAMEID* name = found[i];
        ASSERT_NE(name, nullptr);
        EXPECT_EQ(std::memcmp(name->lpguid, names[i].set, sizeof(GUID)), 0);
        if (names[i].text) {
            ASSERT_EQ(name->ulKind, ULONG{MNID_STRING});
            EXPECT_EQ(std::wstring(name->Kind.lpwstrName), std::wstring(names[i].text));
        } else {
            ASSERT_EQ(name->ulKind, ULONG{MNID_ID});
            EXPECT_EQ(name->Kind.lID, names[i].lid);
        }
    }
    EXPECT_EQ(found[names.size()], nullptr);
    EXPECT_EQ(found[names.size() + 1], nullptr);
}

}  // namespace
