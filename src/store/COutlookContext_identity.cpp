// The user's identity: their own addresses from Outlook's account settings and the Exchange
// session, the addresses and friendly domains they listed themselves, and the two questions
// scoring asks of them.
#include <algorithm>

#include "COutlookContext.h"
#include "ascii_case.h"
#include "mapiutil.h"
#include "registry_values.h"
#include "resource.h"
#include "store_failures.h"

using namespace store_failures;
using orvella::platform::AsciiLower;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;

namespace {

// Outlook 2000 keeps its Internet accounts here, one sub-key each.
constexpr char kAccountManagerKey[] =
    "Software\\Microsoft\\Office\\Outlook\\OMI Account Manager\\Accounts";
// Later versions list the accounts of each mail profile below the profile's key.
constexpr char kProfilesKey9x[] = "Software\\Microsoft\\Windows Messaging Subsystem\\Profiles";
constexpr char kProfilesKeyNT[] =
    "Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows Messaging Subsystem\\Profiles";
constexpr char kAccountListKey[] = "9375CFF0413111d3B88A00104B2A6676";

// The names of key's sub-keys, in the registry's order.
std::vector<std::string> SubKeys(HKEY key) {
    std::vector<std::string> names;
    for (DWORD index = 0;; ++index) {
        char name[256];
        DWORD length = sizeof name;
        if (RegEnumKeyExA(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            break;
        names.emplace_back(name, length);
    }
    return names;
}

// UTF-16LE text up to its terminating zero, in the 8-bit code page (UTF-8 here).
std::string FromUtf16(const std::vector<BYTE>& bytes) {
    std::string text;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        unsigned unit = bytes[i] | (bytes[i + 1] << 8);
        if (unit == 0) break;
        if (unit >= 0xD800 && unit < 0xDC00 && i + 3 < bytes.size()) {
            unsigned low = bytes[i + 2] | (bytes[i + 3] << 8);
            if (low >= 0xDC00 && low < 0xE000) {
                unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
                i += 2;
            }
        }
        if (unit < 0x80) {
            text += static_cast<char>(unit);
        } else if (unit < 0x800) {
            text += static_cast<char>(0xC0 | (unit >> 6));
            text += static_cast<char>(0x80 | (unit & 0x3F));
        } else if (unit < 0x10000) {
            text += static_cast<char>(0xE0 | (unit >> 12));
            text += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
            text += static_cast<char>(0x80 | (unit & 0x3F));
        } else {
            text += static_cast<char>(0xF0 | (unit >> 18));
            text += static_cast<char>(0x80 | ((unit >> 12) & 0x3F));
            text += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
            text += static_cast<char>(0x80 | (unit & 0x3F));
        }
    }
    return text;
}

// An "Email" value: binary UTF-16, read into 512 bytes that grow once when the value is larger.
std::optional<std::string> ReadUtf16Email(HKEY key) {
    std::vector<BYTE> data(512);
    DWORD type = 0;
    DWORD size = static_cast<DWORD>(data.size());
    LSTATUS status = RegQueryValueExA(key, "Email", nullptr, &type, data.data(), &size);
    if (status == ERROR_MORE_DATA) {
        data.resize(size);
        status = RegQueryValueExA(key, "Email", nullptr, &type, data.data(), &size);
    }
    if (status != ERROR_SUCCESS || type != REG_BINARY) return std::nullopt;
    data.resize(size);
    return FromUtf16(data);
}

std::vector<std::string> SplitList(const std::string& text) {
    std::vector<std::string> entries;
    std::string entry;
    for (char c : text + " ") {
        if (c == ';' || c == ',' || c == ' ') {
            if (!entry.empty()) entries.push_back(AsciiLower(entry));
            entry.clear();
        } else {
            entry += c;
        }
    }
    return entries;
}

std::string SettingsKeyName() {
    return orvella::res::LoadResString(IDS_SETTINGS_KEY);
}

}  // namespace

void COutlookContext::LoadIdentity() {
    userAddresses_ = GetUserEmailAddresses();
    userSpecifiedAddresses_ = GetUserSpecifiedEmailAddresses();
    friendDomains_ = GetFriendDomains();
    RegKey settings;
    std::optional<std::string> vendor;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, SettingsKeyName().c_str(), 0, KEY_READ, settings.put()) ==
        ERROR_SUCCESS)
        vendor = ReadRegString(settings.get(), "VendorDomain");
    vendorDomain_ = AsciiLower(
        vendor && !vendor->empty() ? *vendor : orvella::res::LoadResString(IDS_VENDOR_DOMAIN));
}

std::vector<std::string> COutlookContext::GetUserEmailAddresses() {
    std::vector<std::string> addresses;
    if (outlookVersion_ == "9") {
        addresses = GetAccountManagerAddresses();
    } else if (outlookVersion_ == "10" || outlookVersion_ == "11") {
        addresses = GetProfileAddresses();
    } else {
        ReportFailure(orvella::diag::ProgramException(
            "GetUserEmailAddresses::Outlook version not recognized", "", 1, kModule, __LINE__));
    }
    std::string exchange = GetDefaultExchangeUserAddress();
    if (!exchange.empty()) addresses.push_back(exchange);
    return addresses;
}

std::vector<std::string> COutlookContext::GetAccountManagerAddresses() {
    std::vector<std::string> addresses;
    RegKey accounts;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, kAccountManagerKey, 0, KEY_READ, accounts.put()) !=
        ERROR_SUCCESS)
        return addresses;
    for (const std::string& name : SubKeys(accounts.get())) {
        RegKey account;
        if (RegOpenKeyExA(accounts.get(), name.c_str(), 0, KEY_READ, account.put()) !=
            ERROR_SUCCESS)
            continue;
        std::string address = ReadRegString(account.get(), "SMTP Email Address").value_or("");
        if (!address.empty()) addresses.push_back(AsciiLower(address));
    }
    return addresses;
}

std::vector<std::string> COutlookContext::GetProfileAddresses() {
    std::vector<std::string> addresses;
    OSVERSIONINFOA version = {};
    version.dwOSVersionInfoSize = sizeof version;
    if (!GetVersionExA(&version)) return addresses;
    const char* profilesKey = version.dwPlatformId == VER_PLATFORM_WIN32_NT        ? kProfilesKeyNT
                              : version.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS ? kProfilesKey9x
                                                                                   : nullptr;
    RegKey profiles;
    if (!profilesKey ||
        RegOpenKeyExA(HKEY_CURRENT_USER, profilesKey, 0, KEY_READ, profiles.put()) != ERROR_SUCCESS)
        return addresses;
    for (const std::string& profile : SubKeys(profiles.get())) {
        RegKey accounts;
        if (RegOpenKeyExA(profiles.get(), (profile + "\\" + kAccountListKey).c_str(), 0, KEY_READ,
                          accounts.put()) != ERROR_SUCCESS)
            continue;
        for (const std::string& name : SubKeys(accounts.get())) {
            RegKey account;
            if (RegOpenKeyExA(accounts.get(), name.c_str(), 0, KEY_READ, account.put()) !=
                ERROR_SUCCESS)
                continue;
            std::string address = ReadUtf16Email(account.get()).value_or("");
            if (!address.empty()) addresses.push_back(AsciiLower(address));
        }
    }
    return addresses;
}

std::string COutlookContext::GetDefaultExchangeUserAddress() {
    if (!exchangeMode_) return "";
    ComPtr<IMAPITable> status;
    CheckMapi(session_->GetStatusTable(0, &status), session_.Get(),
              "GetDefaultExchangeUserAddress::Failed to open status table");
    SizedSPropTagArray(1, columns) = {1, {PR_IDENTITY_ENTRYID}};
    SRestriction exists = {};
    exists.rt = RES_EXIST;
    exists.res.resExist.ulPropTag = PR_IDENTITY_ENTRYID;
    RowSetPtr rows;
    CheckMapi(HrQueryAllRows(status.Get(), reinterpret_cast<LPSPropTagArray>(&columns), &exists,
                             nullptr, 0, &rows),
              status.Get(), "GetDefaultExchangeUserAddress::HrQueryAllRows failed");
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue& identity = rows->aRow[i].lpProps[0];
        if (identity.ulPropTag != PR_IDENTITY_ENTRYID) continue;
        ComPtr<IMAPIProp> user;
        ULONG type = 0;
        CheckMapi(session_->OpenEntry(identity.Value.bin.cb,
                                      reinterpret_cast<LPENTRYID>(identity.Value.bin.lpb), nullptr,
                                      0, &type, user.PutUnknown()),
                  session_.Get(),
                  "GetDefaultExchangeUserAddress::Failed to open entry for default user");
        SizedSPropTagArray(2, tags) = {2, {PR_ADDRTYPE_A, PR_EMAIL_ADDRESS_A}};
        ULONG count = 0;
        MapiBuffer<SPropValue> values;
        HRESULT hr = user->GetProps(reinterpret_cast<LPSPropTagArray>(&tags), 0, &count, &values);
        CheckMapi(hr, user.Get(),
                  "GetDefaultExchangeUserAddress::Unable to get props for default user");
        if (values[0].ulPropTag == PR_ADDRTYPE_A && std::string(values[0].Value.lpszA) == "EX" &&
            values[1].ulPropTag == PR_EMAIL_ADDRESS_A)
            return AsciiLower(values[1].Value.lpszA);
    }
    return "";
}

std::vector<std::string> COutlookContext::ReadAddressList(const char* value,
                                                          const char* operation) {
    RegKey settings;
    LSTATUS status =
        RegOpenKeyExA(HKEY_CURRENT_USER, SettingsKeyName().c_str(), 0, KEY_READ, settings.put());
    if (status != ERROR_SUCCESS)
        FailProgram(std::string(operation) + "::failed to open reg key",
                    "registry error " + std::to_string(status));
    DWORD type = 0;
    DWORD size = 0;
    status = RegQueryValueExA(settings.get(), value, nullptr, &type, nullptr, &size);
    if (status == ERROR_FILE_NOT_FOUND) return {};
    if (status != ERROR_SUCCESS)
        FailProgram(std::string(operation) + "::failed to query reg key",
                    "registry error " + std::to_string(status));
    return SplitList(ReadRegString(settings.get(), value).value_or(""));
}

std::vector<std::string> COutlookContext::GetUserSpecifiedEmailAddresses() {
    return ReadAddressList("RecipientAddresses", "GetUserSpecifiedEmailAddresses");
}

std::vector<std::string> COutlookContext::GetFriendDomains() {
    return ReadAddressList("FriendlyDomains", "GetFriendDomains");
}

void COutlookContext::SaveAddressList(const char* value, const std::vector<std::string>& entries,
                                      const char* operation, const char* writeFailure) {
    std::string text;
    for (const std::string& entry : entries) text += AsciiLower(entry) + " ";
    size_t begin = text.find_first_not_of(' ');
    size_t end = text.find_last_not_of(' ');
    text = begin == std::string::npos ? "" : text.substr(begin, end - begin + 1);
    RegKey settings;
    LSTATUS status = RegOpenKeyExA(HKEY_CURRENT_USER, SettingsKeyName().c_str(), 0, KEY_ALL_ACCESS,
                                   settings.put());
    if (status != ERROR_SUCCESS)
        FailProgram(std::string(operation) + "::failed to open reg key",
                    "registry error " + std::to_string(status));
    status = WriteRegString(settings.get(), value, text);
    if (status != ERROR_SUCCESS)
        FailProgram(std::string(operation) + "::" + writeFailure,
                    "registry error " + std::to_string(status));
}

void COutlookContext::SaveUserSpecifiedEmailAddresses(const std::vector<std::string>& addresses) {
    SaveAddressList("RecipientAddresses", addresses, "SaveUserSpecifiedEmailAddresses",
                    "Failed SetStringValue");
    userSpecifiedAddresses_ = GetUserSpecifiedEmailAddresses();
}

void COutlookContext::SaveFriendDomains(const std::vector<std::string>& domains) {
    SaveAddressList("FriendlyDomains", domains, "SaveFriendDomains", "failed SetStringValue");
    friendDomains_ = GetFriendDomains();
}

bool COutlookContext::IsUserAddress(const std::string& address) const {
    const std::string lower = AsciiLower(address);
    auto listed = [&](const std::vector<std::string>& list) {
        return std::find(list.begin(), list.end(), lower) != list.end();
    };
    return listed(userAddresses_) || listed(userSpecifiedAddresses_);
}

bool COutlookContext::IsFriendDomain(const std::string& address) const {
    const std::string lower = AsciiLower(address);
    size_t at = lower.find('@');
    if (at == std::string::npos || at == 0) return false;
    const std::string domain = lower.substr(at + 1);
    return domain == vendorDomain_ ||
           std::find(friendDomains_.begin(), friendDomains_.end(), domain) != friendDomains_.end();
}
