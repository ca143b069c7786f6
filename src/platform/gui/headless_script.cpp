// The headless driver's script: expectations and what the person does in a dialog that is open.
#include "headless_driver.h"

namespace orvella::platform::gui {

DialogExpectation& DialogExpectation::SetText(int id, std::string text) {
    steps_.push_back(
        [id, text = std::move(text)](LiveDialog& dialog) { dialog.SetText(id, text); });
    return *this;
}

DialogExpectation& DialogExpectation::Check(int id, bool checked) {
    steps_.push_back([id, checked](LiveDialog& dialog) { dialog.Check(id, checked); });
    return *this;
}

DialogExpectation& DialogExpectation::Press(int id) {
    steps_.push_back([id](LiveDialog& dialog) { dialog.Press(id); });
    return *this;
}

DialogExpectation& DialogExpectation::Close() {
    steps_.push_back([](LiveDialog& dialog) { dialog.Close(); });
    return *this;
}

DialogExpectation& DialogExpectation::Inspect(std::function<void(const DialogView&)> inspector) {
    steps_.push_back(
        [inspector = std::move(inspector)](LiveDialog& dialog) { inspector(dialog.View()); });
    return *this;
}

DialogExpectation& DialogExpectation::WithCaption(std::string caption) {
    caption_ = std::move(caption);
    return *this;
}

DialogExpectation& DialogExpectation::Always() {
    always_ = true;
    return *this;
}

bool DialogExpectation::Matches(const DialogView& view) const {
    if (view.kind != kind_) return false;
    if (kind_ == DialogKind::Dialog) return view.caption == caption_;
    if (!caption_.empty() && view.caption != caption_) return false;
    return view.messageText.find(textPart_) != std::string::npos;
}

std::string DialogExpectation::Describe() const {
    if (kind_ == DialogKind::Dialog) return "dialog \"" + caption_ + "\"";
    return "message box containing \"" + textPart_ + "\"";
}

DialogView LiveDialog::View() const {
    std::optional<DialogView> view = ViewDialog(hwnd_);
    if (!view) throw DialogScriptError("the dialog is closed");
    return *view;
}

void LiveDialog::Act(const char* action, int id, InputResult result) {
    if (result == InputResult::Done) return;
    std::optional<DialogView> view = ViewDialog(hwnd_);
    const std::string failure = std::string("cannot ") + action + " control " + std::to_string(id) +
                                ": " + DescribeInput(result) + " in " +
                                (view ? view->Describe() : std::string("a closed dialog"));
    driver_->RecordFailure(failure);
    throw DialogScriptError(failure);
}

LiveDialog& LiveDialog::Press(int id) {
    Act("press", id, ClickControl(hwnd_, id));
    return *this;
}

LiveDialog& LiveDialog::SetText(int id, const std::string& text) {
    Act("type into", id, TypeText(hwnd_, id, text));
    return *this;
}

LiveDialog& LiveDialog::Check(int id, bool checked) {
    // Three clicks reach every state of a three-state box; a box whose handler refuses the
    // state never gets there.
    for (int click = 0; click <= 3; ++click) {
        const DialogView view = View();
        const ControlView* control = view.Find(id);
        if (!control) Act("check", id, InputResult::NoSuchControl);
        if (control->kind != ControlKind::CheckBox && control->kind != ControlKind::RadioButton) {
            Act("check", id, InputResult::NotApplicable);
        }
        if ((control->check == BST_CHECKED) == checked) return *this;
        if (click == 3) break;
        Act("check", id, ClickControl(hwnd_, id));
    }
    const std::string failure = "clicking control " + std::to_string(id) + " does not " +
                                (checked ? "check" : "clear") + " it in " + View().Describe();
    driver_->RecordFailure(failure);
    throw DialogScriptError(failure);
}

LiveDialog& LiveDialog::Close() {
    Act("close", 0, CloseDialog(hwnd_));
    return *this;
}

bool LiveDialog::WaitUntil(const std::function<bool(const DialogView&)>& condition,
                           std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::unique_lock lock(driver_->mutex_);
    for (;;) {
        if (!driver_->IsOpen(hwnd_)) return false;
        const uint64_t seen = driver_->changes_;
        lock.unlock();
        std::optional<DialogView> view = ViewDialog(hwnd_);
        if (view && condition(*view)) return true;
        lock.lock();
        if (!view) return false;
        const bool woke = driver_->changed_.wait_until(
            lock, deadline, [&] { return driver_->changes_ != seen || !driver_->IsOpen(hwnd_); });
        if (!woke) return false;
    }
}

bool LiveDialog::WaitClosed(std::chrono::milliseconds timeout) {
    std::unique_lock lock(driver_->mutex_);
    return driver_->changed_.wait_for(lock, timeout, [&] { return !driver_->IsOpen(hwnd_); });
}

}  // namespace orvella::platform::gui
