// The IStorage and IStream objects over one compound file held in memory, and the file's shared
// state: its tree, its mode and its transaction.
#pragma once

#include <filesystem>
#include <memory>

#include "com_object.h"
#include "ole_storage.h"
#include "storage_tree.h"

namespace orvella::platform::ole {

// One open compound file, shared by its root storage and every element opened below it. In
// direct mode, changes not yet written reach the disk when the last of them lets go.
class FileState {
public:
    FileState(std::filesystem::path path, DWORD mode, std::shared_ptr<StorageNode> tree);
    ~FileState();
    FileState(const FileState&) = delete;
    FileState& operator=(const FileState&) = delete;

    bool transacted() const { return (mode_ & STGM_TRANSACTED) != 0; }
    bool writable() const { return (mode_ & (STGM_WRITE | STGM_READWRITE)) != 0; }
    DWORD mode() const { return mode_; }
    const std::shared_ptr<StorageNode>& tree() const { return tree_; }
    // Bumped by Revert; elements opened before it answer STG_E_REVERTED.
    unsigned generation() const { return generation_; }
    void Touch() { dirty_ = true; }

    HRESULT Commit();
    HRESULT Revert();

private:
    std::filesystem::path path_;
    DWORD mode_;
    std::shared_ptr<StorageNode> tree_;
    unsigned generation_ = 0;
    bool dirty_ = false;
};

// Opens a storage object on `node` of `file` (the root when node is the file's tree).
mapi::ComPtr<IStorage> MakeStorage(std::shared_ptr<FileState> file,
                                   std::shared_ptr<StorageNode> node, DWORD mode);

}  // namespace orvella::platform::ole
