// Win32 base services: last error, handles, named mutexes, waits, threads and time.
#pragma once

#include "windef.h"
#include "winerror.h"

// The calling thread's last error, as GetLastError/SetLastError keep it.
DWORD GetLastError();
void SetLastError(DWORD error);

// Error codes the calls below report that the shared error header does not carry.
#ifndef ERROR_GEN_FAILURE
#define ERROR_GEN_FAILURE 31L
#endif
#ifndef ERROR_TOO_MANY_OPEN_FILES
#define ERROR_TOO_MANY_OPEN_FILES 4L
#endif
#ifndef ERROR_DISK_FULL
#define ERROR_DISK_FULL 112L
#endif
#ifndef ERROR_MUTANT_LIMIT_EXCEEDED
#define ERROR_MUTANT_LIMIT_EXCEEDED 587L
#endif

// ---------------------------------------------------------------------------------------------
// Handles and waits. A HANDLE names a process-local kernel object (a mutex); any thread may use
// it. Handles are never reused, so a closed handle stays invalid.

#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)
#define INFINITE 0xFFFFFFFF
#define WAIT_OBJECT_0 ((DWORD)0x00000000L)
#define WAIT_ABANDONED ((DWORD)0x00000080L)
#define WAIT_ABANDONED_0 WAIT_ABANDONED
#ifndef WAIT_TIMEOUT
#define WAIT_TIMEOUT 258L
#endif
#define WAIT_FAILED ((DWORD)0xFFFFFFFF)

#define SYNCHRONIZE 0x00100000L
#define STANDARD_RIGHTS_REQUIRED 0x000F0000L
#define MUTEX_MODIFY_STATE 0x0001
#define MUTEX_ALL_ACCESS (STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE | MUTEX_MODIFY_STATE)

// Accepted for the signatures' sake; security descriptors and inheritance are ignored.
typedef struct _SECURITY_ATTRIBUTES {
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *PSECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

// Closes one handle. The object lives on while other handles refer to it, and a mutex the
// calling thread still owns stays owned by it (see CreateMutexA). FALSE with
// ERROR_INVALID_HANDLE for a handle that is not open.
BOOL CloseHandle(HANDLE hObject);

// Waits until the object is signalled or dwMilliseconds pass (0 polls, INFINITE never gives
// up). For a mutex: WAIT_OBJECT_0 when the caller now owns it (again, if it already did),
// WAIT_ABANDONED when it owns it because the previous owner thread or process ended without
// releasing it (whatever that owner protected may be inconsistent), WAIT_TIMEOUT when the time
// ran out. WAIT_FAILED with ERROR_INVALID_HANDLE for a handle that is not open and
// ERROR_ACCESS_DENIED for one opened without SYNCHRONIZE.
DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds);

// ---------------------------------------------------------------------------------------------
// Mutexes. A mutex is re-entrant: its owner thread may wait on it again, and it is free again
// when ReleaseMutex has been called as often as waits succeeded.
//
// A named mutex is shared by every process using the same Orvella home (the home plays the part
// of the logon session); names are case-sensitive and may hold any characters. It exists while
// any process holds a handle to it (or a thread of a process still owns it after closing its
// last handle there); when the last one goes, the next CreateMutexA makes a new, free mutex.
// Closing a handle never releases ownership: the owner can still release it through another
// handle of the same name, and if its thread ends first, the next waiter gets WAIT_ABANDONED.

// Creates the mutex, or opens it when lpName names one that exists. On success the handle has
// MUTEX_ALL_ACCESS and GetLastError() is ERROR_ALREADY_EXISTS for an existing mutex (and
// bInitialOwner is then ignored), else ERROR_SUCCESS; with bInitialOwner a new mutex is owned
// by the calling thread. lpName NULL or empty makes an unnamed, process-local mutex.
// lpMutexAttributes may be NULL; it is ignored. NULL on failure, with the reason as last error.
HANDLE CreateMutexA(LPSECURITY_ATTRIBUTES lpMutexAttributes, BOOL bInitialOwner, LPCSTR lpName);

// Opens an existing named mutex with dwDesiredAccess (waits need SYNCHRONIZE; MUTEX_ALL_ACCESS
// is the usual choice). NULL with ERROR_FILE_NOT_FOUND when no process has it open now,
// ERROR_INVALID_PARAMETER for a NULL name. bInheritHandle is ignored.
HANDLE OpenMutexA(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCSTR lpName);

// Gives up one acquisition by the calling thread. FALSE with ERROR_NOT_OWNER when the caller
// does not own the mutex, ERROR_INVALID_HANDLE when hMutex is not an open mutex handle.
BOOL ReleaseMutex(HANDLE hMutex);

// ---------------------------------------------------------------------------------------------
// Time. "Now" is orvella::platform::Now() (clock.h), which tests may set. The local time zone is
// the one $TZ names (else the system's), re-read on every call.

typedef struct _TIME_ZONE_INFORMATION {
    LONG Bias;  // minutes: UTC = local time + Bias
    WCHAR StandardName[32];
    SYSTEMTIME StandardDate;  // local daylight time when standard time starts (see below)
    LONG StandardBias;
    WCHAR DaylightName[32];
    SYSTEMTIME DaylightDate;  // local standard time when daylight time starts
    LONG DaylightBias;
} TIME_ZONE_INFORMATION, *PTIME_ZONE_INFORMATION, *LPTIME_ZONE_INFORMATION;

#define TIME_ZONE_ID_UNKNOWN 0
#define TIME_ZONE_ID_STANDARD 1
#define TIME_ZONE_ID_DAYLIGHT 2
#define TIME_ZONE_ID_INVALID ((DWORD)0xFFFFFFFF)

void GetSystemTimeAsFileTime(LPFILETIME lpSystemTimeAsFileTime);
void GetSystemTime(LPSYSTEMTIME lpSystemTime);
void GetLocalTime(LPSYSTEMTIME lpSystemTime);

// Local <-> UTC with the zone's bias in force NOW (daylight or standard), not the bias at the
// given date, exactly as Windows documents: a January UTC time converted in July comes out one
// hour off its true local time. FALSE with ERROR_INVALID_PARAMETER when a pointer is NULL or the
// result falls outside 0 .. 0x7FFFFFFFFFFFFFFF.
BOOL FileTimeToLocalFileTime(const FILETIME* lpFileTime, LPFILETIME lpLocalFileTime);
BOOL LocalFileTimeToFileTime(const FILETIME* lpLocalFileTime, LPFILETIME lpFileTime);

// Calendar breakdown of a FILETIME, day of week included; FALSE with ERROR_INVALID_PARAMETER
// for values of 0x8000000000000000 and above.
BOOL FileTimeToSystemTime(const FILETIME* lpFileTime, LPSYSTEMTIME lpSystemTime);
// The inverse; wDayOfWeek is ignored. FALSE with ERROR_INVALID_PARAMETER unless the date lies in
// the years 1601..30827 and every field is in range (February 29 only in leap years).
BOOL SystemTimeToFileTime(const SYSTEMTIME* lpSystemTime, LPFILETIME lpFileTime);

// -1, 0 or 1 as *lpFileTime1 is earlier than, equal to or later than *lpFileTime2.
LONG CompareFileTime(const FILETIME* lpFileTime1, const FILETIME* lpFileTime2);

// The local zone: Bias, StandardBias (0) and DaylightBias in minutes, the zone's abbreviations as
// names, and the current year's transitions in the day-in-month form (wMonth, wDayOfWeek, wDay =
// the week 1..5 where 5 means the last, wHour, wMinute; wYear 0). Returns the daylight state now:
// TIME_ZONE_ID_DAYLIGHT or TIME_ZONE_ID_STANDARD for a zone with daylight saving this year,
// TIME_ZONE_ID_UNKNOWN (dates and DaylightBias zero) for one without; TIME_ZONE_ID_INVALID with
// ERROR_INVALID_PARAMETER for a NULL pointer.
DWORD GetTimeZoneInformation(LPTIME_ZONE_INFORMATION lpTimeZoneInformation);

// ---------------------------------------------------------------------------------------------
// The system's version. The platform answers as the Windows NT family (Windows XP, 5.1), the
// system the add-in was built for.

#define VER_PLATFORM_WIN32s 0
#define VER_PLATFORM_WIN32_WINDOWS 1
#define VER_PLATFORM_WIN32_NT 2

typedef struct _OSVERSIONINFOA {
    DWORD dwOSVersionInfoSize;  // the caller sets sizeof(OSVERSIONINFOA)
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    CHAR szCSDVersion[128];
} OSVERSIONINFOA, *POSVERSIONINFOA, *LPOSVERSIONINFOA;

// FALSE with ERROR_INSUFFICIENT_BUFFER when dwOSVersionInfoSize is not the structure's size,
// ERROR_INVALID_PARAMETER for a NULL pointer.
BOOL GetVersionExA(LPOSVERSIONINFOA lpVersionInformation);
