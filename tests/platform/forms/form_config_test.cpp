// Form configuration files: what InstallForm takes from them and how it refuses bad ones.
#include <gtest/gtest.h>

#include <cstring>

#include "forms_fixture.h"

namespace orvella::testing {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;

using FormConfigTest = FormsTest;

TEST_F(FormConfigTest, MalformedFilesAreRefusedWithTheFileAndTheProblemNamed) {
    struct Case {
        const char* name;
        const char* text;  // null: the file is not written
        const char* problem;
    } cases[] = {
        {"missing.cfg", nullptr, "the form configuration file cannot be opened"},
        {"empty.cfg", "", "there is no [Description] section"},
        {"no_description.cfg", "[Platforms]\nPlatform1=NTx86\n",
         "there is no [Description] section"},
        {"no_class.cfg", "[Description]\nDisplayName=Orvella Form\nVersion=2\n",
         "there is no MessageClass in the [Description] section"},
        {"class_elsewhere.cfg", "[Description]\nDisplayName=Orvella\n[Extra]\nMessageClass=IPM.X\n",
         "there is no MessageClass in the [Description] section"},
        {"empty_class.cfg", "[Description]\nMessageClass=\n",
         "MessageClass \"\" is not a message class"},
        {"trailing_dot.cfg", "[Description]\nMessageClass=IPM.Orvella.\n",
         "MessageClass \"IPM.Orvella.\" is not a message class"},
        {"leading_dot.cfg", "[Description]\nMessageClass=.IPM\n",
         "MessageClass \".IPM\" is not a message class"},
        {"bad_line.cfg", "[Description]\nMessageClass=IPM.Orvella.Form\nthis is not an entry\n",
         "line 3 is neither a section nor an entry"},
        {"entry_first.cfg", "MessageClass=IPM.Orvella.Form\n[Description]\n",
         "line 1 is neither a section nor an entry"},
        {"bad_hidden.cfg", "[Description]\nMessageClass=IPM.Orvella.Form\nHidden=yes\n",
         "Hidden is \"yes\", not 0 or 1"},
        {"bad_clsid.cfg", "[Description]\nMessageClass=IPM.Orvella.Form\nCLSID={1234}\n",
         "CLSID \"{1234}\" is not a GUID"},
        {"bad_clsid_digits.cfg",
         "[Description]\nMessageClass=IPM.Orvella.Form\n"
         "CLSID={0002XD31-0000-0000-C000-000000000046}\n",
         "CLSID \"{0002XD31-0000-0000-C000-000000000046}\" is not a GUID"},
    };
    ComPtr<IMAPIFormContainer> forms = InboxForms();
    for (const auto& c : cases) {
        std::string path = c.text ? WriteConfig(c.name, c.text) : (home_.path() / c.name).string();
        HRESULT hr = forms->InstallForm(0, 0, path.c_str());
        EXPECT_EQ(hr, MAPI_E_EXTENDED_ERROR) << c.name;
        EXPECT_EQ(LastErrorOf(forms.Get(), hr), path + ": " + c.problem) << c.name;
    }
    ComPtr<IMAPIFormInfo> info;
    EXPECT_EQ(Resolve("IPM.Orvella.Form", 0, info), MAPI_E_NOT_FOUND);
}

TEST_F(FormConfigTest, AFailedInstallLeavesTheRegisteredFormInPlace) {
    ComPtr<IMAPIFormContainer> forms = InboxForms();
    std::string good = WriteConfig("good.cfg", FormConfig("IPM.Orvella.Form", "Orvella", "1.0"));
    ASSERT_EQ(forms->InstallForm(0, 0, good.c_str()), S_OK);
    std::string bad =
        WriteConfig("bad.cfg", "[Description]\nMessageClass=IPM.Orvella.Form\nHidden=2\n");
    EXPECT_EQ(forms->InstallForm(0, 0, bad.c_str()), MAPI_E_EXTENDED_ERROR);
    EXPECT_EQ(forms->InstallForm(0, 0, nullptr), MAPI_E_INVALID_PARAMETER);

    ComPtr<IMAPIFormInfo> info;
    ASSERT_EQ(Resolve("IPM.Orvella.Form", MAPIFORM_EXACTMATCH, info), S_OK);
    EXPECT_EQ(TextOf(info.Get(), PR_FORM_VERSION_A), "1.0");
}

TEST_F(FormConfigTest, DescriptionEntriesBecomeTheFormsProperties) {
    std::string path = WriteConfig("full.cfg",
                                   "; a form of the system\r\n"
                                   "[description]\r\n"
                                   "  messageclass = IPM.Orvella.Form  \r\n"
                                   "DISPLAYNAME=Orvella Prioritizer\r\n"
                                   "Category=Orvella\r\n"
                                   "Subcategory=Views\r\n"
                                   "Contact=Orvella Support\r\n"
                                   "Version=2.0\r\n"
                                   "Locale=enu\r\n"
                                   "Hidden=1\r\n"
                                   "CLSID={00020D31-0000-0000-C000-000000000046}\r\n"
                                   "SmallIcon=vintor.ico\r\n"
                                   "\r\n"
                                   "[Platforms]\r\n"
                                   "Platform1=NTx86\r\n");
    ASSERT_EQ(InboxForms()->InstallForm(0, 0, path.c_str()), S_OK);
    ComPtr<IMAPIFormInfo> info;
    ASSERT_EQ(Resolve("IPM.Orvella.Form", MAPIFORM_EXACTMATCH, info), S_OK);

    struct Case {
        ULONG tag;
        const char* expected;
    } texts[] = {
        {PR_MESSAGE_CLASS_A, "IPM.Orvella.Form"},
        {PR_DISPLAY_NAME_A, "Orvella Prioritizer"},
        {PR_FORM_CATEGORY_A, "Orvella"},
        {PR_FORM_CATEGORY_SUB_A, "Views"},
        {PR_FORM_CONTACT_NAME_A, "Orvella Support"},
        {PR_FORM_VERSION_A, "2.0"},
    };
    for (const auto& c : texts) EXPECT_EQ(TextOf(info.Get(), c.tag), c.expected) << c.tag;

    MapiBuffer<SPropValue> hidden;
    ASSERT_EQ(HrGetOneProp(info.Get(), PR_FORM_HIDDEN, &hidden), S_OK);
    EXPECT_TRUE(hidden->Value.b);
    MapiBuffer<SPropValue> clsid;
    ASSERT_EQ(HrGetOneProp(info.Get(), PR_FORM_CLSID, &clsid), S_OK);
    const GUID expected = {0x00020D31, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    EXPECT_TRUE(IsEqualGUID(*clsid->Value.lpguid, expected));
}

TEST_F(FormConfigTest, AFormInformationObjectIsReadOnly) {
    std::string path = WriteConfig("form.cfg", FormConfig("IPM.Orvella.Form", "Orvella", "2.0"));
    ASSERT_EQ(InboxForms()->InstallForm(0, 0, path.c_str()), S_OK);
    ComPtr<IMAPIFormInfo> info;
    ASSERT_EQ(Resolve("IPM.Orvella.Form", 0, info), S_OK);

    SPropValue version = Text(PR_FORM_VERSION_A, "9.9");
    EXPECT_EQ(info->SetProps(1, &version, nullptr), MAPI_E_NO_ACCESS);
    EXPECT_EQ(TextOf(info.Get(), PR_FORM_VERSION_A), "2.0");
}

TEST_F(FormConfigTest, AFormsPropertiesCopyIntoAMessage) {
    std::string path = WriteConfig("form.cfg", FormConfig("IPM.Orvella.Form", "Orvella", "2.0"));
    ASSERT_EQ(InboxForms()->InstallForm(0, 0, path.c_str()), S_OK);
    ComPtr<IMAPIFormInfo> info;
    ASSERT_EQ(Resolve("IPM.Orvella.Form", 0, info), S_OK);

    ComPtr<IMessage> message;
    ASSERT_EQ(inbox_->CreateMessage(nullptr, 0, &message), S_OK);
    SizedSPropTagArray(2, wanted) = {2, {PR_MESSAGE_CLASS_A, PR_FORM_VERSION_A}};
    ASSERT_EQ(info->CopyProps(reinterpret_cast<LPSPropTagArray>(&wanted), 0, nullptr, nullptr,
                              message.Get(), 0, nullptr),
              S_OK);
    ASSERT_EQ(message->SaveChanges(0), S_OK);

    MapiBuffer<SPropValue> values;
    ULONG count = 0;
    SizedSPropTagArray(3, read) = {3, {PR_MESSAGE_CLASS_A, PR_FORM_VERSION_A, PR_DISPLAY_NAME_A}};
    ASSERT_EQ(message->GetProps(reinterpret_cast<LPSPropTagArray>(&read), 0, &count, &values),
              MAPI_W_ERRORS_RETURNED);
    EXPECT_STREQ(values[0].Value.lpszA, "IPM.Orvella.Form");
    EXPECT_STREQ(values[1].Value.lpszA, "2.0");
    EXPECT_EQ(values[2].ulPropTag, PROP_TAG(PT_ERROR, PROP_ID(PR_DISPLAY_NAME_A)));
}

}  // namespace
}  // namespace orvella::testing
