// The diagnostics tests' registry, file and locale helpers.
#include "diag_test_support.h"

#include <fstream>
#include <sstream>

#include "winreg.h"

namespace orvella::testing {
namespace {

void SetProductValue(const char* name, DWORD type, const void* data, DWORD size) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", 0, nullptr, 0,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExA(key, name, 0, type, static_cast<const BYTE*>(data), size),
              ERROR_SUCCESS);
    RegCloseKey(key);
}

}  // namespace

void SetProductDword(const char* name, DWORD value) {
    SetProductValue(name, REG_DWORD, &value, sizeof value);
}

void SetProductString(const char* name, const std::string& value) {
    SetProductValue(name, REG_SZ, value.c_str(), static_cast<DWORD>(value.size() + 1));
}

std::string ReadWholeFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

ScopedTimeLocale::ScopedTimeLocale(const char* locale)
    : previous_(std::setlocale(LC_TIME, nullptr)) {
    std::setlocale(LC_TIME, locale);
}

ScopedTimeLocale::~ScopedTimeLocale() {
    std::setlocale(LC_TIME, previous_.c_str());
}

}  // namespace orvella::testing
