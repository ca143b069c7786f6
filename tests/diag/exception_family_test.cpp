// The exception family: what each constructor records, copies, and the details a MAPIException
// gathers from a real store's objects and property problems.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "ContactAnalyzeException.h"
#include "MAPIException.h"
#include "OutlookException.h"
#include "ProgramException.h"
#include "mapicode.h"
#include "store_fixture.h"

namespace {

using namespace orvella::diag;
using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::testing::Long;
using orvella::testing::Text;

// What the accessors show, null strings as nullopt.
struct Fields {
    std::string type;
    HRESULT code;
    std::optional<std::string> message;
    std::optional<std::string> details;
    int level;
    std::optional<std::string> file;
    int line;
    bool operator==(const Fields&) const = default;
};

std::optional<std::string> Nullable(const char* text) {
    return text ? std::optional<std::string>(text) : std::nullopt;
}

Fields FieldsOf(const IException& e) {
    return {e.GetType(),
            e.GetCode(),
            Nullable(e.GetMessage()),
            Nullable(e.GetDetails()),
            e.GetLevel(),
            Nullable(e.GetFile()),
            e.GetLine()};
}

void PrintTo(const Fields& f, std::ostream* out) {
    *out << f.type << " code=" << std::hex << f.code << std::dec
         << " message=" << f.message.value_or("<null>")
         << " details=" << f.details.value_or("<null>") << " level=" << f.level
         << " file=" << f.file.value_or("<null>") << " line=" << f.line;
}

// Throws the exception by value and hands back what a catch by reference sees.
template <class E>
Fields ThrownAndCaught(const E& exception) {
    try {
        throw exception;
    } catch (const BaseException& caught) {
        return FieldsOf(caught);
    }
}

TEST(ExceptionFamily, EachConstructorRecordsItsFieldsAndTypeName) {
    struct Case {
        Fields seen;
        Fields expected;
    };
    const std::vector<Case> cases = {
        {ThrownAndCaught(MAPIException(static_cast<HRESULT>(0x8004010F),
                                       "ProcessMsgInternal: failed to open msg", "extra text", 2,
                                       "MsgProcessor", 175)),
         {"MAPI", static_cast<HRESULT>(0x8004010F), "ProcessMsgInternal: failed to open msg",
          "extra text", 2, "MsgProcessor", 175}},
        {ThrownAndCaught(OutlookException(static_cast<HRESULT>(0x80020005),
                                          "OnNewMail: failed to get item", "", 1, "CAddin", 88)),
         {"OUTLOOK", static_cast<HRESULT>(0x80020005), "OnNewMail: failed to get item",
          std::nullopt, 1, "CAddin", 88}},
        {ThrownAndCaught(
             ProgramException("RunRule: rule not found", "rule 7", 3, "RuleRunner", 40)),
         {"PROGRAM", 0, "RunRule: rule not found", "rule 7", 3, "RuleRunner", 40}},
        {ThrownAndCaught(ProgramException("", "", 0, "", 0)),
         {"PROGRAM", 0, std::nullopt, std::nullopt, 0, std::nullopt, 0}},
        {ThrownAndCaught(ContactAnalyzeException("AnalyzeContacts: no sent items folder")),
         {"CONTACTANALYZE", 0, "AnalyzeContacts: no sent items folder", std::nullopt, 2,
          "ContactAnalyze", 0}},
    };
    for (const Case& c : cases) EXPECT_EQ(c.seen, c.expected);
}

TEST(ExceptionFamily, ACopyKeepsEveryFieldAfterTheOriginalIsGone) {
    std::optional<MAPIException> original;
    original.emplace(static_cast<HRESULT>(0x80040109), "SaveMsgAttributes::Failed save",
                     "MAPIError: (x)", 1, "COutlookContext", 412);
    const MAPIException copy = *original;
    original.reset();
    EXPECT_EQ(FieldsOf(copy),
              (Fields{"MAPI", static_cast<HRESULT>(0x80040109), "SaveMsgAttributes::Failed save",
                      "MAPIError: (x)", 1, "COutlookContext", 412}));
}

class MapiDetailsTest : public orvella::testing::StoreTest {};

TEST_F(MapiDetailsTest, AFailedSaveDescribesTheStoresLastError) {
    std::vector<BYTE> eid = SaveMessage({Text(PR_SUBJECT_A, "contested")});
    ComPtr<IMessage> first = Open(eid);
    ComPtr<IMessage> second = Open(eid);
    SPropValue importance = Long(PR_IMPORTANCE, 2);
    ASSERT_EQ(first->SetProps(1, &importance, nullptr), S_OK);
    ASSERT_EQ(second->SetProps(1, &importance, nullptr), S_OK);
    ASSERT_EQ(first->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    const HRESULT hr = second->SaveChanges(KEEP_OPEN_READWRITE);
    ASSERT_EQ(hr, MAPI_E_OBJECT_CHANGED);

    const MAPIException e(hr, second.Get(), "SaveMsgAttributes::Failed save", 2, "COutlookContext",
                          412);
    EXPECT_EQ(FieldsOf(e),
              (Fields{"MAPI", static_cast<HRESULT>(0x80040109), "SaveMsgAttributes::Failed save",
                      "MAPIError: (Orvella message store: the object was changed by another save "
                      "LowError=0 Context=0)",
                      2, "COutlookContext", 412}));
}

TEST_F(MapiDetailsTest, SetPropsProblemsFollowTheLastErrorInArrayOrder) {
    ComPtr<IMessage> message;
    ASSERT_EQ(inbox_->CreateMessage(nullptr, 0, &message), S_OK);
    SPropValue values[] = {Text(PR_SUBJECT_A, "New"), Long(PR_ENTRYID, 0),
                           Long(PROP_TAG(PT_ERROR, 0x6800), 0), Long(PR_PRIORITY, 1)};
    MapiBuffer<SPropProblemArray> problems;
    ASSERT_EQ(message->SetProps(4, values, &problems), S_OK);
    ASSERT_TRUE(problems);

    const MAPIException e(MAPI_W_ERRORS_RETURNED, message.Get(),
                          "SaveMsgAttributes::Failed set Props", problems.Get(), 2,
                          "COutlookContext", 230);
    // A message that has not failed yet has no error text; printf shows a null string so.
    EXPECT_EQ(Nullable(e.GetDetails()),
              "MAPIError: (Orvella message store: (null) LowError=0 Context=0)"
              "\nPropProblemArray: "
              "\n\tNDX=1 PROPTAG=fff0102 SCODE=8004011a"
              "\n\tNDX=2 PROPTAG=6800000a SCODE=80040302");
}

TEST_F(MapiDetailsTest, WithoutAnObjectOnlyTheProblemsAreDetailed) {
    SPropProblemArray problems = {1, {{3, PR_SUBJECT_A, MAPI_E_NO_ACCESS}}};
    const MAPIException e(MAPI_W_ERRORS_RETURNED, static_cast<IMAPIProp*>(nullptr),
                          "DeleteMsgAttributes::Failed delete Props", &problems, 2,
                          "COutlookContext", 250);
    EXPECT_EQ(Nullable(e.GetDetails()),
              "\nPropProblemArray: \n\tNDX=3 PROPTAG=37001e SCODE=80070005");
    EXPECT_EQ(
        Nullable(MAPIException(E_FAIL, static_cast<IMAPITable*>(nullptr), "Op: failed", 2, "M", 1)
                     .GetDetails()),
        std::nullopt);
}

TEST_F(MapiDetailsTest, TablesAndSessionsDescribeTheirLastErrorsToo) {
    ComPtr<IMAPITable> table;
    ASSERT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
    const HRESULT seek = table->SeekRow(12345, 0, nullptr);
    ASSERT_EQ(seek, MAPI_E_INVALID_BOOKMARK);
    EXPECT_EQ(Nullable(MAPIException(seek, table.Get(), "ReadInbox: failed to seek", 2,
                                     "COutlookContext", 90)
                           .GetDetails()),
              "MAPIError: (Orvella message store: SeekRow: the bookmark was not created by this "
              "table or has been freed LowError=0 Context=0)");
    // The table keeps its error for that code only.
    EXPECT_EQ(Nullable(MAPIException(MAPI_E_NOT_FOUND, table.Get(), "ReadInbox: failed", 2,
                                     "COutlookContext", 91)
                           .GetDetails()),
              std::nullopt);

    BYTE bogus[] = {1, 2, 3};
    ComPtr<IMsgStore> store;
    const HRESULT open = session_->OpenMsgStore(0, sizeof bogus, reinterpret_cast<LPENTRYID>(bogus),
                                                nullptr, MDB_WRITE, &store);
    ASSERT_TRUE(FAILED(open));
    const MAPIException e(open, session_.Get(), "OpenAppStore: failed to open store", 2,
                          "COutlookContext", 60);
    // The session reports its component, but keeps no text for an unknown store id.
    EXPECT_EQ(Nullable(e.GetDetails()),
              "MAPIError: (Orvella message store: (null) LowError=0 Context=0)");
}

}  // namespace
