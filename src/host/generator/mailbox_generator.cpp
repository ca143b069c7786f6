// Generating a mailbox: the cast, the schedule and the contacts in memory, then each message
// rendered and written to its own file, numbered oldest first, so that memory stays small at any
// size. Messages render independently, so a few workers share the writing.
#include "mailbox_generator.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "contacts.h"
#include "message_render.h"
#include "people.h"
#include "schedule.h"

namespace orvella::host::generator {
namespace {

constexpr std::size_t kFewestMessages = 100;
constexpr std::size_t kMostMessages = 1'000'000;
constexpr std::size_t kChunk = 256;  // messages a worker takes at a time
constexpr unsigned kMostWorkers = 4;

void WriteFile(const std::filesystem::path& path, const std::string& bytes) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        throw std::system_error(errno, std::generic_category(), "creating " + path.string());
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t wrote = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (wrote < 0 && errno == EINTR) continue;
        if (wrote < 0) {
            const int error = errno;
            ::close(fd);
            throw std::system_error(error, std::generic_category(), "writing " + path.string());
        }
        done += static_cast<std::size_t>(wrote);
    }
    if (::close(fd) != 0) {
        throw std::system_error(errno, std::generic_category(), "writing " + path.string());
    }
}

// A run of consecutive messages in time order and the file numbers before it.
struct Chunk {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t inbox_before = 0;
    std::size_t sent_before = 0;
};

class MailboxWriter {
public:
    MailboxWriter(const Cast& cast, const Schedule& schedule, const std::filesystem::path& root)
        : cast_(cast), schedule_(schedule), inbox_(root / "inbox"), sent_(root / "sent_items") {
        std::filesystem::create_directories(inbox_);
        std::filesystem::create_directories(sent_);
        Chunk chunk;
        for (std::size_t at = 0; at < schedule.order.size(); at += kChunk) {
            chunk.begin = at;
            chunk.end = std::min(at + kChunk, schedule.order.size());
            chunks_.push_back(chunk);
            for (std::size_t i = chunk.begin; i < chunk.end; ++i) {
                ++(IsSent(schedule.order[i]) ? chunk.sent_before : chunk.inbox_before);
            }
        }
        inbox_count_ = chunk.inbox_before;
        sent_count_ = chunk.sent_before;
    }

    // Writes every message; rethrows the first failure of any worker.
    void Run() {
        const unsigned workers = std::clamp(std::thread::hardware_concurrency(), 1u, kMostWorkers);
        {
            std::vector<std::jthread> helpers;
            for (unsigned i = 1; i < workers && i < chunks_.size(); ++i) {
                helpers.emplace_back([this] { Work(); });
            }
            Work();
        }  // joined here
        if (failure_) std::rethrow_exception(failure_);
    }

    std::size_t inbox_count() const { return inbox_count_; }
    std::size_t sent_count() const { return sent_count_; }

private:
    bool IsSent(std::uint32_t message) const {
        return schedule_.messages[message].sender == kOwner;
    }

    void Work() {
        std::string bytes;
        try {
            for (std::size_t next = next_++; next < chunks_.size() && !failed_; next = next_++) {
                const Chunk& chunk = chunks_[next];
                std::size_t inbox = chunk.inbox_before;
                std::size_t sent = chunk.sent_before;
                for (std::size_t i = chunk.begin; i < chunk.end; ++i) {
                    const std::uint32_t message = schedule_.order[i];
                    RenderMessage(cast_, schedule_, message, bytes);
                    const bool own = IsSent(message);
                    const std::size_t number = own ? ++sent : ++inbox;
                    WriteFile((own ? sent_ : inbox_) / (std::to_string(number) + "."), bytes);
                }
            }
        } catch (...) {
            const std::lock_guard lock(mutex_);
            if (!failure_) failure_ = std::current_exception();
            failed_ = true;
        }
    }

    const Cast& cast_;
    const Schedule& schedule_;
    const std::filesystem::path inbox_;
    const std::filesystem::path sent_;
    std::vector<Chunk> chunks_;
    std::size_t inbox_count_ = 0;
    std::size_t sent_count_ = 0;
    std::atomic<std::size_t> next_ = 0;
    std::atomic<bool> failed_ = false;
    std::mutex mutex_;
    std::exception_ptr failure_;
};

}  // namespace

GeneratedMailbox GenerateMailbox(const MailboxPlan& plan, const std::filesystem::path& root) {
    if (plan.messages < kFewestMessages || plan.messages > kMostMessages) {
        throw std::invalid_argument("a generated mailbox holds 100 to 1,000,000 messages, not " +
                                    std::to_string(plan.messages));
    }
    Random random(plan.seed);
    Cast cast = MakeCast(plan.messages, random);
    const Schedule schedule = MakeSchedule(cast, plan.messages, plan.seed, random);
    GeneratedMailbox mailbox;
    mailbox.contacts = ChooseContacts(cast, schedule.activity, random);
    mailbox.own_addresses = cast.owner.addresses;

    MailboxWriter writer(cast, schedule, root);
    writer.Run();
    mailbox.inbox_messages = writer.inbox_count();
    mailbox.sent_messages = writer.sent_count();
    return mailbox;
}

}  // namespace orvella::host::generator
