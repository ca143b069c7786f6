// Small helpers shared by the registry tests: raw values, literal byte strings, scoped handles.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>

#include "winreg.h"

namespace orvella::testing {

// A value as RegQueryValueExA reports it.
struct RawValue {
    DWORD type = REG_NONE;
    std::string data;
    bool operator==(const RawValue&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const RawValue& value) {
        out << "type " << value.type << ", " << value.data.size() << " bytes:";
        for (const char c : value.data)
            out << ' ' << static_cast<int>(static_cast<unsigned char>(c));
        return out;
    }
};

// Literal bytes, NULs included: Bytes("a\0b") has three.
template <size_t N>
std::string Bytes(const char (&literal)[N]) {
    return std::string(literal, N - 1);
}

inline LONG SetRaw(HKEY key, const char* name, DWORD type, std::string_view data) {
    return RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                          static_cast<DWORD>(data.size()));
}

// The value, read by asking for its size first; nullopt when the query fails.
inline std::optional<RawValue> GetRaw(HKEY key, const char* name) {
    RawValue value;
    DWORD size = 0;
    if (RegQueryValueExA(key, name, nullptr, &value.type, nullptr, &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    value.data.resize(size);
    if (RegQueryValueExA(key, name, nullptr, &value.type,
                         reinterpret_cast<BYTE*>(value.data.data()), &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    value.data.resize(size);
    return value;
}

inline std::string ReadFile(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

inline void WriteFile(const std::filesystem::path& file, std::string_view bytes) {
    std::ofstream(file, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// A key handle closed at the end of the scope.
class ScopedKey {
public:
    ScopedKey() = default;
    ~ScopedKey() {
        if (key_) RegCloseKey(key_);
    }
    ScopedKey(const ScopedKey&) = delete;
    ScopedKey& operator=(const ScopedKey&) = delete;
    HKEY* out() { return &key_; }
    HKEY get() const { return key_; }

private:
    HKEY key_ = nullptr;
};

inline LONG CreateKey(HKEY root, const char* path, ScopedKey& key, REGSAM access = KEY_ALL_ACCESS) {
    return RegCreateKeyExA(root, path, 0, nullptr, 0, access, nullptr, key.out(), nullptr);
}

inline LONG OpenKey(HKEY root, const char* path, ScopedKey& key, REGSAM access = KEY_ALL_ACCESS) {
    return RegOpenKeyExA(root, path, 0, access, key.out());
}

}  // namespace orvella::testing
