// printf-style formatting into a std::string, for texts whose layout is fixed by a format.
#pragma once

#include <cstdio>
#include <string>

namespace orvella::diag {

// The format filled with values; empty when the format cannot be applied.
template <class... Values>
std::string Formatted(const char* format, Values... values) {
    const int size = std::snprintf(nullptr, 0, format, values...);
    if (size <= 0) return std::string();
    std::string text(static_cast<size_t>(size), '\0');
    std::snprintf(text.data(), text.size() + 1, format, values...);
    return text;
}

}  // namespace orvella::diag
