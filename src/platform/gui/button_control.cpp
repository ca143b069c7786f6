// Buttons of every kind: push buttons, check boxes (two- and three-state), radio buttons and
// group boxes, and what a click does to each.
#include "control_kinds.h"

namespace orvella::platform::gui::detail {

bool ButtonControl::HasCheck() const {
    switch (type()) {
        case BS_CHECKBOX:
        case BS_AUTOCHECKBOX:
        case BS_3STATE:
        case BS_AUTO3STATE:
        case BS_RADIOBUTTON:
        case BS_AUTORADIOBUTTON:
            return true;
        default:
            return false;
    }
}

bool ButtonControl::IsRadio() const {
    return type() == BS_RADIOBUTTON || type() == BS_AUTORADIOBUTTON;
}

bool ButtonControl::SetCheck(UINT check, ControlEffects& effects) {
    if (!HasCheck()) return false;
    const bool threeState = type() == BS_3STATE || type() == BS_AUTO3STATE;
    UINT value = check == BST_UNCHECKED ? BST_UNCHECKED : BST_CHECKED;
    if (check == BST_INDETERMINATE && threeState) value = BST_INDETERMINATE;
    if (value != check_) {
        check_ = value;
        effects.changed = true;
    }
    return true;
}

void ButtonControl::Click(ControlEffects& effects) {
    switch (type()) {
        case BS_AUTOCHECKBOX:
            SetCheck(check_ == BST_UNCHECKED ? BST_CHECKED : BST_UNCHECKED, effects);
            break;
        case BS_AUTO3STATE:
            SetCheck(check_ == BST_UNCHECKED ? BST_CHECKED
                     : check_ == BST_CHECKED ? BST_INDETERMINATE
                                             : BST_UNCHECKED,
                     effects);
            break;
        case BS_AUTORADIOBUTTON:
            SetCheck(BST_CHECKED, effects);
            effects.clearRadioGroup = true;
            break;
        default:
            break;
    }
    effects.Notify(BN_CLICKED);
}

LRESULT ButtonControl::Handle(UINT message, WPARAM wParam, LPARAM lParam, ControlEffects& effects) {
    switch (message) {
        case BM_GETCHECK:
            return HasCheck() ? check_ : BST_UNCHECKED;
        case BM_SETCHECK:
            SetCheck(static_cast<UINT>(wParam), effects);
            return 0;
        case BM_CLICK:
            if (enabled() && Clickable()) Click(effects);
            return 0;
        default:
            return Control::Handle(message, wParam, lParam, effects);
    }
}

void ButtonControl::Describe(ControlView& view) const {
    Control::Describe(view);
    view.check = HasCheck() ? check_ : BST_UNCHECKED;
    view.isDefault = type() == BS_DEFPUSHBUTTON;
}

}  // namespace orvella::platform::gui::detail
