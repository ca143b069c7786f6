// The installation: registry values Outlook and the installer write, and the first profile.
#include "installation.h"

#include <stdexcept>

#include "accounts.h"
#include "addin_ids.h"
#include "directory.h"
#include "home.h"
#include "profile.h"
#include "winerror.h"
#include "winreg.h"

namespace orvella::host {
namespace {

namespace store = platform::mapi::store;

constexpr char kSettingsKey[] = "Software\\Orvella\\Vintor";

class Key {
public:
    Key(HKEY root, const std::string& path, const char* rootName)
        : name_(std::string(rootName) + "\\" + path) {
        LSTATUS status = RegCreateKeyExA(root, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                         KEY_ALL_ACCESS, nullptr, &key_, nullptr);
        if (status != ERROR_SUCCESS)
            throw std::runtime_error("cannot create registry key " + name_ + " (error " +
                                     std::to_string(status) + ")");
    }
    ~Key() { RegCloseKey(key_); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    // Writes the value unless it exists and force is off; records which happened.
    void Put(const char* value, DWORD type, const std::string& data, bool force,
             InstallReport& report) const {
        std::string label = name_ + "\\" + (value ? value : "(default)");
        if (!force &&
            RegQueryValueExA(key_, value, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS) {
            report.kept.push_back(label);
            return;
        }
        LSTATUS status =
            RegSetValueExA(key_, value, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                           static_cast<DWORD>(data.size()));
        if (status != ERROR_SUCCESS)
            throw std::runtime_error("cannot write " + label + " (error " + std::to_string(status) +
                                     ")");
        report.written.push_back(label);
    }
    void PutText(const char* value, const std::string& text, bool force,
                 InstallReport& report) const {
        Put(value, REG_SZ, std::string(text.c_str(), text.size() + 1), force, report);
    }

private:
    HKEY key_ = nullptr;
    std::string name_;
};

void CreateProfile(const std::string& profile, const InstallOptions& options) {
    std::vector<store::StoreSetup> stores;
    if (options.exchange)
        stores.push_back({"Mailbox", store::StoreKind::Exchange, true, false});
    else
        stores.push_back({"Personal Folders", store::StoreKind::Personal, true, false});
    store::CreateProfile(profile, stores);
    if (options.exchange && !options.addresses.empty()) {
        const std::string& address = options.addresses.front();
        store::AddDirectoryEntry(profile, {address.substr(0, address.find('@')), address, "", {}},
                                 true);
    }
}

}  // namespace

std::filesystem::path DefaultInstallDirectory() {
    return platform::HomeDirectory() / "Orvella";
}

InstallReport Install(const InstallOptions& options) {
    InstallReport report;
    report.profile = store::DefaultProfileName();
    report.installDirectory = DefaultInstallDirectory();
    std::filesystem::create_directories(report.installDirectory / "Logs");

    if (!store::ProfileExists(report.profile)) {
        try {
            CreateProfile(report.profile, options);
        } catch (const std::exception& failure) {
            throw std::runtime_error("creating profile \"" + report.profile +
                                     "\": " + failure.what());
        }
        report.profileCreated = true;
        for (const std::string& address : options.addresses) {
            const std::string account = AddAccount(report.profile, address);
            report.written.push_back("account " + account + ": " + address);
        }
    }

    const std::string directory = report.installDirectory.string();
    Key settings(HKEY_CURRENT_USER, kSettingsKey, "HKCU");
    settings.PutText("HomeDir", directory, options.force, report);
    // Outlook 2003 names itself in the classes root; the add-in reads its version from there.
    Key curVer(HKEY_CLASSES_ROOT, "Outlook.Application\\CurVer", "HKCR");
    curVer.PutText(nullptr, "Outlook.Application.11", options.force, report);
    // The add-in's module, as registering it writes: the install directory and the file.
    Key server(HKEY_CURRENT_USER,
               std::string("Software\\Classes\\") + kConnectClassKey + "\\InprocServer32", "HKCU");
    server.PutText(nullptr, directory + "\\orvella-addin.dll", options.force, report);
    server.PutText("ThreadingModel", "Apartment", options.force, report);
    settings.PutText("SupportAddress", "support@orvella.com", options.force, report);
    return report;
}

}  // namespace orvella::host
