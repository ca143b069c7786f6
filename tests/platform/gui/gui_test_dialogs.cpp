// Dialogs the dialog-system tests run.
#include "gui_test_dialogs.h"

#include <gtest/gtest.h>

namespace orvella::platform::gui::testing {

DialogTemplate EveryControlTemplate() {
    DialogTemplate dialog;
    dialog.caption = kEveryControlCaption;
    dialog.cx = 240;
    dialog.cy = 160;
    dialog.controls = {
        {kLabel, ControlKind::Static, "Name:", 7, 7, 40, 8},
        {kIcon, ControlKind::Icon, "IDI_QUESTION", 200, 7, 21, 20},
        {kName, ControlKind::Edit, "", 50, 7, 140, 14, ES_AUTOHSCROLL},
        {kDetails, ControlKind::Edit, "", 7, 25, 180, 40,
         ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL},
        {kRemember, ControlKind::CheckBox, "Remember", 7, 70, 80, 10},
        {kModeGroup, ControlKind::GroupBox, "Mode", 7, 82, 100, 50},
        {kFast, ControlKind::RadioButton, "Fast", 12, 92, 60, 10, WS_GROUP | WS_TABSTOP},
        {kSlow, ControlKind::RadioButton, "Slow", 12, 104, 60, 10},
        {kOff, ControlKind::RadioButton, "Off", 12, 116, 60, 10},
        {kAlone, ControlKind::RadioButton, "Alone", 120, 92, 60, 10, WS_GROUP | WS_TABSTOP},
        {kProgress, ControlKind::ProgressBar, "", 120, 110, 100, 8, PBS_SMOOTH},
        {kDisabled, ControlKind::Button, "Disabled", 7, 140, 50, 14, WS_DISABLED},
        {kHidden, ControlKind::Button, "Hidden", 60, 140, 50, 14, 0, WS_VISIBLE},
        {kApply, ControlKind::Button, "Apply", 113, 140, 40, 14},
        {IDOK, ControlKind::Button, "OK", 156, 140, 40, 14, BS_DEFPUSHBUTTON},
        {IDCANCEL, ControlKind::Button, "Cancel", 199, 140, 40, 14},
    };
    return dialog;
}

BOOL EveryControlDialog::OnInitDialog() {
    SetDlgItemTextA(m_hWnd, kName, "initial");
    SetDlgItemTextA(m_hWnd, kDetails, "line one\r\nline two");
    CheckDlgButton(m_hWnd, kFast, BST_CHECKED);
    CheckDlgButton(m_hWnd, kAlone, BST_CHECKED);
    SendDlgItemMessageA(m_hWnd, kProgress, PBM_SETRANGE32, 0, 50);
    return TRUE;
}

void EveryControlDialog::OnCommand(UINT id, UINT notifyCode, HWND control) {
    commands.push_back({id, notifyCode, IsDlgButtonChecked(m_hWnd, static_cast<int>(id))});
    if (id == kApply && notifyCode == BN_CLICKED && onApply) onApply(*this);
    CDialog::OnCommand(id, notifyCode, control);
}

DialogRecord InspectEveryControlDialog(const std::function<void(const DialogView&)>& inspect) {
    HeadlessDialogDriver driver;
    driver.OnDialog(kEveryControlCaption).Inspect(inspect).Press(IDOK);
    EveryControlDialog dialog;
    EXPECT_EQ(dialog.DoModal(), IDOK);
    return driver.Records().at(0);
}

std::vector<std::pair<int, std::string>> ButtonsOf(const DialogView& view) {
    std::vector<std::pair<int, std::string>> buttons;
    for (const ControlView& control : view.controls) {
        if (control.kind == ControlKind::Button) buttons.emplace_back(control.id, control.text);
    }
    return buttons;
}

UiThread::UiThread(std::function<INT_PTR()> run)
    : thread_([this, run = std::move(run)] {
          try {
              result_ = run();
          } catch (...) {
              error_ = std::current_exception();
          }
      }) {}

UiThread::~UiThread() {
    if (thread_.joinable()) thread_.join();
}

INT_PTR UiThread::Join() {
    thread_.join();
    if (error_) std::rethrow_exception(error_);
    return result_;
}

}  // namespace orvella::platform::gui::testing
