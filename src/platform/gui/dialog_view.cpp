// Views of dialogs as front ends and error messages show them.
#include <cstdio>

#include "front_end.h"

namespace orvella::platform::gui {
namespace {

const char* KindName(ControlKind kind) {
    switch (kind) {
        case ControlKind::Static:
            return "static";
        case ControlKind::Icon:
            return "icon";
        case ControlKind::Edit:
            return "edit";
        case ControlKind::Button:
            return "button";
        case ControlKind::CheckBox:
            return "check box";
        case ControlKind::RadioButton:
            return "radio button";
        case ControlKind::GroupBox:
            return "group box";
        case ControlKind::ProgressBar:
            return "progress bar";
    }
    return "control";
}

std::string Describe(const ControlView& control) {
    std::string line = std::string("  ") + KindName(control.kind) + " " +
                       std::to_string(control.id) + " \"" + control.text + "\"";
    if (!control.visible) line += " hidden";
    if (!control.enabled) line += " disabled";
    if (control.check == BST_CHECKED) line += " checked";
    if (control.check == BST_INDETERMINATE) line += " indeterminate";
    if (control.kind == ControlKind::ProgressBar) {
        line += " at " + std::to_string(control.position) + " of " +
                std::to_string(control.rangeMin) + ".." + std::to_string(control.rangeMax);
    }
    return line + "\n";
}

}  // namespace

const ControlView* DialogView::Find(int id) const {
    for (const ControlView& control : controls) {
        if (control.id == id) return &control;
    }
    return nullptr;
}

std::string DialogView::Describe() const {
    std::string text;
    if (kind == DialogKind::MessageBox) {
        char flags[16];
        std::snprintf(flags, sizeof flags, "0x%X", messageFlags);
        text = "message box \"" + caption + "\" (flags " + flags + "): \"" + messageText + "\"\n";
    } else {
        text = "dialog \"" + caption + "\"";
        if (templateId) text += " (resource " + std::to_string(templateId) + ")";
        text += "\n";
    }
    for (const ControlView& control : controls) text += gui::Describe(control);
    return text;
}

}  // namespace orvella::platform::gui
