// The read-only face of every failure the add-in raises: what the exception reporter reads to
// log a failure and to show it to the user.
#pragma once

#include "winerror.h"

namespace orvella::diag {

// Severity of a failure. Throw sites use EXCEPTION_ERROR; EXCEPTION_WARNING marks conditions
// that are only worth logging. Stored as a plain int: any other value counts as an error.
enum ExceptionLevel : int {
    EXCEPTION_INFO = 0,
    EXCEPTION_WARNING = 1,
    EXCEPTION_ERROR = 2,
    EXCEPTION_SEVERE_ERROR = 3,
};

// Accessors only; the strings stay valid as long as the exception lives.
class IException {
public:
    virtual ~IException() = default;

    // "MAPI", "OUTLOOK", "PROGRAM" or "CONTACTANALYZE": a constant string.
    virtual const char* GetType() const = 0;
    virtual int GetLevel() const = 0;
    // The throw site's source line; 0 when not given.
    virtual int GetLine() const = 0;
    // The throw site's module ("MsgProcessor"), or null when empty.
    virtual const char* GetFile() const = 0;
    // "Operation: what failed", or null when empty.
    virtual const char* GetMessage() const = 0;
    // Extra diagnostics (MAPI's extended error, property problems), or null when empty.
    virtual const char* GetDetails() const = 0;
    // The failing call's HRESULT or SCODE; 0 for failures of the program's own logic.
    virtual HRESULT GetCode() const = 0;
};

}  // namespace orvella::diag
