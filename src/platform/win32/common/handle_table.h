// A process-wide table of opaque Win32 handles (HANDLE, HKEY, ...) naming per-handle state.
// Thread-safe. Handle values are never reused, so a stale handle is reported as invalid rather
// than mistaken for another; each kind of handle numbers from its own base so that a handle of
// one kind is never taken for another.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace orvella::platform {

template <typename Handle, typename Entry>
class HandleTable {
public:
    explicit HandleTable(std::uintptr_t firstValue) : next_(firstValue) {}

    Handle Add(Entry entry) {
        std::lock_guard lock(mutex_);
        next_ += 4;
        open_.emplace(next_, std::move(entry));
        return reinterpret_cast<Handle>(next_);
    }

    // A copy of the entry, so the caller keeps what it refers to alive while another thread
    // closes the handle.
    std::optional<Entry> Find(Handle handle) {
        std::lock_guard lock(mutex_);
        const auto it = open_.find(reinterpret_cast<std::uintptr_t>(handle));
        if (it == open_.end()) return std::nullopt;
        return it->second;
    }

    // The removed entry is destroyed by the caller, outside the table's lock: releasing it may
    // close a database or a mapping.
    std::optional<Entry> Remove(Handle handle) {
        std::lock_guard lock(mutex_);
        const auto it = open_.find(reinterpret_cast<std::uintptr_t>(handle));
        if (it == open_.end()) return std::nullopt;
        Entry removed = std::move(it->second);
        open_.erase(it);
        return removed;
    }

private:
    std::mutex mutex_;
    std::unordered_map<std::uintptr_t, Entry> open_;
    std::uintptr_t next_;
};

}  // namespace orvella::platform
