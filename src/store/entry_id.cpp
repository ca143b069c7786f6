// Entry ids as text.
#include "entry_id.h"

std::string EntryId::ToHex() const {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes_.size() * 2);
    for (BYTE b : bytes_) {
        text += kDigits[b >> 4];
        text += kDigits[b & 0xF];
    }
    return text;
}

namespace {

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

EntryId EntryId::FromHex(const std::string& hex) {
    if (hex.size() % 2 != 0) return EntryId();
    std::vector<BYTE> bytes;
    bytes.reserve(hex.size() / 2);
    for (size_t i = 0; i < hex.size(); i += 2) {
        int high = HexDigit(hex[i]);
        int low = HexDigit(hex[i + 1]);
        if (high < 0 || low < 0) return EntryId();
        bytes.push_back(static_cast<BYTE>(high * 16 + low));
    }
    return EntryId(std::move(bytes));
}
