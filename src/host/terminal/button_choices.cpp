// Numbering, keying and picking the buttons a person can press on a terminal.
#include "button_choices.h"

#include <algorithm>
#include <cctype>
#include <initializer_list>

#include "dialog_text.h"

namespace orvella::host::terminal {
namespace {

using platform::gui::ControlKind;

char Lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

std::string LowerText(std::string_view text) {
    std::string lowered(text);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(), Lower);
    return lowered;
}

std::string_view Trimmed(std::string_view text) {
    const auto blank = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    while (!text.empty() && blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && blank(text.back())) text.remove_suffix(1);
    return text;
}

const ButtonChoice* FirstOf(const std::vector<ButtonChoice>& choices,
                            std::initializer_list<int> ids) {
    for (int id : ids) {
        for (const ButtonChoice& choice : choices) {
            if (choice.id == id) return &choice;
        }
    }
    return nullptr;
}

}  // namespace

std::vector<ButtonChoice> ChoicesOf(const platform::gui::DialogView& view) {
    std::vector<ButtonChoice> choices;
    std::string taken;
    for (const auto& control : view.controls) {
        if (control.kind != ControlKind::Button || !control.visible || !control.enabled) continue;
        ButtonChoice& choice = choices.emplace_back();
        choice.id = control.id;
        choice.label = WithoutMnemonics(control.text);
        choice.isDefault = control.isDefault;
        for (char c : choice.label) {
            const char key = Lower(c);
            if (std::isalpha(static_cast<unsigned char>(c)) &&
                taken.find(key) == std::string::npos) {
                choice.key = key;
                taken += key;
                break;
            }
        }
    }
    return choices;
}

std::string KeyedLabel(const ButtonChoice& choice) {
    std::string label = choice.label;
    if (!choice.key) return label;
    const size_t at = LowerText(label).find(choice.key);
    label.insert(at + 1, "]");
    label.insert(at, "[");
    return label;
}

const ButtonChoice* Pick(const std::vector<ButtonChoice>& choices, std::string_view answer) {
    const std::string wanted = LowerText(Trimmed(answer));
    if (wanted.empty()) return nullptr;
    if (std::all_of(wanted.begin(), wanted.end(),
                    [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; })) {
        const size_t number = wanted.size() > 3 ? 0 : std::stoul(wanted);
        return number >= 1 && number <= choices.size() ? &choices[number - 1] : nullptr;
    }
    for (const ButtonChoice& choice : choices) {
        if ((wanted.size() == 1 && wanted[0] == choice.key) || wanted == LowerText(choice.label))
            return &choice;
    }
    return nullptr;
}

const ButtonChoice* DefaultChoice(const std::vector<ButtonChoice>& choices) {
    for (const ButtonChoice& choice : choices) {
        if (choice.isDefault) return &choice;
    }
    return FirstOf(choices, {IDOK});
}

const ButtonChoice* PresetChoice(const std::vector<ButtonChoice>& choices, PresetAnswer preset) {
    switch (preset) {
        case PresetAnswer::Yes:
            return FirstOf(choices, {IDYES, IDOK, IDRETRY, IDTRYAGAIN});
        case PresetAnswer::No:
            return FirstOf(choices, {IDNO, IDCANCEL, IDABORT});
        case PresetAnswer::None:
            break;
    }
    return nullptr;
}

}  // namespace orvella::host::terminal
