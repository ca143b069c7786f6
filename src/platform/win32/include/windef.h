// Basic Win32 types as the Windows SDK declares them, with Windows' sizes on a 64-bit Linux
// build: DWORD, LONG and ULONG are 32-bit here as there.
#pragma once

#include <cstddef>
#include <cstdint>

typedef uint8_t BYTE;
typedef uint16_t WORD;
typedef uint32_t DWORD;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef int32_t INT;
typedef uint32_t UINT;
typedef int32_t BOOL;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef char CHAR;
typedef wchar_t WCHAR;
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t ULONG_PTR;
typedef ULONG_PTR DWORD_PTR;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef char* LPSTR;
typedef const char* LPCSTR;
typedef BYTE* LPBYTE;
typedef const BYTE* LPCBYTE;
typedef DWORD* LPDWORD;
typedef LONG* PLONG;
typedef BOOL* LPBOOL;

typedef void* HANDLE;
typedef HANDLE* LPHANDLE;
typedef struct HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
typedef struct HWND__* HWND;
typedef struct HICON__* HICON;

typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
#ifndef MAX_PATH
#define MAX_PATH 260
#endif

#define MAKELONG(lo, hi) ((LONG)(((WORD)((DWORD_PTR)(lo)&0xffff)) | ((DWORD)((WORD)((DWORD_PTR)(hi)&0xffff))) << 16))
#define LOWORD(l) ((WORD)(((DWORD_PTR)(l)) & 0xffff))
#define HIWORD(l) ((WORD)((((DWORD_PTR)(l)) >> 16) & 0xffff))
#define MAKEWPARAM(lo, hi) ((WPARAM)(DWORD)MAKELONG(lo, hi))

// A point in time: 100-nanosecond intervals since 1 January 1601 (UTC unless a call says local).
typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

typedef struct _SYSTEMTIME {
    WORD wYear;
    WORD wMonth;  // 1..12
    WORD wDayOfWeek;  // 0 = Sunday
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;
