// Win32 user interface: message boxes, dialogs, controls, timers and window messages.
#pragma once

#include "windef.h"
#include "winerror.h"
