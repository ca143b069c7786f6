// Guessing a mailbox's owner from the "From:" headers of its sent mail.
#include "mailbox_owner.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <system_error>

#include "ascii_case.h"
#include "mail_addresses.h"

using orvella::platform::AsciiLower;

namespace orvella::host::mail {
namespace {

namespace fs = std::filesystem;

bool IsSentFolder(const fs::path& directory) {
    const std::string name = AsciiLower(directory.filename().string());
    return name.rfind("sent", 0) == 0 || name.rfind("_sent", 0) == 0;
}

// The unfolded value of the message's first "From:" header, or empty.
std::string FromHeader(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::string value;
    bool inFrom = false;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty()) break;  // the end of the header
        const bool continues = line[0] == ' ' || line[0] == '\t';
        if (inFrom && continues) {
            value += line;
            continue;
        }
        if (inFrom) break;
        if (AsciiLower(line.substr(0, 5)) == "from:") {
            inFrom = true;
            value = line.substr(5);
        }
    }
    return value;
}

}  // namespace

std::string GuessOwnerAddress(const fs::path& mailbox) {
    std::map<std::string, int> senders;
    std::error_code error;
    for (const fs::directory_entry& folder : fs::directory_iterator(mailbox, error)) {
        if (!folder.is_directory(error) || !IsSentFolder(folder.path())) continue;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder.path(), error)) {
            if (!entry.is_regular_file(error)) continue;
            const std::vector<MailAddress> from = ParseAddressList(FromHeader(entry.path()));
            if (!from.empty() && !from.front().address.empty())
                ++senders[AsciiLower(from.front().address)];
        }
    }
    if (senders.empty()) return "";
    return std::max_element(senders.begin(), senders.end(),
                            [](const auto& a, const auto& b) { return a.second < b.second; })
        ->first;
}

}  // namespace orvella::host::mail
