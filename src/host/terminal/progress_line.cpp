// The terminal's picture of a progress dialog.
#include "progress_line.h"

#include <algorithm>
#include <cstdio>

namespace orvella::host::terminal {
namespace {

using platform::gui::ControlKind;
using platform::gui::ControlView;
using platform::gui::DialogView;

constexpr int kBarWidth = 20;

const ControlView* FirstProgressBar(const DialogView& view) {
    for (const ControlView& control : view.controls) {
        if (control.kind == ControlKind::ProgressBar) return &control;
    }
    return nullptr;
}

int PercentOf(const ControlView& bar) {
    const long long span = static_cast<long long>(bar.rangeMax) - bar.rangeMin;
    if (span <= 0) return 100;
    const long long done = static_cast<long long>(bar.position) - bar.rangeMin;
    return static_cast<int>(std::clamp(done * 100 / span, 0LL, 100LL));
}

}  // namespace

bool RunsByItself(const std::vector<ButtonChoice>& choices) {
    return std::all_of(choices.begin(), choices.end(),
                       [](const ButtonChoice& choice) { return choice.id == IDCANCEL; });
}

bool IsProgressDialog(const DialogView& view) {
    return view.kind == platform::gui::DialogKind::Dialog && FirstProgressBar(view) &&
           RunsByItself(ChoicesOf(view));
}

std::string ProgressText(const DialogView& view) {
    const ControlView* text = view.Find(kProgressTextControl);
    return text ? text->text : std::string();
}

std::string ProgressLine(const DialogView& view) {
    const ControlView* bar = FirstProgressBar(view);
    const int percent = bar ? PercentOf(*bar) : 0;
    const int filled = percent * kBarWidth / 100;
    char figure[8];
    std::snprintf(figure, sizeof figure, "%3d%%", percent);
    std::string line = "[" + std::string(static_cast<size_t>(filled), '#') +
                       std::string(static_cast<size_t>(kBarWidth - filled), '-') + "] " + figure;
    const std::string text = ProgressText(view);
    if (!text.empty()) line += " " + text;
    return line;
}

}  // namespace orvella::host::terminal
