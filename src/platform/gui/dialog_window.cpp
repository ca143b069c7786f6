// An open dialog: creation from its template, delivery to its DLGPROC with the dialog manager's
// default processing, its controls' messages and notifications, and its window state.
#include "dialog_window.h"

#include <utility>

#include "front_end_hub.h"
#include "window_table.h"

namespace orvella::platform::gui::detail {

std::shared_ptr<DialogWindow> DialogWindow::Create(const DialogTemplate& source,
                                                   DialogIdentity identity, HWND owner,
                                                   DLGPROC proc) {
    auto dialog = std::make_shared<DialogWindow>(Key{}, source, std::move(identity), owner, proc);
    AddWindow(dialog->hwnd_, dialog, nullptr);
    for (const auto& control : dialog->controls_) AddWindow(control->hwnd, dialog, control.get());
    return dialog;
}

DialogWindow::DialogWindow(Key, const DialogTemplate& source, DialogIdentity identity, HWND owner,
                           DLGPROC proc)
    : hwnd_(AllocateHandle()),
      owner_(owner),
      queue_(ThreadQueue::Current()),
      identity_(std::move(identity)),
      cx_(source.cx),
      cy_(source.cy),
      font_(source.font),
      pointSize_(source.pointSize),
      self_{source.caption, source.style & ~WS_VISIBLE, 0},  // shown once initialised
      proc_(proc) {
    for (const DialogControl& control : source.controls) {
        controls_.push_back(MakeControl(control, AllocateHandle()));
    }
}

Control* DialogWindow::FindControl(int id) const {
    for (const auto& control : controls_) {
        if (control->id == id) return control.get();
    }
    return nullptr;
}

LRESULT DialogWindow::Deliver(UINT message, WPARAM wParam, LPARAM lParam) {
    DLGPROC proc;
    {
        std::lock_guard lock(mutex_);
        proc = proc_;
    }
    const INT_PTR handled = proc ? proc(hwnd_, message, wParam, lParam) : FALSE;
    if (message == WM_INITDIALOG) return handled;
    if (handled) {
        std::lock_guard lock(mutex_);
        return messageResult_;
    }
    return DefaultProcessing(message, wParam, lParam);
}

LRESULT DialogWindow::DefaultProcessing(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CLOSE: {
            Control* cancel = FindControl(IDCANCEL);
            if (cancel && HasStyle(cancel, WS_DISABLED)) return 0;
            return Deliver(WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED),
                           reinterpret_cast<LPARAM>(cancel ? cancel->hwnd : nullptr));
        }
        case WM_SETTEXT: {
            {
                std::lock_guard lock(mutex_);
                self_.text = lParam ? reinterpret_cast<LPCSTR>(lParam) : "";
            }
            NotifyChanged(hwnd_);
            return TRUE;
        }
        case WM_GETTEXT: {
            std::lock_guard lock(mutex_);
            return CopyText(self_.text, reinterpret_cast<LPSTR>(lParam), static_cast<int>(wParam));
        }
        case WM_GETTEXTLENGTH: {
            std::lock_guard lock(mutex_);
            return static_cast<LRESULT>(self_.text.size());
        }
        default:
            return 0;
    }
}

LRESULT DialogWindow::Send(UINT message, WPARAM wParam, LPARAM lParam) {
    LRESULT answer = 0;
    queue_->Invoke([&] {
        if (!destroyed()) answer = Deliver(message, wParam, lParam);
    });
    return answer;
}

LRESULT DialogWindow::SendToControl(Control& control, UINT message, WPARAM wParam, LPARAM lParam) {
    ControlEffects effects;
    LRESULT answer;
    {
        std::lock_guard lock(mutex_);
        answer = control.Handle(message, wParam, lParam, effects);
        if (effects.clearRadioGroup) ClearRadioGroup(control, effects);
    }
    Publish(control, effects);
    return answer;
}

bool DialogWindow::TypeInto(Control& control, const std::string& text) {
    ControlEffects effects;
    bool typed;
    {
        std::lock_guard lock(mutex_);
        typed = control.Type(text, effects);
    }
    Publish(control, effects);
    return typed;
}

void DialogWindow::ClearRadioGroup(const Control& checked, ControlEffects& effects) {
    size_t index = 0;
    while (controls_[index].get() != &checked) ++index;
    size_t first = index;
    while (first > 0 && (controls_[first]->style & WS_GROUP) == 0) --first;
    size_t last = index + 1;
    while (last < controls_.size() && (controls_[last]->style & WS_GROUP) == 0) ++last;
    for (size_t i = first; i < last; ++i) {
        if (i != index && controls_[i]->IsRadio()) controls_[i]->SetCheck(BST_UNCHECKED, effects);
    }
}

void DialogWindow::Publish(const Control& control, const ControlEffects& effects) {
    if (effects.changed) NotifyChanged(hwnd_);
    if (effects.notify && !destroyed()) {
        Send(WM_COMMAND, MAKEWPARAM(control.id, effects.notification),
             reinterpret_cast<LPARAM>(control.hwnd));
    }
}

void DialogWindow::End(INT_PTR result) {
    {
        std::lock_guard lock(mutex_);
        result_ = result;
    }
    if (queue_->IsCurrent()) endedByItsThread_.store(true);
    ended_.store(true);
    queue_->Wake();
}

INT_PTR DialogWindow::result() const {
    std::lock_guard lock(mutex_);
    return result_;
}

void DialogWindow::Destroy() {
    destroyed_.store(true);
    for (const auto& control : controls_) RemoveWindow(control->hwnd);
    RemoveWindow(hwnd_);
}

std::string DialogWindow::Text(const Control* control) const {
    std::lock_guard lock(mutex_);
    return StateOf(control).text;
}

bool DialogWindow::HasStyle(const Control* control, DWORD bits) const {
    std::lock_guard lock(mutex_);
    return (StateOf(control).style & bits) == bits;
}

bool DialogWindow::ChangeStyle(Control* control, DWORD bits, bool set) {
    bool before;
    bool changed;
    {
        std::lock_guard lock(mutex_);
        DWORD& style = StateOf(control).style;
        before = (style & bits) == bits;
        const DWORD updated = set ? (style | bits) : (style & ~bits);
        changed = updated != style;
        style = updated;
    }
    if (changed) NotifyChanged(hwnd_);
    return before;
}

bool DialogWindow::GetLong(const Control* control, int index, LONG_PTR& value) const {
    std::lock_guard lock(mutex_);
    const WindowState& state = StateOf(control);
    if (index == GWLP_USERDATA) {
        value = state.userData;
    } else if (index == GWL_STYLE) {
        value = static_cast<LONG>(state.style);
    } else if (index == GWLP_ID) {
        value = control ? control->id : 0;
    } else if (index == GWLP_HWNDPARENT) {
        value = reinterpret_cast<LONG_PTR>(control ? hwnd_ : owner_);
    } else if (control) {
        return false;
    } else if (index == static_cast<int>(DWLP_MSGRESULT)) {
        value = messageResult_;
    } else if (index == static_cast<int>(DWLP_DLGPROC)) {
        value = reinterpret_cast<LONG_PTR>(proc_);
    } else if (index == static_cast<int>(DWLP_USER)) {
        value = dialogUser_;
    } else {
        return false;
    }
    return true;
}

bool DialogWindow::SetLong(Control* control, int index, LONG_PTR value, LONG_PTR& previous) {
    bool changed = false;
    {
        std::lock_guard lock(mutex_);
        WindowState& state = StateOf(control);
        if (index == GWLP_USERDATA) {
            previous = std::exchange(state.userData, value);
        } else if (index == GWL_STYLE) {
            previous = static_cast<LONG>(state.style);
            changed = state.style != static_cast<DWORD>(value);
            state.style = static_cast<DWORD>(value);
        } else if (control) {
            return false;
        } else if (index == static_cast<int>(DWLP_MSGRESULT)) {
            previous = std::exchange(messageResult_, value);
        } else if (index == static_cast<int>(DWLP_DLGPROC)) {
            previous =
                reinterpret_cast<LONG_PTR>(std::exchange(proc_, reinterpret_cast<DLGPROC>(value)));
        } else if (index == static_cast<int>(DWLP_USER)) {
            previous = std::exchange(dialogUser_, value);
        } else {
            return false;
        }
    }
    if (changed) NotifyChanged(hwnd_);
    return true;
}

DialogView DialogWindow::View() const {
    DialogView view;
    view.hwnd = hwnd_;
    view.owner = owner_;
    view.kind = identity_.kind;
    view.templateId = identity_.templateId;
    view.cx = cx_;
    view.cy = cy_;
    view.font = font_;
    view.pointSize = pointSize_;
    view.messageText = identity_.messageText;
    view.messageFlags = identity_.messageFlags;
    std::lock_guard lock(mutex_);
    view.caption = self_.text;
    view.style = self_.style;
    view.enabled = (self_.style & WS_DISABLED) == 0;
    for (const auto& control : controls_) {
        ControlView& item = view.controls.emplace_back();
        control->Describe(item);
    }
    return view;
}

ControlView DialogWindow::ViewOf(const Control& control) const {
    ControlView view;
    std::lock_guard lock(mutex_);
    control.Describe(view);
    return view;
}

}  // namespace orvella::platform::gui::detail
