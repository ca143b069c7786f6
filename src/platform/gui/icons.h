// The system icons: handles, names shown to front ends, and the icon of each message box type.
#pragma once

#include <string>

#include "winuser.h"

namespace orvella::platform::gui::detail {

// The system icon's handle for its name ("IDI_QUESTION"), or NULL.
HICON SystemIconNamed(const std::string& name);
// The name of a handle LoadIconA gave, "" for NULL.
std::string IconName(HICON icon);
// The icon name a message box of this type shows, "" for none.
std::string MessageBoxIconName(UINT type);

}  // namespace orvella::platform::gui::detail
