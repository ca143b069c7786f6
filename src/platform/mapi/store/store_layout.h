// A new store file as a MAPI client expects to find it: the root folder, the IPM subtree with
// the standard folders, the store properties that point at them, and the marks of its kind.
#pragma once

#include <filesystem>

#include "profile.h"

namespace orvella::platform::mapi::store {

// Creates the store file. Throws StoreFailure (MAPI_E_COLLISION when the file exists).
void CreateStoreFile(const std::filesystem::path& file, const GUID& uid, const StoreSetup& setup);

}  // namespace orvella::platform::mapi::store
