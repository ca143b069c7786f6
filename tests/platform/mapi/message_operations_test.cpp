// Messages of the embedded store as a caller sees them: reading, setting and deleting values,
// what each SaveChanges flag leaves open, recipients, copies, large values as streams, and the
// extended error after a failure.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "profile.h"
#include "store_database.h"
#include "store_fixture.h"
#include "store_test_support.h"
#include "table_test_rows.h"

namespace {

using orvella::platform::mapi::AdrListPtr;
using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::testing::ValueText;
using orvella::testing::EntryId;
using orvella::testing::Long;
using orvella::testing::StoreTest;
using orvella::testing::TableTexts;
using orvella::testing::Text;

// The message's values for `tags` as GetProps gives them, as text, and GetProps's result.
HRESULT ReadTexts(IMAPIProp* object, std::vector<ULONG> tags, std::vector<std::string>& texts) {
    MapiBuffer<SPropTagArray> array = orvella::testing::TagArray(tags);
    ULONG count = 0;
    MapiBuffer<SPropValue> values;
    HRESULT hr = object->GetProps(array.Get(), 0, &count, &values);
    texts.clear();
    for (ULONG i = 0; i < count; ++i) texts.push_back(ValueText(values[i]));
    return hr;
}

// Each problem as "index:tag:scode" in hex.
std::vector<std::string> ProblemTexts(const SPropProblemArray* problems) {
    std::vector<std::string> texts;
    for (ULONG i = 0; problems && i < problems->cProblem; ++i) {
        char text[64];
        std::snprintf(text, sizeof text, "%u:%08X:%08X", problems->aProblem[i].ulIndex,
                      problems->aProblem[i].ulPropTag,
                      static_cast<unsigned>(problems->aProblem[i].scode));
        texts.push_back(text);
    }
    return texts;
}

std::vector<std::string> RecipientTexts(IMessage* message) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(message->GetRecipientTable(0, &table), S_OK);
    if (!table) return {};
    return TableTexts(table.Get(), {PR_ROWID, PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_A});
}

// One recipient as ModifyRecipients takes it: an optional row id, a type and a name.
struct Recipient {
    LONG row_id;  // -1: none given
    LONG type;
    const char* name;
};

AdrListPtr AddressList(const std::vector<Recipient>& recipients) {
    AdrListPtr list;
    EXPECT_EQ(MAPIAllocateBuffer(CbNewADRLIST(recipients.size()), reinterpret_cast<void**>(&list)),
              S_OK);
    list->cEntries = 0;
    for (const Recipient& r : recipients) {
        ADRENTRY& entry = list->aEntries[list->cEntries++];
        entry = {};
        EXPECT_EQ(
            MAPIAllocateBuffer(3 * sizeof(SPropValue), reinterpret_cast<void**>(&entry.rgPropVals)),
            S_OK);
        SPropValue* values = entry.rgPropVals;
        values[entry.cValues++] = Long(PR_RECIPIENT_TYPE, r.type);
        values[entry.cValues++] = Text(PR_DISPLAY_NAME_A, r.name);
        if (r.row_id >= 0) values[entry.cValues++] = Long(PR_ROWID, r.row_id);
    }
    return list;
}

class MessageTest : public StoreTest {
protected:
    // A saved message in the Inbox, opened for writing.
    ComPtr<IMessage> Saved(std::vector<SPropValue> values) {
        EntryId eid = SaveMessage(std::move(values));
        return Open(eid);
    }
};

TEST_F(MessageTest, GetPropsReportsEachMissingValueAsAnError) {
    auto message = Saved({Text(PR_SUBJECT_A, "Budget"), Long(PR_IMPORTANCE, 2)});
    struct Case {
        std::vector<ULONG> tags;
        HRESULT result;
        std::vector<std::string> values;
    };
    const Case cases[] = {
        {{PR_SUBJECT_A, PR_IMPORTANCE}, S_OK, {"S:Budget", "L:2"}},
        {{PR_SUBJECT_A, PR_BODY_A, PR_IMPORTANCE},
         MAPI_W_ERRORS_RETURNED,
         {"S:Budget", "E(1000):8004010F", "L:2"}},
        // The right id with the wrong type is missing too; PT_UNSPECIFIED takes the stored type.
        {{PROP_TAG(PT_BINARY, PROP_ID(PR_SUBJECT_A)), PROP_TAG(PT_UNSPECIFIED, 0x0017)},
         MAPI_W_ERRORS_RETURNED,
         {"E(0037):8004010F", "L:2"}},
        {{PR_OBJECT_TYPE}, S_OK, {"L:5"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.values.front());
        std::vector<std::string> texts;
        EXPECT_EQ(ReadTexts(message.Get(), c.tags, texts), c.result);
        EXPECT_EQ(texts, c.values);
    }
}

TEST_F(MessageTest, GetPropsOfEverythingListsStoredAndComputedValues) {
    auto message = Saved({Text(PR_SUBJECT_A, "All"), Long(PR_IMPORTANCE, 1)});
    ULONG count = 0;
    MapiBuffer<SPropValue> values;
    ASSERT_EQ(message->GetProps(nullptr, 0, &count, &values), S_OK);
    std::vector<ULONG> tags;
    for (ULONG i = 0; i < count; ++i) tags.push_back(values[i].ulPropTag);
    EXPECT_EQ(tags, (std::vector<ULONG>{PR_IMPORTANCE, PR_SUBJECT_A, PR_ENTRYID, PR_RECORD_KEY,
                                        PR_PARENT_ENTRYID, PR_STORE_ENTRYID, PR_STORE_RECORD_KEY,
                                        PR_OBJECT_TYPE}));

    MapiBuffer<SPropTagArray> list;
    ASSERT_EQ(message->GetPropList(0, &list), S_OK);
    EXPECT_EQ(std::vector<ULONG>(list->aulPropTag, list->aulPropTag + list->cValues), tags);

    // A message never saved has no entry id yet, so neither lists one.
    ComPtr<IMessage> fresh;
    ASSERT_EQ(inbox_->CreateMessage(nullptr, 0, &fresh), S_OK);
    ASSERT_EQ(fresh->GetPropList(0, &list), S_OK);
    EXPECT_EQ(std::vector<ULONG>(list->aulPropTag, list->aulPropTag + list->cValues),
              (std::vector<ULONG>{PR_PARENT_ENTRYID, PR_STORE_ENTRYID, PR_STORE_RECORD_KEY,
                                  PR_OBJECT_TYPE}));
}

TEST_F(MessageTest, SetAndDeletePropsReportProblemsPerValue) {
    auto message = Saved({Text(PR_SUBJECT_A, "Old"), Long(PR_IMPORTANCE, 1)});
    SPropValue set[] = {Text(PR_SUBJECT_A, "New"), Long(PR_ENTRYID, 0),
                        Long(PROP_TAG(PT_ERROR, 0x6800), 0), Long(PR_PRIORITY, 1),
                        Long(PROP_TAG(PT_LONG, 0), 7)};
    MapiBuffer<SPropProblemArray> problems;
    ASSERT_EQ(message->SetProps(5, set, &problems), S_OK);
    EXPECT_EQ(ProblemTexts(problems.Get()),
              (std::vector<std::string>{"1:0FFF0102:8004011A", "2:6800000A:80040302",
                                        "4:00000003:80040302"}));

    SizedSPropTagArray(4, doomed) = {
        4, {PR_IMPORTANCE, PR_BODY_A, PR_RECORD_KEY, PROP_TAG(PT_STRING8, PROP_ID(PR_PRIORITY))}};
    ASSERT_EQ(message->DeleteProps(reinterpret_cast<LPSPropTagArray>(&doomed), &problems), S_OK);
    EXPECT_EQ(ProblemTexts(problems.Get()),
              (std::vector<std::string>{"1:1000001E:8004010F", "2:0FF90102:8004011A",
                                        "3:0026001E:8004010F"}));
    ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);

    EntryId eid = orvella::testing::EntryIdOf(message.Get());
    std::vector<std::string> texts;
    EXPECT_EQ(ReadTexts(Open(eid, 0).Get(), {PR_SUBJECT_A, PR_IMPORTANCE, PR_PRIORITY}, texts),
              MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ(texts, (std::vector<std::string>{"S:New", "E(0017):8004010F", "L:1"}));
}

// A message opened to write reads its saved values only when first asked for one: what was
// changed before then must stay over them, and a save without any read must still replace a
// value saved in another type (by this connection or another) and still lose to a save made
// since the message was opened.
TEST_F(MessageTest, ChangesMadeBeforeTheFirstReadStayOverTheSavedValues) {
    const ULONG priority_text = PROP_TAG(PT_STRING8, PROP_ID(PR_PRIORITY));
    struct Case {
        const char* what;
        void (*change)(IMessage* message);
        std::vector<std::string> read;  // subject, importance, priority in any type
    };
    const Case cases[] = {
        {"a value of another type, saved unread",
         [](IMessage* m) {
             SPropValue text = Text(PROP_TAG(PT_STRING8, PROP_ID(PR_PRIORITY)), "urgent");
             ASSERT_EQ(m->SetProps(1, &text, nullptr), S_OK);
         },
         {"S:Saved", "L:1", "S:urgent"}},
        {"a value set, then the others read",
         [](IMessage* m) {
             SPropValue importance = Long(PR_IMPORTANCE, 2);
             ASSERT_EQ(m->SetProps(1, &importance, nullptr), S_OK);
             std::vector<std::string> texts;
             EXPECT_EQ(ReadTexts(m, {PR_SUBJECT_A, PR_IMPORTANCE}, texts), S_OK);
             EXPECT_EQ(texts, (std::vector<std::string>{"S:Saved", "L:2"}));
         },
         {"S:Saved", "L:2", "L:1"}},
        {"a value set, another deleted",
         [](IMessage* m) {
             SPropValue importance = Long(PR_IMPORTANCE, 2);
             ASSERT_EQ(m->SetProps(1, &importance, nullptr), S_OK);
             SizedSPropTagArray(1, subject) = {1, {PR_SUBJECT_A}};
             ASSERT_EQ(m->DeleteProps(reinterpret_cast<LPSPropTagArray>(&subject), nullptr), S_OK);
         },
         {"E(0037):8004010F", "L:2", "L:1"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EntryId eid = SaveMessage(
            {Text(PR_SUBJECT_A, "Saved"), Long(PR_IMPORTANCE, 1), Long(PR_PRIORITY, 1)});
        {
            ComPtr<IMessage> message = Open(eid);
            c.change(message.Get());
            ASSERT_EQ(message->SaveChanges(0), S_OK);
        }
        ComPtr<IMessage> saved = Open(eid, 0);
        std::vector<std::string> texts;
        ReadTexts(saved.Get(),
                  {PR_SUBJECT_A, PR_IMPORTANCE, PROP_TAG(PT_UNSPECIFIED, PROP_ID(PR_PRIORITY))},
                  texts);
        EXPECT_EQ(texts, c.read);
        MapiBuffer<SPropTagArray> list;
        ASSERT_EQ(saved->GetPropList(0, &list), S_OK);
        const std::vector<ULONG> tags(list->aulPropTag, list->aulPropTag + list->cValues);
        EXPECT_NE(std::count(tags.begin(), tags.end(), PR_PRIORITY),
                  std::count(tags.begin(), tags.end(), priority_text))
            << "the priority is saved in exactly one type";
    }

    // Another save since opening wins, read or not; a message deleted since has nothing to read.
    EntryId eid = SaveMessage({Text(PR_SUBJECT_A, "Saved"), Long(PR_IMPORTANCE, 1)});
    ComPtr<IMessage> unread = Open(eid);
    ComPtr<IMessage> other = Open(eid);
    SPropValue importance = Long(PR_IMPORTANCE, 5);
    ASSERT_EQ(other->SetProps(1, &importance, nullptr), S_OK);
    ASSERT_EQ(other->SaveChanges(0), S_OK);
    SPropValue subject = Text(PR_SUBJECT_A, "Lost");
    ASSERT_EQ(unread->SetProps(1, &subject, nullptr), S_OK);
    EXPECT_EQ(unread->SaveChanges(0), MAPI_E_OBJECT_CHANGED);
    std::vector<std::string> texts;
    ReadTexts(Open(eid, 0).Get(), {PR_SUBJECT_A, PR_IMPORTANCE}, texts);
    EXPECT_EQ(texts, (std::vector<std::string>{"S:Saved", "L:5"}));

    // Another connection saves a value of an id this one never wrote, as text: an unread save
    // of the same id as a number must still replace it.
    const ULONG as_text = PROP_TAG(PT_STRING8, 0x6A10), as_number = PROP_TAG(PT_LONG, 0x6A10);
    {
        auto parts = orvella::platform::mapi::store::ParseEntryId(
            static_cast<ULONG>(eid.size()), reinterpret_cast<LPENTRYID>(eid.data()));
        ASSERT_TRUE(parts);
        orvella::platform::mapi::store::StoreDatabase other(
            orvella::platform::mapi::store::ProfileStores("Outlook")[0].file);
        const SPropValue text = Text(as_text, "from elsewhere");
        orvella::platform::mapi::store::SaveRequest request;
        request.id = parts->object;
        request.force = true;
        request.set = {&text};
        other.Save(request);
    }
    ComPtr<IMessage> retyping = Open(eid);
    SPropValue number = Long(as_number, 9);
    ASSERT_EQ(retyping->SetProps(1, &number, nullptr), S_OK);
    ASSERT_EQ(retyping->SaveChanges(0), S_OK);
    ReadTexts(Open(eid, 0).Get(), {PROP_TAG(PT_UNSPECIFIED, 0x6A10)}, texts);
    EXPECT_EQ(texts, (std::vector<std::string>{"L:9"}));
    MapiBuffer<SPropTagArray> saved_tags;
    ASSERT_EQ(Open(eid, 0)->GetPropList(0, &saved_tags), S_OK);
    EXPECT_EQ(
        std::count(saved_tags->aulPropTag, saved_tags->aulPropTag + saved_tags->cValues, as_text),
        0);

    ComPtr<IMessage> doomed = Open(eid, 0);
    SBinary bin = {static_cast<ULONG>(eid.size()), eid.data()};
    ENTRYLIST list = {1, &bin};
    ASSERT_EQ(inbox_->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    EXPECT_EQ(ReadTexts(doomed.Get(), {PR_SUBJECT_A}, texts), MAPI_E_OBJECT_DELETED);
}

TEST_F(MessageTest, SaveChangesFlagsDecideWhetherTheMessageStaysWritable) {
    struct Case {
        ULONG flags;
        HRESULT set_after;
        HRESULT save_after;
    };
    const Case cases[] = {
        {KEEP_OPEN_READWRITE, S_OK, S_OK},
        {KEEP_OPEN_READONLY, MAPI_E_NO_ACCESS, MAPI_E_NO_ACCESS},
        {0, MAPI_E_NO_ACCESS, MAPI_E_NO_ACCESS},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE("flags " + std::to_string(c.flags));
        ComPtr<IMessage> message;
        ASSERT_EQ(inbox_->CreateMessage(nullptr, 0, &message), S_OK);
        SPropValue first = Long(PR_IMPORTANCE, 1);
        ASSERT_EQ(message->SetProps(1, &first, nullptr), S_OK);
        ASSERT_EQ(message->SaveChanges(c.flags), S_OK);
        SPropValue second = Long(PR_IMPORTANCE, 2);
        EXPECT_EQ(message->SetProps(1, &second, nullptr), c.set_after);
        EXPECT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), c.save_after);
        // Reading goes on either way.
        EXPECT_EQ(orvella::testing::LongOf(message.Get(), PR_IMPORTANCE),
                  c.set_after == S_OK ? 2 : 1);
    }
    // A message opened without MAPI_MODIFY refuses changes from the start.
    EntryId eid = SaveMessage({Long(PR_IMPORTANCE, 1)});
    auto reader = Open(eid, 0);
    SPropValue change = Long(PR_IMPORTANCE, 3);
    EXPECT_EQ(reader->SetProps(1, &change, nullptr), MAPI_E_NO_ACCESS);
}

TEST_F(MessageTest, ModifyRecipientsReplacesAddsChangesAndRemovesRows) {
    auto message = Saved({Text(PR_SUBJECT_A, "Meeting")});
    EntryId eid = orvella::testing::EntryIdOf(message.Get());
    struct Step {
        ULONG flags;
        std::vector<Recipient> recipients;
        std::vector<std::string> rows;  // PR_ROWID, PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_A
    };
    const Step steps[] = {
        {0, {{-1, MAPI_TO, "Ann"}, {-1, MAPI_CC, "Bob"}}, {"L:0|L:1|S:Ann", "L:1|L:2|S:Bob"}},
        {MODRECIP_ADD,
         {{-1, MAPI_BCC, "Cid"}, {7, MAPI_TO, "Dee"}},
         {"L:0|L:1|S:Ann", "L:1|L:2|S:Bob", "L:2|L:3|S:Cid", "L:3|L:1|S:Dee"}},
        {MODRECIP_MODIFY,
         {{1, MAPI_TO, "Bob Smith"}},
         {"L:0|L:1|S:Ann", "L:1|L:1|S:Bob Smith", "L:2|L:3|S:Cid", "L:3|L:1|S:Dee"}},
        {MODRECIP_REMOVE,
         {{0, MAPI_TO, ""}, {2, MAPI_TO, ""}},
         {"L:1|L:1|S:Bob Smith", "L:3|L:1|S:Dee"}},
        {MODRECIP_ADD,
         {{-1, MAPI_CC, "Eve"}},
         {"L:1|L:1|S:Bob Smith", "L:3|L:1|S:Dee", "L:4|L:2|S:Eve"}},
        {0, {{-1, MAPI_TO, "Fay"}}, {"L:0|L:1|S:Fay"}},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE("flags " + std::to_string(step.flags));
        AdrListPtr list = AddressList(step.recipients);
        ASSERT_EQ(message->ModifyRecipients(step.flags, list.Get()), S_OK);
        EXPECT_EQ(RecipientTexts(message.Get()), step.rows);
        // Others see the rows once they are saved.
        ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        EXPECT_EQ(RecipientTexts(Open(eid, 0).Get()), step.rows);
    }
    AdrListPtr unknown = AddressList({{9, MAPI_TO, "Nobody"}});
    EXPECT_EQ(message->ModifyRecipients(MODRECIP_MODIFY, unknown.Get()), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Open(eid, 0)->ModifyRecipients(MODRECIP_ADD, unknown.Get()), MAPI_E_NO_ACCESS);
}

TEST_F(MessageTest, CopyToCopiesValuesAndRecipientsExceptTheExcluded) {
    auto source = Saved(
        {Text(PR_SUBJECT_A, "Original"), Text(PR_BODY_A, "Secret body"), Long(PR_IMPORTANCE, 2)});
    AdrListPtr recipients = AddressList({{-1, MAPI_TO, "Ann"}, {-1, MAPI_CC, "Bob"}});
    ASSERT_EQ(source->ModifyRecipients(0, recipients.Get()), S_OK);
    ASSERT_EQ(source->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    struct Case {
        std::vector<ULONG> exclude;
        std::vector<std::string> values;  // PR_SUBJECT_A, PR_BODY_A, PR_IMPORTANCE
    };
    const Case cases[] = {
        {{}, {"S:Original", "S:Secret body", "L:2"}},
        {{PR_BODY_A}, {"S:Original", "E(1000):8004010F", "L:2"}},
        {{PR_BODY_A, PROP_TAG(PT_UNSPECIFIED, PROP_ID(PR_IMPORTANCE))},
         {"S:Original", "E(1000):8004010F", "E(0017):8004010F"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.exclude.size()) + " excluded");
        ComPtr<IMessage> target;
        ASSERT_EQ(inbox_->CreateMessage(nullptr, 0, &target), S_OK);
        MapiBuffer<SPropTagArray> exclude = orvella::testing::TagArray(c.exclude);
        ASSERT_EQ(source->CopyTo(0, nullptr, exclude.Get(), 0, nullptr, &IID_IMessage, target.Get(),
                                 0, nullptr),
                  S_OK);
        ASSERT_EQ(target->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        EntryId eid = orvella::testing::EntryIdOf(target.Get());
        auto copy = Open(eid, 0);
        std::vector<std::string> texts;
        ReadTexts(copy.Get(), {PR_SUBJECT_A, PR_BODY_A, PR_IMPORTANCE}, texts);
        EXPECT_EQ(texts, c.values);
        EXPECT_EQ(RecipientTexts(copy.Get()),
                  (std::vector<std::string>{"L:0|L:1|S:Ann", "L:1|L:2|S:Bob"}));
    }
    EXPECT_EQ(orvella::testing::LongOf(inbox_.Get(), PR_CONTENT_COUNT), 4);
}

// Writes `bytes` through a stream on PR_BODY_A opened with `flags`; the first failure on the way.
HRESULT WriteBody(IMessage* message, ULONG flags, const std::string& bytes) {
    ComPtr<IUnknown> unknown;
    HRESULT hr = message->OpenProperty(PR_BODY_A, &IID_IStream, 0, flags, unknown.PutUnknown());
    if (FAILED(hr)) return hr;
    ComPtr<IStream> stream;
    hr = unknown->QueryInterface(IID_IStream, reinterpret_cast<void**>(stream.Put()));
    if (FAILED(hr)) return hr;
    ULONG written = 0;
    hr = stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written);
    if (FAILED(hr)) return hr;
    return stream->Commit(0);
}

// PR_BODY_A read through a stream, without the terminator the stream carries.
std::string ReadBody(IMessage* message) {
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(message->OpenProperty(PR_BODY_A, &IID_IStream, 0, 0, unknown.PutUnknown()), S_OK);
    if (!unknown) return {};
    ComPtr<IStream> stream;
    EXPECT_EQ(unknown->QueryInterface(IID_IStream, reinterpret_cast<void**>(stream.Put())), S_OK);
    std::string text;
    char chunk[4096];
    for (ULONG read = 1; read > 0;) {
        EXPECT_EQ(stream->Read(chunk, sizeof chunk, &read), S_OK);
        text.append(chunk, read);
    }
    if (!text.empty() && text.back() == '\0') text.pop_back();
    return text;
}

TEST_F(MessageTest, LargeBodyTravelsAsAStreamAndReadsAsTooBigForGetProps) {
    std::string body;
    for (std::size_t i = 0; body.size() < 1024 * 1024; ++i)
        body += "line " + std::to_string(i) + " of a long body\r\n";
    body.resize(1024 * 1024);
    auto message = Saved({Text(PR_SUBJECT_A, "Big")});
    ASSERT_EQ(WriteBody(message.Get(), MAPI_CREATE | MAPI_MODIFY, body), S_OK);
    ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);

    EntryId eid = orvella::testing::EntryIdOf(message.Get());
    auto reopened = Open(eid, 0);
    std::vector<std::string> texts;
    EXPECT_EQ(ReadTexts(reopened.Get(), {PR_SUBJECT_A, PR_BODY_A}, texts), MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ(texts, (std::vector<std::string>{"S:Big", "E(1000):8007000E"}));
    const std::string read = ReadBody(reopened.Get());
    EXPECT_EQ(read.size(), 1024u * 1024u);
    EXPECT_TRUE(read == body);
}

TEST_F(MessageTest, StreamWritesNeedModifyAndMissingValuesNeedCreate) {
    struct Case {
        bool has_body;
        bool opened_writable;
        ULONG flags;
        HRESULT result;
        const char* body_after;  // read back after saving; null: none
    };
    const Case cases[] = {
        {true, true, 0, STG_E_ACCESSDENIED, "old"},
        {true, true, MAPI_MODIFY, S_OK, "new"},
        {true, true, MAPI_CREATE | MAPI_MODIFY, S_OK, "new"},
        {false, true, 0, MAPI_E_NOT_FOUND, nullptr},
        {false, true, MAPI_MODIFY, MAPI_E_NOT_FOUND, nullptr},
        {false, true, MAPI_CREATE | MAPI_MODIFY, S_OK, "new"},
        {true, false, MAPI_MODIFY, MAPI_E_NO_ACCESS, "old"},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE("case " + std::to_string(n++));
        std::vector<SPropValue> values = {Text(PR_SUBJECT_A, "streams")};
        if (c.has_body) values.push_back(Text(PR_BODY_A, "old"));
        EntryId eid = SaveMessage(values);
        auto message = Open(eid, c.opened_writable ? MAPI_MODIFY : 0);
        EXPECT_EQ(WriteBody(message.Get(), c.flags, "new"), c.result);
        if (c.opened_writable) {
            ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        }
        std::vector<std::string> texts;
        ReadTexts(Open(eid, 0).Get(), {PR_BODY_A}, texts);
        EXPECT_EQ(texts.front(), c.body_after ? std::string("S:") + c.body_after
                                              : std::string("E(1000):8004010F"));
    }
}

TEST_F(MessageTest, GetLastErrorDescribesTheLastFailure) {
    EntryId eid = SaveMessage({Text(PR_SUBJECT_A, "contested")});
    auto first = Open(eid);
    auto second = Open(eid);
    SPropValue one = Long(PR_IMPORTANCE, 1);
    ASSERT_EQ(first->SetProps(1, &one, nullptr), S_OK);
    ASSERT_EQ(second->SetProps(1, &one, nullptr), S_OK);
    ASSERT_EQ(first->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    ASSERT_EQ(second->SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_OBJECT_CHANGED);
    MapiBuffer<MAPIERROR> error;
    ASSERT_EQ(second->GetLastError(MAPI_E_OBJECT_CHANGED, 0, &error), S_OK);
    ASSERT_TRUE(error->lpszError);
    EXPECT_STREQ(error->lpszError, "the object was changed by another save");
    EXPECT_STREQ(error->lpszComponent, "Orvella message store");

    SBinary bin = {static_cast<ULONG>(eid.size()), eid.data()};
    ENTRYLIST list = {1, &bin};
    ASSERT_EQ(inbox_->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    ASSERT_EQ(first->SetProps(1, &one, nullptr), S_OK);
    ASSERT_EQ(first->SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_OBJECT_DELETED);
    ASSERT_EQ(first->GetLastError(MAPI_E_OBJECT_DELETED, 0, &error), S_OK);
    EXPECT_STREQ(error->lpszError, "the object was deleted");
}

}  // namespace
