// Another reader of .msg files: msgconvert (libemail-outlook-message-perl) turns a written file
// into an e-mail. Skipped when msgconvert is not installed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "mapitags.h"
#include "mapiutil.h"
#include "ole_test_support.h"

namespace orvella::testing {
namespace {

void SetText(IMAPIProp* object, ULONG tag, const char* text) {
    std::string copy(text);
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.lpszA = copy.data();
    ASSERT_EQ(S_OK, HrSetOneProp(object, &value));
}

TEST(MsgconvertTest, MsgconvertReadsAWrittenMessage) {
    if (std::system("command -v msgconvert >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "msgconvert is not installed";
    TempHome home;
    const auto path = home.path() / "welcome.msg";
    {
        FileMessageHandle file;
        CreateMessageFile(path, file);
        SetText(file.message.Get(), PR_MESSAGE_CLASS_A, "IPM.Note");
        SetText(file.message.Get(), PR_SUBJECT_A, "Welcome to Orvella");
        SetText(file.message.Get(), PR_BODY_A, "Your inbox, in order of importance.");
        SetText(file.message.Get(), PR_SENDER_NAME_A, "Orvella");
        SetText(file.message.Get(), PR_SENDER_EMAIL_ADDRESS_A, "welcome@orvella.example");
        ASSERT_EQ(S_OK, file.message->SaveChanges(0));
    }
    const auto out = home.path() / "welcome.eml";
    const std::string command = "cd '" + home.path().string() + "' && msgconvert --outfile '" +
                                out.string() + "' '" + path.string() + "' >/dev/null 2>&1";
    ASSERT_EQ(0, std::system(command.c_str()));
    std::ifstream in(out);
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_NE(std::string::npos, text.str().find("Subject: Welcome to Orvella")) << text.str();
    EXPECT_NE(std::string::npos, text.str().find("Your inbox, in order of importance."))
        << text.str();
}

}  // namespace
}  // namespace orvella::testing
