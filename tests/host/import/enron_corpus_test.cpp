// Real mail: Enron mailboxes imported with --tree, checked against the files themselves with a
// small header reader of the test's own. Skips when the corpus is absent. One mailbox by
// default; all of them with ORVELLA_FULL_CORPUS=1.
#include <gtest/gtest.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "ascii_case.h"
#include "enron_corpus.h"
#include "import_fixture.h"
#include "mapiutil.h"

using orvella::platform::AsciiLower;

namespace {

namespace fs = std::filesystem;
using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::RowSetPtr;
using orvella::testing::PropText;
using orvella::testing::RecipientTexts;
namespace mail = orvella::host::mail;

std::string Trim(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// The test's own reading of a message file: unfolded header fields by lower-case name, and
// the body after the first empty line.
struct FileMessage {
    std::map<std::string, std::string> fields;
    std::string body;
};

FileMessage ReadMessage(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    FileMessage message;
    std::string name;
    size_t at = 0;
    while (at < text.size()) {
        size_t end = text.find('\n', at);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(at, end - at);
        at = end + 1;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty()) {
            message.body = at < text.size() ? text.substr(at) : "";
            break;
        }
        if ((line[0] == ' ' || line[0] == '\t') && !name.empty()) {
            message.fields[name] += line;
        } else if (const size_t colon = line.find(':'); colon != std::string::npos) {
            name = AsciiLower(line.substr(0, colon));
            if (!message.fields.count(name)) message.fields[name] = line.substr(colon + 1);
        }
    }
    for (auto& [field, value] : message.fields) value = Trim(value);
    return message;
}

// "Fri, 7 Dec 2001 10:06:42 -0800 (PST)" as "2001-12-07T18:06:42Z".
std::string DateText(const std::string& date) {
    static const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    char weekday[8] = {}, month[8] = {};
    int day = 0, year = 0, hour = 0, minute = 0, second = 0, zone = 0;
    if (std::sscanf(date.c_str(), "%7[A-Za-z], %d %7s %d %d:%d:%d %d", weekday, &day, month, &year,
                    &hour, &minute, &second, &zone) != 8)
        return "(unreadable)";
    int month_number = 0;
    while (month_number < 12 && strcasecmp(kMonths[month_number], month) != 0) ++month_number;
    std::tm parts = {};
    parts.tm_year = year - 1900;
    parts.tm_mon = month_number;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    const int offset = (zone / 100) * 3600 + (zone % 100) * 60;
    const std::time_t utc = timegm(&parts) - offset;
    std::tm out = {};
    gmtime_r(&utc, &out);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &out);
    return text;
}

std::vector<std::string> SplitAddresses(const std::string& list) {
    std::vector<std::string> out;
    size_t at = 0;
    while (at <= list.size()) {
        const size_t comma = std::min(list.find(',', at), list.size());
        std::string one = Trim(list.substr(at, comma - at));
        // "houston <.ward@enron.com>": the address is in the brackets.
        if (const size_t open = one.find('<'); open != std::string::npos) {
            one = one.substr(open + 1, one.find('>', open) - open - 1);
        }
        if (!one.empty()) out.push_back(one);
        at = comma + 1;
    }
    return out;
}

// The folder a file of the mailbox belongs to under --tree, decided independently.
std::string FolderOf(const fs::path& relative_dir) {
    static const std::map<std::string, std::string> kStandard = {
        {"inbox", "Inbox"},           {"notes_inbox", "Inbox"},
        {"sent", "Sent Items"},       {"_sent_mail", "Sent Items"},
        {"sent_items", "Sent Items"}, {"deleted_items", "Deleted Items"}};
    // Folders of other items that a directory of mail must not land in.
    static const std::set<std::string> kNotMail = {"calendar", "contacts", "journal", "notes",
                                                   "tasks"};
    std::string folder;
    for (const fs::path& piece : relative_dir) {
        std::string name = piece.string();
        if (folder.empty() && kStandard.count(name)) name = kStandard.at(name);
        if (folder.empty() && kNotMail.count(name)) name += " (mail)";
        folder += (folder.empty() ? "" : "/") + name;
    }
    return folder;
}

bool Ascii(const std::string& text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

class EnronCorpus : public orvella::testing::ImportTest,
                    public ::testing::WithParamInterface<std::string> {
protected:
    ComPtr<IMessage> FindById(const std::string& folder, const std::string& message_id) {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(FolderAt(folder)->GetContentsTable(0, &table), S_OK);
        SPropValue value = {};
        value.ulPropTag = PR_INTERNET_MESSAGE_ID_A;
        value.Value.lpszA = const_cast<char*>(message_id.c_str());
        SRestriction same = {};
        same.rt = RES_PROPERTY;
        same.res.resProperty = {RELOP_EQ, PR_INTERNET_MESSAGE_ID_A, &value};
        SizedSPropTagArray(1, columns) = {1, {PR_ENTRYID}};
        RowSetPtr rows;
        EXPECT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), &same,
                                 nullptr, 0, &rows),
                  S_OK);
        if (!rows || rows->cRows != 1) return {};
        const SBinary& id = rows->aRow[0].lpProps[0].Value.bin;
        std::vector<BYTE> eid(id.lpb, id.lpb + id.cb);
        return Open(eid, 0);
    }

    void CheckMailbox(const std::string& owner) {
        SCOPED_TRACE(owner);
        const fs::path root = orvella::testing::EnronCorpus() / owner;
        std::map<std::string, ULONG> expected_counts;
        std::vector<std::pair<fs::path, std::string>> files;  // file, folder
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            if (!entry.is_regular_file()) continue;
            const std::string folder = FolderOf(fs::relative(entry.path().parent_path(), root));
            ++expected_counts[folder];
            files.emplace_back(entry.path(), folder);
        }
        mail::ImportOptions options;
        options.tree = true;
        const mail::ImportReport report = Import({root}, options);
        EXPECT_TRUE(report.skipped.empty()) << report.skipped[0].path;
        for (const auto& [folder, count] : expected_counts) {
            EXPECT_EQ(CountIn(folder), count) << folder;
        }

        std::sort(files.begin(), files.end());
        for (size_t i = 0; i < files.size(); i += 97) {
            const auto& [path, folder] = files[i];
            SCOPED_TRACE(path.string());
            const FileMessage file = ReadMessage(path);
            ComPtr<IMessage> message = FindById(folder, file.fields.at("message-id"));
            ASSERT_TRUE(message);
            EXPECT_EQ(PropText(message.Get(), PR_SENDER_EMAIL_ADDRESS_A), file.fields.at("from"));
            if (Ascii(file.fields.at("subject"))) {
                EXPECT_EQ(PropText(message.Get(), PR_SUBJECT_A), file.fields.at("subject"));
            }
            EXPECT_EQ(PropText(message.Get(), PR_CLIENT_SUBMIT_TIME),
                      DateText(file.fields.at("date")));
            std::vector<std::string> to;
            for (const std::string& row : RecipientTexts(message.Get())) {
                if (row.starts_with("TO|")) to.push_back(row.substr(row.rfind('|') + 1));
            }
            const auto field = file.fields.find("to");
            EXPECT_EQ(to, SplitAddresses(field == file.fields.end() ? "" : field->second));
            const auto encoding = file.fields.find("content-transfer-encoding");
            if (encoding == file.fields.end() || encoding->second == "7bit") {
                EXPECT_EQ(PropText(message.Get(), PR_BODY_A), file.body);
            }
        }
    }
};

TEST_P(EnronCorpus, MailboxImportsWithItsFoldersAndHeaders) {
    if (const std::string why = orvella::testing::EnronSkipReason(GetParam()); !why.empty())
        GTEST_SKIP() << why;
    CheckMailbox(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Mailboxes, EnronCorpus,
                         ::testing::ValuesIn(orvella::testing::EnronMailboxes()),
                         orvella::testing::EnronTestName);

}  // namespace
