// Dialogs the dialog-system tests run: a template with every kind of control and a handler that
// records what it is sent, as an add-in dialog would see it.
#pragma once

#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "commctrl.h"
#include "dialog.h"
#include "front_end.h"
#include "headless_driver.h"

namespace orvella::platform::gui::testing {

enum EveryControlId : int {
    kLabel = 100,
    kIcon = 101,
    kName = 102,
    kDetails = 103,
    kRemember = 104,
    kModeGroup = 105,
    kFast = 106,
    kSlow = 107,
    kOff = 108,
    kAlone = 109,
    kProgress = 110,
    kDisabled = 111,
    kHidden = 112,
    kApply = 113,
};

inline constexpr const char* kEveryControlCaption = "Every Control";

// Statics, an icon, a single-line and a read-only multi-line edit, a check box, a group box
// with a radio group of three, a radio button of its own, a progress bar, a disabled and a
// hidden button, Apply, OK (default) and Cancel.
DialogTemplate EveryControlTemplate();

// One WM_COMMAND as the handler saw it, with the button's check state at that moment.
struct Command {
    UINT id;
    UINT code;
    UINT checkSeen;
    bool operator==(const Command&) const = default;
};

// Sets the initial state in OnInitDialog (texts of 102 and 103, 106 and 109 checked, progress
// range 0..50), records every command, and runs onApply when Apply is clicked.
class EveryControlDialog : public CDialog {
public:
    EveryControlDialog() : CDialog(EveryControlTemplate()) {}

    std::vector<Command> commands;
    std::function<void(EveryControlDialog&)> onApply;
    bool destroyed = false;

protected:
    BOOL OnInitDialog() override;
    void OnCommand(UINT id, UINT notifyCode, HWND control) override;
    void OnDestroy() override { destroyed = true; }
};

// Runs the every-control dialog under a driver of its own: inspect sees it once initialised,
// then OK closes it. Returns its record.
DialogRecord InspectEveryControlDialog(const std::function<void(const DialogView&)>& inspect);

// The buttons of a view, in order, as (id, text).
std::vector<std::pair<int, std::string>> ButtonsOf(const DialogView& view);

// Runs a modal call on a thread of its own, as the host's user-interface thread would, keeping
// its result or exception for the test thread.
class UiThread {
public:
    explicit UiThread(std::function<INT_PTR()> run);
    ~UiThread();
    // Waits for the call; rethrows its exception.
    INT_PTR Join();

private:
    INT_PTR result_ = 0;
    std::exception_ptr error_;
    std::thread thread_;
};

}  // namespace orvella::platform::gui::testing
