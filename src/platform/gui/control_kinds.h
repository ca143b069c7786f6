// The kinds of control: statics and icons, buttons (push, check, radio, group), edits and
// progress bars.
#pragma once

#include "control.h"

namespace orvella::platform::gui::detail {

class IconControl : public Control {
public:
    IconControl(const DialogControl& source, HWND hwnd, DWORD style);
    LRESULT Handle(UINT message, WPARAM wParam, LPARAM lParam, ControlEffects& effects) override;

private:
    HICON icon_;
};

class ButtonControl : public Control {
public:
    using Control::Control;
    LRESULT Handle(UINT message, WPARAM wParam, LPARAM lParam, ControlEffects& effects) override;
    bool Clickable() const override { return kind != ControlKind::GroupBox; }
    bool SetCheck(UINT check, ControlEffects& effects) override;
    bool IsRadio() const override;
    void Describe(ControlView& view) const override;

private:
    DWORD type() const { return style & BS_TYPEMASK; }
    bool HasCheck() const;
    void Click(ControlEffects& effects);

    UINT check_ = BST_UNCHECKED;
};

class EditControl : public Control {
public:
    using Control::Control;
    LRESULT Handle(UINT message, WPARAM wParam, LPARAM lParam, ControlEffects& effects) override;
    bool Type(const std::string& text, ControlEffects& effects) override;
    void Describe(ControlView& view) const override;

protected:
    void OnTextSet(ControlEffects& effects) override;

private:
    int Length() const { return static_cast<int>(text.size()); }
    void Select(int start, int end, ControlEffects& effects);

    int selectionStart_ = 0;
    int selectionEnd_ = 0;
    bool caretScrolled_ = false;
};

class ProgressControl : public Control {
public:
    using Control::Control;
    LRESULT Handle(UINT message, WPARAM wParam, LPARAM lParam, ControlEffects& effects) override;
    void Describe(ControlView& view) const override;

private:
    LRESULT SetRange(int low, int high, ControlEffects& effects);
    LRESULT Move(int position, bool wrap, ControlEffects& effects);

    int low_ = 0;
    int high_ = 100;
    int position_ = 0;
    int step_ = 10;
};

}  // namespace orvella::platform::gui::detail
