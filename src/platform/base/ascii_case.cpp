#include "ascii_case.h"

namespace orvella::platform {

std::string AsciiLower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

}  // namespace orvella::platform
