// The per-thread last error of Win32 calls.
#include "winbase.h"

namespace {
thread_local DWORD t_lastError = ERROR_SUCCESS;
}

DWORD GetLastError() { return t_lastError; }
void SetLastError(DWORD error) { t_lastError = error; }
