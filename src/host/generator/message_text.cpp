// Subjects and bodies from templates, with the thread's topic carried through its messages.
#include "message_text.h"

#include <cctype>
#include <span>

#include "addressing.h"
#include "header_encoding.h"
#include "word_lists.h"

namespace orvella::host::generator {
namespace {

// The stream of each message's body for DeriveSeed.
constexpr std::uint32_t kBodyStream = 0x424F4459;  // "BODY"
constexpr std::size_t kLongSubject = 300;

constexpr const char* kSignOffs[] = {"Thanks,", "Best,", "Cheers,", "Regards,", "Best regards,"};
constexpr const char* kGreetings[] = {"Hi", "Hello", "Hi", "Dear"};

std::string Filled(std::string_view pattern, const ThreadWords& words) {
    std::string out;
    std::size_t at = 0;
    while (at < pattern.size()) {
        const std::size_t open = pattern.find('{', at);
        const std::size_t close = open == std::string_view::npos ? open : pattern.find('}', open);
        if (close == std::string_view::npos) {
            out += pattern.substr(at);
            break;
        }
        out += pattern.substr(at, open - at);
        const std::string_view name = pattern.substr(open + 1, close - open - 1);
        if (name == "topic") {
            out += Topics()[words.topic];
        } else if (name == "project") {
            out += Projects()[words.project];
        } else if (name == "day") {
            out += Weekdays()[words.day];
        } else {
            out += std::to_string(words.number);
        }
        at = close + 1;
    }
    if (!out.empty()) out[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(out[0])));
    return out;
}

bool IsPrivate(const Cast& cast, const Schedule& schedule, const ThreadPlan& thread) {
    if (thread.kind != ThreadKind::Conversation) return false;
    return cast.people[schedule.PartiesOf(thread)[0]].group == Group::Friend;
}

// The subject templates and sentences a thread's kind of mail is written with.
struct Vocabulary {
    std::span<const char* const> subjects;
    std::span<const char* const> sentences;
};

Vocabulary VocabularyOf(const Cast& cast, const Schedule& schedule, const ThreadPlan& thread) {
    switch (thread.kind) {
        case ThreadKind::Discussion:
            return {ListSubjects(), ListSentences()};
        case ThreadKind::Newsletter:
            return {NewsletterSubjects(), NewsletterSentences()};
        default:
            if (IsPrivate(cast, schedule, thread)) return {PrivateSubjects(), PrivateSentences()};
            return {WorkSubjects(), WorkSentences()};
    }
}

// The list a thread's subject comes from; empty for a blank subject.
std::span<const char* const> SubjectsFor(const Cast& cast, const Schedule& schedule,
                                         const ThreadPlan& thread) {
    switch (thread.subject) {
        case SubjectStyle::Blank:
            return {};
        case SubjectStyle::Foreign:
            return ForeignSubjects();
        case SubjectStyle::Raw8Bit:
            return Latin1Subjects();
        case SubjectStyle::Long:
            return LongSubjectClauses();
        case SubjectStyle::Plain:
            break;
    }
    return VocabularyOf(cast, schedule, thread).subjects;
}

std::string Sentences(std::span<const char* const> pool, std::uint32_t count,
                      const ThreadWords& words, Random& random) {
    std::string text;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!text.empty()) text += ' ';
        text += Filled(random.Pick(pool), words);
    }
    return text;
}

// A sentence in another language; a careless mailer's only in Latin-1.
std::string ForeignSentence(bool latin1_only, Random& random) {
    for (;;) {
        const std::string sentence = random.Pick(ForeignSentences());
        if (!latin1_only || ToLatin1(sentence)) return sentence;
    }
}

std::string Signature(const Cast& cast, std::uint32_t sender, Random& random) {
    const Person& person = sender == kOwner ? cast.owner : cast.people[sender];
    std::string text = std::string(random.Pick(kSignOffs)) + "\n" + person.first;
    if (sender != kOwner && person.mailer == Mailer::Desk && person.group != Group::Friend) {
        text += "\n\n" + person.name + "\n" + JobTitles()[person.title];
        if (person.group == Group::Colleague) text += " | " + cast.company_name;
    }
    return text;
}

// The first name a greeting uses for a recipient; "all" for a mailing list.
std::string GreetingName(const Cast& cast, std::uint32_t who) {
    if (who == kOwner) return cast.owner.first;
    if (who < cast.people.size()) return cast.people[who].first;
    return "all";
}

}  // namespace

ThreadWords DrawThreadWords(const Cast& cast, const Schedule& schedule, const ThreadPlan& thread,
                            Random& random) {
    const auto below = [&random](std::size_t size) {
        return static_cast<std::uint8_t>(random.Below(static_cast<std::uint32_t>(size)));
    };
    ThreadWords words;
    words.number = random.Between(1000, 99999);
    words.topic = below(Topics().size());
    words.project = below(Projects().size());
    words.day = below(Weekdays().size());
    const auto subjects = SubjectsFor(cast, schedule, thread);
    words.subject = subjects.empty() ? 0 : below(subjects.size());
    return words;
}

std::string ThreadSubject(const Cast& cast, const Schedule& schedule, const ThreadPlan& thread) {
    const auto subjects = SubjectsFor(cast, schedule, thread);
    if (subjects.empty()) return {};
    const ThreadWords& words = thread.words;
    switch (thread.subject) {
        case SubjectStyle::Foreign:
        case SubjectStyle::Raw8Bit:
            return subjects[words.subject];
        case SubjectStyle::Long: {
            // The clauses in order make one run-on sentence; the thread's number sets its end.
            std::string subject;
            const std::size_t wanted = kLongSubject + words.number % 120;
            for (std::size_t at = 0; subject.size() < wanted; ++at) {
                if (!subject.empty()) subject += ' ';
                subject += subjects[at % subjects.size()];
            }
            return subject;
        }
        default:
            break;
    }
    const std::string subject = Filled(subjects[words.subject], words);
    if (thread.kind == ThreadKind::Discussion) {
        return "[" + cast.lists[thread.list].name + "] " + subject;
    }
    return subject;
}

std::vector<std::string> BodyParagraphs(const Cast& cast, const Schedule& schedule,
                                        const MessagePlan& message) {
    const ThreadPlan& thread = schedule.threads[message.thread];
    Random random(DeriveSeed(thread.seed, message.index, kBodyStream));
    const ThreadWords& words = thread.words;
    const auto pool = VocabularyOf(cast, schedule, thread).sentences;
    std::vector<std::string> paragraphs;

    if (thread.kind == ThreadKind::Newsletter) {
        paragraphs.push_back("Hello " + cast.owner.first + ",");
    } else {
        const std::uint32_t to = AddressingOf(schedule, message).to.front();
        const bool formal = to < cast.people.size() && cast.people[to].group != Group::Colleague &&
                            cast.people[to].group != Group::Friend;
        const std::string greeting = formal ? "Dear" : random.Pick(kGreetings);
        paragraphs.push_back(greeting + " " + GreetingName(cast, to) + ",");
    }
    std::string opening;
    if (message.index > 0) opening = std::string(random.Pick(ReplyOpeners())) + " ";
    paragraphs.push_back(opening + Sentences(pool, random.Between(1, 3), words, random));
    if (random.Chance(500)) {
        paragraphs.push_back(Sentences(pool, random.Between(1, 3), words, random));
    }
    if (thread.subject == SubjectStyle::Foreign || thread.subject == SubjectStyle::Raw8Bit) {
        const bool careless = message.sender < cast.people.size() &&
                              cast.people[message.sender].mailer == Mailer::Careless;
        paragraphs.push_back(ForeignSentence(careless, random));
    }
    if (thread.kind == ThreadKind::Newsletter) {
        const MailingList& list = cast.lists[thread.list];
        paragraphs.push_back("You are receiving this because you subscribed to " + list.name +
                             ". Unsubscribe: https://" +
                             list.address.substr(list.address.find('@') + 1) + "/unsubscribe");
    } else {
        paragraphs.push_back(Signature(cast, message.sender, random));
    }
    return paragraphs;
}

}  // namespace orvella::host::generator
