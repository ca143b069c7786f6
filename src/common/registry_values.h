// Reading (and writing text of) the add-in's registry values the way every reader does: a value
// counts only when it has the expected type (and size, for numbers); anything else reads as absent.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "winreg.h"

// REG_SZ (or REG_EXPAND_SZ) text without its terminating zero.
std::optional<std::string> ReadRegString(HKEY key, const char* name);
// REG_BINARY bytes, read into a 256-byte buffer that grows once when the value is larger.
std::optional<std::vector<BYTE>> ReadRegBinary(HKEY key, const char* name);
// REG_DWORD of exactly four bytes.
std::optional<DWORD> ReadRegDword(HKEY key, const char* name);
// Writes text as REG_SZ with its terminating zero; the registry's result.
LSTATUS WriteRegString(HKEY key, const char* name, const std::string& text);

// An open registry key, closed when it goes.
class RegKey {
public:
    RegKey() = default;
    explicit RegKey(HKEY key) : key_(key) {}
    ~RegKey() {
        if (key_) RegCloseKey(key_);
    }
    RegKey(const RegKey&) = delete;
    RegKey& operator=(const RegKey&) = delete;
    RegKey(RegKey&& other) noexcept : key_(other.key_) { other.key_ = nullptr; }
    HKEY get() const { return key_; }
    HKEY* put() { return &key_; }
    explicit operator bool() const { return key_ != nullptr; }

private:
    HKEY key_ = nullptr;
};
