// A profile's mail accounts as Outlook 2003 keeps them in the registry: one numbered sub-key per
// account below the profile's key, each with its address as UTF-16 "Email" and "Account Name".
#pragma once

#include <string>
#include <vector>

namespace orvella::host {

// Adds an account with this address after the profile's last one and returns its key's name
// ("00000001" ...). An address the profile already has (in any case) is not added twice: its
// key's name comes back. Throws std::runtime_error when the registry cannot be written.
std::string AddAccount(const std::string& profile, const std::string& address);

// The profile's account addresses in key order.
std::vector<std::string> ListAccounts(const std::string& profile);

}  // namespace orvella::host
