// The thread-name pattern on PCRE2.
#include "thread_name.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cstdio>
#include <source_location>

#include "store_failures.h"

using namespace store_failures;

namespace {

constexpr size_t kWindowBytes = 128;
constexpr uint32_t kSubstrings = 10;
constexpr char kBlanks[] = " \t\n\v\f\r";

std::string Trim(const std::string& text) {
    size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos) return "";
    size_t last = text.find_last_not_of(kBlanks);
    return text.substr(first, last - first + 1);
}

std::string PcreMessage(int code) {
    PCRE2_UCHAR text[256];
    if (pcre2_get_error_message(code, text, sizeof text) < 0) return "unknown error";
    return reinterpret_cast<const char*>(text);
}

std::string WithCode(const char* format, int code) {
    char text[96];
    std::snprintf(text, sizeof text, format, code);
    return text;
}

// Logged, not thrown: the subject keeps its trimmed text as the name.
void ReportRunFailure(const std::string& message, int level,
                      std::source_location where = std::source_location::current()) {
    ReportFailure(orvella::diag::ProgramException(message, "", level, kModule,
                                                  static_cast<int>(where.line())));
}

}  // namespace

struct CThreadNamePattern::Compiled {
    pcre2_code* code = nullptr;
    pcre2_match_context* context = nullptr;
    ~Compiled() {
        pcre2_match_context_free(context);
        pcre2_code_free(code);
    }
};

CThreadNamePattern::CThreadNamePattern(const std::string& pattern, ThreadPatternLimits limits)
    : compiled_(std::make_unique<Compiled>()) {
    int error = 0;
    PCRE2_SIZE offset = 0;
    compiled_->code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.c_str()), pattern.size(),
                                    0, &error, &offset, nullptr);
    if (!compiled_->code) {
        char message[384];
        std::snprintf(message, sizeof message, "Regex compilation failed at offset %d: %s",
                      static_cast<int>(offset), PcreMessage(error).c_str());
        FailProgram(message);
    }
    compiled_->context = pcre2_match_context_create(nullptr);
    pcre2_set_match_limit(compiled_->context, limits.matchLimit);
    pcre2_set_depth_limit(compiled_->context, limits.depthLimit);
}

CThreadNamePattern::~CThreadNamePattern() = default;

std::string CThreadNamePattern::ThreadName(const char* subject) const {
    if (!subject) return "";
    const std::string whole(subject);
    std::string name = Trim(whole);
    if (name.empty()) return name;

    const size_t windowBytes = std::min(whole.size(), kWindowBytes);
    const std::string tail = whole.substr(windowBytes);
    std::unique_ptr<pcre2_match_data, void (*)(pcre2_match_data*)> match(
        pcre2_match_data_create(kSubstrings, nullptr), pcre2_match_data_free);
    int rc = pcre2_match(compiled_->code, reinterpret_cast<PCRE2_SPTR>(whole.data()), windowBytes,
                         0, 0, match.get(), compiled_->context);
    if (rc == PCRE2_ERROR_NOMATCH) return name;
    if (rc < 0) {
        // A subject built to make the match run away is a warning; anything else an error.
        bool limited = rc == PCRE2_ERROR_MATCHLIMIT || rc == PCRE2_ERROR_DEPTHLIMIT;
        ReportRunFailure(WithCode("GetThreadNameFromSubject: execution failed w/ code %d", rc),
                         limited ? 1 : 2);
        return name;
    }
    PCRE2_UCHAR* rest = nullptr;
    PCRE2_SIZE restBytes = 0;
    rc = pcre2_substring_get_bynumber(match.get(), 2, &rest, &restBytes);
    if (rc < 0) {
        ReportRunFailure(WithCode("GetThreadNameFromSubject: get_substring failed w/ code %d", rc),
                         2);
        return name;
    }
    std::string stripped(reinterpret_cast<const char*>(rest), restBytes);
    pcre2_substring_free(rest);
    return Trim(stripped + tail);
}
