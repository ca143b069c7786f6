// The one installed front end, and the calls the dialog system makes into it.
#include <condition_variable>
#include <mutex>
#include <stdexcept>

#include "dialog_window.h"
#include "front_end_hub.h"
#include "window_table.h"

namespace orvella::platform::gui {
namespace {

struct Hub {
    std::mutex mutex;
    std::condition_variable idle;
    IDialogFrontEnd* frontEnd = nullptr;
    int calls = 0;  // calls into the front end under way, on every thread
};

Hub& TheHub() {
    static Hub hub;
    return hub;
}

thread_local int t_callsHere = 0;  // of those, the ones on this thread

// Calls action with the installed front end, which stays installed until the call returns.
template <typename Action>
void WithFrontEnd(Action&& action) {
    Hub& hub = TheHub();
    IDialogFrontEnd* frontEnd;
    {
        std::lock_guard lock(hub.mutex);
        frontEnd = hub.frontEnd;
        if (!frontEnd) return;
        ++hub.calls;
    }
    ++t_callsHere;
    struct Done {
        Hub& hub;
        ~Done() {
            --t_callsHere;
            std::lock_guard lock(hub.mutex);
            --hub.calls;
            hub.idle.notify_all();
        }
    } done{hub};
    action(*frontEnd);
}

}  // namespace

ScopedFrontEnd::ScopedFrontEnd(IDialogFrontEnd& frontEnd) {
    Hub& hub = TheHub();
    std::lock_guard lock(hub.mutex);
    if (hub.frontEnd) throw std::logic_error("a dialog front end is already installed");
    hub.frontEnd = &frontEnd;
}

ScopedFrontEnd::~ScopedFrontEnd() {
    Hub& hub = TheHub();
    std::unique_lock lock(hub.mutex);
    hub.idle.wait(lock, [&hub] { return hub.calls == t_callsHere; });
    hub.frontEnd = nullptr;
}

std::optional<DialogView> ViewDialog(HWND dialog) {
    detail::WindowRef ref = detail::LookUp(dialog);
    if (!ref || ref.control) return std::nullopt;
    return ref.dialog->View();
}

namespace detail {

bool FrontEndInstalled() {
    Hub& hub = TheHub();
    std::lock_guard lock(hub.mutex);
    return hub.frontEnd != nullptr;
}

void NotifyOpened(const DialogView& view) {
    WithFrontEnd([&](IDialogFrontEnd& frontEnd) { frontEnd.OnDialogOpened(view); });
}

void NotifyChanged(HWND dialog) {
    try {
        WithFrontEnd([&](IDialogFrontEnd& frontEnd) { frontEnd.OnDialogChanged(dialog); });
    } catch (...) {
        // A front end's trouble with a repaint must not fail the caller's state change.
    }
}

void NotifyClosed(const DialogView& view, INT_PTR result) {
    try {
        WithFrontEnd([&](IDialogFrontEnd& frontEnd) { frontEnd.OnDialogClosed(view, result); });
    } catch (...) {
        // The dialog is gone either way; its caller gets its result.
    }
}

}  // namespace detail
}  // namespace orvella::platform::gui
