// The thread name of a subject: the subject without its leading reply and forward prefixes
// (Re, Fw, Fwd in any case, each followed by a colon or blank), found by one compiled pattern.
#pragma once

#include <memory>
#include <string>

#include "windef.h"

// The pattern that splits a subject into its prefixes (group 1) and the rest (group 2).
inline constexpr char kThreadNamePattern[] =
    R"(^(\s*(?:[Rr][Ee]|[Ff][Ww][Dd]?)\s*(?::|\s)+)+((?:\s*\S)*)\s*$)";

// Bounds on one match, so that no subject can make it run away. A run that reaches either
// counts as no match and is logged as a warning.
struct ThreadPatternLimits {
    ULONG matchLimit = 100000;
    ULONG depthLimit = 1000;
};

// The compiled pattern. Construction throws ProgramException "Regex compilation failed at
// offset %d: %s" for a pattern that does not compile. ThreadName never throws: a failed run is
// logged through the exception reporter and the trimmed subject is the name. One object may be
// used by one thread at a time.
class CThreadNamePattern {
public:
    explicit CThreadNamePattern(const std::string& pattern = kThreadNamePattern,
                                ThreadPatternLimits limits = {});
    ~CThreadNamePattern();
    CThreadNamePattern(const CThreadNamePattern&) = delete;
    CThreadNamePattern& operator=(const CThreadNamePattern&) = delete;

    // The thread name of subject; null (an absent subject) and blank subjects give "". Only the
    // first 128 bytes are searched for prefixes; the rest is appended unchanged.
    std::string ThreadName(const char* subject) const;

private:
    struct Compiled;
    std::unique_ptr<Compiled> compiled_;
};
