// Planning threads: their kinds, people, lengths, senders and times. The owner's share of the
// messages is steered towards about a fifth, as in a real mailbox's Sent Items.
#include "schedule.h"

#include <algorithm>
#include <numeric>
#include <string_view>

#include "mail_time.h"
#include "message_text.h"

namespace orvella::host::generator {
namespace {

constexpr std::uint32_t kSentPerMille = 220;
constexpr std::int64_t kDay = 86400;
// How likely mail is written in each hour of the sender's day.
constexpr std::uint32_t kHourWeights[24] = {1,  1,  1,  1,  1,  2,  4,  10, 40, 70, 80, 75,
                                            45, 60, 75, 70, 60, 40, 20, 12, 12, 10, 6,  3};
constexpr std::uint32_t kKindWeights[] = {640, 90, 25, 80, 165};  // in the order of ThreadKind

// What a thread must be; what it leaves open is drawn.
struct ThreadRequest {
    ThreadKind kind = ThreadKind::Conversation;
    SubjectStyle subject = SubjectStyle::Plain;
    Importance importance = Importance::Normal;
    std::uint32_t length = 0;       // 0: drawn
    std::string_view senders = {};  // 'o' the owner, 'p' a person, one per message; empty: drawn
    bool drawn_style = false;       // subject and importance drawn too
};

class Planner {
public:
    Planner(const Cast& cast, std::size_t total, Random& random, Schedule& schedule)
        : cast_(cast), total_(total), random_(random), schedule_(schedule) {}

    std::size_t Remaining() const { return total_ - schedule_.messages.size(); }

    ThreadRequest Draw() {
        ThreadRequest request;
        request.kind = static_cast<ThreadKind>(random_.Weighted(kKindWeights));
        request.drawn_style = true;
        return request;
    }

    void Add(const ThreadRequest& request) {
        ThreadPlan thread;
        thread.seed = random_.Next();
        thread.kind = request.kind;
        thread.first_message = static_cast<std::uint32_t>(schedule_.messages.size());
        thread.first_party = static_cast<std::uint32_t>(schedule_.parties.size());
        std::uint32_t length = request.length ? request.length : DrawLength(request.kind);
        length = static_cast<std::uint32_t>(std::min<std::size_t>(length, Remaining()));
        thread.length = static_cast<std::uint16_t>(length);
        ChooseParties(thread, request);
        thread.party_count =
            static_cast<std::uint16_t>(schedule_.parties.size() - thread.first_party);
        const auto thread_index = static_cast<std::uint32_t>(schedule_.threads.size());
        std::uint32_t previous = kOwner;
        for (std::uint32_t j = 0; j < length; ++j) {
            const char turn = j < request.senders.size() ? request.senders[j] : '\0';
            const std::uint32_t sender = NextSender(thread, j, previous, turn);
            schedule_.messages.push_back({0, thread_index, sender, j});
            if (sender == kOwner) ++schedule_.sent;
            previous = sender;
        }
        thread.subject = request.subject;
        thread.importance = request.importance;
        if (request.drawn_style) DrawStyle(thread);
        thread.words = DrawThreadWords(cast_, schedule_, thread, random_);
        Time(thread);
        Count(thread);
        schedule_.threads.push_back(thread);
    }

private:
    std::uint32_t DrawLength(ThreadKind kind) {
        switch (kind) {
            case ThreadKind::Newsletter:
                return 1;
            case ThreadKind::CcOnly: {
                constexpr std::uint32_t weights[] = {600, 300, 100};
                return 1 + static_cast<std::uint32_t>(random_.Weighted(weights));
            }
            case ThreadKind::Broadcast:
                return random_.Chance(800) ? 1 : random_.Between(2, 4);
            default:
                break;
        }
        const std::uint32_t draw = random_.Below(10000);
        std::uint32_t length = 1;
        if (draw < 2 && total_ >= 20000) {
            length = random_.Between(100, 300);  // the rare thread of hundreds
        } else if (draw >= 9650) {
            length = random_.Between(10, 40);
        } else if (draw >= 9000) {
            length = random_.Between(4, 9);
        } else {
            length = draw < 5600 ? 1 : draw < 8000 ? 2 : 3;
        }
        return std::min<std::uint32_t>(
            length, static_cast<std::uint32_t>(std::max<std::size_t>(10, total_ / 8)));
    }

    // A person of a group drawn by `weights` (Colleague, Partner, Customer, Friend, Community).
    std::uint32_t PickPerson(std::span<const std::uint32_t> weights) {
        const auto group = static_cast<Group>(random_.Weighted(weights));
        return cast_.Pick(group, random_);
    }

    // Adds `person` to the thread unless already there; whether it was added.
    bool AddParty(const ThreadPlan& thread, std::uint32_t person) {
        const auto begin = schedule_.parties.begin() + thread.first_party;
        if (std::find(begin, schedule_.parties.end(), person) != schedule_.parties.end()) {
            return false;
        }
        schedule_.parties.push_back(person);
        return true;
    }

    void AddParties(const ThreadPlan& thread, std::uint32_t count,
                    std::span<const std::uint32_t> weights) {
        for (std::uint32_t added = 0, tries = 0; added < count && tries < 4 * count + 8; ++tries) {
            if (AddParty(thread, PickPerson(weights))) ++added;
        }
    }

    void ChooseParties(ThreadPlan& thread, const ThreadRequest& request) {
        static constexpr std::uint32_t kPrimary[] = {45, 20, 20, 15, 0};
        static constexpr std::uint32_t kWorkExtras[] = {70, 15, 15, 0, 0};
        static constexpr std::uint32_t kFriends[] = {0, 0, 0, 1, 0};
        static constexpr std::uint32_t kCcSenders[] = {50, 30, 20, 0, 0};
        static constexpr std::uint32_t kPosters[] = {0, 15, 15, 10, 60};
        switch (thread.kind) {
            case ThreadKind::Conversation: {
                const std::uint32_t primary = request.subject == SubjectStyle::Raw8Bit
                                                  ? cast_.careless
                                                  : PickPerson(kPrimary);
                AddParty(thread, primary);
                const Group group = cast_.people[primary].group;
                if (group == Group::Friend) {
                    thread.own_address = 1;
                } else if (group == Group::Colleague && cast_.owner.addresses.size() > 2 &&
                           random_.Chance(150)) {
                    thread.own_address = 2;
                }
                std::uint32_t extras = 0;
                if (thread.length >= 10) {
                    extras = random_.Between(2, 5);
                } else if (!random_.Chance(750)) {
                    extras = random_.Chance(600) ? 1 : random_.Between(2, 4);
                }
                AddParties(thread, extras,
                           group == Group::Friend ? std::span(kFriends) : std::span(kWorkExtras));
                break;
            }
            case ThreadKind::CcOnly:
                AddParty(thread, PickPerson(kCcSenders));
                AddParties(thread, 1, kWorkExtras);
                AddParties(thread, random_.Chance(200) ? random_.Between(1, 2) : 0, kWorkExtras);
                break;
            case ThreadKind::Broadcast: {
                const auto& colleagues = cast_.groups[static_cast<std::size_t>(Group::Colleague)];
                const auto available = static_cast<std::uint32_t>(colleagues.size() - 1);
                AddParty(thread, cast_.Pick(Group::Colleague, random_));
                const std::uint32_t others = std::min(random_.Between(9, 39), available);
                while (schedule_.parties.size() - thread.first_party < 1 + others) {
                    AddParty(thread, colleagues[random_.Below(available + 1)]);
                }
                break;
            }
            case ThreadKind::Discussion: {
                thread.list = static_cast<std::uint8_t>(random_.Below(cast_.discussion_lists));
                const std::uint32_t posters =
                    thread.length == 1
                        ? 1
                        : std::min<std::uint32_t>(thread.length, random_.Between(2, 8));
                AddParties(thread, posters, kPosters);
                break;
            }
            case ThreadKind::Newsletter: {
                const auto newsletters =
                    static_cast<std::uint32_t>(cast_.lists.size()) - cast_.discussion_lists;
                thread.list =
                    static_cast<std::uint8_t>(cast_.discussion_lists + random_.Below(newsletters));
                break;
            }
        }
    }

    // Whether the owner writes the next message: more likely while Sent Items is short of its
    // share.
    bool OwnerTurn(std::uint32_t when_behind, std::uint32_t when_ahead) {
        const bool behind = schedule_.sent * 1000 < kSentPerMille * (schedule_.messages.size() + 1);
        return random_.Chance(behind ? when_behind : when_ahead);
    }

    // A party of the thread other than `previous` when there is one.
    std::uint32_t OtherParty(const ThreadPlan& thread, std::uint32_t previous) {
        const auto parties = std::span(schedule_.parties).subspan(thread.first_party);
        if (parties.size() == 1) return parties[0];
        for (;;) {
            const std::uint32_t person =
                parties[random_.Below(static_cast<std::uint32_t>(parties.size()))];
            if (person != previous) return person;
        }
    }

    std::uint32_t NextSender(const ThreadPlan& thread, std::uint32_t j, std::uint32_t previous,
                             char turn) {
        if (thread.kind == ThreadKind::Newsletter) return kNewsletter;
        const std::uint32_t first = schedule_.parties[thread.first_party];
        bool owner = turn == 'o';
        if (turn == '\0') {
            switch (thread.kind) {
                case ThreadKind::Conversation:
                    owner = j == 0 ? OwnerTurn(550, 80) : previous != kOwner && OwnerTurn(900, 200);
                    break;
                case ThreadKind::CcOnly:
                    owner = j > 0 && OwnerTurn(150, 20);
                    break;
                case ThreadKind::Broadcast:
                    owner = j > 0 && OwnerTurn(300, 50);
                    break;
                default:
                    owner = j > 0 && OwnerTurn(80, 10);
                    break;
            }
        }
        if (owner) return kOwner;
        if (j == 0) return first;
        if (thread.kind == ThreadKind::Conversation && previous == kOwner && random_.Chance(700)) {
            return first;
        }
        return OtherParty(thread, previous);
    }

    void DrawStyle(ThreadPlan& thread) {
        const std::uint32_t first = schedule_.messages[thread.first_message].sender;
        const bool list_mail =
            thread.kind == ThreadKind::Discussion || thread.kind == ThreadKind::Newsletter;
        const std::uint32_t style = random_.Below(1000);
        if (first < cast_.people.size() && cast_.people[first].mailer == Mailer::Careless &&
            style < 500) {
            thread.subject = SubjectStyle::Raw8Bit;
        } else if (style < 5) {
            thread.subject = SubjectStyle::Blank;
        } else if (style < 9 && !list_mail) {
            thread.subject = SubjectStyle::Long;
        } else if (style < 30) {
            thread.subject = SubjectStyle::Foreign;
        }
        const std::uint32_t importance = random_.Below(1000);
        if (thread.kind == ThreadKind::Newsletter) {
            if (importance < 50) thread.importance = Importance::Low;
        } else if (thread.kind != ThreadKind::Discussion) {
            if (importance < 30) {
                thread.importance = Importance::High;
            } else if (importance < 45) {
                thread.importance = Importance::Low;
            }
        }
    }

    int ZoneOf(std::uint32_t sender) const {
        if (sender == kOwner) return cast_.owner.zone;
        if (sender == kNewsletter) return 0;
        return cast_.people[sender].zone;
    }

    // Times: the first message in working hours of its sender's day, replies minutes to days
    // apart (long threads faster), all inside the mailbox's months.
    void Time(const ThreadPlan& thread) {
        const std::span<MessagePlan> messages =
            std::span(schedule_.messages).subspan(thread.first_message, thread.length);
        const std::int64_t span = schedule_.end - schedule_.start;
        const bool fast = thread.length >= 10;
        std::vector<std::int64_t> gaps(thread.length, 0);
        std::int64_t duration = 0;
        for (std::size_t j = 1; j < gaps.size(); ++j) {
            gaps[j] = fast ? 60 + random_.Skewed(8 * 3600) : 120 + random_.Skewed(2 * kDay);
            duration += gaps[j];
        }
        const std::int64_t limit = span * 6 / 10;
        if (duration > limit) {
            std::int64_t scaled = 0;
            for (auto& gap : gaps) {
                if (gap == 0) continue;
                gap = std::max<std::int64_t>(60, gap * limit / duration);
                scaled += gap;
            }
            duration = scaled;
        }
        const int zone = ZoneOf(messages[0].sender);
        const auto window = static_cast<std::uint32_t>(span - duration - 2 * kDay);
        const std::int64_t local = schedule_.start + kDay + random_.Below(window) + zone * 60;
        std::int64_t day = local / kDay;
        const int weekday = WeekdayOf(day);
        if ((weekday == 0 || weekday == 6) && random_.Chance(800)) day += weekday == 6 ? -1 : 1;
        const auto hour = static_cast<std::int64_t>(random_.Weighted(kHourWeights));
        const std::int64_t minute = random_.Below(60);
        const std::int64_t second = random_.Below(60);
        std::int64_t at = day * kDay + hour * 3600 + minute * 60 + second - zone * 60;
        at = std::max(at, schedule_.start);
        at = std::min(at, schedule_.end - duration);
        for (std::size_t j = 0; j < messages.size(); ++j) {
            at += gaps[j];
            messages[j].when = static_cast<std::uint32_t>(at - schedule_.start);
        }
    }

    void Count(const ThreadPlan& thread) {
        if (thread.kind == ThreadKind::Discussion) {
            for (const MessagePlan& message : schedule_.MessagesOf(thread)) {
                if (message.sender < cast_.people.size()) ++schedule_.activity[message.sender];
            }
            return;
        }
        for (std::uint32_t person : schedule_.PartiesOf(thread)) {
            schedule_.activity[person] += thread.length;
        }
    }

    const Cast& cast_;
    std::size_t total_;
    Random& random_;
    Schedule& schedule_;
};

}  // namespace

Schedule MakeSchedule(const Cast& cast, std::size_t messages, std::uint32_t seed, Random& random) {
    Schedule schedule;
    schedule.end = EndTimeFor(seed);
    schedule.start =
        schedule.end -
        std::clamp<std::int64_t>(static_cast<std::int64_t>(messages) / 20, 90, 365) * kDay;
    schedule.tag = DeriveSeed(seed, 0x4D4944) & 0xFFFFF;  // "MID"
    schedule.messages.reserve(messages);
    schedule.activity.assign(cast.people.size(), 0);
    Planner planner(cast, messages, random, schedule);

    using K = ThreadKind;
    using S = SubjectStyle;
    using I = Importance;
    const auto long_thread =
        static_cast<std::uint32_t>(std::clamp<std::size_t>(messages / 10, 10, 40));
    const ThreadRequest always[] = {
        {K::Conversation, S::Plain, I::High, 3, "pop"},
        {K::Conversation, S::Plain, I::Low, 2, "po"},
        {K::CcOnly, S::Plain, I::Normal, 1, "p"},
        {K::Discussion, S::Plain, I::Normal, 2, "pp"},
        {K::Newsletter, S::Plain, I::Normal, 1, "p"},
        {K::Broadcast, S::Plain, I::Normal, 1, "p"},
        {K::Conversation, S::Blank, I::Normal, 2, "po"},
        {K::Conversation, S::Long, I::Normal, 1, "p"},
        {K::Conversation, S::Foreign, I::Normal, 2, "op"},
        {K::Conversation, S::Raw8Bit, I::Normal, 1, "p"},
        {K::Conversation, S::Plain, I::Normal, long_thread, ""},
    };
    for (const ThreadRequest& request : always) planner.Add(request);
    while (planner.Remaining() > 0) planner.Add(planner.Draw());

    schedule.order.resize(schedule.messages.size());
    std::iota(schedule.order.begin(), schedule.order.end(), 0u);
    std::sort(schedule.order.begin(), schedule.order.end(), [&](std::uint32_t a, std::uint32_t b) {
        const std::uint32_t when_a = schedule.messages[a].when;
        const std::uint32_t when_b = schedule.messages[b].when;
        return when_a != when_b ? when_a < when_b : a < b;
    });
    return schedule;
}

}  // namespace orvella::host::generator
