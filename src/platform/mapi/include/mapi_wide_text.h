// Wide strings (one code point per WCHAR) against the UTF-8 the store and the command line keep.
#pragma once

#include <string>

#include "wtypes.h"

namespace orvella::platform::mapi {

std::string WideToUtf8(const WCHAR* text);
// Malformed sequences are decoded leniently, never refused: names come from our own files.
std::wstring Utf8ToWide(const std::string& text);

}  // namespace orvella::platform::mapi
