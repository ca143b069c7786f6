// Tolerant address-list reading: GMime per item, the item as written when GMime gives up.
#include "mail_addresses.h"

#include <cctype>
#include <string>

#include "gmime_runtime.h"
#include "text_encoding.h"

namespace orvella::host::mail {
namespace {

// Top-level items: commas inside quotes, angle brackets and comments do not split, and a group
// "name: a, b;" gives its members as items.
std::vector<std::string> Items(std::string_view raw) {
    std::vector<std::string> items;
    std::string current;
    bool quoted = false;
    int angle = 0, comment = 0;
    for (size_t i = 0; i < raw.size(); ++i) {
        const char c = raw[i];
        if (quoted) {
            if (c == '\\' && i + 1 < raw.size()) {
                current += c;
                current += raw[++i];
                continue;
            }
            if (c == '"') quoted = false;
        } else if (c == '"') {
            quoted = true;
        } else if (c == '(') {
            ++comment;
        } else if (c == ')' && comment > 0) {
            --comment;
        } else if (c == '<' && comment == 0) {
            ++angle;
        } else if (c == '>' && angle > 0) {
            --angle;
        } else if (angle == 0 && comment == 0 && (c == ',' || c == ';')) {
            items.push_back(TrimmedText(current));
            current.clear();
            continue;
        } else if (angle == 0 && comment == 0 && c == ':') {
            current.clear();  // a group's name: its members follow
            continue;
        }
        current += c;
    }
    items.push_back(TrimmedText(current));
    std::erase_if(items, [](const std::string& item) { return item.empty(); });
    return items;
}

std::string DecodedName(const std::string& name) {
    std::string text = name;
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        text = text.substr(1, text.size() - 2);
    }
    char* decoded = g_mime_utils_header_decode_phrase(ImportParserOptions(), text.c_str());
    if (decoded) {
        text = decoded;
        g_free(decoded);
    }
    return ToUtf8(TrimmedText(text), nullptr);
}

void AddMailboxes(InternetAddressList* list, std::vector<MailAddress>& out) {
    const int count = list ? internet_address_list_length(list) : 0;
    for (int i = 0; i < count; ++i) {
        InternetAddress* address = internet_address_list_get_address(list, i);
        if (INTERNET_ADDRESS_IS_GROUP(address)) {
            AddMailboxes(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)), out);
            continue;
        }
        const char* name = internet_address_get_name(address);
        const char* addr = internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address));
        out.push_back({ToUtf8(TrimmedText(name ? name : ""), nullptr),
                       ToUtf8(TrimmedText(addr ? addr : ""), nullptr)});
    }
}

// An item as written, for what GMime cannot read.
MailAddress AsWritten(const std::string& item) {
    const size_t open = item.rfind('<');
    const size_t close = item.find('>', open == std::string::npos ? 0 : open);
    if (open != std::string::npos && close != std::string::npos) {
        return {DecodedName(item.substr(0, open)),
                ToUtf8(TrimmedText(item.substr(open + 1, close - open - 1)), nullptr)};
    }
    return {"", ToUtf8(item, nullptr)};
}

}  // namespace

std::vector<MailAddress> ParseAddressList(std::string_view raw) {
    std::vector<MailAddress> out;
    for (const std::string& item : Items(raw)) {
        const size_t before = out.size();
        GObjectRef<InternetAddressList> list(
            internet_address_list_parse(ImportParserOptions(), item.c_str()));
        AddMailboxes(list.get(), out);
        // GMime dropped it, or kept only part of it: take the item as written.
        const bool lost =
            out.size() == before || (out.size() == before + 1 && out.back().address.empty() &&
                                     item.find('@') != std::string::npos);
        if (lost) {
            out.resize(before);
            out.push_back(AsWritten(item));
        }
    }
    for (MailAddress& mailbox : out) {
        if (mailbox.name.empty()) mailbox.name = mailbox.address;
    }
    std::erase_if(out, [](const MailAddress& m) { return m.name.empty(); });
    return out;
}

}  // namespace orvella::host::mail
