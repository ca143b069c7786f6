// The installed front end as the dialog system calls it: nothing happens when none is
// installed, and a front end being uninstalled waits for the calls under way.
#pragma once

#include "front_end.h"

namespace orvella::platform::gui::detail {

bool FrontEndInstalled();
// Exceptions of the front end pass through NotifyOpened; the others never throw.
void NotifyOpened(const DialogView& view);
void NotifyChanged(HWND dialog);
void NotifyClosed(const DialogView& view, INT_PTR result);

}  // namespace orvella::platform::gui::detail
