// The plan of a mailbox before any text exists: conversation threads, who sends each message
// and when. Small per message (16 bytes), so a million-message mailbox plans in memory and is
// then written one message at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "people.h"
#include "random_stream.h"

namespace orvella::host::generator {

enum class ThreadKind : std::uint8_t {
    Conversation,  // the owner and one or more people
    CcOnly,        // two people write to each other with the owner in Cc
    Broadcast,     // one person to ten to forty
    Discussion,    // posts to a mailing list, the owner in neither To nor Cc
    Newsletter,    // one issue of a newsletter
};
enum class SubjectStyle : std::uint8_t { Plain, Blank, Long, Foreign, Raw8Bit };
enum class Importance : std::uint8_t { Normal, High, Low };

// Senders that are not people of the cast.
inline constexpr std::uint32_t kOwner = 0xFFFF'FFFF;
inline constexpr std::uint32_t kNewsletter = 0xFFFF'FFFE;

// What a thread is about, as indices into the word lists: drawn when the thread is planned, so
// that writing a message needs no generator for them.
struct ThreadWords {
    std::uint32_t number = 0;  // an invoice, a build, an order
    std::uint8_t topic = 0;
    std::uint8_t project = 0;
    std::uint8_t day = 0;
    std::uint8_t subject = 0;  // the subject's template or first clause
};

struct ThreadPlan {
    std::uint32_t seed = 0;           // of the texts of the thread's messages
    std::uint32_t first_message = 0;  // into Schedule::messages
    std::uint32_t first_party = 0;    // into Schedule::parties
    std::uint16_t party_count = 0;
    std::uint16_t length = 0;
    ThreadKind kind = ThreadKind::Conversation;
    SubjectStyle subject = SubjectStyle::Plain;
    Importance importance = Importance::Normal;  // of the first message
    std::uint8_t own_address = 0;                // which of the owner's addresses the thread uses
    std::uint8_t list = 0;                       // into Cast::lists, for list mail
    ThreadWords words;
};

struct MessagePlan {
    std::uint32_t when = 0;    // seconds after Schedule::start
    std::uint32_t thread = 0;  // into Schedule::threads
    std::uint32_t sender = 0;  // a person, kOwner or kNewsletter
    std::uint32_t index = 0;   // in its thread, from 0
};

struct Schedule {
    std::int64_t start = 0;  // seconds since 1970, UTC
    std::int64_t end = 0;
    std::uint32_t tag = 0;  // sets this mailbox's Message-IDs apart from other seeds'
    std::vector<ThreadPlan> threads;
    std::vector<std::uint32_t> parties;   // the people of each thread besides the owner
    std::vector<MessagePlan> messages;    // thread after thread, each in order
    std::vector<std::uint32_t> order;     // into messages, oldest first
    std::vector<std::uint32_t> activity;  // per person: messages they are part of
    std::size_t sent = 0;                 // messages the owner sends

    std::span<const std::uint32_t> PartiesOf(const ThreadPlan& thread) const {
        return std::span(parties).subspan(thread.first_party, thread.party_count);
    }
    std::span<const MessagePlan> MessagesOf(const ThreadPlan& thread) const {
        return std::span(messages).subspan(thread.first_message, thread.length);
    }
};

// Plans `messages` messages over several months before an end date the seed gives. Every
// mailbox, however small, has a thread of each kind, both importances, replies both ways,
// blank, long, encoded and raw 8-bit subjects, and a thread of at least ten messages.
Schedule MakeSchedule(const Cast& cast, std::size_t messages, std::uint32_t seed, Random& random);

}  // namespace orvella::host::generator
