// Header fields and body of a generated message, in the manner of its sender's mail program.
#include "message_render.h"

#include <cstdio>
#include <span>

#include "addressing.h"
#include "header_encoding.h"
#include "mail_time.h"
#include "message_text.h"
#include "mime_body.h"

namespace orvella::host::generator {
namespace {

// Stream names for DeriveSeed: small per-message choices made without a generator.
constexpr std::uint32_t kAlternateStream = 0x414C54;   // "ALT"
constexpr std::uint32_t kDeliveryStream = 0x52435654;  // "RCVT"
constexpr std::uint32_t kLayoutStream = 0x4C41594F;    // "LAYO"
constexpr std::size_t kReferencesKept = 10;

// Who a message is from, as its header and its mail program show it.
struct Sender {
    std::string name;
    std::string address;
    Mailer mailer = Mailer::PlainText;
    int zone = 0;
    bool newsletter = false;
};

std::string DomainOf(const std::string& address) {
    return address.substr(address.find('@') + 1);
}

std::string OwnAddress(const Cast& cast, const ThreadPlan& thread) {
    const auto& own = cast.owner.addresses;
    return own[thread.own_address < own.size() ? thread.own_address : 0];
}

std::string ShownName(const Person& person) {
    if (!person.last_first) return person.name;
    return person.name.substr(person.first.size() + 1) + ", " + person.first;
}

Sender SenderOf(const Cast& cast, const ThreadPlan& thread, const MessagePlan& message) {
    Sender sender;
    if (message.sender == kOwner) {
        sender = {cast.owner.name, OwnAddress(cast, thread), cast.owner.mailer, cast.owner.zone};
    } else if (message.sender == kNewsletter) {
        const MailingList& list = cast.lists[thread.list];
        sender = {list.name, list.sender, Mailer::Webmail, 0, true};
    } else {
        const Person& person = cast.people[message.sender];
        // Now and then from another of their addresses.
        const std::uint32_t draw = DeriveSeed(thread.seed, message.index, kAlternateStream);
        const std::size_t which = person.addresses.size() > 1 && draw % 8 == 0
                                      ? 1 + draw / 8 % (person.addresses.size() - 1)
                                      : 0;
        sender = {ShownName(person), person.addresses[which], person.mailer, person.zone};
    }
    return sender;
}

std::string RecipientText(const Cast& cast, const ThreadPlan& thread, std::uint32_t who,
                          HeaderText how) {
    if (who == kOwner) return Mailbox(cast.owner.name, OwnAddress(cast, thread), how);
    if (who == kListAddress) return cast.lists[thread.list].address;
    const Person& person = cast.people[who];
    return Mailbox(ShownName(person), person.addresses.front(), how);
}

std::string RecipientList(const Cast& cast, const ThreadPlan& thread,
                          const std::vector<std::uint32_t>& who, HeaderText how) {
    std::string text;
    for (std::uint32_t one : who) {
        if (!text.empty()) text += ", ";
        text += RecipientText(cast, thread, one, how);
    }
    return text;
}

std::string MessageId(const Cast& cast, const Schedule& schedule, const MessagePlan& message) {
    const ThreadPlan& thread = schedule.threads[message.thread];
    const Sender sender = SenderOf(cast, thread, message);
    char unique[64];
    std::snprintf(unique, sizeof unique, ".%X.%u.%05X@", message.thread, message.index,
                  schedule.tag);
    return "<" + CompactUtc(schedule.start + message.when) + unique + DomainOf(sender.address) +
           ">";
}

void AppendThreadFields(std::string& out, const Cast& cast, const Schedule& schedule,
                        const MessagePlan& message) {
    AppendField(out, "Message-ID", MessageId(cast, schedule, message));
    if (message.index == 0) return;
    const std::span<const MessagePlan> earlier =
        schedule.MessagesOf(schedule.threads[message.thread]).first(message.index);
    AppendField(out, "In-Reply-To", MessageId(cast, schedule, earlier.back()));
    // Long threads keep the first and the latest references, as mail programs trim them.
    std::string references = MessageId(cast, schedule, earlier.front());
    const std::size_t from =
        earlier.size() > kReferencesKept ? earlier.size() - (kReferencesKept - 1) : 1;
    for (std::size_t i = from; i < earlier.size(); ++i) {
        references += " " + MessageId(cast, schedule, earlier[i]);
    }
    AppendField(out, "References", references);
}

void AppendImportance(std::string& out, Importance importance, const Sender& sender) {
    if (importance == Importance::Normal) return;
    const bool high = importance == Importance::High;
    switch (sender.mailer) {
        case Mailer::Desk:
            AppendField(out, "X-Priority", high ? "1" : "5");
            AppendField(out, "Importance", high ? "high" : "low");
            break;
        case Mailer::Webmail:
            AppendField(out, "X-Priority", high ? "1 (Highest)" : "5 (Lowest)");
            break;
        case Mailer::PlainText:
            AppendField(out, "Importance", high ? "High" : "Low");
            break;
        case Mailer::Careless:
            AppendField(out, "X-Priority", high ? "2" : "4");
            break;
    }
}

const char* MailerName(Mailer mailer) {
    switch (mailer) {
        case Mailer::Desk:
            return "Desk Mail 16.0";
        case Mailer::Careless:
            return "BulkPost 2.0";
        default:
            return nullptr;
    }
}

std::string Subject(const Cast& cast, const Schedule& schedule, const ThreadPlan& thread,
                    const MessagePlan& message, const Sender& sender, HeaderText how) {
    const std::string base = UnstructuredText(ThreadSubject(cast, schedule, thread), how);
    if (message.index == 0) return base;
    const std::string prefix = sender.mailer == Mailer::Desk ? "RE:" : "Re:";
    return base.empty() ? prefix : prefix + " " + base;
}

// The reply's quote of the message before it: how the quote is introduced, and its paragraphs.
struct Quote {
    std::string attribution;
    std::vector<std::string> paragraphs;
    std::string plain;
};

Quote QuoteOf(const Cast& cast, const Schedule& schedule, const MessagePlan& message,
              Mailer mailer) {
    const ThreadPlan& thread = schedule.threads[message.thread];
    const MessagePlan& previous = schedule.MessagesOf(thread)[message.index - 1];
    const Sender from = SenderOf(cast, thread, previous);
    const std::string date = FormatMailDate(schedule.start + previous.when, from.zone);
    Quote quote;
    quote.paragraphs = BodyParagraphs(cast, schedule, previous);
    const std::string text = PlainText(quote.paragraphs);
    if (mailer == Mailer::Desk) {
        quote.attribution = "-----Original Message-----\nFrom: " + from.name + " <" + from.address +
                            ">\nSent: " + date +
                            "\nSubject: " + ThreadSubject(cast, schedule, thread);
        quote.plain = quote.attribution + "\n\n" + text;
    } else {
        quote.attribution = "On " + date + ", " + from.name + " <" + from.address + "> wrote:";
        quote.plain = quote.attribution + "\n" + QuotedLines(text);
    }
    return quote;
}

// The trace the owner's mail server adds on delivery, a little after the message was sent.
void AppendDelivery(std::string& out, const Cast& cast, const Schedule& schedule,
                    std::uint32_t index, const Sender& sender) {
    const MessagePlan& message = schedule.messages[index];
    const ThreadPlan& thread = schedule.threads[message.thread];
    const std::string own = OwnAddress(cast, thread);
    const std::string relay = "mail." + DomainOf(sender.address);
    const std::uint32_t delay = 2 + DeriveSeed(thread.seed, message.index, kDeliveryStream) % 90;
    char id[16];
    std::snprintf(id, sizeof id, "%08X", DeriveSeed(schedule.tag, index));
    out += "Received: from " + relay + " (" + relay + " [192.0.2." +
           std::to_string(1 + message.thread % 250) + "])\n\tby mx." + DomainOf(own) +
           " with ESMTPS id " + id + ";\n\t" +
           FormatMailDate(schedule.start + message.when + delay, cast.owner.zone) + "\n";
    AppendField(out, "Delivered-To", own);
}

void AppendListFields(std::string& out, const MailingList& list) {
    AppendField(out, "List-Id", list.id);
    if (list.newsletter) {
        AppendField(out, "List-Unsubscribe",
                    "<https://" + DomainOf(list.address) + "/unsubscribe>");
        AppendField(out, "Precedence", "bulk");
    } else {
        AppendField(out, "List-Post", "<mailto:" + list.address + ">");
        AppendField(out, "Precedence", "list");
    }
}

// The body: the sender's words, the quoted message before (unless a careless mailer drops
// it), and an HTML alternative where the sender's program adds one.
void AppendBody(std::string& out, const Cast& cast, const Schedule& schedule,
                const MessagePlan& message, const Sender& sender) {
    const ThreadPlan& thread = schedule.threads[message.thread];
    const std::vector<std::string> paragraphs = BodyParagraphs(cast, schedule, message);
    std::string plain = PlainText(paragraphs);
    Quote quote;
    if (message.index > 0 && sender.mailer != Mailer::Careless) {
        quote = QuoteOf(cast, schedule, message, sender.mailer);
        plain += "\n" + quote.plain;
    }
    const std::uint32_t layout = DeriveSeed(thread.seed, message.index, kLayoutStream);
    BodyStyle style;
    style.alternative = sender.newsletter || sender.mailer == Mailer::Desk ||
                        (sender.mailer == Mailer::Webmail && layout % 2 == 0);
    style.quoted_printable = sender.mailer == Mailer::Desk;
    style.latin1_undeclared = sender.mailer == Mailer::Careless;
    const std::string html = style.alternative
                                 ? HtmlText(paragraphs, quote.attribution, quote.paragraphs)
                                 : std::string();
    char boundary[64];
    std::snprintf(boundary, sizeof boundary, "----=_Part_%X_%u.%05X", message.thread, message.index,
                  schedule.tag);
    AppendMimeBody(out, plain, html, style, boundary);
}

}  // namespace

void RenderMessage(const Cast& cast, const Schedule& schedule, std::uint32_t index,
                   std::string& out) {
    out.clear();
    const MessagePlan& message = schedule.messages[index];
    const ThreadPlan& thread = schedule.threads[message.thread];
    const Sender sender = SenderOf(cast, thread, message);
    const HeaderText how =
        sender.mailer == Mailer::Careless ? HeaderText::Raw8Bit : HeaderText::Encoded;

    if (message.sender != kOwner) AppendDelivery(out, cast, schedule, index, sender);
    AppendField(out, "Date", FormatMailDate(schedule.start + message.when, sender.zone));
    AppendField(out, "From", Mailbox(sender.name, sender.address, how));
    const Addressing addressing = AddressingOf(schedule, message);
    AppendField(out, "To", RecipientList(cast, thread, addressing.to, how));
    if (!addressing.cc.empty()) {
        AppendField(out, "Cc", RecipientList(cast, thread, addressing.cc, how));
    }
    AppendField(out, "Subject", Subject(cast, schedule, thread, message, sender, how));
    AppendThreadFields(out, cast, schedule, message);
    if (thread.kind == ThreadKind::Discussion || thread.kind == ThreadKind::Newsletter) {
        AppendListFields(out, cast.lists[thread.list]);
    }
    if (message.index == 0) AppendImportance(out, thread.importance, sender);
    if (const char* mailer = MailerName(sender.mailer)) AppendField(out, "X-Mailer", mailer);
    AppendBody(out, cast, schedule, message, sender);
}

}  // namespace orvella::host::generator
