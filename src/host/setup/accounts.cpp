// Mail accounts in Outlook's registry layout.
#include "accounts.h"

#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "winerror.h"
#include "winreg.h"

namespace orvella::host {
namespace {

// Where Outlook 2003 on the NT family lists each profile's mail accounts.
constexpr char kProfilesKey[] =
    "Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows Messaging Subsystem\\Profiles";
constexpr char kAccountListKey[] = "9375CFF0413111d3B88A00104B2A6676";

std::string AccountListPath(const std::string& profile) {
    return std::string(kProfilesKey) + "\\" + profile + "\\" + kAccountListKey;
}

class Key {
public:
    ~Key() {
        if (key_) RegCloseKey(key_);
    }
    HKEY* put() { return &key_; }
    HKEY get() const { return key_; }

private:
    HKEY key_ = nullptr;
};

// UTF-16LE with its terminating zero, as Outlook stores an account's texts.
std::string Utf16(const std::string& text) {
    std::string bytes;
    for (unsigned char c : text) {
        bytes += static_cast<char>(c);
        bytes += '\0';
    }
    bytes.append(2, '\0');
    return bytes;
}

std::string FromUtf16(const std::string& bytes) {
    std::string text;
    for (size_t i = 0; i + 1 < bytes.size() && (bytes[i] || bytes[i + 1]); i += 2) text += bytes[i];
    return text;
}

// Account key names and addresses, in key order.
std::vector<std::pair<std::string, std::string>> Accounts(const std::string& profile) {
    std::vector<std::pair<std::string, std::string>> accounts;
    Key list;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, AccountListPath(profile).c_str(), 0, KEY_READ,
                      list.put()) != ERROR_SUCCESS)
        return accounts;
    for (DWORD index = 0;; ++index) {
        char name[64];
        DWORD length = sizeof name;
        if (RegEnumKeyExA(list.get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            break;
        Key account;
        std::string email(1024, '\0');
        DWORD size = static_cast<DWORD>(email.size());
        DWORD type = 0;
        if (RegOpenKeyExA(list.get(), name, 0, KEY_READ, account.put()) == ERROR_SUCCESS &&
            RegQueryValueExA(account.get(), "Email", nullptr, &type,
                             reinterpret_cast<BYTE*>(email.data()), &size) == ERROR_SUCCESS) {
            email.resize(size);
            accounts.emplace_back(name, FromUtf16(email));
        }
    }
    return accounts;
}

void Write(HKEY key, const char* value, const std::string& bytes, const std::string& where) {
    LSTATUS status =
        RegSetValueExA(key, value, 0, REG_BINARY, reinterpret_cast<const BYTE*>(bytes.data()),
                       static_cast<DWORD>(bytes.size()));
    if (status != ERROR_SUCCESS)
        throw std::runtime_error("cannot write " + where + " (registry error " +
                                 std::to_string(status) + ")");
}

}  // namespace

std::string AddAccount(const std::string& profile, const std::string& address) {
    unsigned last = 0;
    for (const auto& [name, email] : Accounts(profile)) {
        if (strcasecmp(email.c_str(), address.c_str()) == 0) return name;
        last = std::max(last, static_cast<unsigned>(std::strtoul(name.c_str(), nullptr, 16)));
    }
    char name[16];
    std::snprintf(name, sizeof name, "%08x", last + 1);
    const std::string path = AccountListPath(profile) + "\\" + name;
    Key account;
    LSTATUS status =
        RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_ALL_ACCESS, nullptr, account.put(), nullptr);
    if (status != ERROR_SUCCESS)
        throw std::runtime_error("cannot create HKCU\\" + path + " (registry error " +
                                 std::to_string(status) + ")");
    Write(account.get(), "Email", Utf16(address), "HKCU\\" + path + "\\Email");
    Write(account.get(), "Account Name", Utf16(address), "HKCU\\" + path + "\\Account Name");
    return name;
}

std::vector<std::string> ListAccounts(const std::string& profile) {
    std::vector<std::string> addresses;
    for (const auto& account : Accounts(profile)) addresses.push_back(account.second);
    return addresses;
}

}  // namespace orvella::host
