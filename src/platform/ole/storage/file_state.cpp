// The shared state of one open compound file: writing it on commit (or, in direct mode, on the
// last release) and going back to the disk's copy on revert.
#include "compound_file.h"
#include "share_registry.h"
#include "storage_objects.h"

namespace orvella::platform::ole {

FileState::FileState(std::filesystem::path path, DWORD mode, std::shared_ptr<StorageNode> tree)
    : path_(std::move(path)), mode_(mode), tree_(std::move(tree)) {}

FileState::~FileState() {
    // Direct mode promises the changes reach the file; a failure here has no one to tell.
    if (!transacted() && dirty_) (void)WriteCompoundFile(path_, *tree_);
    ReleaseShare(path_, mode_);
}

HRESULT FileState::Commit() {
    if (!writable()) return S_OK;
    HRESULT hr = WriteCompoundFile(path_, *tree_);
    if (SUCCEEDED(hr)) dirty_ = false;
    return hr;
}

HRESULT FileState::Revert() {
    if (!transacted()) return S_OK;
    std::shared_ptr<StorageNode> saved;
    HRESULT hr = ReadCompoundFile(path_, saved);
    if (FAILED(hr)) return hr;
    // The tree object stays the one the root storage holds: only its contents go back.
    *tree_ = std::move(*saved);
    ++generation_;
    dirty_ = false;
    return S_OK;
}

}  // namespace orvella::platform::ole
