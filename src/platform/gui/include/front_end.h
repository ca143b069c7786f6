// The seam between the dialog system and whatever shows dialogs to a person: a headless driver
// today, a web page or real Win32 windows later. Callers of MessageBoxA and DialogBox... never
// see which one is installed.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dialog_template.h"

namespace orvella::platform::gui {

enum class DialogKind { Dialog, MessageBox };

// What a person sees of one control at one moment.
struct ControlView {
    HWND hwnd = nullptr;
    int id = 0;
    ControlKind kind = ControlKind::Static;
    std::string text;  // an icon static's text is its icon's name
    DWORD style = 0;
    short x = 0, y = 0, cx = 0, cy = 0;
    bool enabled = true;
    bool visible = true;
    bool isDefault = false;      // default push button
    UINT check = BST_UNCHECKED;  // check boxes and radio buttons
    bool readOnly = false;       // edits
    int selectionStart = 0;      // edits: the selection, or the caret when both are equal
    int selectionEnd = 0;
    bool caretScrolledIntoView = false;  // edits: EM_SCROLLCARET since the text last changed
    int rangeMin = 0;                    // progress bars
    int rangeMax = 0;
    int position = 0;
    int step = 0;
};

// What a person sees of one dialog or message box at one moment.
struct DialogView {
    HWND hwnd = nullptr;
    HWND owner = nullptr;
    DialogKind kind = DialogKind::Dialog;
    std::string caption;
    WORD templateId = 0;  // the resource id; 0 for a template in memory or a message box
    DWORD style = 0;
    short cx = 0, cy = 0;
    std::string font;
    WORD pointSize = 0;
    bool enabled = true;
    std::string messageText;  // message boxes: the text and the MB_ flags asked for
    UINT messageFlags = 0;
    std::vector<ControlView> controls;

    // The first control with that id, or nullptr.
    const ControlView* Find(int id) const;
    // Several lines naming the kind, caption and every control with its text and state.
    std::string Describe() const;
};

// A front end. Exactly one may be installed at a time (see ScopedFrontEnd). Calls arrive on the
// dialog's own thread (opened, closed) or on whichever thread changed the dialog (changed), never
// under a lock of the dialog system, and must not wait for anything the dialog's thread does.
class IDialogFrontEnd {
public:
    virtual ~IDialogFrontEnd() = default;

    // A dialog or message box is shown: after its WM_INITDIALOG and the messages that
    // initialisation queued for it. A dialog that its own thread ended by then is never shown;
    // one that another thread ended is shown all the same. The front end may act on it at once,
    // through the input calls below, or later from any thread. An exception thrown here ends the
    // dialog at once with -1 (a message box with 0), closes it and leaves DialogBox... /
    // MessageBoxA: this is how a front end fails loudly for a dialog nobody expected.
    virtual void OnDialogOpened(const DialogView& view) = 0;
    // Something a person can see in the dialog changed: a text, a check, a position, a state.
    virtual void OnDialogChanged(HWND dialog) = 0;
    // The dialog closed with result; view is its last state. Sent only for opened dialogs.
    virtual void OnDialogClosed(const DialogView& view, INT_PTR result) = 0;
};

// Installs a front end for its lifetime. Installing a second one throws std::logic_error.
// Without a front end, MessageBoxA answers with the default button at once and dialogs run
// unattended: nobody presses anything, so only the dialog's own code (a worker, a timer,
// EndDialog) ends them. The destructor waits for calls into the front end that are under way on
// other threads.
class ScopedFrontEnd {
public:
    explicit ScopedFrontEnd(IDialogFrontEnd& frontEnd);
    ~ScopedFrontEnd();
    ScopedFrontEnd(const ScopedFrontEnd&) = delete;
    ScopedFrontEnd& operator=(const ScopedFrontEnd&) = delete;
};

// The current state of an open dialog or message box; nullopt once it is destroyed.
std::optional<DialogView> ViewDialog(HWND dialog);

// Input from the person at the front end, delivered as Windows delivers it. Any thread may call
// these; they run on the dialog's thread and return when the dialog has handled the input.
enum class InputResult {
    Done,
    NoSuchDialog,    // not an open dialog, or already ended
    DialogDisabled,  // a modal dialog above it is open
    NoSuchControl,
    ControlHidden,
    ControlDisabled,
    NotApplicable,  // not a button (click) or not an editable edit (typing)
};
const char* DescribeInput(InputResult result);

// A click on a button, check box or radio button: an automatic check box toggles (a three-state
// one cycles), an automatic radio button becomes checked and clears the others of its group,
// then the dialog receives WM_COMMAND with BN_CLICKED.
InputResult ClickControl(HWND dialog, int controlId);
// Replaces the text of an edit that is not read-only; the dialog receives EN_CHANGE.
InputResult TypeText(HWND dialog, int controlId, const std::string& text);
// The close box: the dialog receives WM_CLOSE. A message box closes with IDCANCEL when it has a
// Cancel button, with IDOK when OK is its only button, and not at all otherwise.
InputResult CloseDialog(HWND dialog);

}  // namespace orvella::platform::gui
