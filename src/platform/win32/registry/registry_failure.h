// The calling thread's last registry failure, kept so that DescribeRegistryError can name what
// went wrong (such as which database file is damaged) after a call returned only a code.
#pragma once

#include <string>

#include "winreg.h"

namespace orvella::platform::registry {

void RememberFailure(LONG code, const std::string& message);
void ForgetFailure();

}  // namespace orvella::platform::registry
