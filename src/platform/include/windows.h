// The Win32 umbrella header: everything the add-in calls of Windows itself.
#pragma once

#include "windef.h"
#include "winerror.h"
#include "winbase.h"
#include "winreg.h"
#include "winuser.h"
