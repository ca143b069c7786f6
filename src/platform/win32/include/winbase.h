// Win32 base services: last error, handles, named mutexes, waits, threads and time.
#pragma once

#include "windef.h"
#include "winerror.h"

// The calling thread's last error, as GetLastError/SetLastError keep it.
DWORD GetLastError();
void SetLastError(DWORD error);
