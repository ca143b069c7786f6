// Typed reads of registry values, and the key owner.
#include "registry_values.h"

#include "winerror.h"

std::optional<std::string> ReadRegString(HKEY key, const char* name) {
    DWORD type = 0;
    DWORD size = 0;
    if (RegQueryValueExA(key, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ))
        return std::nullopt;
    std::string text(size, '\0');
    if (size > 0 && RegQueryValueExA(key, name, nullptr, &type,
                                     reinterpret_cast<LPBYTE>(text.data()), &size) != ERROR_SUCCESS)
        return std::nullopt;
    text.resize(size);
    while (!text.empty() && text.back() == '\0') text.pop_back();
    return text;
}

std::optional<std::vector<BYTE>> ReadRegBinary(HKEY key, const char* name) {
    std::vector<BYTE> data(256);
    DWORD type = 0;
    DWORD size = static_cast<DWORD>(data.size());
    LSTATUS status = RegQueryValueExA(key, name, nullptr, &type, data.data(), &size);
    if (status == ERROR_MORE_DATA) {
        data.resize(size);
        status = RegQueryValueExA(key, name, nullptr, &type, data.data(), &size);
    }
    if (status != ERROR_SUCCESS || type != REG_BINARY) return std::nullopt;
    data.resize(size);
    return data;
}

std::optional<DWORD> ReadRegDword(HKEY key, const char* name) {
    DWORD value = 0;
    DWORD type = 0;
    DWORD size = sizeof value;
    if (RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<LPBYTE>(&value), &size) !=
            ERROR_SUCCESS ||
        type != REG_DWORD || size != sizeof value)
        return std::nullopt;
    return value;
}

LSTATUS WriteRegString(HKEY key, const char* name, const std::string& text) {
    return RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>(text.size() + 1));
}
