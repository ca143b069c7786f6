// A front end without a screen: tests and scripts say in advance which dialogs and message boxes
// will appear and what the person does in them; everything shown is recorded, and anything
// nobody expected fails loudly.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "front_end.h"

namespace orvella::platform::gui {

// A dialog or message box appeared that no expectation matched. Its message names the kind,
// the caption and every text shown.
class UnexpectedDialogError : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

// A scripted action could not be done (a disabled or missing button, a dialog that never
// opened), or expectations were left unmet.
class DialogScriptError : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

// One dialog or message box as it was shown and as it closed.
struct DialogRecord {
    DialogView shown;
    DialogView closed;  // empty until it closes
    bool open = true;
    INT_PTR result = 0;
    bool unexpected = false;
};

class HeadlessDialogDriver;

// A dialog that is open now. Actions run on the dialog's thread and throw DialogScriptError when
// the person could not do them.
class LiveDialog {
public:
    LiveDialog(HeadlessDialogDriver& driver, HWND hwnd) : driver_(&driver), hwnd_(hwnd) {}

    HWND hwnd() const { return hwnd_; }
    // The dialog now; throws DialogScriptError once it is closed.
    DialogView View() const;

    LiveDialog& Press(int id);
    LiveDialog& SetText(int id, const std::string& text);
    // Clicks a check box or radio button until it shows the wanted state.
    LiveDialog& Check(int id, bool checked = true);
    LiveDialog& Close();

    // Waits until condition holds for the dialog's view (re-checked whenever the dialog
    // changes); false when the time ran out or the dialog closed first.
    bool WaitUntil(const std::function<bool(const DialogView&)>& condition,
                   std::chrono::milliseconds timeout);
    // Waits until the dialog is closed; false when the time ran out.
    bool WaitClosed(std::chrono::milliseconds timeout);

private:
    void Act(const char* action, int id, InputResult result);

    HeadlessDialogDriver* driver_;
    HWND hwnd_;
};

// What the person does when one expected dialog appears, in order. With no actions the dialog is
// left open for the test (see HeadlessDialogDriver::WaitForDialog).
class DialogExpectation {
public:
    DialogExpectation& SetText(int id, std::string text);
    DialogExpectation& Check(int id, bool checked = true);
    DialogExpectation& Press(int id);
    // Press for a message box's button.
    DialogExpectation& Answer(int id) { return Press(id); }
    DialogExpectation& Close();
    // Calls inspector with the dialog's view at this point of the script.
    DialogExpectation& Inspect(std::function<void(const DialogView&)> inspector);
    // Message boxes: the caption must also match exactly.
    DialogExpectation& WithCaption(std::string caption);
    // Matches every such dialog from now on instead of the next one in order.
    DialogExpectation& Always();

private:
    friend class HeadlessDialogDriver;
    bool Matches(const DialogView& view) const;
    std::string Describe() const;

    DialogKind kind_ = DialogKind::Dialog;
    std::string caption_;   // dialogs: the caption; message boxes: WithCaption, if given
    std::string textPart_;  // message boxes: part of the text
    bool always_ = false;
    bool used_ = false;
    std::vector<std::function<void(LiveDialog&)>> steps_;
};

// Installs itself as the front end while it lives; only one may live at a time.
//
// Dialogs are matched to expectations when they open: the next unused ordered expectation if it
// matches, else the first matching Always() one, else the dialog is unexpected: it is recorded,
// ended (DialogBox... gives -1, MessageBoxA 0) and UnexpectedDialogError is thrown out of the
// call that showed it. A scripted action that fails throws DialogScriptError the same way.
// Expectations should be scripted before the dialogs they describe can open.
class HeadlessDialogDriver : public IDialogFrontEnd {
public:
    HeadlessDialogDriver();
    ~HeadlessDialogDriver() override;

    // The next dialog with exactly this caption.
    DialogExpectation& OnDialog(std::string caption);
    // The next message box whose text contains textPart.
    DialogExpectation& OnMessageBox(std::string textPart);

    // Waits until a dialog or message box with this caption is open (returning at once if one
    // is) and returns it; throws DialogScriptError when none opens within timeout.
    LiveDialog WaitForDialog(const std::string& caption, std::chrono::milliseconds timeout);

    // Everything shown so far, in the order it opened.
    std::vector<DialogRecord> Records() const;
    // Throws DialogScriptError naming every unexpected dialog, failed action and unused ordered
    // expectation so far.
    void Verify() const;

    void OnDialogOpened(const DialogView& view) override;
    void OnDialogChanged(HWND dialog) override;
    void OnDialogClosed(const DialogView& view, INT_PTR result) override;

private:
    friend class LiveDialog;
    DialogExpectation& Expect(std::unique_ptr<DialogExpectation> expectation);
    DialogExpectation* Match(const DialogView& view);
    void RecordFailure(const std::string& failure);
    bool IsOpen(HWND hwnd) const;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::unique_ptr<DialogExpectation>> expectations_;
    std::vector<DialogRecord> records_;
    std::map<HWND, size_t> open_;  // open dialog -> its record
    std::vector<std::string> failures_;
    uint64_t changes_ = 0;  // counts openings, changes and closings, for waiters
    ScopedFrontEnd installation_;
};

}  // namespace orvella::platform::gui
