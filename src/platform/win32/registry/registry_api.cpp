// The Reg* functions: the process's table of open key handles, and each call run as one
// transaction on the database of the handle's home.
#include <cstring>
#include <mutex>

#include "common/handle_table.h"
#include "registry_failure.h"
#include "registry_store.h"
#include "registry_view.h"
#include "winreg.h"

using namespace orvella::platform::registry;

namespace {

constexpr size_t kMaxValueName = 16383;

// What a handle refers to: the database it was opened in, the key, and the rights granted.
struct OpenKeyState {
    std::shared_ptr<RegistryStore> store;
    KeyRef ref;
    REGSAM access = 0;
};

orvella::platform::HandleTable<HKEY, OpenKeyState>& Handles() {
    static orvella::platform::HandleTable<HKEY, OpenKeyState> table(0x10000);
    return table;
}

// The key a call works on: a predefined root of the current home, or an open handle.
struct Target {
    std::shared_ptr<RegistryStore> store;
    std::optional<Root> root;
    KeyRef ref;
    REGSAM access = 0;
};

LONG FindTarget(HKEY hKey, Target& target) {
    if (const std::optional<Root> root = PredefinedRoot(hKey)) {
        target.store = RegistryStore::ForCurrentHome();
        target.root = root;
        target.access = KEY_ALL_ACCESS;
        return ERROR_SUCCESS;
    }
    std::optional<OpenKeyState> state = Handles().Find(hKey);
    if (!state) return ERROR_INVALID_HANDLE;
    target.store = std::move(state->store);
    target.ref = std::move(state->ref);
    target.access = state->access;
    return ERROR_SUCCESS;
}

// Runs one registry call on hKey: checks the handle and its rights, opens the transaction,
// resolves a predefined root or checks that the handle's key still exists, and turns failures of
// the database into their codes. `body(tx, ref, target)` returns the call's result; a write is
// committed only when that is ERROR_SUCCESS.
template <typename Body>
LONG RunCall(HKEY hKey, REGSAM needed, Transaction::Kind kind, Body&& body) {
    ForgetFailure();
    try {
        Target target;
        if (const LONG rc = FindTarget(hKey, target); rc != ERROR_SUCCESS) return rc;
        if ((target.access & needed) != needed) return ERROR_ACCESS_DENIED;
        Transaction tx(*target.store, kind);
        KeyRef ref = target.root ? RootRef(tx, *target.root) : target.ref;
        if (!target.root && !tx.KeyExists(ref.key)) return ERROR_KEY_DELETED;
        const LONG result = body(tx, ref, target);
        if (result == ERROR_SUCCESS && kind == Transaction::kWrite) tx.Commit();
        return result;
    } catch (const StoreError& e) {
        RememberFailure(e.code(), e.what());
        return e.code();
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    } catch (const std::exception& e) {
        RememberFailure(ERROR_REGISTRY_IO_FAILED, e.what());
        return ERROR_REGISTRY_IO_FAILED;
    }
}

LONG SplitSubKey(LPCSTR subKey, KeyPath& path) {
    return SplitKeyPath(subKey ? subKey : "", path);
}

// Copies a name with its NUL when the buffer of *count characters holds both.
LONG CopyName(const std::string& name, LPSTR buffer, LPDWORD count) {
    if (*count <= name.size()) return ERROR_MORE_DATA;
    std::memcpy(buffer, name.data(), name.size());
    buffer[name.size()] = '\0';
    *count = static_cast<DWORD>(name.size());
    return ERROR_SUCCESS;
}

// Reports a value as RegQueryValueExA does: type, then data or only its size.
LONG CopyValue(const StoredValue& value, LPDWORD type, LPBYTE data, LPDWORD size) {
    if (type) *type = value.type;
    const DWORD needed = static_cast<DWORD>(value.data.size());
    if (data) {
        if (*size < needed) {
            *size = needed;
            return ERROR_MORE_DATA;
        }
        std::memcpy(data, value.data.data(), needed);
    }
    if (size) *size = needed;
    return ERROR_SUCCESS;
}

// Keys have no class here: an empty one is reported.
LONG CopyEmptyClass(LPSTR buffer, LPDWORD count) {
    if (!buffer) {
        if (count) *count = 0;
        return ERROR_SUCCESS;
    }
    if (*count < 1) return ERROR_MORE_DATA;
    buffer[0] = '\0';
    *count = 0;
    return ERROR_SUCCESS;
}

FILETIME ToFileTime(std::uint64_t ticks) {
    return FILETIME{static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
}

// Opens or creates `path` below hKey and hands out a handle for it.
LONG OpenHandle(HKEY hKey, LPCSTR subKey, REGSAM samDesired, bool create, PHKEY phkResult,
                LPDWORD disposition) {
    if (!phkResult) return ERROR_INVALID_PARAMETER;
    *phkResult = nullptr;
    KeyPath path;
    if (const LONG rc = SplitSubKey(subKey, path); rc != ERROR_SUCCESS) return rc;
    if (path.empty() && PredefinedRoot(hKey)) {
        *phkResult = hKey;
        if (disposition) *disposition = REG_OPENED_EXISTING_KEY;
        return ERROR_SUCCESS;
    }
    OpenKeyState opened;
    bool created = false;
    const LONG rc = RunCall(hKey, 0, create ? Transaction::kWrite : Transaction::kRead,
                            [&](Transaction& tx, const KeyRef& base, Target& target) -> LONG {
                                if (create) {
                                    opened.ref = CreateKey(tx, base, path, created);
                                } else {
                                    std::optional<KeyRef> found = OpenKey(tx, base, path);
                                    if (!found) return ERROR_FILE_NOT_FOUND;
                                    opened.ref = std::move(*found);
                                }
                                opened.store = target.store;
                                return ERROR_SUCCESS;
                            });
    if (rc != ERROR_SUCCESS) return rc;
    opened.access = samDesired;
    *phkResult = Handles().Add(std::move(opened));
    if (disposition) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
}

}  // namespace

LSTATUS RegOpenKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD /*ulOptions*/, REGSAM samDesired,
                      PHKEY phkResult) {
    return OpenHandle(hKey, lpSubKey, samDesired, false, phkResult, nullptr);
}

LSTATUS RegCreateKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD /*Reserved*/, LPSTR /*lpClass*/,
                        DWORD /*dwOptions*/, REGSAM samDesired,
                        const LPSECURITY_ATTRIBUTES /*lpSecurityAttributes*/, PHKEY phkResult,
                        LPDWORD lpdwDisposition) {
    return OpenHandle(hKey, lpSubKey, samDesired, true, phkResult, lpdwDisposition);
}

LSTATUS RegCloseKey(HKEY hKey) {
    if (PredefinedRoot(hKey)) return ERROR_SUCCESS;
    return Handles().Remove(hKey).has_value() ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS RegQueryValueExA(HKEY hKey, LPCSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType,
                         LPBYTE lpData, LPDWORD lpcbData) {
    if (lpReserved || (lpData && !lpcbData)) return ERROR_INVALID_PARAMETER;
    return RunCall(hKey, KEY_QUERY_VALUE, Transaction::kRead,
                   [&](Transaction& tx, const KeyRef& ref, Target&) -> LONG {
                       if (ref.key == kNoKey) return ERROR_FILE_NOT_FOUND;
                       const std::optional<StoredValue> value =
                           tx.FindValue(ref.key, lpValueName ? lpValueName : "");
                       if (!value) return ERROR_FILE_NOT_FOUND;
                       return CopyValue(*value, lpType, lpData, lpcbData);
                   });
}

LSTATUS RegSetValueExA(HKEY hKey, LPCSTR lpValueName, DWORD /*Reserved*/, DWORD dwType,
                       const BYTE* lpData, DWORD cbData) {
    const std::string_view name = lpValueName ? lpValueName : "";
    if ((!lpData && cbData) || name.size() > kMaxValueName) return ERROR_INVALID_PARAMETER;
    const std::string_view data(reinterpret_cast<const char*>(lpData), lpData ? cbData : 0);
    return RunCall(hKey, KEY_SET_VALUE, Transaction::kWrite,
                   [&](Transaction& tx, KeyRef& ref, Target&) -> LONG {
                       tx.SetValue(KeyForWriting(tx, ref), name, dwType, data);
                       return ERROR_SUCCESS;
                   });
}

LSTATUS RegDeleteValueA(HKEY hKey, LPCSTR lpValueName) {
    return RunCall(hKey, KEY_SET_VALUE, Transaction::kWrite,
                   [&](Transaction& tx, const KeyRef& ref, Target&) -> LONG {
                       if (ref.key == kNoKey) return ERROR_FILE_NOT_FOUND;
                       return tx.DeleteValue(ref.key, lpValueName ? lpValueName : "")
                                  ? ERROR_SUCCESS
                                  : ERROR_FILE_NOT_FOUND;
                   });
}

LSTATUS RegDeleteKeyA(HKEY hKey, LPCSTR lpSubKey) {
    if (!lpSubKey) return ERROR_INVALID_PARAMETER;
    KeyPath path;
    if (const LONG rc = SplitSubKey(lpSubKey, path); rc != ERROR_SUCCESS) return rc;
    return RunCall(hKey, 0, Transaction::kWrite,
                   [&](Transaction& tx, const KeyRef& base, Target&) -> LONG {
                       const std::optional<KeyRef> target = OpenKey(tx, base, path);
                       if (!target || target->key == kNoKey) return ERROR_FILE_NOT_FOUND;
                       if (IsStoredRoot(target->key) || tx.HasSubkeys(target->key)) {
                           return ERROR_ACCESS_DENIED;
                       }
                       tx.DeleteKey(target->key);
                       return ERROR_SUCCESS;
                   });
}

LSTATUS RegDeleteTreeA(HKEY hKey, LPCSTR lpSubKey) {
    KeyPath path;
    if (const LONG rc = SplitSubKey(lpSubKey, path); rc != ERROR_SUCCESS) return rc;
    if (!path.empty()) {
        // The named subkey is opened by the call itself, as RegDeleteKeyA does.
        return RunCall(hKey, 0, Transaction::kWrite,
                       [&](Transaction& tx, const KeyRef& base, Target&) -> LONG {
                           const std::optional<KeyRef> target = OpenKey(tx, base, path);
                           if (!target) return ERROR_FILE_NOT_FOUND;
                           tx.DeleteKey(target->key);
                           return ERROR_SUCCESS;
                       });
    }
    return RunCall(hKey, DELETE | KEY_ENUMERATE_SUB_KEYS | KEY_QUERY_VALUE, Transaction::kWrite,
                   [&](Transaction& tx, const KeyRef& ref, Target& target) -> LONG {
                       if (ref.key == kNoKey) return ERROR_SUCCESS;
                       if (!(target.access & KEY_SET_VALUE) && tx.Counts(ref.key).values > 0) {
                           return ERROR_ACCESS_DENIED;
                       }
                       tx.ClearKey(ref.key);
                       return ERROR_SUCCESS;
                   });
}

LSTATUS RegEnumKeyExA(HKEY hKey, DWORD dwIndex, LPSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                      LPSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime) {
    if (!lpName || !lpcchName || lpReserved || (lpClass && !lpcchClass)) {
        return ERROR_INVALID_PARAMETER;
    }
    return RunCall(hKey, KEY_ENUMERATE_SUB_KEYS, Transaction::kRead,
                   [&](Transaction& tx, const KeyRef& ref, Target&) -> LONG {
                       std::optional<StoredKey> key;
                       if (ref.classes) {
                           std::vector<StoredKey> all = ListSubkeys(tx, ref);
                           if (dwIndex < all.size()) key = std::move(all[dwIndex]);
                       } else {
                           key = tx.SubkeyAt(ref.key, dwIndex);
                       }
                       if (!key) return ERROR_NO_MORE_ITEMS;
                       if (const LONG rc = CopyName(key->name, lpName, lpcchName)) return rc;
                       if (const LONG rc = CopyEmptyClass(lpClass, lpcchClass)) return rc;
                       if (lpftLastWriteTime)
                           *lpftLastWriteTime = ToFileTime(tx.WriteTime(key->id));
                       return ERROR_SUCCESS;
                   });
}

LSTATUS RegEnumValueA(HKEY hKey, DWORD dwIndex, LPSTR lpValueName, LPDWORD lpcchValueName,
                      LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) {
    if (!lpValueName || !lpcchValueName || lpReserved || (lpData && !lpcbData)) {
        return ERROR_INVALID_PARAMETER;
    }
    return RunCall(hKey, KEY_QUERY_VALUE, Transaction::kRead,
                   [&](Transaction& tx, const KeyRef& ref, Target&) -> LONG {
                       if (ref.key == kNoKey) return ERROR_NO_MORE_ITEMS;
                       const std::optional<StoredValue> value = tx.ValueAt(ref.key, dwIndex);
                       if (!value) return ERROR_NO_MORE_ITEMS;
                       if (const LONG rc = CopyName(value->name, lpValueName, lpcchValueName)) {
                           return rc;
                       }
                       return CopyValue(*value, lpType, lpData, lpcbData);
                   });
}

LSTATUS RegQueryInfoKeyA(HKEY hKey, LPSTR lpClass, LPDWORD lpcchClass, LPDWORD lpReserved,
                         LPDWORD lpcSubKeys, LPDWORD lpcbMaxSubKeyLen, LPDWORD lpcbMaxClassLen,
                         LPDWORD lpcValues, LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen,
                         LPDWORD lpcbSecurityDescriptor, PFILETIME lpftLastWriteTime) {
    if (lpReserved || (lpClass && !lpcchClass)) return ERROR_INVALID_PARAMETER;
    return RunCall(hKey, KEY_QUERY_VALUE, Transaction::kRead,
                   [&](Transaction& tx, const KeyRef& ref, Target&) -> LONG {
                       if (const LONG rc = CopyEmptyClass(lpClass, lpcchClass)) return rc;
                       KeyCounts counts = ref.key != kNoKey ? tx.Counts(ref.key) : KeyCounts{};
                       if (ref.classes) {
                           const std::vector<StoredKey> all = ListSubkeys(tx, ref);
                           counts.subkeys = static_cast<DWORD>(all.size());
                           counts.maxSubkeyName = 0;
                           for (const StoredKey& key : all) {
                               counts.maxSubkeyName = std::max(counts.maxSubkeyName,
                                                               static_cast<DWORD>(key.name.size()));
                           }
                       }
                       if (lpcSubKeys) *lpcSubKeys = counts.subkeys;
                       if (lpcbMaxSubKeyLen) *lpcbMaxSubKeyLen = counts.maxSubkeyName;
                       if (lpcbMaxClassLen) *lpcbMaxClassLen = 0;
                       if (lpcValues) *lpcValues = counts.values;
                       if (lpcbMaxValueNameLen) *lpcbMaxValueNameLen = counts.maxValueName;
                       if (lpcbMaxValueLen) *lpcbMaxValueLen = counts.maxValueData;
                       if (lpcbSecurityDescriptor) *lpcbSecurityDescriptor = 0;
                       if (lpftLastWriteTime) {
                           *lpftLastWriteTime =
                               ToFileTime(ref.key != kNoKey ? tx.WriteTime(ref.key) : 0);
                       }
                       return ERROR_SUCCESS;
                   });
}
