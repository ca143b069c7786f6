// Dialog templates as C++ values, and the process's table of dialog resources that plays the
// part of a module's .rc file.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "winuser.h"

#ifndef IDC_STATIC
#define IDC_STATIC (-1)
#endif

namespace orvella::platform::gui {

// What a control is. Check boxes, radio buttons and group boxes are buttons to Windows; here
// they are kinds of their own, as the resource compiler's statements are.
enum class ControlKind {
    Static,       // text (SS_LEFT, SS_CENTER, SS_RIGHT)
    Icon,         // an icon static; its text names the icon ("IDI_QUESTION" for a system one)
    Edit,         // ES_MULTILINE, ES_READONLY, ES_AUTOVSCROLL ...
    Button,       // BS_PUSHBUTTON, or BS_DEFPUSHBUTTON for the default button
    CheckBox,     // BS_AUTOCHECKBOX unless the style names BS_CHECKBOX, BS_3STATE, BS_AUTO3STATE
    RadioButton,  // BS_AUTORADIOBUTTON unless the style names BS_RADIOBUTTON
    GroupBox,
    ProgressBar,  // PROGRESS_CLASSA
};

// One control, in dialog units. As with a resource compiler the control gets WS_CHILD,
// WS_VISIBLE and its kind's usual bits (WS_TABSTOP for buttons and edits, WS_BORDER for edits,
// WS_GROUP for statics) in addition to `style`; `notStyle` removes bits (WS_VISIBLE to start
// hidden). Radio groups run from a control with WS_GROUP up to the next one.
struct DialogControl {
    int id = IDC_STATIC;
    ControlKind kind = ControlKind::Static;
    std::string text;
    short x = 0;
    short y = 0;
    short cx = 0;
    short cy = 0;
    DWORD style = 0;
    DWORD notStyle = 0;
};

inline constexpr DWORD kDefaultDialogStyle =
    DS_MODALFRAME | DS_SETFONT | WS_POPUP | WS_CAPTION | WS_SYSMENU;

// A dialog: caption, size in dialog units, style and controls in tab order.
struct DialogTemplate {
    std::string caption;
    short cx = 0;
    short cy = 0;
    DWORD style = kDefaultDialogStyle;
    std::vector<DialogControl> controls;
    std::string font = "MS Shell Dlg";
    WORD pointSize = 8;
};

// The resource table. The add-in registers its templates at start, as its module's resources;
// DialogBoxParamA(..., MAKEINTRESOURCEA(id), ...) finds them. Registering an id again replaces
// its template (dialogs already open keep theirs). Any thread may call these.
void RegisterDialogResource(WORD id, DialogTemplate dialogTemplate);
// True when the id was registered.
bool UnregisterDialogResource(WORD id);
// The template registered under id, or nullptr.
std::shared_ptr<const DialogTemplate> FindDialogResource(WORD id);

}  // namespace orvella::platform::gui
