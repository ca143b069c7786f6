// StgCreateDocfile and StgOpenStorage: mode checks, sharing, and the root storage of a file.
#include <filesystem>

#include "compound_file.h"
#include "mapi_wide_text.h"
#include "share_registry.h"
#include "storage_objects.h"

using orvella::platform::mapi::ComPtr;
using orvella::platform::ole::FileState;
using orvella::platform::ole::StorageNode;

namespace {

HRESULT CheckRootMode(DWORD mode) {
    if ((mode & (STGM_WRITE | STGM_READWRITE)) == (STGM_WRITE | STGM_READWRITE))
        return STG_E_INVALIDFLAG;
    if ((mode & 0x70) > STGM_SHARE_DENY_NONE) return STG_E_INVALIDFLAG;
    if ((mode & STGM_CREATE) && (mode & STGM_CONVERT)) return STG_E_INVALIDFLAG;
    if (mode & (STGM_DELETEONRELEASE | STGM_PRIORITY | STGM_SIMPLE)) return STG_E_INVALIDFLAG;
    return S_OK;
}

HRESULT OpenRoot(const std::filesystem::path& path, DWORD mode, std::shared_ptr<StorageNode> tree,
                 IStorage** out) {
    if (HRESULT hr = orvella::platform::ole::AcquireShare(path, mode); FAILED(hr)) return hr;
    auto file = std::make_shared<FileState>(path, mode, tree);
    *out = orvella::platform::ole::MakeStorage(std::move(file), std::move(tree), mode).Detach();
    return S_OK;
}

}  // namespace

HRESULT StgCreateDocfile(const WCHAR* name, DWORD mode, DWORD, IStorage** out) {
    if (!out) return STG_E_INVALIDPOINTER;
    *out = nullptr;
    if (!name || !*name) return STG_E_INVALIDNAME;
    if (HRESULT hr = CheckRootMode(mode); FAILED(hr)) return hr;
    if (!(mode & (STGM_WRITE | STGM_READWRITE))) return STG_E_INVALIDFLAG;
    const std::filesystem::path path(orvella::platform::mapi::WideToUtf8(name));
    std::error_code ec;
    if (!(mode & STGM_CREATE) && std::filesystem::exists(path, ec)) return STG_E_FILEALREADYEXISTS;
    // Another open of the same file is checked before the file is replaced.
    if (HRESULT hr = orvella::platform::ole::AcquireShare(path, mode); FAILED(hr)) return hr;
    orvella::platform::ole::ReleaseShare(path, mode);
    auto tree = std::make_shared<StorageNode>();
    if (HRESULT hr = orvella::platform::ole::WriteCompoundFile(path, *tree); FAILED(hr)) return hr;
    return OpenRoot(path, mode, std::move(tree), out);
}

HRESULT StgOpenStorage(const WCHAR* name, IStorage* priority, DWORD mode, SNB exclude, DWORD,
                       IStorage** out) {
    if (!out) return STG_E_INVALIDPOINTER;
    *out = nullptr;
    if (!name || !*name) return STG_E_INVALIDNAME;
    if (priority || exclude) return STG_E_INVALIDPARAMETER;
    if (HRESULT hr = CheckRootMode(mode); FAILED(hr)) return hr;
    if (mode & (STGM_CREATE | STGM_CONVERT)) return STG_E_INVALIDFLAG;
    const std::filesystem::path path(orvella::platform::mapi::WideToUtf8(name));
    std::shared_ptr<StorageNode> tree;
    if (HRESULT hr = orvella::platform::ole::ReadCompoundFile(path, tree); FAILED(hr)) return hr;
    return OpenRoot(path, mode, std::move(tree), out);
}
