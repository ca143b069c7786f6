// Keys as callers address them: the stored roots, and HKEY_CLASSES_ROOT as the merged view of
// the user's classes over the machine's (the rules are stated in winreg.h).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "registry_store.h"
#include "winreg.h"

namespace orvella::platform::registry {

enum class Root { kCurrentUser, kLocalMachine, kClassesRoot };

// The root a predefined handle stands for; nullopt for any other handle.
std::optional<Root> PredefinedRoot(HKEY key);
HKEY PredefinedHandle(Root root);
// "HKEY_CURRENT_USER", ...
std::string_view RootName(Root root);

// The names of a key path, each 1..255 bytes without '\', CR or LF.
using KeyPath = std::vector<std::string>;

// Splits "a\b\c" into its names; an empty text gives none and one trailing '\' is ignored.
// ERROR_INVALID_PARAMETER for a leading '\', an empty or over-long name, or CR/LF in a name.
LONG SplitKeyPath(std::string_view text, KeyPath& path);

// A key opened by a caller. For a plain key, `key` is the stored key. For a key of the classes
// view, `path` is its path below the classes root, `user` and `machine` the stored keys on each
// side when it was opened (kNoKey when absent), and `key` the resolved one (user side first);
// only the classes root itself may have neither side.
struct KeyRef {
    KeyId key = kNoKey;
    bool classes = false;
    KeyPath path;
    KeyId user = kNoKey;
    KeyId machine = kNoKey;
};

using Transaction = RegistryStore::Transaction;

KeyRef RootRef(Transaction& tx, Root root);

// The key `path` below `base` (base itself for an empty path); nullopt when it does not exist.
std::optional<KeyRef> OpenKey(Transaction& tx, const KeyRef& base, const KeyPath& path);

// Opens the key, creating what is missing (in the classes view: on the machine side).
// `created` tells whether the key itself is new.
KeyRef CreateKey(Transaction& tx, const KeyRef& base, const KeyPath& path, bool& created);

// The stored key that writes to `ref` go to, creating the machine's classes root when the classes
// view has neither side yet.
KeyId KeyForWriting(Transaction& tx, KeyRef& ref);

// The subkeys of `ref`, merged for the classes view: the user's first, then the machine's whose
// names the user side lacks.
std::vector<StoredKey> ListSubkeys(Transaction& tx, const KeyRef& ref);

// True for HKEY_CURRENT_USER and HKEY_LOCAL_MACHINE themselves, which cannot be deleted.
bool IsStoredRoot(KeyId key);

}  // namespace orvella::platform::registry
