// Turning a dialog's controls into terminal lines.
#include "dialog_text.h"

namespace orvella::host::terminal {
namespace {

using platform::gui::ControlKind;
using platform::gui::ControlView;

// text with "\r\n" as "\n", every line that is not empty indented by two spaces and ended by a
// newline; empty lines at the end are dropped.
std::string Indented(std::string_view text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.remove_suffix(1);
    std::string lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (!line.empty()) lines += "  ";
        lines += line;
        lines += '\n';
        start = end + 1;
    }
    return lines;
}

const char* CheckMark(UINT check) {
    switch (check) {
        case BST_CHECKED:
            return "[x] ";
        case BST_INDETERMINATE:
            return "[-] ";
        default:
            return "[ ] ";
    }
}

// The text a control shows, with its mark; empty when it shows none.
std::string Shown(const ControlView& control) {
    switch (control.kind) {
        case ControlKind::Static:
            return (control.style & SS_NOPREFIX) ? control.text : WithoutMnemonics(control.text);
        case ControlKind::GroupBox:
            return WithoutMnemonics(control.text);
        case ControlKind::Edit:
            return control.text;
        case ControlKind::CheckBox:
            return CheckMark(control.check) + WithoutMnemonics(control.text);
        case ControlKind::RadioButton:
            return (control.check == BST_CHECKED ? "(*) " : "( ) ") +
                   WithoutMnemonics(control.text);
        case ControlKind::Icon:
        case ControlKind::Button:
        case ControlKind::ProgressBar:
            break;
    }
    return {};
}

}  // namespace

std::string WithoutMnemonics(std::string_view text) {
    std::string shown;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '&') {
            shown += text[i];
        } else if (i + 1 < text.size() && text[i + 1] == '&') {
            shown += '&';
            ++i;
        }
    }
    return shown;
}

std::string DialogText(const platform::gui::DialogView& view) {
    std::string text;
    for (const ControlView& control : view.controls) {
        if (!control.visible) continue;
        const std::string shown = Shown(control);
        if (!shown.empty()) text += Indented(shown);
    }
    return text;
}

}  // namespace orvella::host::terminal
