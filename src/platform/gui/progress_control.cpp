// Progress bars: range, position and step, as the PBM_ messages set and read them.
#include <algorithm>

#include "commctrl.h"
#include "control_kinds.h"

namespace orvella::platform::gui::detail {
namespace {

// Message parameters carry signed values in unsigned words.
int Signed(WPARAM value) {
    return static_cast<int>(static_cast<INT_PTR>(value));
}
int Signed(LPARAM value) {
    return static_cast<int>(value);
}

}  // namespace

LRESULT ProgressControl::SetRange(int low, int high, ControlEffects& effects) {
    const LRESULT previous = MAKELRESULT(low_, high_);
    if (low != low_ || high != high_) effects.changed = true;
    low_ = low;
    high_ = high;
    Move(position_, false, effects);
    return previous;
}

LRESULT ProgressControl::Move(int position, bool wrap, ControlEffects& effects) {
    const int previous = position_;
    const int lowest = std::min(low_, high_);
    const int highest = std::max(low_, high_);
    const int span = highest - lowest;
    if (wrap && span > 0 && position > highest) {
        position = lowest + (position - lowest) % span;
    } else if (wrap && span > 0 && position < lowest) {
        position = highest - (highest - position) % span;
    }
    position_ = std::clamp(position, lowest, highest);
    if (position_ != previous) effects.changed = true;
    return previous;
}

LRESULT ProgressControl::Handle(UINT message, WPARAM wParam, LPARAM lParam,
                                ControlEffects& effects) {
    switch (message) {
        case PBM_SETRANGE:
            return SetRange(LOWORD(lParam), HIWORD(lParam), effects);
        case PBM_SETRANGE32:
            return SetRange(Signed(wParam), Signed(lParam), effects);
        case PBM_SETPOS:
            return Move(Signed(wParam), false, effects);
        case PBM_DELTAPOS:
            return Move(position_ + Signed(wParam), false, effects);
        case PBM_STEPIT:
            return Move(position_ + step_, true, effects);
        case PBM_SETSTEP: {
            const int previous = step_;
            step_ = Signed(wParam);
            return previous;
        }
        case PBM_GETPOS:
            return position_;
        case PBM_GETSTEP:
            return step_;
        case PBM_GETRANGE:
            if (lParam) *reinterpret_cast<PPBRANGE>(lParam) = PBRANGE{low_, high_};
            return wParam ? low_ : high_;
        default:
            return Control::Handle(message, wParam, lParam, effects);
    }
}

void ProgressControl::Describe(ControlView& view) const {
    Control::Describe(view);
    view.rangeMin = low_;
    view.rangeMax = high_;
    view.position = position_;
    view.step = step_;
}

}  // namespace orvella::platform::gui::detail
