// In-process sharing checks for open compound files. Other processes are not checked: the
// files are replaced whole on commit, so a reader elsewhere sees the old or the new file.
#include "share_registry.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <vector>

#include "ole_storage.h"

namespace orvella::platform::ole {
namespace {

std::mutex& Lock() {
    static std::mutex mutex;
    return mutex;
}

std::map<std::string, std::vector<DWORD>>& Opens() {
    static std::map<std::string, std::vector<DWORD>> opens;
    return opens;
}

std::string Key(const std::filesystem::path& path) {
    std::error_code ec;
    auto canonical = std::filesystem::weakly_canonical(path, ec);
    return ec ? path.lexically_normal().string() : canonical.string();
}

bool Writes(DWORD mode) {
    return (mode & (STGM_WRITE | STGM_READWRITE)) != 0;
}

DWORD Share(DWORD mode) {
    return mode & 0x70;
}

// Whether an open with `share` lets another open with `mode` in.
bool Admits(DWORD share, DWORD mode) {
    if (share == STGM_SHARE_EXCLUSIVE) return false;
    if (share == STGM_SHARE_DENY_WRITE) return !Writes(mode);
    if (share == STGM_SHARE_DENY_READ) return Writes(mode) && (mode & STGM_READWRITE) == 0;
    return true;
}

}  // namespace

HRESULT AcquireShare(const std::filesystem::path& path, DWORD mode) {
    std::lock_guard lock(Lock());
    auto& opens = Opens()[Key(path)];
    for (DWORD open : opens)
        if (!Admits(Share(open), mode) || !Admits(Share(mode), open)) return STG_E_SHAREVIOLATION;
    opens.push_back(mode);
    return S_OK;
}

void ReleaseShare(const std::filesystem::path& path, DWORD mode) {
    std::lock_guard lock(Lock());
    auto found = Opens().find(Key(path));
    if (found == Opens().end()) return;
    auto& opens = found->second;
    auto one = std::find(opens.begin(), opens.end(), mode);
    if (one != opens.end()) opens.erase(one);
    if (opens.empty()) Opens().erase(found);
}

}  // namespace orvella::platform::ole
