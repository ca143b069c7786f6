// What a dialog shows, as lines of text for a terminal.
#pragma once

#include <string>
#include <string_view>

#include "front_end.h"

namespace orvella::host::terminal {

// text as a button or static shows it: "&&" becomes "&" and a lone '&' (the marker of the
// underlined access key) is dropped.
std::string WithoutMnemonics(std::string_view text);

// One line per visible control that shows text, in tab order, each line indented by two
// spaces: statics and group boxes (their text), edits (every line of the text), check boxes
// ("[x] ", "[ ] ", "[-] ") and radio buttons ("(*) ", "( ) "). Icons, progress bars, buttons and
// empty texts are left out. Ends with a newline unless empty.
std::string DialogText(const platform::gui::DialogView& view);

}  // namespace orvella::host::terminal
