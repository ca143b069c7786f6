// GUIDs as OLE lays them out, with the IID/CLSID aliases and the comparisons MAPI code uses.
#pragma once

#include <cstring>

#include "windef.h"

typedef struct _GUID {
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
} GUID, *LPGUID;

typedef GUID IID;
typedef GUID CLSID;
typedef IID* LPIID;
typedef CLSID* LPCLSID;
typedef const IID* LPCIID;
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;

inline bool IsEqualGUID(REFGUID a, REFGUID b) {
    return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}
inline bool operator==(REFGUID a, REFGUID b) {
    return IsEqualGUID(a, b);
}

#define IsEqualIID(a, b) IsEqualGUID((a), (b))
#define IsEqualCLSID(a, b) IsEqualGUID((a), (b))

// Every GUID is a definition here (C++ inline variables), so no INITGUID dance is needed.
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) \
    inline constexpr GUID name = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}
// The OLE family {xxxxxxxx-xxxx-xxxx-C000-000000000046}, home of the COM and MAPI identifiers.
#define DEFINE_OLEGUID(name, l, w1, w2) DEFINE_GUID(name, l, w1, w2, 0xC0, 0, 0, 0, 0, 0, 0, 0x46)

DEFINE_GUID(GUID_NULL, 0x00000000, 0x0000, 0x0000, 0, 0, 0, 0, 0, 0, 0, 0);
