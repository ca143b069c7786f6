// The system's version as the add-in asks for it.
#include <cstring>

#include "winbase.h"
#include "winerror.h"

BOOL GetVersionExA(LPOSVERSIONINFOA info) {
    if (!info) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    if (info->dwOSVersionInfoSize != sizeof(OSVERSIONINFOA)) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    info->dwMajorVersion = 5;
    info->dwMinorVersion = 1;
    info->dwBuildNumber = 2600;
    info->dwPlatformId = VER_PLATFORM_WIN32_NT;
    std::strcpy(info->szCSDVersion, "Service Pack 2");
    return TRUE;
}
