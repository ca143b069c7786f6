// MAPIInitialize, MAPIUninitialize and MAPILogonEx over the profiles in the Orvella home.
#include <atomic>

#include "mapix.h"
#include "profile.h"
#include "session.h"

namespace {
std::atomic<int> initialized{0};
}  // namespace

HRESULT MAPIInitialize(LPVOID) {
    ++initialized;
    return S_OK;
}

void MAPIUninitialize() {
    if (initialized > 0) --initialized;
}

HRESULT MAPILogonEx(ULONG_PTR, LPTSTR profile_name, LPTSTR, FLAGS flags, LPMAPISESSION* session) {
    using namespace orvella::platform::mapi::store;
    if (!session) return MAPI_E_INVALID_PARAMETER;
    *session = nullptr;
    if (initialized == 0) return MAPI_E_NOT_INITIALIZED;
    std::string name = (flags & MAPI_USE_DEFAULT) || !profile_name || !*profile_name
                           ? DefaultProfileName()
                           : std::string(profile_name);
    try {
        if (!ProfileExists(name)) return MAPI_E_LOGON_FAILED;
        auto opened = MakeCom<Session>(name, ProfileStores(name));
        *session = opened.Detach();
        return S_OK;
    } catch (const StoreFailure& failure) {
        return failure.code() == MAPI_E_NOT_FOUND ? MAPI_E_LOGON_FAILED : failure.code();
    }
}
