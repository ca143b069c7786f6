// Registering, removing and resolving forms in the folder and personal form libraries.
#include <gtest/gtest.h>

#include "forms_fixture.h"

namespace orvella::testing {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;

class FormRegistrationTest : public FormsTest {
protected:
    void Install(IMAPIFormContainer* container, const std::string& message_class,
                 const std::string& display_name, const std::string& version = "1.0") {
        std::string path =
            WriteConfig("form.cfg", FormConfig(message_class, display_name, version));
        ASSERT_EQ(container->InstallForm(0, 0, path.c_str()), S_OK)
            << LastErrorOf(container, MAPI_E_EXTENDED_ERROR);
    }
    // The display name of the form the class resolves to, or "<not found>".
    std::string ResolvedName(const char* message_class, ULONG flags = 0, bool in_inbox = true) {
        ComPtr<IMAPIFormInfo> info;
        HRESULT hr = Resolve(message_class, flags, info, in_inbox);
        if (hr == MAPI_E_NOT_FOUND) return "<not found>";
        EXPECT_EQ(hr, S_OK);
        return info ? TextOf(info.Get(), PR_DISPLAY_NAME_A) : "<failed>";
    }
    ULONG RegistrationCount(IMAPIFolder* folder) {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(folder->GetContentsTable(MAPI_ASSOCIATED, &table), S_OK);
        ULONG count = 0;
        EXPECT_EQ(table->GetRowCount(0, &count), S_OK);
        return count;
    }
};

TEST_F(FormRegistrationTest, AnOutdatedFormIsRemovedAndTheConfiguredOneInstalled) {
    Install(InboxForms().Get(), "IPM.Orvella.Form", "Orvella Form", "1.0");

    ComPtr<IMAPIFormInfo> old;
    ASSERT_EQ(Resolve("IPM.Orvella.Form", MAPIFORM_EXACTMATCH, old), S_OK);
    EXPECT_EQ(TextOf(old.Get(), PR_FORM_VERSION_A), "1.0");
    ASSERT_EQ(InboxForms()->RemoveForm("IPM.Orvella.Form"), S_OK);

    ComPtr<IMAPIFormInfo> gone;
    EXPECT_EQ(Resolve("IPM.Orvella.Form", MAPIFORM_EXACTMATCH, gone), MAPI_E_NOT_FOUND);
    EXPECT_FALSE(gone);

    std::string path =
        WriteConfig("VNFORM.CFG", FormConfig("IPM.Orvella.Form", "Orvella Prioritizer", "2.0"));
    ASSERT_EQ(InboxForms()->InstallForm(0, 0, path.c_str()), S_OK);

    ComPtr<IMAPIFormInfo> installed;
    ASSERT_EQ(Resolve("IPM.Orvella.Form", MAPIFORM_EXACTMATCH, installed), S_OK);
    EXPECT_EQ(TextOf(installed.Get(), PR_MESSAGE_CLASS_A), "IPM.Orvella.Form");
    EXPECT_EQ(TextOf(installed.Get(), PR_DISPLAY_NAME_A), "Orvella Prioritizer");
    EXPECT_EQ(TextOf(installed.Get(), PR_FORM_VERSION_A), "2.0");
}

TEST_F(FormRegistrationTest, AClassResolvesToItsNearestRegisteredBaseUnlessExact) {
    Install(InboxForms().Get(), "IPM.Note", "Note");
    Install(InboxForms().Get(), "IPM.Note.Orvella", "Orvella Note");

    struct Case {
        const char* message_class;
        ULONG flags;
        const char* expected;
    } cases[] = {
        {"IPM.Note.Orvella", 0, "Orvella Note"},
        {"IPM.Note.Orvella.Reply", 0, "Orvella Note"},
        {"IPM.Note.Other", 0, "Note"},
        {"IPM.Note", 0, "Note"},
        {"ipm.note.ORVELLA", 0, "Orvella Note"},
        {"IPM.Note.Orvella", MAPIFORM_EXACTMATCH, "Orvella Note"},
        {"IPM.Note.Orvella.Reply", MAPIFORM_EXACTMATCH, "<not found>"},
        {"IPM.Note.Other", MAPIFORM_EXACTMATCH, "<not found>"},
        {"IPM", 0, "<not found>"},
        {"IPM.Contact", 0, "<not found>"},
        {"IPM.NoteBook", 0, "<not found>"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ResolvedName(c.message_class, c.flags), c.expected)
            << c.message_class << " flags " << c.flags;
}

TEST_F(FormRegistrationTest, TheFolderLibraryIsSearchedBeforeThePersonalOneForEachClass) {
    Install(PersonalForms().Get(), "IPM.Note.Orvella", "Personal Orvella");
    Install(PersonalForms().Get(), "IPM.Task", "Personal Task");
    Install(InboxForms().Get(), "IPM.Note", "Inbox Note");
    Install(InboxForms().Get(), "IPM.Task", "Inbox Task");
    Install(InboxForms().Get(), "IPM.Inbox.Only", "Inbox Only");

    struct Case {
        const char* message_class;
        bool in_inbox;
        const char* expected;
    } cases[] = {
        {"IPM.Task", true, "Inbox Task"},
        {"IPM.Task", false, "Personal Task"},
        {"IPM.Note.Orvella.Reply", true, "Personal Orvella"},
        {"IPM.Note.Other", true, "Inbox Note"},
        {"IPM.Note.Other", false, "<not found>"},
        {"IPM.Inbox.Only", true, "Inbox Only"},
        {"IPM.Inbox.Only", false, "<not found>"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ResolvedName(c.message_class, 0, c.in_inbox), c.expected)
            << c.message_class << (c.in_inbox ? " in the Inbox" : " without a folder");
}

TEST_F(FormRegistrationTest, AFolderLibraryIsNotSeenFromAnotherFolder) {
    Install(InboxForms().Get(), "IPM.Inbox.Only", "Inbox Only");
    ComPtr<IMAPIFolder> other = MakeFolder(inbox_.Get(), "Other");

    ComPtr<IMAPIFormInfo> info;
    EXPECT_EQ(manager_->ResolveMessageClass("IPM.Inbox.Only", 0, other.Get(), &info),
              MAPI_E_NOT_FOUND);
    EXPECT_EQ(manager_->ResolveMessageClass("IPM.Inbox.Only", 0, inbox_.Get(), &info), S_OK);
}

TEST_F(FormRegistrationTest, RegistrationsSurviveANewSession) {
    Install(InboxForms().Get(), "IPM.Orvella.Form", "Orvella Form", "2.0");
    Install(PersonalForms().Get(), "IPM.Personal", "Personal Form", "3.1");

    Relogon();

    ComPtr<IMAPIFormInfo> folder_form;
    ASSERT_EQ(Resolve("IPM.Orvella.Form", MAPIFORM_EXACTMATCH, folder_form), S_OK);
    EXPECT_EQ(TextOf(folder_form.Get(), PR_FORM_VERSION_A), "2.0");
    ComPtr<IMAPIFormInfo> personal_form;
    ASSERT_EQ(Resolve("IPM.Personal", MAPIFORM_EXACTMATCH, personal_form, false), S_OK);
    EXPECT_EQ(TextOf(personal_form.Get(), PR_DISPLAY_NAME_A), "Personal Form");
    EXPECT_EQ(TextOf(personal_form.Get(), PR_FORM_VERSION_A), "3.1");
}

TEST_F(FormRegistrationTest, InstallingARegisteredClassAgainReplacesItsRegistration) {
    Install(InboxForms().Get(), "IPM.Orvella.Form", "Orvella Form", "1.0");
    std::string path = WriteConfig("v2.cfg",
                                   "[Description]\nMessageClass=ipm.orvella.form\n"
                                   "Version=2.0\n");
    ASSERT_EQ(InboxForms()->InstallForm(0, MAPIFORM_INSTALL_OVERWRITEONCONFLICT, path.c_str()),
              S_OK);

    EXPECT_EQ(RegistrationCount(inbox_.Get()), 1u);
    ComPtr<IMAPIFormInfo> info;
    ASSERT_EQ(Resolve("IPM.Orvella.Form", MAPIFORM_EXACTMATCH, info), S_OK);
    EXPECT_EQ(TextOf(info.Get(), PR_FORM_VERSION_A), "2.0");
    EXPECT_EQ(TextOf(info.Get(), PR_DISPLAY_NAME_A), "<missing>");
}

TEST_F(FormRegistrationTest, RegistrationsAreHiddenFromTheFolderContents) {
    Install(InboxForms().Get(), "IPM.Orvella.Form", "Orvella Form");

    ComPtr<IMAPITable> contents;
    ASSERT_EQ(inbox_->GetContentsTable(0, &contents), S_OK);
    ULONG count = 99;
    ASSERT_EQ(contents->GetRowCount(0, &count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(RegistrationCount(inbox_.Get()), 1u);
}

TEST_F(FormRegistrationTest, RemovingFromOneLibraryLeavesTheOtherAlone) {
    Install(InboxForms().Get(), "IPM.Task", "Inbox Task");
    Install(PersonalForms().Get(), "IPM.Task", "Personal Task");

    ASSERT_EQ(InboxForms()->RemoveForm("ipm.task"), S_OK);

    EXPECT_EQ(ResolvedName("IPM.Task"), "Personal Task");
    EXPECT_EQ(RegistrationCount(inbox_.Get()), 0u);
}

TEST_F(FormRegistrationTest, RemovingAClassNotRegisteredIsNotFound) {
    ComPtr<IMAPIFormContainer> forms = InboxForms();
    HRESULT hr = forms->RemoveForm("IPM.Orvella.Form");
    EXPECT_EQ(hr, MAPI_E_NOT_FOUND);
    EXPECT_EQ(LastErrorOf(forms.Get(), hr), "RemoveForm: IPM.Orvella.Form is not registered");
}

TEST_F(FormRegistrationTest, AResolvedFormLeadsBackToItsContainer) {
    Install(InboxForms().Get(), "IPM.Orvella.Form", "Orvella Form");
    ComPtr<IMAPIFormInfo> info;
    ASSERT_EQ(Resolve("IPM.Orvella.Form.Reply", 0, info), S_OK);

    ComPtr<IMAPIFormContainer> container;
    ASSERT_EQ(info->OpenFormContainer(&container), S_OK);
    ASSERT_EQ(container->RemoveForm("IPM.Orvella.Form"), S_OK);
    EXPECT_EQ(ResolvedName("IPM.Orvella.Form"), "<not found>");
}

TEST_F(FormRegistrationTest, AContainerResolvesOnlyItsOwnForms) {
    Install(PersonalForms().Get(), "IPM.Note", "Personal Note");
    Install(InboxForms().Get(), "IPM.Note.Orvella", "Orvella Note");

    ComPtr<IMAPIFormInfo> info;
    ASSERT_EQ(InboxForms()->ResolveMessageClass("IPM.Note.Orvella.Reply", 0, &info), S_OK);
    EXPECT_EQ(TextOf(info.Get(), PR_DISPLAY_NAME_A), "Orvella Note");
    EXPECT_EQ(InboxForms()->ResolveMessageClass("IPM.Note.Other", 0, &info), MAPI_E_NOT_FOUND);
    ASSERT_EQ(PersonalForms()->ResolveMessageClass("IPM.Note.Other", 0, &info), S_OK);
    EXPECT_EQ(TextOf(info.Get(), PR_DISPLAY_NAME_A), "Personal Note");
}

TEST_F(FormRegistrationTest, ContainersAreOpenedByTheirRegistry) {
    struct Case {
        HFRMREG registry;
        IUnknown* object;
        HRESULT expected;
        const char* display;
    } cases[] = {
        {HFRMREG_FOLDER, inbox_.Get(), S_OK, "Inbox"},
        {HFRMREG_PERSONAL, nullptr, S_OK, "Personal Forms"},
        {HFRMREG_DEFAULT, nullptr, S_OK, "Personal Forms"},
        {HFRMREG_LOCAL, nullptr, S_OK, "Personal Forms"},
        {HFRMREG_FOLDER, nullptr, MAPI_E_INVALID_PARAMETER, ""},
        {HFRMREG_FOLDER, store_.Get(), MAPI_E_INTERFACE_NOT_SUPPORTED, ""},
        {4, nullptr, MAPI_E_INVALID_PARAMETER, ""},
    };
    for (const auto& c : cases) {
        ComPtr<IMAPIFormContainer> container;
        ASSERT_EQ(manager_->OpenFormContainer(c.registry, c.object, &container), c.expected)
            << "registry " << c.registry;
        if (!container) continue;
        MapiBuffer<char> display;
        ASSERT_EQ(container->GetDisplay(0, &display), S_OK);
        EXPECT_STREQ(display.Get(), c.display) << "registry " << c.registry;
    }
}

TEST_F(FormRegistrationTest, ThePersonalLibraryIsSharedByEveryManagerOfTheProfile) {
    Install(PersonalForms().Get(), "IPM.Personal", "Personal Form");

    ComPtr<IMAPIFormMgr> second;
    ASSERT_EQ(MAPIOpenFormMgr(session_.Get(), &second), S_OK);
    ComPtr<IMAPIFormInfo> info;
    ASSERT_EQ(second->ResolveMessageClass("IPM.Personal", MAPIFORM_EXACTMATCH, nullptr, &info),
              S_OK);
    EXPECT_EQ(TextOf(info.Get(), PR_DISPLAY_NAME_A), "Personal Form");
}

}  // namespace
}  // namespace orvella::testing
