// The Win32 registry API.
#pragma once

#include "windef.h"
#include "winerror.h"
