// The Win32 registry API: keys, typed values, access rights and the predefined roots, with the
// names, values and result codes Windows documents. Implemented over one SQLite database per home.
//
// Contract, beyond the Windows documentation:
// - Storage: "registry.db" in the Orvella home (orvella::platform::HomeDirectory()). Every call
//   is one transaction, durable when it returns; processes sharing a home share the registry and
//   never lose each other's writes. A handle keeps using the database of the home it was opened
//   in; the predefined roots always address the current home.
// - Strings are 8-bit (UTF-8 bytes); data is stored and returned byte for byte as given, whatever
//   its type and size, so a REG_DWORD written with 3 bytes reads back as REG_DWORD of size 3.
// - Key and value names compare without regard to case (Unicode upper case of each character,
//   bytes that are not UTF-8 compared as they are) and keep the case they were created with. A
//   key name is 1..255 bytes without '\', CR or LF; a value name at most 16383 bytes.
// - Subkeys enumerate in order of their upper-cased names, values in the order they were first
//   set (setting an existing value keeps its place).
// - HKEY_CLASSES_ROOT is the merged view of HKEY_CURRENT_USER\Software\Classes over
//   HKEY_LOCAL_MACHINE\SOFTWARE\Classes. A key opened or created through it resolves, at that
//   moment, to the user's key when it exists, else the machine's key; a key on neither side is
//   created on the machine side. Values are read, written and enumerated on the resolved key
//   only. Subkey enumeration and RegQueryInfoKeyA's subkey figures merge both sides: the user's
//   subkeys first, then the machine's whose names the user side lacks. Deletions act on the
//   resolved key only.
// - Access: a handle carries the rights it was opened with; the predefined roots have all rights.
//   Queries and value enumeration need KEY_QUERY_VALUE, writes and value deletion KEY_SET_VALUE,
//   subkey enumeration KEY_ENUMERATE_SUB_KEYS; otherwise ERROR_ACCESS_DENIED. Creating or
//   deleting a subkey does not depend on the parent handle's rights (as on Windows, where the
//   key's security descriptor decides). RegDeleteTreeA without a subkey needs DELETE,
//   KEY_ENUMERATE_SUB_KEYS and KEY_QUERY_VALUE, plus KEY_SET_VALUE when the key has values.
// - Failures: ERROR_INVALID_HANDLE for an unknown or closed handle, ERROR_KEY_DELETED for a
//   handle whose key was deleted (by any process), ERROR_FILE_NOT_FOUND for a missing key or
//   value, ERROR_BADDB when the database is corrupt, truncated or not a registry (the file is
//   never modified then), ERROR_CANTOPEN when the home or database cannot be opened,
//   ERROR_TIMEOUT when another process holds the database too long, ERROR_REGISTRY_IO_FAILED
//   and ERROR_CANTWRITE for I/O failures, ERROR_INVALID_PARAMETER for malformed arguments.
//   orvella::platform::DescribeRegistryError (reg_file.h) gives the text of the last failure.
// - REG_OPTION_VOLATILE keys are kept like others; key classes and security are not kept.
// - Threads: every function may be called from any thread; handles may be shared between them.
#pragma once

#include "winbase.h"
#include "windef.h"
#include "winerror.h"

typedef struct HKEY__* HKEY;
typedef HKEY* PHKEY;
typedef DWORD ACCESS_MASK;
typedef ACCESS_MASK REGSAM;
typedef LONG LSTATUS;
typedef struct _SECURITY_ATTRIBUTES* LPSECURITY_ATTRIBUTES;

// The predefined roots: sign-extended 32-bit constants, as Windows defines them.
#define HKEY_CLASSES_ROOT ((HKEY)(ULONG_PTR)((LONG)0x80000000))
#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)((LONG)0x80000001))
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)((LONG)0x80000002))

// Standard access rights (shared with other securable objects; winbase.h may define them first).
#ifndef DELETE
#define DELETE 0x00010000L
#endif
#ifndef READ_CONTROL
#define READ_CONTROL 0x00020000L
#endif
#ifndef WRITE_DAC
#define WRITE_DAC 0x00040000L
#endif
#ifndef WRITE_OWNER
#define WRITE_OWNER 0x00080000L
#endif
#ifndef SYNCHRONIZE
#define SYNCHRONIZE 0x00100000L
#endif
#ifndef STANDARD_RIGHTS_REQUIRED
#define STANDARD_RIGHTS_REQUIRED 0x000F0000L
#endif
#ifndef STANDARD_RIGHTS_READ
#define STANDARD_RIGHTS_READ READ_CONTROL
#endif
#ifndef STANDARD_RIGHTS_WRITE
#define STANDARD_RIGHTS_WRITE READ_CONTROL
#endif
#ifndef STANDARD_RIGHTS_ALL
#define STANDARD_RIGHTS_ALL 0x001F0000L
#endif

// Key access rights.
#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_CREATE_SUB_KEY 0x0004
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_NOTIFY 0x0010
#define KEY_CREATE_LINK 0x0020
#define KEY_WOW64_64KEY 0x0100
#define KEY_WOW64_32KEY 0x0200
#define KEY_READ                                                                      \
    ((STANDARD_RIGHTS_READ | KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS | KEY_NOTIFY) & \
     (~SYNCHRONIZE))
#define KEY_WRITE ((STANDARD_RIGHTS_WRITE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY) & (~SYNCHRONIZE))
#define KEY_EXECUTE ((KEY_READ) & (~SYNCHRONIZE))
#define KEY_ALL_ACCESS                                                             \
    ((STANDARD_RIGHTS_ALL | KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY | \
      KEY_ENUMERATE_SUB_KEYS | KEY_NOTIFY | KEY_CREATE_LINK) &                     \
     (~SYNCHRONIZE))

// Value types.
#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_DWORD_LITTLE_ENDIAN 4
#define REG_DWORD_BIG_ENDIAN 5
#define REG_LINK 6
#define REG_MULTI_SZ 7
#define REG_RESOURCE_LIST 8
#define REG_FULL_RESOURCE_DESCRIPTOR 9
#define REG_RESOURCE_REQUIREMENTS_LIST 10
#define REG_QWORD 11
#define REG_QWORD_LITTLE_ENDIAN 11

// Options of RegCreateKeyExA and RegOpenKeyExA, and the dispositions RegCreateKeyExA reports.
#define REG_OPTION_RESERVED 0x00000000L
#define REG_OPTION_NON_VOLATILE 0x00000000L
#define REG_OPTION_VOLATILE 0x00000001L
#define REG_OPTION_CREATE_LINK 0x00000002L
#define REG_OPTION_BACKUP_RESTORE 0x00000004L
#define REG_OPTION_OPEN_LINK 0x00000008L
#define REG_CREATED_NEW_KEY 0x00000001L
#define REG_OPENED_EXISTING_KEY 0x00000002L

LSTATUS RegOpenKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD ulOptions, REGSAM samDesired,
                      PHKEY phkResult);
LSTATUS RegCreateKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD Reserved, LPSTR lpClass, DWORD dwOptions,
                        REGSAM samDesired, const LPSECURITY_ATTRIBUTES lpSecurityAttributes,
                        PHKEY phkResult, LPDWORD lpdwDisposition);
LSTATUS RegCloseKey(HKEY hKey);

// A short buffer gives ERROR_MORE_DATA with the required size in *lpcbData (and the type in
// *lpType); a null lpData asks only for the size and type.
LSTATUS RegQueryValueExA(HKEY hKey, LPCSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType,
                         LPBYTE lpData, LPDWORD lpcbData);
LSTATUS RegSetValueExA(HKEY hKey, LPCSTR lpValueName, DWORD Reserved, DWORD dwType,
                       const BYTE* lpData, DWORD cbData);
LSTATUS RegDeleteValueA(HKEY hKey, LPCSTR lpValueName);

// Fails with ERROR_ACCESS_DENIED when the key has subkeys or is a root.
LSTATUS RegDeleteKeyA(HKEY hKey, LPCSTR lpSubKey);
// Deletes the subkey with everything below it; with a null or empty lpSubKey, the subkeys and
// values of hKey itself.
LSTATUS RegDeleteTreeA(HKEY hKey, LPCSTR lpSubKey);

// A name buffer too short for the name and its terminating NUL gives ERROR_MORE_DATA and leaves
// the count unchanged; on success the count excludes the NUL. Past the end: ERROR_NO_MORE_ITEMS.
// RegEnumValueA reports a short data buffer like RegQueryValueExA (the name is then written).
LSTATUS RegEnumKeyExA(HKEY hKey, DWORD dwIndex, LPSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                      LPSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime);
LSTATUS RegEnumValueA(HKEY hKey, DWORD dwIndex, LPSTR lpValueName, LPDWORD lpcchValueName,
                      LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData);

// Lengths are in bytes without the terminating NUL; classes are empty and security descriptors
// have size 0.
LSTATUS RegQueryInfoKeyA(HKEY hKey, LPSTR lpClass, LPDWORD lpcchClass, LPDWORD lpReserved,
                         LPDWORD lpcSubKeys, LPDWORD lpcbMaxSubKeyLen, LPDWORD lpcbMaxClassLen,
                         LPDWORD lpcValues, LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen,
                         LPDWORD lpcbSecurityDescriptor, PFILETIME lpftLastWriteTime);
