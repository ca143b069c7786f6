// errno and pthread codes as Win32 error codes.
#include "posix_errors.h"

#include <cerrno>

namespace orvella::platform::sync {

DWORD Win32ErrorFromPosix(int code, PosixCall call) {
    if (call == PosixCall::kMutex) {
        switch (code) {
            case EPERM:
                return ERROR_NOT_OWNER;
            case EAGAIN:
                return ERROR_MUTANT_LIMIT_EXCEEDED;
            case EINVAL:
            case ENOTRECOVERABLE:
                return ERROR_INVALID_HANDLE;
            default:
                break;
        }
    }
    switch (code) {
        case 0:
            return ERROR_SUCCESS;
        case ENOENT:
            return ERROR_FILE_NOT_FOUND;
        case ENOTDIR:
        case ELOOP:
        case ENAMETOOLONG:
            return ERROR_PATH_NOT_FOUND;
        case EACCES:
        case EPERM:
        case EROFS:
            return ERROR_ACCESS_DENIED;
        case EMFILE:
        case ENFILE:
            return ERROR_TOO_MANY_OPEN_FILES;
        case ENOSPC:
        case EDQUOT:
            return ERROR_DISK_FULL;
        case ENOMEM:
            return ERROR_NOT_ENOUGH_MEMORY;
        case EINVAL:
            return ERROR_INVALID_PARAMETER;
        case ETIMEDOUT:
            return ERROR_TIMEOUT;
        default:
            return ERROR_GEN_FAILURE;
    }
}

}  // namespace orvella::platform::sync
