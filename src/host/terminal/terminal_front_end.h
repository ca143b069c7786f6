// The command line's dialog front end: shows the add-in's dialogs and message boxes on a
// terminal and answers them from the person at it, else from --yes/--no or the default button.
#pragma once

#include <atomic>
#include <chrono>
#include <iosfwd>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "button_choices.h"
#include "front_end.h"
#include "interrupt_watch.h"

namespace orvella::host::terminal {

// A button the front end chose could not be pressed (it turned disabled or hidden meanwhile).
// Thrown from OnDialogOpened, so the dialog ends and this leaves the call that showed it.
class TerminalDialogError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Install it with platform::gui::ScopedFrontEnd. Everything shown, every question and every
// answer taken on the person's behalf ("answered No: the default button, no terminal") is
// written to `out`; answers are read, a line each, from `in`. Both streams must outlive the
// front end.
//
// - A message box with one button is printed and closed with it. One that asks a question is
//   answered by the preset (--yes/--no) when given, else by the person when `interactive`, else
//   (and at the end of input) by its default button.
// - A dialog whose only push button is Cancel, or that has none, runs by itself (a progress
//   dialog and its worker): its caption is printed and it is left to end itself. When it shows a
//   progress bar, the bar and its text (control 236) are drawn as one line: with
//   ProgressStyle::InPlace redrawn over itself with "\r" as they change (at most ten times a
//   second, skipped while another dialog asks a question), otherwise printed once, as the dialog
//   closes, as the text alone.
// - With ctrlCCancels, Ctrl-C while such a progress dialog is open presses its Cancel (once);
//   a second Ctrl-C, or one while no progress dialog is open, acts as it always does. Only one
//   front end per process may catch Ctrl-C.
// - Any other dialog: its caption, texts and push buttons are printed, and the person picks a
//   button by number, key letter or label when `interactive`; otherwise, and at the end of
//   input, the default push button (else OK) is pressed, or without either the dialog is
//   closed.
//
// Dialogs may open on any thread; the terminal is used by one at a time. The answer is read on
// the dialog's own thread, from OnDialogOpened, so the dialog waits for it without handling
// timers or posted messages meanwhile.
enum class ProgressStyle {
    FinalText,  // output that is not a terminal: the final progress text only
    InPlace,    // a terminal: a progress line redrawn in place
};

class TerminalFrontEnd : public platform::gui::IDialogFrontEnd {
public:
    TerminalFrontEnd(std::istream& in, std::ostream& out, bool interactive, PresetAnswer preset,
                     ProgressStyle progress = ProgressStyle::FinalText, bool ctrlCCancels = false);

    void OnDialogOpened(const platform::gui::DialogView& view) override;
    void OnDialogChanged(HWND dialog) override;
    void OnDialogClosed(const platform::gui::DialogView& view, INT_PTR result) override;

    // Presses Cancel in each open progress dialog not cancelled this way before; false when
    // there was none. This is what Ctrl-C does.
    bool CancelProgressDialogs();

private:
    // The button to press, printing why when nobody at the terminal chose it; nullptr when
    // there is none to press. Called with the terminal locked.
    const ButtonChoice* Choose(const std::vector<ButtonChoice>& choices, const std::string& prompt,
                               bool usePreset);
    // Reads lines until one picks a button (an empty one the default, if any); nullptr at the
    // end of input.
    const ButtonChoice* Ask(const std::vector<ButtonChoice>& choices, const std::string& prompt);
    const ButtonChoice* Answered(const ButtonChoice* choice, const char* reason);
    void AnswerMessageBox(const platform::gui::DialogView& view);
    void AnswerDialog(const platform::gui::DialogView& view);
    static void Press(HWND dialog, const ButtonChoice* choice);
    void ShowProgress(const platform::gui::DialogView& view);
    // Tells that Ctrl-C is cancelling, once per Ctrl-C. Called with the terminal locked.
    void PrintOwedCancelNotice();
    // Draws line over the progress line last drawn. Called with the terminal locked.
    void Redraw(const std::string& line);

    struct ProgressDialog {
        std::chrono::steady_clock::time_point drawn;
        bool cancelled = false;
    };

    std::istream& in_;
    std::ostream& out_;
    const bool interactive_;
    const PresetAnswer preset_;
    const ProgressStyle progressStyle_;
    std::mutex terminal_;
    size_t drawnWidth_ = 0;  // of the progress line on screen; guarded by terminal_
    std::atomic<bool> cancelNoticeOwed_{false};
    std::mutex progress_;
    std::map<HWND, ProgressDialog> progressDialogs_;  // open ones; guarded by progress_
    std::unique_ptr<InterruptWatch> interrupts_;      // last: stops before the rest goes
};

}  // namespace orvella::host::terminal
