// Reads and writes whole compound files through libgsf; the one place that turns libgsf's and
// the file system's failures into STG_E_ codes.
#pragma once

#include <filesystem>
#include <memory>

#include "storage_tree.h"
#include "winerror.h"

namespace orvella::platform::ole {

// Reads the file into `root`. STG_E_FILENOTFOUND, STG_E_PATHNOTFOUND, STG_E_ACCESSDENIED,
// STG_E_FILEALREADYEXISTS for a file that is not a compound file, STG_E_DOCFILECORRUPT for one
// libgsf cannot read.
HRESULT ReadCompoundFile(const std::filesystem::path& path, std::shared_ptr<StorageNode>& root);

// Replaces the file with `root`: written to a temporary file beside it, flushed, then renamed
// over it, so the old file stays whole when anything fails. STG_E_PATHNOTFOUND,
// STG_E_ACCESSDENIED, STG_E_MEDIUMFULL, STG_E_WRITEFAULT.
HRESULT WriteCompoundFile(const std::filesystem::path& path, const StorageNode& root);

}  // namespace orvella::platform::ole
