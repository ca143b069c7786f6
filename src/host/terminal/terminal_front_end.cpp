// The terminal front end: prints each dialog as it opens, takes the answer from the person, the
// preset or the default button, and presses it through the dialog system's input calls.
#include "terminal_front_end.h"

#include <algorithm>
#include <cctype>
#include <istream>
#include <optional>
#include <ostream>

#include "dialog_text.h"
#include "progress_line.h"

namespace orvella::host::terminal {
namespace {

using platform::gui::DialogKind;
using platform::gui::DialogView;
using platform::gui::InputResult;

std::string Lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    });
    return text;
}

// "[y]es/[n]o (Enter: yes)? "
std::string MessageBoxPrompt(const std::vector<ButtonChoice>& choices) {
    std::string prompt;
    for (const ButtonChoice& choice : choices) {
        if (!prompt.empty()) prompt += '/';
        prompt += Lowered(KeyedLabel(choice));
    }
    if (const ButtonChoice* fallback = DefaultChoice(choices))
        prompt += " (Enter: " + Lowered(fallback->label) + ")";
    return prompt + "? ";
}

// "  1) [O]K (default)" a line each, for the dialog's printout.
std::string ButtonList(const std::vector<ButtonChoice>& choices) {
    std::string list;
    for (size_t i = 0; i < choices.size(); ++i) {
        list += "  " + std::to_string(i + 1) + ") " + KeyedLabel(choices[i]);
        list += choices[i].isDefault ? " (default)\n" : "\n";
    }
    return list;
}

// "Press 1-2 or a letter (Enter: OK)? "
std::string DialogPrompt(const std::vector<ButtonChoice>& choices) {
    std::string prompt = "Press 1";
    if (choices.size() > 1) prompt += "-" + std::to_string(choices.size());
    prompt += " or a letter";
    if (const ButtonChoice* fallback = DefaultChoice(choices))
        prompt += " (Enter: " + fallback->label + ")";
    return prompt + "? ";
}

// About ten redraws a second keep a terminal readable and cost a worker next to nothing.
constexpr std::chrono::milliseconds kRedrawInterval{100};

}  // namespace

TerminalFrontEnd::TerminalFrontEnd(std::istream& in, std::ostream& out, bool interactive,
                                   PresetAnswer preset, ProgressStyle progress, bool ctrlCCancels)
    : in_(in), out_(out), interactive_(interactive), preset_(preset), progressStyle_(progress) {
    if (ctrlCCancels)
        interrupts_ = std::make_unique<InterruptWatch>([this] { return CancelProgressDialogs(); });
}

void TerminalFrontEnd::OnDialogOpened(const DialogView& view) {
    if (view.kind == DialogKind::MessageBox) {
        AnswerMessageBox(view);
    } else {
        AnswerDialog(view);
    }
}

void TerminalFrontEnd::AnswerMessageBox(const DialogView& view) {
    const std::vector<ButtonChoice> choices = ChoicesOf(view);
    const ButtonChoice* chosen = nullptr;
    {
        std::lock_guard lock(terminal_);
        out_ << view.caption << '\n' << view.messageText;
        if (view.messageText.empty() || view.messageText.back() != '\n') out_ << '\n';
        chosen = choices.size() == 1 ? &choices.front()
                                     : Choose(choices, MessageBoxPrompt(choices), true);
        out_.flush();
    }
    Press(view.hwnd, chosen);
}

void TerminalFrontEnd::AnswerDialog(const DialogView& view) {
    const std::vector<ButtonChoice> choices = ChoicesOf(view);
    const ButtonChoice* chosen = nullptr;
    {
        std::lock_guard lock(terminal_);
        out_ << view.caption << '\n';
        if (RunsByItself(choices)) {
            out_.flush();
            if (IsProgressDialog(view)) ShowProgress(view);
            return;
        }
        out_ << DialogText(view) << ButtonList(choices);
        chosen = Choose(choices, DialogPrompt(choices), false);
        if (!chosen) out_ << "closed the dialog: it has no default button\n";
        out_.flush();
    }
    Press(view.hwnd, chosen);
}

// Called with the terminal locked.
void TerminalFrontEnd::ShowProgress(const DialogView& view) {
    {
        std::lock_guard lock(progress_);
        progressDialogs_[view.hwnd].drawn = std::chrono::steady_clock::now();
    }
    if (interrupts_) interrupts_->Arm();
    if (progressStyle_ == ProgressStyle::InPlace) {
        drawnWidth_ = 0;
        Redraw(ProgressLine(view));
    }
}

void TerminalFrontEnd::OnDialogChanged(HWND dialog) {
    if (progressStyle_ != ProgressStyle::InPlace) return;
    {
        std::lock_guard lock(progress_);
        const auto found = progressDialogs_.find(dialog);
        if (found == progressDialogs_.end()) return;
        const auto now = std::chrono::steady_clock::now();
        if (now - found->second.drawn < kRedrawInterval) return;
        found->second.drawn = now;
    }
    const std::optional<DialogView> view = platform::gui::ViewDialog(dialog);
    if (!view) return;
    // A worker must not wait while someone answers another dialog's question.
    std::unique_lock terminal(terminal_, std::try_to_lock);
    if (!terminal.owns_lock()) return;
    PrintOwedCancelNotice();
    Redraw(ProgressLine(*view));
}

void TerminalFrontEnd::OnDialogClosed(const DialogView& view, INT_PTR) {
    {
        std::lock_guard lock(progress_);
        if (progressDialogs_.erase(view.hwnd) == 0) return;
    }
    if (interrupts_) interrupts_->Disarm();
    std::lock_guard terminal(terminal_);
    PrintOwedCancelNotice();
    if (progressStyle_ == ProgressStyle::InPlace) {
        Redraw(ProgressLine(view));
        out_ << '\n';
        drawnWidth_ = 0;
    } else if (const std::string text = ProgressText(view); !text.empty()) {
        out_ << text << '\n';
    }
    out_.flush();
}

void TerminalFrontEnd::PrintOwedCancelNotice() {
    if (!cancelNoticeOwed_.exchange(false)) return;
    if (drawnWidth_ > 0) out_ << '\n';
    drawnWidth_ = 0;
    out_ << "Ctrl-C: cancelling after the current step (Ctrl-C again quits at once)\n";
    out_.flush();
}

void TerminalFrontEnd::Redraw(const std::string& line) {
    out_ << '\r' << line;
    // Blanks over what is left of a longer line drawn before.
    if (line.size() < drawnWidth_) out_ << std::string(drawnWidth_ - line.size(), ' ');
    drawnWidth_ = line.size();
    out_.flush();
}

bool TerminalFrontEnd::CancelProgressDialogs() {
    std::vector<HWND> cancelling;
    {
        std::lock_guard lock(progress_);
        for (auto& [dialog, progress] : progressDialogs_) {
            if (progress.cancelled) continue;
            progress.cancelled = true;
            cancelling.push_back(dialog);
        }
    }
    if (cancelling.empty()) return false;
    cancelNoticeOwed_ = true;
    {
        // Someone may be answering a question on the terminal: the notice then waits for the
        // next progress output instead of holding up the cancel.
        std::unique_lock terminal(terminal_, std::try_to_lock);
        if (terminal.owns_lock()) PrintOwedCancelNotice();
    }
    for (HWND dialog : cancelling) platform::gui::ClickControl(dialog, IDCANCEL);
    return true;
}

const ButtonChoice* TerminalFrontEnd::Choose(const std::vector<ButtonChoice>& choices,
                                             const std::string& prompt, bool usePreset) {
    if (usePreset && preset_ != PresetAnswer::None) {
        if (const ButtonChoice* preset = PresetChoice(choices, preset_))
            return Answered(preset, preset_ == PresetAnswer::Yes ? "--yes" : "--no");
    }
    if (!interactive_) return Answered(DefaultChoice(choices), "the default button, no terminal");
    if (const ButtonChoice* picked = Ask(choices, prompt)) return picked;
    return Answered(DefaultChoice(choices), "the default button, end of input");
}

const ButtonChoice* TerminalFrontEnd::Ask(const std::vector<ButtonChoice>& choices,
                                          const std::string& prompt) {
    std::string line;
    for (;;) {
        out_ << prompt << std::flush;
        if (!std::getline(in_, line)) {
            out_ << '\n';
            return nullptr;
        }
        const bool blank = std::all_of(line.begin(), line.end(), [](char c) {
            return std::isspace(static_cast<unsigned char>(c)) != 0;
        });
        if (blank) {
            if (const ButtonChoice* fallback = DefaultChoice(choices)) return fallback;
        } else if (const ButtonChoice* picked = Pick(choices, line)) {
            return picked;
        }
    }
}

const ButtonChoice* TerminalFrontEnd::Answered(const ButtonChoice* choice, const char* reason) {
    if (choice) out_ << "answered " << choice->label << ": " << reason << '\n';
    return choice;
}

void TerminalFrontEnd::Press(HWND dialog, const ButtonChoice* choice) {
    const InputResult result = choice ? platform::gui::ClickControl(dialog, choice->id)
                                      : platform::gui::CloseDialog(dialog);
    // A dialog that ended itself while the person was deciding needs nothing more.
    if (result == InputResult::Done || result == InputResult::NoSuchDialog) return;
    throw TerminalDialogError("cannot press " + (choice ? choice->label : std::string("close")) +
                              ": " + platform::gui::DescribeInput(result));
}

}  // namespace orvella::host::terminal
