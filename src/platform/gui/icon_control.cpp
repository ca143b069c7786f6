// Icon statics: the icon a template names, replaced by STM_SETICON.
#include "control_kinds.h"
#include "icons.h"

namespace orvella::platform::gui::detail {

IconControl::IconControl(const DialogControl& source, HWND hwnd, DWORD style)
    : Control(source, hwnd, style), icon_(SystemIconNamed(source.text)) {}

LRESULT IconControl::Handle(UINT message, WPARAM wParam, LPARAM lParam, ControlEffects& effects) {
    switch (message) {
        case STM_SETICON: {
            const HICON previous = icon_;
            icon_ = reinterpret_cast<HICON>(wParam);
            text = IconName(icon_);
            effects.changed = true;
            return reinterpret_cast<LRESULT>(previous);
        }
        case STM_GETICON:
            return reinterpret_cast<LRESULT>(icon_);
        default:
            return Control::Handle(message, wParam, lParam, effects);
    }
}

}  // namespace orvella::platform::gui::detail
