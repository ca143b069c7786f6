// Message boxes on the terminal front end: what is printed and which button MessageBoxA returns,
// for each kind of box answered at a terminal, by --yes or --no, or without a terminal.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "temp_home.h"
#include "terminal_front_end.h"
#include "winuser.h"

namespace {

using orvella::host::terminal::PresetAnswer;
using orvella::host::terminal::TerminalFrontEnd;
using orvella::platform::gui::ScopedFrontEnd;

enum class Mode { Terminal, NoTerminal };

struct BoxCase {
    const char* name;
    UINT flags;
    Mode mode;
    PresetAnswer preset;
    const char* typed;
    int returned;
    const char* printed;
};

#define SHOWN "Orvella\nDelete the rule \"Work\"?\n"

const BoxCase kBoxCases[] = {
    {"YesNoAnsweredNoAtTheTerminal", MB_YESNO, Mode::Terminal, PresetAnswer::None, "n\n", IDNO,
     SHOWN "[y]es/[n]o (Enter: yes)? "},
    {"YesNoAnsweredByItsWholeLabel", MB_YESNO, Mode::Terminal, PresetAnswer::None, " No \n", IDNO,
     SHOWN "[y]es/[n]o (Enter: yes)? "},
    {"YesNoAskedAgainAfterAnAnswerThatIsNone", MB_YESNO, Mode::Terminal, PresetAnswer::None,
     "maybe\n3\n2\n", IDNO,
     SHOWN "[y]es/[n]o (Enter: yes)? [y]es/[n]o (Enter: yes)? [y]es/[n]o (Enter: yes)? "},
    {"YesNoEnterTakesTheDefault", MB_YESNO | MB_DEFBUTTON2, Mode::Terminal, PresetAnswer::None,
     "\n", IDNO, SHOWN "[y]es/[n]o (Enter: no)? "},
    {"YesNoEndOfInputTakesTheDefault", MB_YESNO, Mode::Terminal, PresetAnswer::None, "", IDYES,
     SHOWN "[y]es/[n]o (Enter: yes)? \nanswered Yes: the default button, end of input\n"},
    {"YesNoPresetYes", MB_YESNO | MB_DEFBUTTON2, Mode::NoTerminal, PresetAnswer::Yes, "", IDYES,
     SHOWN "answered Yes: --yes\n"},
    {"YesNoPresetNo", MB_YESNO, Mode::NoTerminal, PresetAnswer::No, "", IDNO,
     SHOWN "answered No: --no\n"},
    {"YesNoPresetAnswersAtATerminalToo", MB_YESNO, Mode::Terminal, PresetAnswer::No, "y\n", IDNO,
     SHOWN "answered No: --no\n"},
    {"YesNoWithoutTerminalTakesTheDefault", MB_YESNO | MB_DEFBUTTON2, Mode::NoTerminal,
     PresetAnswer::None, "y\n", IDNO, SHOWN "answered No: the default button, no terminal\n"},
    {"YesNoCancelAnsweredCancelAtTheTerminal", MB_YESNOCANCEL, Mode::Terminal, PresetAnswer::None,
     "c\n", IDCANCEL, SHOWN "[y]es/[n]o/[c]ancel (Enter: yes)? "},
    {"YesNoCancelPresetYes", MB_YESNOCANCEL | MB_DEFBUTTON3, Mode::NoTerminal, PresetAnswer::Yes,
     "", IDYES, SHOWN "answered Yes: --yes\n"},
    {"YesNoCancelPresetNo", MB_YESNOCANCEL, Mode::NoTerminal, PresetAnswer::No, "", IDNO,
     SHOWN "answered No: --no\n"},
    {"YesNoCancelWithoutTerminalTakesTheThirdDefault", MB_YESNOCANCEL | MB_DEFBUTTON3,
     Mode::NoTerminal, PresetAnswer::None, "", IDCANCEL,
     SHOWN "answered Cancel: the default button, no terminal\n"},
    {"OkCancelAnsweredByNumberAtTheTerminal", MB_OKCANCEL, Mode::Terminal, PresetAnswer::None,
     "2\n", IDCANCEL, SHOWN "[o]k/[c]ancel (Enter: ok)? "},
    {"OkCancelPresetYesIsOk", MB_OKCANCEL | MB_DEFBUTTON2, Mode::NoTerminal, PresetAnswer::Yes, "",
     IDOK, SHOWN "answered OK: --yes\n"},
    {"OkCancelPresetNoIsCancel", MB_OKCANCEL, Mode::NoTerminal, PresetAnswer::No, "", IDCANCEL,
     SHOWN "answered Cancel: --no\n"},
    {"OkCancelWithoutTerminalTakesTheDefault", MB_OKCANCEL, Mode::NoTerminal, PresetAnswer::None,
     "", IDOK, SHOWN "answered OK: the default button, no terminal\n"},
    {"RetryCancelAnsweredRetryAtTheTerminal", MB_RETRYCANCEL, Mode::Terminal, PresetAnswer::None,
     "R\n", IDRETRY, SHOWN "[r]etry/[c]ancel (Enter: retry)? "},
    {"RetryCancelPresetYesIsRetry", MB_RETRYCANCEL, Mode::NoTerminal, PresetAnswer::Yes, "",
     IDRETRY, SHOWN "answered Retry: --yes\n"},
    {"RetryCancelPresetNoIsCancel", MB_RETRYCANCEL, Mode::NoTerminal, PresetAnswer::No, "",
     IDCANCEL, SHOWN "answered Cancel: --no\n"},
    {"RetryCancelWithoutTerminalTakesTheDefault", MB_RETRYCANCEL | MB_DEFBUTTON2, Mode::NoTerminal,
     PresetAnswer::None, "", IDCANCEL, SHOWN "answered Cancel: the default button, no terminal\n"},
    {"AbortRetryIgnoreAnsweredIgnoreAtTheTerminal", MB_ABORTRETRYIGNORE, Mode::Terminal,
     PresetAnswer::None, "i\n", IDIGNORE, SHOWN "[a]bort/[r]etry/[i]gnore (Enter: abort)? "},
    {"AbortRetryIgnorePresetYesIsRetry", MB_ABORTRETRYIGNORE, Mode::NoTerminal, PresetAnswer::Yes,
     "", IDRETRY, SHOWN "answered Retry: --yes\n"},
    {"AbortRetryIgnorePresetNoIsAbort", MB_ABORTRETRYIGNORE | MB_DEFBUTTON3, Mode::NoTerminal,
     PresetAnswer::No, "", IDABORT, SHOWN "answered Abort: --no\n"},
    {"CancelTryContinueKeysContinueByItsSecondLetter", MB_CANCELTRYCONTINUE | MB_DEFBUTTON3,
     Mode::Terminal, PresetAnswer::None, "o\n", IDCONTINUE,
     SHOWN "[c]ancel/[t]ry again/c[o]ntinue (Enter: continue)? "},
    {"CancelTryContinuePresetYesIsTryAgain", MB_CANCELTRYCONTINUE, Mode::NoTerminal,
     PresetAnswer::Yes, "", IDTRYAGAIN, SHOWN "answered Try Again: --yes\n"},
    {"CancelTryContinuePresetNoIsCancel", MB_CANCELTRYCONTINUE | MB_DEFBUTTON2, Mode::NoTerminal,
     PresetAnswer::No, "", IDCANCEL, SHOWN "answered Cancel: --no\n"},
    {"OkAloneIsPrintedAndClosedAtATerminal", MB_OK | MB_ICONINFORMATION, Mode::Terminal,
     PresetAnswer::None, "n\n", IDOK, SHOWN},
    {"OkAloneIsPrintedAndClosedWithPresetNo", MB_OK, Mode::NoTerminal, PresetAnswer::No, "", IDOK,
     SHOWN},
    {"OkAloneIsPrintedAndClosedWithoutTerminal", MB_OK, Mode::NoTerminal, PresetAnswer::None, "",
     IDOK, SHOWN},
};

#undef SHOWN

class MessageBoxAnswers : public ::testing::TestWithParam<BoxCase> {};

TEST_P(MessageBoxAnswers, PressTheExpectedButtonAndPrintTheBox) {
    const BoxCase& box = GetParam();
    orvella::testing::TempHome home;
    std::istringstream typed(box.typed);
    std::ostringstream printed;
    TerminalFrontEnd terminal(typed, printed, box.mode == Mode::Terminal, box.preset);
    ScopedFrontEnd installed(terminal);

    EXPECT_EQ(MessageBoxA(nullptr, "Delete the rule \"Work\"?", "Orvella", box.flags),
              box.returned);
    EXPECT_EQ(printed.str(), box.printed);
}

INSTANTIATE_TEST_SUITE_P(BoxKinds, MessageBoxAnswers, ::testing::ValuesIn(kBoxCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(MessageBoxText, EveryLineOfAMultiLineTextIsPrintedAsItIs) {
    orvella::testing::TempHome home;
    std::istringstream typed;
    std::ostringstream printed;
    TerminalFrontEnd terminal(typed, printed, false, PresetAnswer::None);
    ScopedFrontEnd installed(terminal);

    EXPECT_EQ(MessageBoxA(nullptr, "Processing stopped.\n\nTry again later & retry.\n", "Orvella",
                          MB_OK | MB_ICONWARNING),
              IDOK);
    EXPECT_EQ(printed.str(), "Orvella\nProcessing stopped.\n\nTry again later & retry.\n");
}

}  // namespace
