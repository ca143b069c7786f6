// The system icons: LoadIconA and the names front ends see.
#include "icons.h"

#include <array>

#include "winbase.h"

namespace orvella::platform::gui::detail {
namespace {

struct SystemIcon {
    WORD id;
    const char* name;
};

constexpr std::array<SystemIcon, 7> kSystemIcons{{
    {32512, "IDI_APPLICATION"},
    {32513, "IDI_HAND"},
    {32514, "IDI_QUESTION"},
    {32515, "IDI_EXCLAMATION"},
    {32516, "IDI_ASTERISK"},
    {32517, "IDI_WINLOGO"},
    {32518, "IDI_SHIELD"},
}};

// A system icon's handle is its id: opaque to callers, and no table of live icons is needed.
HICON Handle(WORD id) {
    return reinterpret_cast<HICON>(static_cast<uintptr_t>(id));
}

}  // namespace

HICON SystemIconNamed(const std::string& name) {
    for (const SystemIcon& icon : kSystemIcons) {
        if (name == icon.name) return Handle(icon.id);
    }
    return nullptr;
}

std::string IconName(HICON icon) {
    for (const SystemIcon& system : kSystemIcons) {
        if (icon == Handle(system.id)) return system.name;
    }
    return {};
}

std::string MessageBoxIconName(UINT type) {
    switch (type & MB_ICONMASK) {
        case MB_ICONHAND:
            return "IDI_HAND";
        case MB_ICONQUESTION:
            return "IDI_QUESTION";
        case MB_ICONEXCLAMATION:
            return "IDI_EXCLAMATION";
        case MB_ICONASTERISK:
            return "IDI_ASTERISK";
        default:
            return {};
    }
}

}  // namespace orvella::platform::gui::detail

using namespace orvella::platform::gui::detail;

HICON LoadIconA(HINSTANCE hInstance, LPCSTR lpIconName) {
    if (!hInstance && IS_INTRESOURCE(lpIconName)) {
        const WORD id = LOWORD(reinterpret_cast<ULONG_PTR>(lpIconName));
        for (const SystemIcon& icon : kSystemIcons) {
            if (icon.id == id) return Handle(id);
        }
    }
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return nullptr;
}
