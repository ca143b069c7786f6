// The headless front end: matches each dialog that opens to the script, acts it out, and
// records everything shown.
#include "headless_driver.h"

namespace orvella::platform::gui {

HeadlessDialogDriver::HeadlessDialogDriver() : installation_(*this) {}

HeadlessDialogDriver::~HeadlessDialogDriver() = default;

DialogExpectation& HeadlessDialogDriver::Expect(std::unique_ptr<DialogExpectation> expectation) {
    std::lock_guard lock(mutex_);
    expectations_.push_back(std::move(expectation));
    return *expectations_.back();
}

DialogExpectation& HeadlessDialogDriver::OnDialog(std::string caption) {
    auto expectation = std::make_unique<DialogExpectation>();
    expectation->kind_ = DialogKind::Dialog;
    expectation->caption_ = std::move(caption);
    return Expect(std::move(expectation));
}

DialogExpectation& HeadlessDialogDriver::OnMessageBox(std::string textPart) {
    auto expectation = std::make_unique<DialogExpectation>();
    expectation->kind_ = DialogKind::MessageBox;
    expectation->textPart_ = std::move(textPart);
    return Expect(std::move(expectation));
}

DialogExpectation* HeadlessDialogDriver::Match(const DialogView& view) {
    for (const auto& expectation : expectations_) {
        if (expectation->always_ || expectation->used_) continue;
        if (!expectation->Matches(view)) break;
        expectation->used_ = true;
        return expectation.get();
    }
    for (const auto& expectation : expectations_) {
        if (expectation->always_ && expectation->Matches(view)) return expectation.get();
    }
    return nullptr;
}

void HeadlessDialogDriver::OnDialogOpened(const DialogView& view) {
    std::vector<std::function<void(LiveDialog&)>> steps;
    std::string unexpected;
    {
        std::lock_guard lock(mutex_);
        open_[view.hwnd] = records_.size();
        DialogRecord& record = records_.emplace_back();
        record.shown = view;
        if (DialogExpectation* expectation = Match(view)) {
            steps = expectation->steps_;
        } else {
            record.unexpected = true;
            unexpected = "unexpected " + view.Describe();
            failures_.push_back(unexpected);
        }
        ++changes_;
    }
    changed_.notify_all();
    if (!unexpected.empty()) throw UnexpectedDialogError(unexpected);
    LiveDialog dialog(*this, view.hwnd);
    for (const auto& step : steps) step(dialog);
}

void HeadlessDialogDriver::OnDialogChanged(HWND) {
    {
        std::lock_guard lock(mutex_);
        ++changes_;
    }
    changed_.notify_all();
}

void HeadlessDialogDriver::OnDialogClosed(const DialogView& view, INT_PTR result) {
    {
        std::lock_guard lock(mutex_);
        auto found = open_.find(view.hwnd);
        if (found == open_.end()) return;  // opened before this driver was installed
        DialogRecord& record = records_[found->second];
        record.closed = view;
        record.open = false;
        record.result = result;
        open_.erase(found);
        ++changes_;
    }
    changed_.notify_all();
}

LiveDialog HeadlessDialogDriver::WaitForDialog(const std::string& caption,
                                               std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    HWND found = nullptr;
    const bool opened = changed_.wait_for(lock, timeout, [&] {
        for (const auto& [hwnd, index] : open_) {
            if (records_[index].shown.caption == caption) found = hwnd;
            if (found) return true;
        }
        return false;
    });
    if (!opened) {
        const std::string failure = "no dialog \"" + caption + "\" opened within " +
                                    std::to_string(timeout.count()) + " ms";
        failures_.push_back(failure);
        throw DialogScriptError(failure);
    }
    return LiveDialog(*this, found);
}

std::vector<DialogRecord> HeadlessDialogDriver::Records() const {
    std::lock_guard lock(mutex_);
    return records_;
}

void HeadlessDialogDriver::Verify() const {
    std::string problems;
    {
        std::lock_guard lock(mutex_);
        for (const std::string& failure : failures_) problems += failure + "\n";
        for (const auto& expectation : expectations_) {
            if (!expectation->always_ && !expectation->used_) {
                problems += "expected " + expectation->Describe() + ", which never appeared\n";
            }
        }
    }
    if (!problems.empty()) throw DialogScriptError(problems);
}

void HeadlessDialogDriver::RecordFailure(const std::string& failure) {
    std::lock_guard lock(mutex_);
    failures_.push_back(failure);
}

bool HeadlessDialogDriver::IsOpen(HWND hwnd) const {
    return open_.count(hwnd) > 0;
}

}  // namespace orvella::platform::gui
