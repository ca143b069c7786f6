// The OLE base types MAPI's structures are made of: wide and "T" strings, 64-bit integers as
// unions, and the fixed-point currency type.
#pragma once

#include "windef.h"

typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef WCHAR OLECHAR;
typedef OLECHAR* LPOLESTR;
typedef const OLECHAR* LPCOLESTR;

// Orvella builds the 8-bit variants of every string interface: a TCHAR is a char.
typedef char TCHAR;
typedef TCHAR* LPTSTR;
typedef const TCHAR* LPCTSTR;

typedef union _LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    };
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
} LARGE_INTEGER, *PLARGE_INTEGER;

typedef union _ULARGE_INTEGER {
    struct {
        DWORD LowPart;
        DWORD HighPart;
    };
    struct {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
} ULARGE_INTEGER, *PULARGE_INTEGER;

// Currency: a signed 64-bit count of ten-thousandths.
typedef union tagCY {
    struct {
        ULONG Lo;
        LONG Hi;
    };
    LONGLONG int64;
} CY, CURRENCY;
