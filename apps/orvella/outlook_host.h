// The simulated Outlook a command runs the add-in in: its application and MAPI namespace, the
// exception reporter pointed at it (so that "Contact Support" can write its mail), and message
// windows reported on standard error, since the command line has none.
#pragma once

#include <functional>

#include "COutlookContext.h"
#include "mapi_ptr.h"
#include "msoutl.h"

namespace orvella::cli {

class OutlookHost {
public:
    // Logs on to the current profile; throws CommandError saying how to create it when there
    // is none.
    OutlookHost();
    ~OutlookHost();
    OutlookHost(const OutlookHost&) = delete;
    OutlookHost& operator=(const OutlookHost&) = delete;

    _Application* Application() const { return application_.Get(); }
    _NameSpace* NameSpace() const { return nameSpace_.Get(); }

private:
    platform::mapi::ComPtr<_Application> application_;
    platform::mapi::ComPtr<_NameSpace> nameSpace_;
};

// Runs body over the add-in's store session on the current profile, constructed (and with
// initialize, prepared) as at Outlook's start. A failure of the add-in is reported as the
// add-in reports it (its log and error dialog) and ends the command with its message.
void WithStoreSession(bool initialize,
                      const std::function<void(OutlookHost&, COutlookContext&)>& body);

}  // namespace orvella::cli
