// The simulated Outlook "11" of the host: its object model over a profile's message stores, the
// host's view of the items it displays, and the per-profile online state Outlook would keep.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "msoutl.h"

namespace orvella::host::outlook {

// Logs on to the profile (empty: the default profile, as MAPI_USE_DEFAULT) and returns its
// Outlook application. Every object it hands out reaches the store only through MAPI and keeps
// the session alive. Throws std::runtime_error naming the profile when it cannot be logged on
// to (no such profile, no default store). Any thread may call it.
platform::mapi::ComPtr<_Application> CreateOutlookApplication(const std::string& profile = "");

// What the host shows when an item is displayed: the host has no windows of its own.
struct DisplayedItem {
    std::string entryId;  // hex, as _MailItem::get_EntryID
    std::string subject;
    std::vector<std::string> recipients;  // "Name <address>", or the address alone
    std::string body;
};

// The host's side of the application, reached with QueryInterface(IID_HostApplication) on what
// CreateOutlookApplication returns.
// {6F72766C-0011-4F75-8C6F-6F6B486F7374}
DEFINE_GUID(IID_HostApplication, 0x6F72766C, 0x0011, 0x4F75, 0x8C, 0x6F, 0x6F, 0x6B, 0x48, 0x6F,
            0x73, 0x74);
class HostApplication : public _Application {
public:
    // Called on the displaying thread each time an item is displayed, after it was saved. A new
    // listener replaces the old; an empty function removes it.
    virtual void SetDisplayListener(std::function<void(const DisplayedItem&)> listener) = 0;
    // Every item displayed since the application was created, oldest first.
    virtual std::vector<DisplayedItem> DisplayedItems() const = 0;
};

// Whether Outlook works offline and how it is connected to Exchange, kept per profile in
// <profile directory>/outlook-state.json so that the command line can change it while the host
// runs; the namespace reads it each time it is asked.
struct OutlookState {
    bool offline = false;
    Outlook::OlExchangeConnectionMode connectionMode = Outlook::olNoExchange;
};

// The saved state, or the defaults when none was saved: online, olOnline when the profile's
// default store is Exchange-like, else olNoExchange. Throws std::runtime_error when the profile
// does not exist or naming the file when it is damaged.
OutlookState LoadOutlookState(const std::string& profile);
// Replaces the saved state. Throws std::runtime_error when the profile does not exist or the
// file cannot be written.
void SaveOutlookState(const std::string& profile, const OutlookState& state);

// Connection modes as people type them: "online", "cached-offline" ... "no-exchange".
const char* ConnectionModeName(Outlook::OlExchangeConnectionMode mode);
// A name as above or a mode's number; nullopt for anything else.
std::optional<Outlook::OlExchangeConnectionMode> ParseConnectionMode(const std::string& text);

}  // namespace orvella::host::outlook
