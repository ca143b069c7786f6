// Making up the owner, the correspondents and the lists: names, addresses, zones and mailers.
#include "people.h"

#include <algorithm>
#include <cctype>
#include <span>
#include <unordered_set>

#include "ascii_case.h"
#include "header_encoding.h"
#include "word_lists.h"

namespace orvella::host::generator {
namespace {

constexpr std::int16_t kZones[] = {-480, -420, -360, -300, -240, 0, 60, 120, 330, 540, 600};
constexpr std::int16_t kOwnerZones[] = {-480, -300, 0, 60};
// Percent of the people in each group, in the order of Group.
constexpr std::uint32_t kGroupShares[kGroupCount] = {30, 15, 22, 13, 20};
constexpr std::uint32_t kMailerWeights[] = {45, 30, 22, 3};

std::string Capitalized(std::string word) {
    if (!word.empty())
        word[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(word[0])));
    return word;
}

// The people's domains and the addresses already given out, so that no two people share one.
class AddressBook {
public:
    explicit AddressBook(Random& random) : random_(random) {}

    std::string NewDomain() {
        const auto words = DomainWords();
        const auto kinds = DomainKinds();
        for (int words_in_name = 1;; words_in_name = words_in_name % 2 + 1) {
            std::string domain = random_.Pick(words);
            if (words_in_name == 2) domain += random_.Pick(words);
            const std::string kind = random_.Pick(kinds);
            domain += "-" + kind + ".example";
            if (domains_.insert(domain).second) return domain;
        }
    }
    // `local`@`domain`, or with a number after `local` when that is taken.
    std::string Unique(const std::string& local, const std::string& domain) {
        std::string address = local + "@" + domain;
        for (int n = 2; !used_.insert(address).second; ++n) {
            address = local + std::to_string(n) + "@" + domain;
        }
        return address;
    }

private:
    Random& random_;
    std::unordered_set<std::string> domains_;
    std::unordered_set<std::string> used_;
};

struct Domains {
    std::string company;
    std::vector<std::string> partners;
    std::vector<std::string> customers;
};

// A local part in one of the ways organisations and people form them.
std::string LocalPart(const NamePart& first, const NamePart& last, std::uint32_t scheme,
                      Random& random) {
    const std::string f = first.ascii;
    const std::string l = last.ascii;
    switch (scheme % 5) {
        case 0:
            return f + "." + l;
        case 1:
            return f.substr(0, 1) + l;
        case 2:
            return f + l.substr(0, 1);
        case 3:
            return f + "_" + l;
        default:
            return f + l + std::to_string(random.Between(10, 99));
    }
}

bool CarelessName(const NamePart& first, const NamePart& last) {
    const std::string name = std::string(first.shown) + " " + last.shown;
    return !IsAscii(name) && ToLatin1(name).has_value();
}

Person MakePerson(Group group, bool careless, const Domains& domains, AddressBook& book,
                  std::int16_t owner_zone, Random& random) {
    const auto firsts = FirstNames();
    const auto lasts = LastNames();
    NamePart first = random.Pick(firsts);
    NamePart last = random.Pick(lasts);
    while (careless && !CarelessName(first, last)) {
        first = random.Pick(firsts);
        last = random.Pick(lasts);
    }
    Person person;
    person.name = std::string(first.shown) + " " + last.shown;
    person.first = first.shown;
    person.group = group;
    person.mailer =
        careless ? Mailer::Careless : static_cast<Mailer>(random.Weighted(kMailerWeights));
    person.title =
        static_cast<std::uint8_t>(random.Below(static_cast<std::uint32_t>(JobTitles().size())));
    const bool local = group == Group::Colleague || group == Group::Friend;
    person.zone = local && random.Chance(850) ? owner_zone : random.Pick(kZones);
    person.last_first =
        group == Group::Colleague && person.mailer == Mailer::Desk && random.Chance(300);

    const auto free_mail = FreeMailDomains();
    std::string domain;
    std::uint32_t scheme = 0;
    switch (group) {
        case Group::Colleague:
            domain = domains.company;
            break;
        case Group::Partner:
        case Group::Customer: {
            const auto& list = group == Group::Partner ? domains.partners : domains.customers;
            const std::uint32_t at = random.Skewed(static_cast<std::uint32_t>(list.size()));
            domain = list[at];
            scheme = at % 3;  // each organisation has its own convention
            break;
        }
        case Group::Friend:
        case Group::Community:
            if (group == Group::Community && random.Chance(400)) {
                domain = domains.customers[random.Below(
                    static_cast<std::uint32_t>(domains.customers.size()))];
            } else {
                domain = random.Pick(free_mail);
            }
            scheme = random.Below(5);
            break;
    }
    person.addresses.push_back(book.Unique(LocalPart(first, last, scheme, random), domain));
    // A second (rarely a third) address: a private mailbox, or the short form at work.
    const std::uint32_t extra = random.Chance(120) ? 1 + (random.Chance(250) ? 1 : 0) : 0;
    for (std::uint32_t i = 0; i < extra; ++i) {
        const bool short_form = i == 0 && group != Group::Friend && group != Group::Community;
        if (short_form) {
            person.addresses.push_back(book.Unique(first.ascii, domain));
            continue;
        }
        const std::string other_domain = random.Pick(free_mail);
        const std::uint32_t other_scheme = random.Below(5);
        person.addresses.push_back(
            book.Unique(LocalPart(first, last, other_scheme, random), other_domain));
    }
    return person;
}

Person MakeOwner(const std::string& company, AddressBook& book, Random& random) {
    Person owner;
    const std::string first = random.Pick(OwnerFirstNames());
    const std::string last = random.Pick(OwnerLastNames());
    owner.name = first + " " + last;
    owner.first = first;
    owner.group = Group::Colleague;
    owner.mailer = Mailer::PlainText;
    owner.zone = random.Pick(kOwnerZones);
    const std::string f = orvella::platform::AsciiLower(first);
    const std::string l = orvella::platform::AsciiLower(last);
    owner.addresses.push_back(book.Unique(f + "." + l, company));
    owner.addresses.push_back(book.Unique(f + l, random.Pick(FreeMailDomains())));
    if (random.Chance(500)) owner.addresses.push_back(book.Unique(f.substr(0, 1) + l, company));
    return owner;
}

std::string Slug(const std::string& brand) {
    std::string slug;
    for (unsigned char c : brand) {
        if (std::isalnum(c)) {
            slug += static_cast<char>(std::tolower(c));
        } else if (!slug.empty() && slug.back() != '-') {
            slug += '-';
        }
    }
    return slug;
}

void MakeLists(Cast& cast, const Domains& domains, std::size_t messages, Random& random) {
    std::vector<const char*> names(ListNames().begin(), ListNames().end());
    random.Shuffle(names);
    const auto free_mail = FreeMailDomains();
    cast.discussion_lists =
        static_cast<std::uint32_t>(std::min<std::size_t>(2 + messages / 20000, names.size()));
    for (std::uint32_t i = 0; i < cast.discussion_lists; ++i) {
        const std::string host = i % 2 == 0
                                     ? "lists." + domains.partners[i / 2 % domains.partners.size()]
                                     : std::string("groups.") + random.Pick(free_mail);
        MailingList list;
        list.name = names[i];
        list.address = list.name + "@" + host;
        list.id = "<" + list.name + "." + host + ">";
        cast.lists.push_back(std::move(list));
    }
    std::vector<const char*> brands(NewsletterBrands().begin(), NewsletterBrands().end());
    random.Shuffle(brands);
    const std::size_t newsletters = std::min<std::size_t>(3 + messages / 50000, brands.size());
    for (std::size_t i = 0; i < newsletters; ++i) {
        const std::string host = "news." + Slug(brands[i]) + ".example";
        MailingList list;
        list.name = brands[i];
        list.address = "subscribers@" + host;
        list.id = "<weekly." + host + ">";
        list.sender = "newsletter@" + host;
        list.newsletter = true;
        cast.lists.push_back(std::move(list));
    }
}

}  // namespace

std::uint32_t Cast::Pick(Group group, Random& random) const {
    const auto& members = groups[static_cast<std::size_t>(group)];
    return members[random.Skewed(static_cast<std::uint32_t>(members.size()))];
}

void Cast::AddAddress(std::uint32_t person) {
    Person& who = people[person];
    const std::string& usual = who.addresses.front();
    const auto free_mail = FreeMailDomains();
    // The person's number keeps the address apart from every address made up front.
    who.addresses.push_back(usual.substr(0, usual.find('@')) + "." + std::to_string(person) + "@" +
                            free_mail[person % free_mail.size()]);
}

Cast MakeCast(std::size_t messages, Random& random) {
    AddressBook book(random);
    Cast cast;
    Domains domains;
    domains.company = book.NewDomain();
    const std::size_t total = std::clamp<std::size_t>(messages / 12 + 60, 80, 50000);
    for (std::size_t i = 0; i < std::clamp<std::size_t>(total / 60, 3, 120); ++i) {
        domains.partners.push_back(book.NewDomain());
    }
    for (std::size_t i = 0; i < std::clamp<std::size_t>(total / 25, 4, 800); ++i) {
        domains.customers.push_back(book.NewDomain());
    }
    cast.company = domains.company;
    const std::string word = cast.company.substr(0, cast.company.find('-'));
    const std::string kind =
        cast.company.substr(word.size() + 1, cast.company.find('.') - word.size() - 1);
    cast.company_name = Capitalized(word) + " " + Capitalized(kind);
    cast.owner = MakeOwner(domains.company, book, random);

    for (std::size_t g = 0; g < kGroupCount; ++g) {
        const auto group = static_cast<Group>(g);
        const std::size_t count = std::max<std::size_t>(4, total * kGroupShares[g] / 100);
        for (std::size_t i = 0; i < count; ++i) {
            // One customer of middling activity writes with a careless mailer whatever the
            // mailbox's size, so that raw 8-bit headers are always there.
            const bool careless = group == Group::Customer && i == count / 3;
            const auto index = static_cast<std::uint32_t>(cast.people.size());
            if (careless) cast.careless = index;
            cast.people.push_back(
                MakePerson(group, careless, domains, book, cast.owner.zone, random));
            cast.groups[g].push_back(index);
        }
    }
    MakeLists(cast, domains, messages, random);
    return cast;
}

}  // namespace orvella::host::generator
