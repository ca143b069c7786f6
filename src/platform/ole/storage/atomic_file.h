// Replacing a file's contents atomically on POSIX: a temporary file beside it, flushed, renamed
// over it, and the directory flushed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace orvella::platform::ole {

// 0 on success, else the errno of the step that failed (the old file is then untouched and the
// temporary file removed).
int ReplaceFileContents(const std::filesystem::path& path, const std::uint8_t* bytes,
                        std::size_t size);

}  // namespace orvella::platform::ole
