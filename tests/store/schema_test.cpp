// The schema: named properties resolved into the tag tables, the scoring result written onto a
// message, the priority texts and the day and week encodings of the received time.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

#include "clock.h"
#include "mapiguid.h"
#include "mapiutil.h"
#include "session_fixture.h"
#include "store_fixture.h"

namespace orvella::testing {
namespace {

using platform::mapi::MapiBuffer;
using SchemaTest = SessionTest;

TEST_F(SchemaTest, NamedPropertiesAreCreatedOnceAndASecondStartGetsTheSameTags) {
    Install();
    auto first = Open();
    first->Initialize();
    const ItemsPropTagTable tags = first->ItemsPropTags();
    for (size_t i = 0; i < ITEMS_PROP_COUNT; ++i) {
        SCOPED_TRACE(kItemsPropDefinitions[i].name);
        EXPECT_GE(PROP_ID(tags[i]), 0x8000u);
        EXPECT_EQ(PROP_TYPE(tags[i]), kItemsPropDefinitions[i].type);
    }
    EXPECT_EQ(PROP_TYPE(tags[IP_MSG_SCORE]), static_cast<ULONG>(PT_LONG));
    EXPECT_EQ(PROP_TYPE(tags[IP_THREAD_LAST_ACTIVITY]), static_cast<ULONG>(PT_SYSTIME));
    EXPECT_EQ(PROP_TYPE(tags[IP_KEYWORDS]), static_cast<ULONG>(PT_MV_STRING8));
    // One store: both tables hold the same tags.
    EXPECT_EQ(first->AppItemsPropTags(), tags);
    first.reset();

    auto second = Open();
    second->Initialize();
    EXPECT_EQ(second->ItemsPropTags(), tags);
}

TEST_F(SchemaTest, ContactTagsResolveOnceOutlookHasUsedThem) {
    Install();
    auto context = Open();
    // A store that never held a contact (start-up's temporary contact not yet saved): the
    // names are unknown, which is logged.
    context->InitContactProps();
    EXPECT_EQ(context->ContactPropTags()[CP_EMAIL1_ADDRESS], 0u);
    EXPECT_NE(LogText().find("InitContactProps: ids from name returned 0"), std::string::npos);

    // Outlook maps the address properties when it first saves a contact.
    std::vector<MAPINAMEID> names(CONTACT_PROP_COUNT);
    std::vector<LPMAPINAMEID> pointers;
    for (size_t i = 0; i < CONTACT_PROP_COUNT; ++i) {
        names[i].lpguid = const_cast<LPGUID>(&PSETID_Address);
        names[i].ulKind = MNID_ID;
        names[i].Kind.lID = kContactPropDefinitions[i].id;
        pointers.push_back(&names[i]);
    }
    MapiBuffer<SPropTagArray> created;
    ASSERT_EQ(context->GetContactsFolder(true)->GetIDsFromNames(CONTACT_PROP_COUNT, pointers.data(),
                                                                MAPI_CREATE, &created),
              S_OK);
    context->InitContactProps();
    for (size_t i = 0; i < CONTACT_PROP_COUNT; ++i) {
        EXPECT_EQ(PROP_ID(context->ContactPropTags()[i]), PROP_ID(created->aulPropTag[i]));
        EXPECT_EQ(PROP_TYPE(context->ContactPropTags()[i]), kContactPropDefinitions[i].type);
    }
}

TEST_F(SchemaTest, SaveMsgAttributesWritesTheScoreNegated) {
    Install();
    auto context = Open();
    context->Initialize();
    const auto& tags = context->ItemsPropTags();
    struct Case {
        long score;
        long threadScore;
        const char* topic;
        LONG storedScore;
        LONG storedThreadScore;
    } cases[] = {{110, 75, "Projects/Alpha", -110, -75}, {0, 0, "", 0, 0}, {-12, -3, "", 12, 3}};
    FILETIME received = {};
    ULARGE_INTEGER ticks;
    ticks.QuadPart = 127552932000000000ULL;  // 14 March 2005 17:00 UTC
    received.dwLowDateTime = ticks.LowPart;
    received.dwHighDateTime = ticks.HighPart;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.score);
        ::EntryId id(SaveIn(context->GetInboxFolder(true).Get(),
                            {Text(PR_MESSAGE_CLASS_A, "IPM.Note"), Text(PR_SUBJECT_A, "hello")}));
        ComPtr<IMessage> message = context->GetMAPIMessage(id);
        ASSERT_EQ(context->SaveMsgAttributes(message.Get(), c.score, c.topic, 42, c.threadScore,
                                             received),
                  S_OK);
        message = context->GetMAPIMessage(id);  // read back from the store
        SizedSPropTagArray(6, read) = {
            6,
            {tags[IP_MSG_SCORE], tags[IP_TOPIC_NAME], tags[IP_THREAD_ID], tags[IP_THREAD_SCORE],
             tags[IP_RECEIVED_DAY], tags[IP_DISPLAY_DAY]}};
        ULONG count = 0;
        MapiBuffer<SPropValue> values;
        ASSERT_EQ(message->GetProps(reinterpret_cast<LPSPropTagArray>(&read), 0, &count, &values),
                  S_OK);
        EXPECT_EQ(values[0].Value.l, c.storedScore);
        EXPECT_STREQ(values[1].Value.lpszA, c.topic);
        EXPECT_EQ(values[2].Value.l, 42);
        EXPECT_EQ(values[3].Value.l, c.storedThreadScore);
        // The keys and headings are those of the received time (their encodings are tested
        // below), the keys negated.
        EXPECT_EQ(values[4].Value.l, -DayKey(received));
        EXPECT_EQ(std::string(values[5].Value.lpszA), DisplayDay(received));
    }
}

TEST_F(SchemaTest, SaveMsgAttributesOnADeletedMessageGivesEFail) {
    Install();
    auto context = Open();
    context->Initialize();
    ComPtr<IMAPIFolder> inbox = context->GetInboxFolder(true);
    ::EntryId id(SaveIn(inbox.Get(), {Text(PR_MESSAGE_CLASS_A, "IPM.Note")}));
    ComPtr<IMessage> message = context->GetMAPIMessage(id);
    SBinary bin = {id.cb(), const_cast<BYTE*>(id.bytes().data())};
    ENTRYLIST list = {1, &bin};
    ASSERT_EQ(inbox->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    EXPECT_EQ(context->SaveMsgAttributes(message.Get(), 10, "", 1, 10, FILETIME{}), E_FAIL);
}

TEST(PriorityTextTest, StoredLevelsDisplayByNameAndAnythingElseAsNormal) {
    struct Case {
        LONG stored;
        const char* contact;
        const char* message;
    } cases[] = {{-2, "Junk", "Very Low"},      {-1, "Low", "Low"},
                 {0, "Normal", "Normal"},       {1, "High", "High"},
                 {2, "Very High", "Very High"}, {7, "Normal", "Normal"},
                 {-3, "Normal", "Normal"}};
    for (const Case& c : cases) {
        EXPECT_EQ(ContactPriorityText(c.stored), c.contact) << c.stored;
        EXPECT_EQ(MessagePriorityText(c.stored), c.message) << c.stored;
    }
}

// New York time and the C locale, with "now" in standard time, so that converting to local
// time uses the same bias as it would on Windows at that moment.
class ReceivedTimeTest : public ::testing::Test {
protected:
    ReceivedTimeTest() : clock_(127502640000000000LL) {  // 15 January 2005 12:00 UTC
        const char* tz = std::getenv("TZ");
        savedTz_ = tz ? tz : "";
        hadTz_ = tz != nullptr;
        setenv("TZ", "America/New_York", 1);
        tzset();
        std::setlocale(LC_TIME, "C");
    }
    ~ReceivedTimeTest() override {
        if (hadTz_)
            setenv("TZ", savedTz_.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    static FILETIME At(ULONGLONG ticks) {
        ULARGE_INTEGER value;
        value.QuadPart = ticks;
        return {value.LowPart, value.HighPart};
    }

private:
    platform::ScopedTestClock clock_;
    std::string savedTz_;
    bool hadTz_ = false;
};

TEST_F(ReceivedTimeTest, DayAndWeekKeysAndHeadings) {
    struct Case {
        ULONGLONG utc;
        LONG day;
        LONG week;
        const char* displayDay;
        const char* displayWeek;
    } cases[] = {
        // Monday 14 March 2005, 12:00 local: a new week starts.
        {127552932000000000ULL, 20050314, 1836, "2005/03/14 - Monday, March 14, 2005",
         "2005 Week 11 - 03/14/05"},
        // Sunday 13 March 2005: the week that began on Monday 7 March.
        {127552068000000000ULL, 20050313, 1835, "2005/03/13 - Sunday, March 13, 2005",
         "2005 Week 10 - 03/07/05"},
        // Saturday 1 January 2005: week 00, begun on Monday 27 December 2004.
        {127490724000000000ULL, 20050101, 1825, "2005/01/01 - Saturday, January 01, 2005",
         "2005 Week 00 - 12/27/04"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.displayDay);
        EXPECT_EQ(DayKey(At(c.utc)), c.day);
        EXPECT_EQ(WeekKey(At(c.utc)), c.week);
        EXPECT_EQ(DisplayDay(At(c.utc)), c.displayDay);
        EXPECT_EQ(DisplayWeek(At(c.utc)), c.displayWeek);
    }
}

}  // namespace
}  // namespace orvella::testing
