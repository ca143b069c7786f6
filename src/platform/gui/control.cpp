// What every control shares: its window text, its style as a resource compiler resolves it, and
// the making of each kind.
#include "control.h"

#include <algorithm>
#include <cstring>

#include "control_kinds.h"

namespace orvella::platform::gui::detail {
namespace {

// The bits a resource compiler gives each kind besides WS_CHILD | WS_VISIBLE.
DWORD KindDefaults(ControlKind kind) {
    switch (kind) {
        case ControlKind::Static:
            return SS_LEFT | WS_GROUP;
        case ControlKind::Icon:
            return SS_ICON;
        case ControlKind::Edit:
            return ES_LEFT | WS_BORDER | WS_TABSTOP;
        case ControlKind::Button:
            return BS_PUSHBUTTON | WS_TABSTOP;
        case ControlKind::CheckBox:
            return WS_TABSTOP;
        case ControlKind::RadioButton:
            return 0;
        case ControlKind::GroupBox:
            return 0;
        case ControlKind::ProgressBar:
            return 0;
    }
    return 0;
}

// A button kind's type bits: the style's when they name a type of that kind, else the kind's.
DWORD ButtonType(ControlKind kind, DWORD requested) {
    auto oneOf = [requested](std::initializer_list<DWORD> types, DWORD fallback) {
        return std::find(types.begin(), types.end(), requested) != types.end() ? requested
                                                                               : fallback;
    };
    switch (kind) {
        case ControlKind::Button:
            return oneOf({BS_PUSHBUTTON, BS_DEFPUSHBUTTON}, BS_PUSHBUTTON);
        case ControlKind::CheckBox:
            return oneOf({BS_CHECKBOX, BS_AUTOCHECKBOX, BS_3STATE, BS_AUTO3STATE}, BS_AUTOCHECKBOX);
        case ControlKind::RadioButton:
            return oneOf({BS_RADIOBUTTON, BS_AUTORADIOBUTTON}, BS_AUTORADIOBUTTON);
        case ControlKind::GroupBox:
            return BS_GROUPBOX;
        default:
            return requested;
    }
}

DWORD ResolveStyle(const DialogControl& source) {
    DWORD style =
        (WS_CHILD | WS_VISIBLE | KindDefaults(source.kind) | source.style) & ~source.notStyle;
    switch (source.kind) {
        case ControlKind::Button:
        case ControlKind::CheckBox:
        case ControlKind::RadioButton:
        case ControlKind::GroupBox:
            return (style & ~BS_TYPEMASK) | ButtonType(source.kind, source.style & BS_TYPEMASK);
        case ControlKind::Icon:
            return (style & ~SS_TYPEMASK) | SS_ICON;
        default:
            return style;
    }
}

}  // namespace

Control::Control(const DialogControl& source, HWND handle, DWORD resolvedStyle)
    : WindowState{source.text, resolvedStyle, 0},
      hwnd(handle),
      id(source.id),
      kind(source.kind),
      x(source.x),
      y(source.y),
      cx(source.cx),
      cy(source.cy) {}

LRESULT Control::Handle(UINT message, WPARAM wParam, LPARAM lParam, ControlEffects& effects) {
    switch (message) {
        case WM_SETTEXT:
            text = lParam ? reinterpret_cast<LPCSTR>(lParam) : "";
            effects.changed = true;
            OnTextSet(effects);
            return TRUE;
        case WM_GETTEXT:
            return CopyText(text, reinterpret_cast<LPSTR>(lParam), static_cast<int>(wParam));
        case WM_GETTEXTLENGTH:
            return static_cast<LRESULT>(text.size());
        default:
            return 0;
    }
}

void Control::Describe(ControlView& view) const {
    view.hwnd = hwnd;
    view.id = id;
    view.kind = kind;
    view.text = text;
    view.style = style;
    view.x = x;
    view.y = y;
    view.cx = cx;
    view.cy = cy;
    view.enabled = enabled();
    view.visible = visible();
}

std::unique_ptr<Control> MakeControl(const DialogControl& source, HWND hwnd) {
    const DWORD style = ResolveStyle(source);
    switch (source.kind) {
        case ControlKind::Icon:
            return std::make_unique<IconControl>(source, hwnd, style);
        case ControlKind::Button:
        case ControlKind::CheckBox:
        case ControlKind::RadioButton:
        case ControlKind::GroupBox:
            return std::make_unique<ButtonControl>(source, hwnd, style);
        case ControlKind::Edit:
            return std::make_unique<EditControl>(source, hwnd, style);
        case ControlKind::ProgressBar:
            return std::make_unique<ProgressControl>(source, hwnd, style);
        case ControlKind::Static:
            break;
    }
    return std::make_unique<Control>(source, hwnd, style);
}

int CopyText(const std::string& text, LPSTR buffer, int maxCount) {
    if (!buffer || maxCount <= 0) return 0;
    const int count = std::min(static_cast<int>(text.size()), maxCount - 1);
    std::memcpy(buffer, text.data(), static_cast<size_t>(count));
    buffer[count] = '\0';
    return count;
}

}  // namespace orvella::platform::gui::detail
