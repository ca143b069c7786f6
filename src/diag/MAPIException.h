// Failure of a MAPI call, optionally with the failing object's extended error and the
// per-property problems of SetProps or DeleteProps as its details.
#pragma once

#include <string>

#include "BaseException.h"
#include "mapidefs.h"
#include "mapix.h"

namespace orvella::diag {

class MAPIException : public BaseException {
public:
    MAPIException(HRESULT code, std::string message, std::string details, int level,
                  std::string file, int line);

    // The details are built from the object, when given: its GetLastError(code, 0) as
    // "MAPIError: (component: error LowError=%x Context=%x)", then each problem of the array,
    // when given, in array order. Neither argument is kept; the object may be null.
    MAPIException(HRESULT code, IMAPIProp* object, std::string message,
                  const SPropProblemArray* problems, int level, std::string file, int line);
    MAPIException(HRESULT code, IMAPITable* object, std::string message,
                  const SPropProblemArray* problems, int level, std::string file, int line);
    MAPIException(HRESULT code, IMAPISession* object, std::string message,
                  const SPropProblemArray* problems, int level, std::string file, int line);

    // The same without a problem array.
    MAPIException(HRESULT code, IMAPIProp* object, std::string message, int level, std::string file,
                  int line);
    MAPIException(HRESULT code, IMAPITable* object, std::string message, int level,
                  std::string file, int line);
    MAPIException(HRESULT code, IMAPISession* object, std::string message, int level,
                  std::string file, int line);

    const char* GetType() const override { return "MAPI"; }
};

}  // namespace orvella::diag
