// Edit controls: text, selection and caret, read-only state, and the EN_CHANGE notifications a
// person's typing and (for single-line edits) WM_SETTEXT raise.
#include <algorithm>

#include "control_kinds.h"

namespace orvella::platform::gui::detail {

void EditControl::OnTextSet(ControlEffects& effects) {
    selectionStart_ = selectionEnd_ = 0;
    caretScrolled_ = false;
    if ((style & ES_MULTILINE) == 0) effects.Notify(EN_CHANGE);
}

bool EditControl::Type(const std::string& typed, ControlEffects& effects) {
    if (style & ES_READONLY) return false;
    text = typed;
    selectionStart_ = selectionEnd_ = Length();
    caretScrolled_ = false;
    effects.changed = true;
    effects.Notify(EN_CHANGE);
    return true;
}

void EditControl::Select(int start, int end, ControlEffects& effects) {
    if (start == -1) {
        start = end = selectionEnd_;  // deselect, leaving the caret where it is
    } else {
        if (end == -1) end = Length();
        start = std::clamp(start, 0, Length());
        end = std::clamp(end, 0, Length());
        if (start > end) std::swap(start, end);
    }
    if (start != selectionStart_ || end != selectionEnd_) effects.changed = true;
    selectionStart_ = start;
    selectionEnd_ = end;
}

LRESULT EditControl::Handle(UINT message, WPARAM wParam, LPARAM lParam, ControlEffects& effects) {
    switch (message) {
        case EM_SETSEL:
            Select(static_cast<int>(wParam), static_cast<int>(lParam), effects);
            return 0;
        case EM_GETSEL:
            if (wParam) *reinterpret_cast<DWORD*>(wParam) = static_cast<DWORD>(selectionStart_);
            if (lParam) *reinterpret_cast<DWORD*>(lParam) = static_cast<DWORD>(selectionEnd_);
            return MAKELRESULT(selectionStart_, selectionEnd_);
        case EM_SCROLLCARET:
            if (!caretScrolled_) effects.changed = true;
            caretScrolled_ = true;
            return TRUE;
        case EM_REPLACESEL: {
            const std::string inserted = lParam ? reinterpret_cast<LPCSTR>(lParam) : "";
            text.replace(static_cast<size_t>(selectionStart_),
                         static_cast<size_t>(selectionEnd_ - selectionStart_), inserted);
            selectionStart_ = selectionEnd_ = selectionStart_ + static_cast<int>(inserted.size());
            caretScrolled_ = false;
            effects.changed = true;
            effects.Notify(EN_CHANGE);
            return 0;
        }
        case EM_SETREADONLY: {
            const DWORD updated = wParam ? (style | ES_READONLY) : (style & ~ES_READONLY);
            if (updated != style) effects.changed = true;
            style = updated;
            return TRUE;
        }
        default:
            return Control::Handle(message, wParam, lParam, effects);
    }
}

void EditControl::Describe(ControlView& view) const {
    Control::Describe(view);
    view.readOnly = (style & ES_READONLY) != 0;
    view.selectionStart = selectionStart_;
    view.selectionEnd = selectionEnd_;
    view.caretScrolledIntoView = caretScrolled_;
}

}  // namespace orvella::platform::gui::detail
