// MAPI failures and the details they gather from the failing object and its property problems.
#include "MAPIException.h"

#include <utility>

#include "TextFormat.h"
#include "mapi_ptr.h"
#include "mapitable.h"

namespace orvella::diag {
namespace {

// printf's "%s" as both C runtimes print it, a null pointer included.
const char* Printable(const char* text) {
    return text ? text : "(null)";
}

// Any MAPI interface with GetLastError: stores, folders, messages, tables, sessions.
template <class MapiObject>
std::string ObjectDetails(HRESULT code, MapiObject* object, const SPropProblemArray* problems) {
    std::string details;
    if (object) {
        platform::mapi::MapiBuffer<MAPIERROR> error;
        if (SUCCEEDED(object->GetLastError(code, 0, error.Put())) && error) {
            details = Formatted("MAPIError: (%s: %s LowError=%x Context=%x)",
                                Printable(error->lpszComponent), Printable(error->lpszError),
                                static_cast<unsigned>(error->ulLowLevelError),
                                static_cast<unsigned>(error->ulContext));
        }
    }
    if (problems) {
        details += "\nPropProblemArray: ";
        for (ULONG i = 0; i < problems->cProblem; ++i) {
            const SPropProblem& problem = problems->aProblem[i];
            details += Formatted(
                "\n\tNDX=%d PROPTAG=%x SCODE=%x", static_cast<int>(problem.ulIndex),
                static_cast<unsigned>(problem.ulPropTag), static_cast<unsigned>(problem.scode));
        }
    }
    return details;
}

}  // namespace

MAPIException::MAPIException(HRESULT code, std::string message, std::string details, int level,
                             std::string file, int line)
    : BaseException(code, std::move(message), std::move(details), level, std::move(file), line) {}

MAPIException::MAPIException(HRESULT code, IMAPIProp* object, std::string message,
                             const SPropProblemArray* problems, int level, std::string file,
                             int line)
    : MAPIException(code, std::move(message), ObjectDetails(code, object, problems), level,
                    std::move(file), line) {}

MAPIException::MAPIException(HRESULT code, IMAPITable* object, std::string message,
                             const SPropProblemArray* problems, int level, std::string file,
                             int line)
    : MAPIException(code, std::move(message), ObjectDetails(code, object, problems), level,
                    std::move(file), line) {}

MAPIException::MAPIException(HRESULT code, IMAPISession* object, std::string message,
                             const SPropProblemArray* problems, int level, std::string file,
                             int line)
    : MAPIException(code, std::move(message), ObjectDetails(code, object, problems), level,
                    std::move(file), line) {}

MAPIException::MAPIException(HRESULT code, IMAPIProp* object, std::string message, int level,
                             std::string file, int line)
    : MAPIException(code, object, std::move(message), nullptr, level, std::move(file), line) {}

MAPIException::MAPIException(HRESULT code, IMAPITable* object, std::string message, int level,
                             std::string file, int line)
    : MAPIException(code, object, std::move(message), nullptr, level, std::move(file), line) {}

MAPIException::MAPIException(HRESULT code, IMAPISession* object, std::string message, int level,
                             std::string file, int line)
    : MAPIException(code, object, std::move(message), nullptr, level, std::move(file), line) {}

}  // namespace orvella::diag
