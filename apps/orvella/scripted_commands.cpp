// Running orvella's own commands in this process, shown or quietly.
#include "scripted_commands.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "commands.h"
#include "home.h"
#include "store_schema.h"

namespace orvella::cli {

namespace fs = std::filesystem;

fs::path FreshHome(const std::string& asked, const std::string& prefix) {
    if (asked.empty()) {
        const char* temp = std::getenv("TMPDIR");
        std::string pattern = (fs::path(temp && *temp ? temp : "/tmp") / (prefix + "-XXXXXX"));
        if (!mkdtemp(pattern.data())) throw CommandError("cannot make a directory in " + pattern);
        return pattern;
    }
    const fs::path home = fs::absolute(asked);
    std::error_code error;
    if (fs::exists(home, error) && !fs::is_empty(home, error))
        throw CommandError(home.string() + " is not empty: give a new directory for a fresh home");
    fs::create_directories(home, error);
    if (error) throw CommandError("cannot make " + home.string() + ": " + error.message());
    return home;
}

void UseHome(const fs::path& home) {
    platform::SetHomeDirectory(home);
    setenv("ORVELLA_HOME", home.c_str(), 1);
}

std::string ShellLine(const CommandWords& words) {
    static const std::string kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789@%+=:,./_-";
    std::string line;
    for (const std::string& word : words) {
        if (!line.empty()) line += ' ';
        if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) {
            line += word;
            continue;
        }
        // Within single quotes a shell takes every character as it is but the quote itself,
        // which ends the quoted part, comes escaped, and opens the next.
        line += '\'';
        for (char c : word) line += c == '\'' ? std::string("'\\''") : std::string(1, c);
        line += '\'';
    }
    return line;
}

void Execute(const CommandWords& words) {
    CLI::App command{"", "orvella"};
    AddAllCommands(command);
    command.parse(CommandWords(words.rbegin(), words.rend()));  // CLI11 takes them last first
    std::fflush(stdout);
}

void Run(const CommandWords& words) {
    std::printf("\n$ orvella %s\n", ShellLine(words).c_str());
    std::fflush(stdout);
    Execute(words);
}

void RunQuietly(const CommandWords& words) {
    std::fflush(stdout);
    std::FILE* null = std::fopen("/dev/null", "we");
    if (!null) throw CommandError("cannot silence a command");
    const int saved = dup(STDOUT_FILENO);
    if (saved < 0) {
        std::fclose(null);
        throw CommandError("cannot silence a command");
    }
    dup2(fileno(null), STDOUT_FILENO);
    std::fclose(null);
    struct Restore {
        int saved;
        ~Restore() {
            std::fflush(stdout);
            dup2(saved, STDOUT_FILENO);
            close(saved);
        }
    } restore{saved};
    Execute(words);
}

CommandWords InitCommand(const host::generator::GeneratedMailbox& mailbox) {
    CommandWords words = {"init"};
    for (const std::string& address : mailbox.own_addresses)
        words.insert(words.end(), {"--address", address});
    return words;
}

CommandWords ContactCommand(const host::generator::GeneratedContact& contact) {
    CommandWords words = {"contact", "add", "--name", contact.name};
    for (const std::string& address : contact.addresses)
        words.insert(words.end(), {"--email", address});
    words.insert(words.end(), {"--priority", ContactPriorityText(contact.priority)});
    if (!contact.folder.empty()) words.insert(words.end(), {"--folder", contact.folder});
    return words;
}

}  // namespace orvella::cli
