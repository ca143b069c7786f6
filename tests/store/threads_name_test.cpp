// Thread names of subjects: prefixes removed within the first 128 bytes, the rest kept, and
// runs bounded so that no subject can make the pattern run away.
#include <gtest/gtest.h>

#include "session_fixture.h"
#include "thread_name.h"

namespace orvella::testing {
namespace {

std::string Repeat(const std::string& text, size_t times) {
    std::string repeated;
    for (size_t i = 0; i < times; ++i) repeated += text;
    return repeated;
}

TEST(ThreadNameTest, SubjectsReduceToTheirThreadNames) {
    struct Case {
        const char* subject;
        const char* name;
    } cases[] = {
        {"Budget", "Budget"},
        {"RE: Budget", "Budget"},
        {"fw: re: Budget", "Budget"},
        {"  Budget  ", "Budget"},
        {"\tBudget\r\n", "Budget"},
        {"RE: Fw: Budget", "Budget"},
        {"Re Budget", "Budget"},
        {"Fwd:Re:  Budget  ", "Budget"},
        {"FWD: fWd: Budget", "Budget"},
        {"Re:Budget", "Budget"},
        {"RE : Budget", "Budget"},
        {"Fw Fwd Re Budget", "Budget"},
        {"Re:: ::Budget", "Budget"},
        {"Re: Re: Budget Re: notes", "Budget Re: notes"},
        {"Re: Budget   2026", "Budget   2026"},
        {"Reply needed", "Reply needed"},
        {"Ref: Budget", "Ref: Budget"},
        {"AW: Budget", "AW: Budget"},
        {"F w: Budget", "F w: Budget"},
        {"Re:", ""},
        {"Re: ", ""},
        {"  Fw:  ", ""},
        {"", ""},
        {" \t\r\n ", ""},
        {"Re: Bud\xE9get", "Bud\xE9get"},
    };
    CThreadNamePattern pattern;
    for (const Case& c : cases) EXPECT_EQ(pattern.ThreadName(c.subject), c.name) << c.subject;
    EXPECT_EQ(pattern.ThreadName(nullptr), "");
}

TEST(ThreadNameTest, OnlyTheFirst128BytesAreSearchedForPrefixes) {
    const std::string body = Repeat("abcdefghij", 19) + "wxyz";  // 194 bytes
    struct Case {
        std::string subject;
        std::string name;
    } cases[] = {
        // 200 bytes with a prefix: removed, and bytes 128-199 appended unchanged.
        {"Re: " + body + "\t\t", body},
        // 200 bytes without one: the whole text.
        {"Status" + body, "Status" + body},
        // A prefix that starts past the window is not one.
        {Repeat(" ", 126) + "Re: Budget", "Re: Budget"},
        // Prefixes that run past the window: those past it stay.
        {Repeat("Re: ", 34) + "Budget", "Re: Re: Budget"},
    };
    CThreadNamePattern pattern;
    for (const Case& c : cases) {
        EXPECT_EQ(pattern.ThreadName(c.subject.c_str()), c.name) << c.subject.size();
    }
    EXPECT_EQ(cases[0].subject.size(), 200u);
    EXPECT_EQ(cases[1].subject.size(), 200u);

    // 10,000 bytes: the tail is kept as it is.
    const std::string tenThousand = "Fw: " + Repeat("0123456789", 999) + "abcdef";
    ASSERT_EQ(tenThousand.size(), 10000u);
    EXPECT_EQ(pattern.ThreadName(tenThousand.c_str()), Repeat("0123456789", 999) + "abcdef");
}

TEST(ThreadNameTest, APatternThatDoesNotCompileNamesTheOffsetAndTheReason) {
    struct Case {
        const char* pattern;
        const char* message;
    } cases[] = {
        {"(", "Regex compilation failed at offset 1: missing closing parenthesis"},
        {"[a", "Regex compilation failed at offset 2: missing terminating ] for character class"},
    };
    for (const Case& c : cases) {
        CaughtFailure failure = CatchFailure([&] { CThreadNamePattern pattern(c.pattern); });
        EXPECT_EQ(failure.type, "PROGRAM");
        EXPECT_EQ(failure.message, c.message);
    }
}

using ThreadNameSessionTest = SessionTest;

TEST_F(ThreadNameSessionTest, TheSessionNamesThreadsWithThePatternItCompiledAtStart) {
    Install();
    auto context = Open();
    EXPECT_EQ(context->GetThreadNameFromSubject("RE: Fw: Budget"), "Budget");
    EXPECT_EQ(context->GetThreadNameFromSubject("Reply needed"), "Reply needed");
    EXPECT_EQ(context->GetThreadNameFromSubject(nullptr), "");
}

TEST_F(ThreadNameSessionTest, AdversarialRepetitionsOfPrefixesEndPromptly) {
    Install();
    auto context = Open();
    // 2,500 prefixes: the 32 in the window go, the other 2,468 are the name.
    const std::string subject = Repeat("Re: ", 2500);
    EXPECT_EQ(context->GetThreadNameFromSubject(subject.c_str()), Repeat("Re: ", 2467) + "Re:");
    const std::string blanks = "Re" + Repeat(" \t", 63) + "x" + Repeat(" :", 4000);
    EXPECT_EQ(context->GetThreadNameFromSubject(blanks.c_str()), "x" + Repeat(" :", 4000));
    // Within the default bounds: nothing to report.
    EXPECT_EQ(LogText().find("GetThreadNameFromSubject"), std::string::npos) << LogText();
}

TEST_F(ThreadNameSessionTest, ARunThatReachesItsBoundIsNoMatchAndIsLoggedAsAWarning) {
    Install();
    auto context = Open();  // the log now lives in the installation
    struct Case {
        ThreadPatternLimits limits;
        const char* code;
    } cases[] = {
        {{50, 1000}, "GetThreadNameFromSubject: execution failed w/ code -47"},
        {{100000, 20}, "GetThreadNameFromSubject: execution failed w/ code -53"},
    };
    const std::string subject = Repeat("Re: ", 40) + " Budget ";
    for (const Case& c : cases) {
        CThreadNamePattern bounded(kThreadNamePattern, c.limits);
        // The trimmed subject stands as the name.
        EXPECT_EQ(bounded.ThreadName(subject.c_str()), Repeat("Re: ", 40) + " Budget");
        EXPECT_EQ(bounded.ThreadName("Re: Hi"), "Hi");
        std::string log = LogText();
        EXPECT_NE(log.find(std::string("WARNING: (PROGRAM, COutlookContext, ")), std::string::npos)
            << log;
        EXPECT_NE(log.find(c.code), std::string::npos) << log;
    }
}

}  // namespace
}  // namespace orvella::testing
