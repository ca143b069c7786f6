// The sharing modes of the compound files this process has open, so that a second open that
// its STGM_SHARE_* flags (or the first one's) forbid fails with STG_E_SHAREVIOLATION.
#pragma once

#include <filesystem>

#include "windef.h"
#include "winerror.h"

namespace orvella::platform::ole {

// Records an open of `path` with `mode`, or returns STG_E_SHAREVIOLATION (recording nothing).
HRESULT AcquireShare(const std::filesystem::path& path, DWORD mode);
// Forgets one open recorded by AcquireShare with the same mode.
void ReleaseShare(const std::filesystem::path& path, DWORD mode);

}  // namespace orvella::platform::ole
