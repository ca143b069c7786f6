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

std::string Quoted(const std::string& word) {
    if (word.find('\'') == std::string::npos) return "'" + word + "'";
    if (word.find_first_of("\"$`\\!") == std::string::npos) return '"' + word + '"';
    std::string escaped;
    for (char c : word) escaped += c == '\'' ? std::string("\\'") : std::string(1, c);
    return "'" + escaped + "'";
}

void Execute(const std::string& line) {
    CLI::App command{"", "orvella"};
    AddAllCommands(command);
    command.parse(line, false);
    std::fflush(stdout);
}

void Run(const std::string& line) {
    std::printf("\n$ orvella %s\n", line.c_str());
    std::fflush(stdout);
    Execute(line);
}

void RunQuietly(const std::string& line) {
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
    Execute(line);
}

std::string InitLine(const host::generator::GeneratedMailbox& mailbox) {
    std::string line = "init";
    for (const std::string& address : mailbox.own_addresses)
        line += " --address " + Quoted(address);
    return line;
}

std::string ContactLine(const host::generator::GeneratedContact& contact) {
    std::string line = "contact add --name " + Quoted(contact.name);
    for (const std::string& address : contact.addresses) line += " --email " + Quoted(address);
    line += " --priority " + Quoted(ContactPriorityText(contact.priority));
    if (!contact.folder.empty()) line += " --folder " + Quoted(contact.folder);
    return line;
}

}  // namespace orvella::cli
