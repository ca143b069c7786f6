// The add-in's identity as COM knows it: the class Outlook connects, registered by the
// installation with the path of the add-in's module.
#pragma once

#include "guiddef.h"

// {53242DC8-F20A-4382-8649-F1728E185100}
DEFINE_GUID(CLSID_Connect, 0x53242DC8, 0xF20A, 0x4382, 0x86, 0x49, 0xF1, 0x72, 0x8E, 0x18, 0x51,
            0x00);
inline constexpr char kConnectClassKey[] = "CLSID\\{53242DC8-F20A-4382-8649-F1728E185100}";
