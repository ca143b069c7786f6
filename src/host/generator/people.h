// The people of a generated mailbox: its owner with their own addresses, the correspondents in
// their domains, and the mailing lists and newsletters the owner receives.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "random_stream.h"

namespace orvella::host::generator {

enum class Group : std::uint8_t { Colleague, Partner, Customer, Friend, Community };
inline constexpr std::size_t kGroupCount = 5;

// How a person's mail program writes: reply prefix, MIME layout, priority headers, charsets.
enum class Mailer : std::uint8_t {
    Desk,       // "RE:", multipart with quoted-printable, Importance and X-Priority
    Webmail,    // "Re:", often multipart, X-Priority with its comment
    PlainText,  // "Re:", plain text, Importance only
    Careless,   // raw Latin-1 bytes in headers and body, no charset
};

struct Person {
    std::string name;                    // "First Last", UTF-8
    std::string first;                   // how greetings address them
    std::vector<std::string> addresses;  // one to three, the usual one first
    Group group = Group::Colleague;
    Mailer mailer = Mailer::PlainText;
    std::int16_t zone = 0;    // minutes east of UTC
    std::uint8_t title = 0;   // index into JobTitles()
    bool last_first = false;  // shows as "Last, First"
};

// A discussion list, or a newsletter that one sender sends to its subscribers.
struct MailingList {
    std::string name;     // "dev-announce"; a newsletter's brand
    std::string address;  // where posts go: the To of every message
    std::string id;       // the List-Id value, "<dev-announce.lists.example>"
    std::string sender;   // a newsletter's From address; empty for a discussion list
    bool newsletter = false;
};

struct Cast {
    Person owner;         // addresses: main, personal, perhaps an alias at the company
    std::string company;  // the owner's company domain
    std::string company_name;
    std::vector<Person> people;
    std::array<std::vector<std::uint32_t>, kGroupCount>
        groups;                      // people by group, most active first
    std::vector<MailingList> lists;  // discussion lists, then newsletters
    std::uint32_t discussion_lists = 0;
    std::uint32_t careless = 0;  // a person whose mailer writes raw 8-bit headers, with such a name

    // A person of `group`, the most active far more often than the rest.
    std::uint32_t Pick(Group group, Random& random) const;
    // Gives `person` one more address of their own, on a free-mail domain.
    void AddAddress(std::uint32_t person);
};

// The cast for a mailbox of `messages` messages; larger mailboxes know more people.
Cast MakeCast(std::size_t messages, Random& random);

}  // namespace orvella::host::generator
