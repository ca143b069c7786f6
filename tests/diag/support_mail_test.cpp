// "Contact Support" end to end: the reporter writes its mail through the host's Outlook, and
// the draft it displays is found in the store's Drafts folder.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "CErrorDialog.h"
#include "CExceptionReporter.h"
#include "MAPIException.h"
#include "diag_test_support.h"
#include "headless_driver.h"
#include "mapicode.h"
#include "outlook_application.h"
#include "store_fixture.h"

namespace {

using namespace orvella::diag;
using namespace orvella::testing;
using orvella::platform::gui::HeadlessDialogDriver;
using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;

// One message of the Drafts folder as MAPI shows it.
struct Draft {
    std::string subject;
    std::string body;
    std::vector<std::string> recipients;  // e-mail addresses
};

class SupportMailTest : public StoreTest {
protected:
    std::vector<Draft> Drafts() {
        MapiBuffer<SPropValue> draftsId;
        EXPECT_EQ(HrGetOneProp(inbox_.Get(), PR_IPM_DRAFTS_ENTRYID, &draftsId), S_OK);
        if (!draftsId) return {};
        ULONG type = 0;
        ComPtr<IMAPIFolder> drafts;
        EXPECT_EQ(store_->OpenEntry(draftsId->Value.bin.cb,
                                    reinterpret_cast<LPENTRYID>(draftsId->Value.bin.lpb), nullptr,
                                    0, &type, drafts.PutUnknown()),
                  S_OK);
        ComPtr<IMAPITable> contents;
        EXPECT_EQ(drafts->GetContentsTable(0, &contents), S_OK);
        SizedSPropTagArray(1, columns) = {1, {PR_ENTRYID}};
        RowSetPtr rows;
        EXPECT_EQ(HrQueryAllRows(contents.Get(), reinterpret_cast<LPSPropTagArray>(&columns),
                                 nullptr, nullptr, 0, &rows),
                  S_OK);
        std::vector<Draft> found;
        for (ULONG i = 0; rows && i < rows->cRows; ++i) {
            const SBinary& eid = rows->aRow[i].lpProps[0].Value.bin;
            ComPtr<IMessage> message;
            EXPECT_EQ(store_->OpenEntry(eid.cb, reinterpret_cast<LPENTRYID>(eid.lpb), nullptr, 0,
                                        &type, message.PutUnknown()),
                      S_OK);
            found.push_back(Read(message.Get()));
        }
        return found;
    }

private:
    static std::string TextOf(IMessage* message, ULONG tag) {
        MapiBuffer<SPropValue> value;
        return SUCCEEDED(HrGetOneProp(message, tag, &value)) ? value->Value.lpszA : "";
    }

    static Draft Read(IMessage* message) {
        Draft draft{TextOf(message, PR_SUBJECT_A), TextOf(message, PR_BODY_A), {}};
        ComPtr<IMAPITable> table;
        EXPECT_EQ(message->GetRecipientTable(0, &table), S_OK);
        SizedSPropTagArray(1, columns) = {1, {PR_EMAIL_ADDRESS_A}};
        RowSetPtr rows;
        EXPECT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                                 nullptr, 0, &rows),
                  S_OK);
        for (ULONG i = 0; rows && i < rows->cRows; ++i)
            draft.recipients.push_back(rows->aRow[i].lpProps[0].Value.lpszA);
        return draft;
    }

    FixedReportTime time_;
};

// The body's fixed head: the request, an empty line and 108 hyphens.
const std::string kBodyHead =
    "<PLEASE ENTER DETAILS ON HOW THIS ERROR OCCURRED HERE>\n\n"
    "------------------------------------------------------"
    "------------------------------------------------------\n";

TEST_F(SupportMailTest, ContactSupportDisplaysAFilledMailThatIsSavedAsADraft) {
    struct Case {
        std::optional<std::string> configured;
        HRESULT code;
        std::string address;
        std::string text;
    };
    const std::vector<Case> cases = {
        {std::nullopt, MAPI_E_NOT_FOUND, "support@orvella.com",
         "Thu Mar  7 14:05:09 2024\n"
         "ERROR: (MAPI, MsgProcessor, 175)\n"
         "ProcessMsgInternal: failed to open msg\n"
         "HRESULT = 8004010f\n\n"},
        {"help@example.com", MAPI_E_OBJECT_CHANGED, "help@example.com",
         "Orvella was unable to save changes to the current\n"
         "item because another operation has changed it.\n\n"
         "Please unselect or close the current item and try your\n"
         "operation again.\n\n"},
    };
    ComPtr<_Application> application = orvella::host::outlook::CreateOutlookApplication("");
    ASSERT_TRUE(application);
    std::vector<Draft> expected;
    for (const Case& c : cases) {
        if (c.configured) SetProductString("SupportAddress", *c.configured);
        HeadlessDialogDriver driver;
        driver.OnDialog(kErrorDialogCaption).Press(IDC_CONTACT_SUPPORT);
        CExceptionReporter reporter;
        reporter.SetApplication(application.Get());
        reporter.Report(MAPIException(c.code, "ProcessMsgInternal: failed to open msg", "", 2,
                                      "MsgProcessor", 175));
        driver.Verify();

        expected.push_back({"Error Report", kBodyHead + c.text, {c.address}});
        const std::vector<Draft> drafts = Drafts();
        ASSERT_EQ(drafts.size(), expected.size());
        EXPECT_EQ(drafts.back().subject, expected.back().subject);
        EXPECT_EQ(drafts.back().body, expected.back().body);
        EXPECT_EQ(drafts.back().recipients, expected.back().recipients);
    }
}

TEST_F(SupportMailTest, WithoutAnApplicationContactSupportWritesNothing) {
    HeadlessDialogDriver driver;
    driver.OnDialog(kErrorDialogCaption).Press(IDC_CONTACT_SUPPORT);
    CExceptionReporter reporter;
    reporter.Report(MAPIException(MAPI_E_NOT_FOUND, "OpenMsg: failed", "", 2, "MsgProcessor", 9));
    driver.Verify();
    EXPECT_TRUE(Drafts().empty());
    EXPECT_EQ(driver.Records().size(), 1u);
}

}  // namespace
