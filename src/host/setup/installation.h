// What installing Orvella writes, on Linux as on Windows: the install directory, Outlook's
// version and the add-in's class registration in the registry, and a mail profile when there
// is none, with the accounts' addresses where Outlook keeps them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orvella::host {

struct InstallOptions {
    std::vector<std::string> addresses;  // the user's own addresses; the first is the mailbox's
    bool exchange = false;               // an Exchange-like mailbox instead of personal folders
    bool force = false;                  // rewrite the installation values that already exist
};

struct InstallReport {
    std::filesystem::path installDirectory;
    std::string profile;
    bool profileCreated = false;
    std::vector<std::string> written;  // "HKCU\...\Value" for every value written
    std::vector<std::string> kept;     // values left as they were (present, and no --force)
};

// <Orvella home>/Orvella: where the add-in's module, its logs and view files live.
std::filesystem::path DefaultInstallDirectory();

// Installs into the Orvella home in force. Idempotent: a second run changes nothing; values
// already present are kept unless options.force. The profile is the default one
// (DefaultProfileName) and is created only when absent; its accounts are recorded only when it
// is created. Throws std::runtime_error with a message for the user when the profile cannot be
// created or the registry cannot be written.
InstallReport Install(const InstallOptions& options);

}  // namespace orvella::host
