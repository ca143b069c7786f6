// The words a generated mailbox is made of: names, domains, subjects and sentences.
#pragma once

#include <span>

namespace orvella::host::generator {

// A name as people write it (UTF-8) and as it goes into an address.
struct NamePart {
    const char* shown;
    const char* ascii;
};

std::span<const NamePart> FirstNames();
std::span<const NamePart> LastNames();
// Plain names for the mailbox's owner.
std::span<const char* const> OwnerFirstNames();
std::span<const char* const> OwnerLastNames();

// Words that make company domains: "<word>-<kind>.example".
std::span<const char* const> DomainWords();
std::span<const char* const> DomainKinds();
std::span<const char* const> FreeMailDomains();
std::span<const char* const> JobTitles();

// Thread subjects. Templates hold "{topic}", "{project}", "{day}" or "{number}".
std::span<const char* const> WorkSubjects();
std::span<const char* const> PrivateSubjects();
std::span<const char* const> Topics();
std::span<const char* const> Projects();
std::span<const char* const> Weekdays();
std::span<const char* const> ListNames();
std::span<const char* const> ListSubjects();
std::span<const char* const> NewsletterBrands();
std::span<const char* const> NewsletterSubjects();
// Subjects in other languages (UTF-8); the Latin-1 ones also go out as raw 8-bit bytes.
std::span<const char* const> ForeignSubjects();
std::span<const char* const> Latin1Subjects();
// Clauses joined into subjects of several hundred characters.
std::span<const char* const> LongSubjectClauses();

// Body sentences, with the same placeholders as the subjects.
std::span<const char* const> WorkSentences();
std::span<const char* const> PrivateSentences();
std::span<const char* const> ListSentences();
std::span<const char* const> NewsletterSentences();
std::span<const char* const> ReplyOpeners();
std::span<const char* const> ForeignSentences();

}  // namespace orvella::host::generator
