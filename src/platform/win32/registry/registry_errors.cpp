// Readable descriptions of registry result codes, with the detail of the thread's last failure.
#include "reg_file.h"
#include "registry_failure.h"

namespace orvella::platform {
namespace {

thread_local LONG t_failureCode = ERROR_SUCCESS;
thread_local std::string t_failureMessage;

}  // namespace

namespace registry {

void RememberFailure(LONG code, const std::string& message) {
    t_failureCode = code;
    t_failureMessage = message;
}

void ForgetFailure() {
    if (t_failureCode == ERROR_SUCCESS) return;
    t_failureCode = ERROR_SUCCESS;
    t_failureMessage.clear();
}

}  // namespace registry

std::string DescribeRegistryError(LONG code) {
    if (code != ERROR_SUCCESS && code == t_failureCode && !t_failureMessage.empty()) {
        return t_failureMessage;
    }
    switch (code) {
        case ERROR_SUCCESS:
            return "the operation completed";
        case ERROR_FILE_NOT_FOUND:
            return "the key or value does not exist";
        case ERROR_ACCESS_DENIED:
            return "access denied";
        case ERROR_INVALID_HANDLE:
            return "the key handle is not valid";
        case ERROR_INVALID_PARAMETER:
            return "a parameter is not valid (a malformed key path or name)";
        case ERROR_MORE_DATA:
            return "the buffer is too small";
        case ERROR_NO_MORE_ITEMS:
            return "there are no more items";
        case ERROR_BADDB:
            return "the registry database is damaged";
        case ERROR_KEY_DELETED:
            return "the key has been deleted";
        case ERROR_CANTOPEN:
            return "the registry database cannot be opened";
        case ERROR_TIMEOUT:
            return "the registry database stayed busy in another process";
        case ERROR_NOT_ENOUGH_MEMORY:
            return "not enough memory";
        default:
            return "registry error " + std::to_string(code);
    }
}

}  // namespace orvella::platform
