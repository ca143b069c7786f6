// The Win32 calls on windows and dialog items: failures on bad handles and ids, texts and
// buffers, window data, resources, raw DLGPROCs and icons.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "gui_test_dialogs.h"
#include "headless_driver.h"
#include "winbase.h"

namespace {

using namespace orvella::platform::gui;
using namespace orvella::platform::gui::testing;
using ::testing::ElementsAre;

// The handle of a dialog that has been open and is closed now.
HWND ClosedDialog() {
    HeadlessDialogDriver driver;
    driver.OnDialog(kEveryControlCaption).Press(IDOK);
    EveryControlDialog dialog;
    dialog.DoModal();
    return driver.Records().at(0).shown.hwnd;
}

TEST(WindowCalls, FailWithInvalidWindowHandleOnHandlesThatAreNotWindows) {
    char buffer[8] = "xxxxxxx";
    const std::vector<std::pair<std::string, std::function<LONG_PTR(HWND)>>> calls = {
        {"EndDialog", [](HWND h) { return EndDialog(h, 1); }},
        {"GetDlgItem", [](HWND h) { return reinterpret_cast<LONG_PTR>(GetDlgItem(h, IDOK)); }},
        {"GetDlgCtrlID", [](HWND h) { return GetDlgCtrlID(h); }},
        {"GetParent", [](HWND h) { return reinterpret_cast<LONG_PTR>(GetParent(h)); }},
        {"SetWindowTextA", [](HWND h) { return SetWindowTextA(h, "x"); }},
        {"GetWindowTextA", [&](HWND h) { return GetWindowTextA(h, buffer, sizeof buffer); }},
        {"GetWindowTextLengthA", [](HWND h) { return GetWindowTextLengthA(h); }},
        {"SetDlgItemTextA", [](HWND h) { return SetDlgItemTextA(h, IDOK, "x"); }},
        {"GetDlgItemTextA", [&](HWND h) { return GetDlgItemTextA(h, IDOK, buffer, 8); }},
        {"CheckDlgButton", [](HWND h) { return CheckDlgButton(h, IDOK, BST_CHECKED); }},
        {"IsDlgButtonChecked", [](HWND h) { return IsDlgButtonChecked(h, IDOK); }},
        {"CheckRadioButton", [](HWND h) { return CheckRadioButton(h, 1, 2, 1); }},
        {"EnableWindow", [](HWND h) { return EnableWindow(h, TRUE); }},
        {"IsWindowEnabled", [](HWND h) { return IsWindowEnabled(h); }},
        {"ShowWindow", [](HWND h) { return ShowWindow(h, SW_SHOW); }},
        {"IsWindowVisible", [](HWND h) { return IsWindowVisible(h); }},
        {"SendMessageA", [](HWND h) { return SendMessageA(h, WM_APP, 0, 0); }},
        {"PostMessageA", [](HWND h) { return PostMessageA(h, WM_APP, 0, 0); }},
        {"SendDlgItemMessageA", [](HWND h) { return SendDlgItemMessageA(h, 1, BM_CLICK, 0, 0); }},
        {"SetWindowLongPtrA", [](HWND h) { return SetWindowLongPtrA(h, GWLP_USERDATA, 5); }},
        {"GetWindowLongPtrA", [](HWND h) { return GetWindowLongPtrA(h, GWLP_USERDATA); }},
        {"SetTimer", [](HWND h) { return static_cast<LONG_PTR>(SetTimer(h, 1, 10, nullptr)); }},
        {"KillTimer", [](HWND h) { return KillTimer(h, 1); }},
    };
    for (HWND bad : {reinterpret_cast<HWND>(0x1235), ClosedDialog()}) {
        for (const auto& [name, call] : calls) {
            SetLastError(0);
            EXPECT_EQ(call(bad), 0) << name;
            EXPECT_EQ(GetLastError(), 1400u) << name;
        }
        EXPECT_FALSE(IsWindow(bad));
        EXPECT_STREQ(buffer, "");
    }
}

TEST(WindowCalls, FailWithControlIdNotFoundOnIdsTheDialogLacks) {
    std::vector<std::pair<LONG_PTR, DWORD>> answers;
    InspectEveryControlDialog([&](const DialogView& view) {
        char buffer[4] = "abc";
        const std::vector<std::function<LONG_PTR()>> calls = {
            [&] { return reinterpret_cast<LONG_PTR>(GetDlgItem(view.hwnd, 999)); },
            [&] { return SetDlgItemTextA(view.hwnd, 999, "x"); },
            [&] { return GetDlgItemTextA(view.hwnd, 999, buffer, 4); },
            [&] { return CheckDlgButton(view.hwnd, 999, BST_CHECKED); },
            [&] { return IsDlgButtonChecked(view.hwnd, 999); },
            [&] { return SendDlgItemMessageA(view.hwnd, 999, WM_GETTEXTLENGTH, 0, 0); },
        };
        for (const auto& call : calls) {
            SetLastError(0);
            const LONG_PTR answer = call();
            answers.emplace_back(answer, GetLastError());
        }
        EXPECT_STREQ(buffer, "");
    });
    const std::pair<LONG_PTR, DWORD> failed{0, 1421};
    EXPECT_THAT(answers, ElementsAre(failed, failed, failed, failed, failed, failed));
}

TEST(WindowCalls, CopyTextsIntoBuffersOfAnySize) {
    struct Case {
        int size;
        UINT copied;
        std::string text;
    };
    const std::vector<Case> cases = {
        {8, 7, "initial"}, {20, 7, "initial"}, {4, 3, "ini"}, {1, 0, ""}};
    const DialogRecord record = InspectEveryControlDialog([&](const DialogView& view) {
        for (const Case& c : cases) {
            std::vector<char> buffer(static_cast<size_t>(c.size), '#');
            EXPECT_EQ(GetDlgItemTextA(view.hwnd, kName, buffer.data(), c.size), c.copied);
            EXPECT_EQ(std::string(buffer.data()), c.text) << c.size;
        }
        EXPECT_EQ(GetWindowTextLengthA(GetDlgItem(view.hwnd, kName)), 7);
        EXPECT_EQ(SendDlgItemMessageA(view.hwnd, kName, WM_GETTEXTLENGTH, 0, 0), 7);
        EXPECT_TRUE(SetWindowTextA(view.hwnd, "Renamed"));
        char caption[16];
        EXPECT_EQ(GetWindowTextA(view.hwnd, caption, sizeof caption), 7);
        EXPECT_STREQ(caption, "Renamed");
    });
    EXPECT_EQ(record.closed.caption, "Renamed");
}

TEST(WindowCalls, ChecksAndRadioButtonsFollowTheCalls) {
    InspectEveryControlDialog([](const DialogView& view) {
        EXPECT_TRUE(CheckRadioButton(view.hwnd, kFast, kOff, kOff));
        EXPECT_EQ(IsDlgButtonChecked(view.hwnd, kFast), 0u);
        EXPECT_EQ(IsDlgButtonChecked(view.hwnd, kSlow), 0u);
        EXPECT_EQ(IsDlgButtonChecked(view.hwnd, kOff), 1u);
        EXPECT_EQ(IsDlgButtonChecked(view.hwnd, kAlone), 1u);
        EXPECT_TRUE(CheckDlgButton(view.hwnd, kRemember, BST_INDETERMINATE));
        EXPECT_EQ(IsDlgButtonChecked(view.hwnd, kRemember), 1u);  // two-state box
        EXPECT_TRUE(CheckDlgButton(view.hwnd, kApply, BST_CHECKED));
        EXPECT_EQ(IsDlgButtonChecked(view.hwnd, kApply), 0u);  // push button
    });
}

TEST(WindowCalls, KeepWindowDataAndAnswerForUnknownIndexes) {
    InspectEveryControlDialog([](const DialogView& view) {
        const HWND name = GetDlgItem(view.hwnd, kName);
        EXPECT_EQ(SetWindowLongPtrA(name, GWLP_USERDATA, 1234), 0);
        EXPECT_EQ(SetWindowLongPtrA(name, GWLP_USERDATA, 99), 1234);
        EXPECT_EQ(GetWindowLongPtrA(name, GWLP_USERDATA), 99);
        EXPECT_EQ(GetWindowLongPtrA(name, GWLP_ID), kName);
        EXPECT_EQ(GetDlgCtrlID(name), kName);
        EXPECT_EQ(GetParent(name), view.hwnd);
        EXPECT_EQ(GetParent(view.hwnd), nullptr);
        const DWORD style = static_cast<DWORD>(GetWindowLongPtrA(name, GWL_STYLE));
        EXPECT_EQ(
            style & (WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_BORDER | ES_AUTOHSCROLL),
            static_cast<DWORD>(WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_BORDER | ES_AUTOHSCROLL));
        const DWORD dialogStyle = static_cast<DWORD>(GetWindowLongPtrA(view.hwnd, GWL_STYLE));
        EXPECT_EQ(dialogStyle & (WS_POPUP | WS_CAPTION | WS_VISIBLE),
                  static_cast<DWORD>(WS_POPUP | WS_CAPTION | WS_VISIBLE));
        SetLastError(0);
        EXPECT_EQ(GetWindowLongPtrA(name, DWLP_USER), 0);  // controls have no dialog data
        EXPECT_EQ(GetLastError(), 1413u);
        SetLastError(0);
        EXPECT_EQ(SetWindowLongPtrA(view.hwnd, 12345, 1), 0);
        EXPECT_EQ(GetLastError(), 1413u);
    });
}

// A dialog procedure written against the plain Win32 calls, recording the messages it sees.
std::vector<std::pair<UINT, LPARAM>> g_seen;
INT_PTR CALLBACK RecordingProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_INITDIALOG:
            g_seen.emplace_back(message, lParam);
            return TRUE;
        case WM_COMMAND:
            g_seen.emplace_back(message, LOWORD(wParam));
            if (LOWORD(wParam) == IDOK) EndDialog(hwnd, 500 + static_cast<INT_PTR>(g_seen.size()));
            return TRUE;
        case WM_DESTROY:
            g_seen.emplace_back(message, 0);
            return TRUE;
        default:
            return FALSE;
    }
}

TEST(DialogResources, DialogBoxParamFindsRegisteredTemplatesById) {
    constexpr WORD kId = 3101;
    RegisterDialogResource(kId, EveryControlTemplate());
    HeadlessDialogDriver driver;
    driver.OnDialog(kEveryControlCaption).Press(IDOK);
    g_seen.clear();
    EXPECT_EQ(DialogBoxParamA(nullptr, MAKEINTRESOURCEA(kId), nullptr, RecordingProc, 77), 502);
    EXPECT_THAT(g_seen, ElementsAre(std::pair<UINT, LPARAM>{WM_INITDIALOG, 77},
                                    std::pair<UINT, LPARAM>{WM_COMMAND, IDOK},
                                    std::pair<UINT, LPARAM>{WM_DESTROY, 0}));
    EXPECT_EQ(driver.Records().at(0).shown.templateId, kId);
    EXPECT_TRUE(UnregisterDialogResource(kId));
    EXPECT_FALSE(UnregisterDialogResource(kId));
}

TEST(DialogResources, FailuresAnswerAsWindowsDoes) {
    HeadlessDialogDriver driver;
    SetLastError(0);
    EXPECT_EQ(DialogBoxParamA(nullptr, MAKEINTRESOURCEA(3999), nullptr, RecordingProc, 0), -1);
    EXPECT_EQ(GetLastError(), 1814u);
    SetLastError(0);
    EXPECT_EQ(DialogBoxParamA(nullptr, "NAMED", nullptr, RecordingProc, 0), -1);
    EXPECT_EQ(GetLastError(), 1814u);
    const DialogTemplate source = EveryControlTemplate();
    SetLastError(0);
    EXPECT_EQ(
        DialogBoxIndirectParamA(nullptr, &source, reinterpret_cast<HWND>(0x999), RecordingProc, 0),
        0);
    EXPECT_EQ(GetLastError(), 1400u);
    EXPECT_TRUE(driver.Records().empty());
}

TEST(DialogResources, AHandlerClassNamesItsResourceWithIdd) {
    constexpr WORD kId = 3102;
    DialogTemplate source;
    source.caption = "By IDD";
    source.controls = {{IDOK, ControlKind::Button, "OK", 10, 10, 40, 14, BS_DEFPUSHBUTTON}};
    RegisterDialogResource(kId, source);
    struct ByIdd : CDialogImpl<ByIdd> {
        enum { IDD = kId };
    } dialog;
    HeadlessDialogDriver driver;
    driver.OnDialog("By IDD").Press(IDOK);
    EXPECT_EQ(dialog.DoModal(), IDOK);
    UnregisterDialogResource(kId);
}

TEST(Icons, SystemIconsLoadAndShowInIconStatics) {
    struct Case {
        LPCSTR id;
        std::string name;
    };
    const std::vector<Case> cases = {{IDI_HAND, "IDI_HAND"},
                                     {IDI_ERROR, "IDI_HAND"},
                                     {IDI_QUESTION, "IDI_QUESTION"},
                                     {IDI_WARNING, "IDI_EXCLAMATION"},
                                     {IDI_INFORMATION, "IDI_ASTERISK"},
                                     {IDI_APPLICATION, "IDI_APPLICATION"}};
    for (const Case& c : cases) {
        HICON previous = nullptr;
        const DialogRecord record = InspectEveryControlDialog([&](const DialogView& view) {
            const HICON icon = LoadIconA(nullptr, c.id);
            ASSERT_NE(icon, nullptr);
            previous = reinterpret_cast<HICON>(SendDlgItemMessageA(
                view.hwnd, kIcon, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0));
            EXPECT_EQ(SendDlgItemMessageA(view.hwnd, kIcon, STM_GETICON, 0, 0),
                      reinterpret_cast<LRESULT>(icon));
        });
        EXPECT_EQ(previous, LoadIconA(nullptr, IDI_QUESTION));
        EXPECT_EQ(record.closed.Find(kIcon)->text, c.name);
    }
    SetLastError(0);
    EXPECT_EQ(LoadIconA(nullptr, MAKEINTRESOURCEA(1)), nullptr);
    EXPECT_EQ(GetLastError(), 1814u);
}

}  // namespace
