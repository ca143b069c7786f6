// Progress dialogs on a terminal: which dialogs count as one, and the one-line picture of a
// progress bar with its text.
#pragma once

#include <string>
#include <vector>

#include "button_choices.h"
#include "front_end.h"

namespace orvella::host::terminal {

// The static in which the add-in's progress dialogs show what they are doing.
inline constexpr int kProgressTextControl = 236;

// True when no push button but Cancel can be pressed: the dialog's own code ends it.
bool RunsByItself(const std::vector<ButtonChoice>& choices);

// A dialog that runs by itself and shows a progress bar.
bool IsProgressDialog(const platform::gui::DialogView& view);

// The text of the progress static; "" when there is none.
std::string ProgressText(const platform::gui::DialogView& view);

// The first progress bar's position within its range, and the progress text:
// "[#########-----------]  45% processing 5 of 50". A range without steps reads as full.
std::string ProgressLine(const platform::gui::DialogView& view);

}  // namespace orvella::host::terminal
