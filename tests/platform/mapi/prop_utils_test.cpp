// One-property reads and writes through IMAPIProp, and finding values in arrays.
#include <gtest/gtest.h>

#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "test_objects.h"

namespace {

using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::testing::LongValue;
using orvella::platform::mapi::testing::PropertyBag;

TEST(PropUtils, ValueSetWithHrSetOnePropIsReadBackWithHrGetOneProp) {
    PropertyBag bag;
    char subject[] = "Quarterly figures";
    SPropValue value = {};
    value.ulPropTag = PR_SUBJECT_A;
    value.Value.lpszA = subject;
    ASSERT_EQ(HrSetOneProp(&bag, &value), S_OK);
    subject[0] = 'X';

    MapiBuffer<SPropValue> read;
    ASSERT_EQ(HrGetOneProp(&bag, PR_SUBJECT_A, read.Put()), S_OK);
    EXPECT_EQ(read->ulPropTag, 0x0037001Eu);
    EXPECT_STREQ(read->Value.lpszA, "Quarterly figures");
}

TEST(PropUtils, HrGetOnePropTurnsAnErrorValueIntoAFailure) {
    PropertyBag bag;
    SPropValue flags = LongValue(PR_MESSAGE_FLAGS, 1);
    ASSERT_EQ(HrSetOneProp(&bag, &flags), S_OK);
    bag.FailReads(PR_BODY_A, MAPI_E_NOT_ENOUGH_MEMORY);
    struct Case {
        const char* what;
        ULONG tag;
        HRESULT expected;
    };
    const Case cases[] = {
        {"missing property", PR_SUBJECT_A, static_cast<HRESULT>(0x8004010F)},
        {"too large to read", PR_BODY_A, static_cast<HRESULT>(0x8007000E)},
        {"same id, other type", CHANGE_PROP_TYPE(PR_MESSAGE_FLAGS, PT_STRING8),
         static_cast<HRESULT>(0x8004010F)},
    };
    for (const Case& c : cases) {
        LPSPropValue read = reinterpret_cast<LPSPropValue>(0x1);
        EXPECT_EQ(HrGetOneProp(&bag, c.tag, &read), c.expected) << c.what;
        EXPECT_EQ(read, nullptr) << c.what;
    }
}

TEST(PropUtils, HrSetOnePropReportsAPropertyProblemAsItsResult) {
    PropertyBag bag;
    bag.MakeReadOnly(PR_MESSAGE_SIZE);
    SPropValue size = LongValue(PR_MESSAGE_SIZE, 1200);
    EXPECT_EQ(HrSetOneProp(&bag, &size), static_cast<HRESULT>(0x80070005));

    MapiBuffer<SPropValue> read;
    EXPECT_EQ(HrGetOneProp(&bag, PR_MESSAGE_SIZE, read.Put()), static_cast<HRESULT>(0x8004010F));
}

TEST(PropUtils, NullObjectsAreRefused) {
    SPropValue value = LongValue(PR_MESSAGE_FLAGS, 0);
    LPSPropValue read = nullptr;
    EXPECT_EQ(HrGetOneProp(nullptr, PR_MESSAGE_FLAGS, &read), static_cast<HRESULT>(0x80070057));
    EXPECT_EQ(HrSetOneProp(nullptr, &value), static_cast<HRESULT>(0x80070057));
}

TEST(PropUtils, PpropFindPropMatchesTheWholeTagOrTheIdAlone) {
    SPropValue values[] = {
        LongValue(PR_MESSAGE_FLAGS, 1),
        LongValue(PR_IMPORTANCE, 2),
        LongValue(CHANGE_PROP_TYPE(PR_SUBJECT_A, PT_ERROR), 3),
        LongValue(PR_IMPORTANCE, 4),
    };
    struct Case {
        const char* what;
        ULONG tag;
        LONG expected;  // 0: not found
    };
    const Case cases[] = {
        {"exact tag", PR_IMPORTANCE, 2},
        {"id alone", CHANGE_PROP_TYPE(PR_SUBJECT_A, PT_UNSPECIFIED), 3},
        {"type differs", PR_SUBJECT_A, 0},
        {"absent", PR_PRIORITY, 0},
    };
    for (const Case& c : cases) {
        LPSPropValue found = PpropFindProp(values, 4, c.tag);
        EXPECT_EQ(found != nullptr ? found->Value.l : 0, c.expected) << c.what;
    }
    EXPECT_EQ(PpropFindProp(values, 1, PR_IMPORTANCE), nullptr);
    EXPECT_EQ(PpropFindProp(nullptr, 4, PR_IMPORTANCE), nullptr);
}

}  // namespace
