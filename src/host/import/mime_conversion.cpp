// RFC 5322 headers to MAPI message values: addresses, dates, importance, identity.
#include "mime_conversion.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <string_view>

#include "gmime_runtime.h"
#include "mail_addresses.h"
#include "mail_times.h"
#include "mime_parts.h"
#include "text_encoding.h"

namespace orvella::host::mail {
namespace {

// The header block: every line up to the first empty one, with its line ends.
std::string_view HeaderBlock(std::string_view raw) {
    size_t at = 0;
    while (at < raw.size()) {
        const size_t end = raw.find('\n', at);
        const size_t next = end == std::string_view::npos ? raw.size() : end + 1;
        const std::string_view line = raw.substr(at, next - at);
        if (line == "\n" || line == "\r\n") return raw.substr(0, at);
        at = next;
    }
    return raw;
}

// Whether the block opens with header fields and names at least one field every mail has.
bool LooksLikeMail(std::string_view block) {
    static constexpr std::array<const char*, 7> kMailFields = {
        "from", "to", "subject", "date", "message-id", "received", "sender"};
    bool first = true;
    size_t at = 0;
    while (at < block.size()) {
        const size_t end = std::min(block.find('\n', at), block.size());
        const std::string_view line = block.substr(at, end - at);
        at = end + 1;
        if (!line.empty() && (line[0] == ' ' || line[0] == '\t')) continue;  // folded
        const size_t colon = line.find(':');
        const bool field = colon != std::string_view::npos && colon > 0 &&
                           std::all_of(line.begin(), line.begin() + static_cast<long>(colon),
                                       [](char c) { return c > ' ' && c < 127; });
        if (!field) return false;  // not a header line: no mail starts like this
        if (first && line.find('\0') != std::string_view::npos) return false;
        first = false;
        const std::string name(line.substr(0, colon));
        for (const char* known : kMailFields) {
            if (strcasecmp(name.c_str(), known) == 0) return true;
        }
    }
    return false;
}

const char* Header(GMimeMessage* message, const char* name) {
    return g_mime_object_get_header(GMIME_OBJECT(message), name);
}

std::string Trimmed(const char* text) {
    return text ? TrimmedText(text) : std::string();
}

// The value of the first field named `name` as written, unfolded; empty when there is none.
std::string RawHeader(GMimeMessage* message, const char* name) {
    GMimeHeaderList* headers = g_mime_object_get_header_list(GMIME_OBJECT(message));
    GMimeHeader* header = g_mime_header_list_get_header(headers, name);
    const char* raw = header ? g_mime_header_get_raw_value(header) : nullptr;
    std::string value;
    for (const char* c = raw; c && *c; ++c) {
        if (*c != '\r' && *c != '\n') value += *c;
    }
    return value;
}

std::vector<MailAddress> Mailboxes(GMimeMessage* message, const char* field) {
    return ParseAddressList(RawHeader(message, field));
}

void AddRecipients(ImportedMail& mail, GMimeMessage* message, const char* field, LONG type,
                   std::string& display) {
    for (MailAddress& who : Mailboxes(message, field)) {
        if (!display.empty()) display += "; ";
        display += who.name;
        mail.recipients.push_back({type, std::move(who)});
    }
}

std::optional<std::int64_t> NewestReceived(GMimeMessage* message) {
    GMimeHeaderList* headers = g_mime_object_get_header_list(GMIME_OBJECT(message));
    std::optional<std::int64_t> newest;
    const int count = g_mime_header_list_get_count(headers);
    for (int i = 0; i < count; ++i) {
        GMimeHeader* header = g_mime_header_list_get_header_at(headers, i);
        if (strcasecmp(g_mime_header_get_name(header), "Received") != 0) continue;
        const char* value = g_mime_header_get_raw_value(header);
        if (!value) continue;
        const auto date = ParseReceivedDate(value);
        if (date && (!newest || *date > *newest)) newest = date;
    }
    return newest;
}

LONG ImportanceOf(GMimeMessage* message) {
    const std::string importance = Trimmed(Header(message, "Importance"));
    if (strcasecmp(importance.c_str(), "high") == 0) return IMPORTANCE_HIGH;
    if (strcasecmp(importance.c_str(), "low") == 0) return IMPORTANCE_LOW;
    if (strcasecmp(importance.c_str(), "normal") == 0) return IMPORTANCE_NORMAL;
    const std::string x_priority = Trimmed(Header(message, "X-Priority"));
    if (!x_priority.empty() && std::isdigit(static_cast<unsigned char>(x_priority[0]))) {
        const int level = x_priority[0] - '0';
        if (level == 1 || level == 2) return IMPORTANCE_HIGH;
        if (level == 4 || level == 5) return IMPORTANCE_LOW;
        return IMPORTANCE_NORMAL;
    }
    const std::string priority = Trimmed(Header(message, "Priority"));
    if (strcasecmp(priority.c_str(), "urgent") == 0) return IMPORTANCE_HIGH;
    if (strcasecmp(priority.c_str(), "non-urgent") == 0) return IMPORTANCE_LOW;
    return IMPORTANCE_NORMAL;
}

std::string ReceivedBy(GMimeMessage* message, const SourceContext& context) {
    for (const char* name : {"Delivered-To", "X-Original-To", "Envelope-To"}) {
        const std::vector<MailAddress> found = Mailboxes(message, name);
        if (!found.empty()) return found.front().address;
    }
    return context.own_address;
}

GObjectRef<GMimeMessage> Parse(const std::string& raw) {
    GObjectRef<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(raw.data(), raw.size()));
    GObjectRef<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    g_mime_parser_set_format(parser.get(), GMIME_FORMAT_MESSAGE);
    return GObjectRef<GMimeMessage>(
        g_mime_parser_construct_message(parser.get(), ImportParserOptions()));
}

}  // namespace

std::optional<ImportedMail> ConvertMessage(std::string raw, const SourceContext& context) {
    const std::string_view block = HeaderBlock(raw);
    if (!LooksLikeMail(block)) return std::nullopt;
    GObjectRef<GMimeMessage> parsed = Parse(raw);
    if (!parsed) return std::nullopt;
    GMimeMessage* message = parsed.get();

    ImportedMail mail;
    mail.headers = ToUtf8(block, nullptr);
    mail.subject = ToUtf8(Trimmed(g_mime_message_get_subject(message)), nullptr);
    std::vector<MailAddress> from = Mailboxes(message, "From");
    if (from.empty()) from = Mailboxes(message, "Sender");
    if (!from.empty()) mail.sender = std::move(from.front());
    AddRecipients(mail, message, "To", MAPI_TO, mail.display_to);
    AddRecipients(mail, message, "Cc", MAPI_CC, mail.display_cc);
    AddRecipients(mail, message, "Bcc", MAPI_BCC, mail.display_bcc);

    std::optional<std::int64_t> date;
    if (const char* sent = Header(message, "Date")) date = ParseMailDate(sent);
    if (date) mail.submit_time = FileTimeFromUnix(*date);
    const std::optional<std::int64_t> received = NewestReceived(message);
    mail.delivery_time = FileTimeFromUnix(received ? *received : date ? *date : context.file_time);

    mail.received_by = ReceivedBy(message, context);
    mail.importance = ImportanceOf(message);
    if (const char* id = g_mime_message_get_message_id(message); id && *id) {
        mail.message_id = "<" + ToUtf8(id, nullptr) + ">";
    }
    MimeContent content = ReadMimeContent(message);
    mail.message_class = std::move(content.message_class);
    mail.body = std::move(content.body);
    mail.read = context.read;
    parsed = GObjectRef<GMimeMessage>();
    mail.source = std::move(raw);
    return mail;
}

}  // namespace orvella::host::mail
