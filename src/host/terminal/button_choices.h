// The buttons a person can press in a dialog or message box on a terminal: each has a number
// and a key letter, and a typed answer, a preset answer or the default picks one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "front_end.h"

namespace orvella::host::terminal {

// --yes / --no, for message boxes that ask a question.
enum class PresetAnswer { None, Yes, No };

struct ButtonChoice {
    int id = 0;
    std::string label;  // the button's text without its '&' mnemonic markers
    char key = 0;       // the lower-case letter that picks it; 0 when every letter is taken
    bool isDefault = false;
};

// The visible, enabled push buttons of view in tab order. Each key is the first letter of the
// label that no earlier button took ("Cancel", "Try Again", "Continue" get c, t, o).
std::vector<ButtonChoice> ChoicesOf(const platform::gui::DialogView& view);

// The label with its key bracketed, case kept: "[C]ontact Support", "C[o]ntinue".
std::string KeyedLabel(const ButtonChoice& choice);

// The choice an answer names: its number (from 1), its key or its whole label, in any case and
// with blanks around it ignored. nullptr for anything else, an empty answer included.
const ButtonChoice* Pick(const std::vector<ButtonChoice>& choices, std::string_view answer);

// The default push button, else OK; nullptr when there is neither.
const ButtonChoice* DefaultChoice(const std::vector<ButtonChoice>& choices);

// The button a preset answer presses: --yes the first of Yes, OK, Retry, Try Again; --no the
// first of No, Cancel, Abort. nullptr without a preset or such a button.
const ButtonChoice* PresetChoice(const std::vector<ButtonChoice>& choices, PresetAnswer preset);

}  // namespace orvella::host::terminal
