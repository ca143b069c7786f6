// Resolution of key paths, and the merged classes view over the user's and the machine's classes.
#include "registry_view.h"

#include <set>

#include "text_encoding.h"

namespace orvella::platform::registry {
namespace {

constexpr size_t kMaxKeyName = 255;

const KeyPath& UserClasses() {
    static const KeyPath path{"Software", "Classes"};
    return path;
}

const KeyPath& MachineClasses() {
    static const KeyPath path{"SOFTWARE", "Classes"};
    return path;
}

KeyPath Join(const KeyPath& head, const KeyPath& tail) {
    KeyPath path = head;
    path.insert(path.end(), tail.begin(), tail.end());
    return path;
}

std::optional<KeyId> FindPath(Transaction& tx, KeyId start, const KeyPath& path) {
    KeyId key = start;
    for (const std::string& name : path) {
        const std::optional<KeyId> next = tx.FindSubkey(key, name);
        if (!next) return std::nullopt;
        key = *next;
    }
    return key;
}

KeyId CreatePath(Transaction& tx, KeyId start, const KeyPath& path, bool& created) {
    KeyId key = start;
    created = false;
    for (const std::string& name : path) {
        const std::optional<KeyId> next = tx.FindSubkey(key, name);
        created = !next;
        key = next ? *next : tx.AddSubkey(key, name);
    }
    return key;
}

// The classes key `path` as seen from both sides now.
KeyRef ClassesRef(Transaction& tx, const KeyPath& path) {
    KeyRef ref;
    ref.classes = true;
    ref.path = path;
    ref.user = FindPath(tx, kCurrentUserKey, Join(UserClasses(), path)).value_or(kNoKey);
    ref.machine = FindPath(tx, kLocalMachineKey, Join(MachineClasses(), path)).value_or(kNoKey);
    ref.key = ref.user != kNoKey ? ref.user : ref.machine;
    return ref;
}

}  // namespace

std::optional<Root> PredefinedRoot(HKEY key) {
    if (key == HKEY_CURRENT_USER) return Root::kCurrentUser;
    if (key == HKEY_LOCAL_MACHINE) return Root::kLocalMachine;
    if (key == HKEY_CLASSES_ROOT) return Root::kClassesRoot;
    return std::nullopt;
}

HKEY PredefinedHandle(Root root) {
    switch (root) {
        case Root::kCurrentUser:
            return HKEY_CURRENT_USER;
        case Root::kLocalMachine:
            return HKEY_LOCAL_MACHINE;
        case Root::kClassesRoot:
            break;
    }
    return HKEY_CLASSES_ROOT;
}

std::string_view RootName(Root root) {
    switch (root) {
        case Root::kCurrentUser:
            return "HKEY_CURRENT_USER";
        case Root::kLocalMachine:
            return "HKEY_LOCAL_MACHINE";
        case Root::kClassesRoot:
            break;
    }
    return "HKEY_CLASSES_ROOT";
}

LONG SplitKeyPath(std::string_view text, KeyPath& path) {
    path.clear();
    if (text.empty()) return ERROR_SUCCESS;
    if (text.front() == '\\') return ERROR_INVALID_PARAMETER;
    if (text.back() == '\\') text.remove_suffix(1);
    size_t start = 0;
    while (true) {
        const size_t end = std::min(text.find('\\', start), text.size());
        const std::string_view name = text.substr(start, end - start);
        if (name.empty() || name.size() > kMaxKeyName ||
            name.find_first_of("\r\n") != std::string_view::npos) {
            path.clear();
            return ERROR_INVALID_PARAMETER;
        }
        path.emplace_back(name);
        if (end == text.size()) return ERROR_SUCCESS;
        start = end + 1;
    }
}

KeyRef RootRef(Transaction& tx, Root root) {
    switch (root) {
        case Root::kCurrentUser:
            return KeyRef{kCurrentUserKey};
        case Root::kLocalMachine:
            return KeyRef{kLocalMachineKey};
        case Root::kClassesRoot:
            break;
    }
    return ClassesRef(tx, {});
}

std::optional<KeyRef> OpenKey(Transaction& tx, const KeyRef& base, const KeyPath& path) {
    if (path.empty()) return base;
    if (base.classes) {
        KeyRef ref = ClassesRef(tx, Join(base.path, path));
        if (ref.key == kNoKey) return std::nullopt;
        return ref;
    }
    if (base.key == kNoKey) return std::nullopt;
    const std::optional<KeyId> key = FindPath(tx, base.key, path);
    if (!key) return std::nullopt;
    return KeyRef{*key};
}

KeyRef CreateKey(Transaction& tx, const KeyRef& base, const KeyPath& path, bool& created) {
    created = false;
    if (path.empty()) return base;
    if (!base.classes) return KeyRef{CreatePath(tx, base.key, path, created)};
    KeyRef ref = ClassesRef(tx, Join(base.path, path));
    if (ref.key == kNoKey) {
        ref.machine = CreatePath(tx, kLocalMachineKey, Join(MachineClasses(), ref.path), created);
        ref.key = ref.machine;
    }
    return ref;
}

KeyId KeyForWriting(Transaction& tx, KeyRef& ref) {
    if (ref.key == kNoKey) {
        bool created;
        ref.machine = CreatePath(tx, kLocalMachineKey, MachineClasses(), created);
        ref.key = ref.machine;
    }
    return ref.key;
}

std::vector<StoredKey> ListSubkeys(Transaction& tx, const KeyRef& ref) {
    if (!ref.classes) return ref.key == kNoKey ? std::vector<StoredKey>{} : tx.Subkeys(ref.key);
    std::vector<StoredKey> keys;
    std::set<std::string> seen;
    if (ref.user != kNoKey) {
        keys = tx.Subkeys(ref.user);
        for (const StoredKey& key : keys) seen.insert(FoldCase(key.name));
    }
    if (ref.machine != kNoKey) {
        for (StoredKey& key : tx.Subkeys(ref.machine)) {
            if (!seen.count(FoldCase(key.name))) keys.push_back(std::move(key));
        }
    }
    return keys;
}

bool IsStoredRoot(KeyId key) {
    return key == kCurrentUserKey || key == kLocalMachineKey;
}

}  // namespace orvella::platform::registry
