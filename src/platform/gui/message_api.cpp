// SendMessageA, PostMessageA, SendDlgItemMessageA, and the delivery of what the modal loop
// takes from a thread's queue.
#include <chrono>

#include "dialog_window.h"
#include "thread_queue.h"
#include "window_table.h"

using namespace orvella::platform::gui;

namespace {

LRESULT SendTo(const detail::WindowRef& window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (window.control)
        return window.dialog->SendToControl(*window.control, message, wParam, lParam);
    return window.dialog->Send(message, wParam, lParam);
}

}  // namespace

LRESULT SendMessageA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam) {
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    return window ? SendTo(window, Msg, wParam, lParam) : 0;
}

LRESULT SendDlgItemMessageA(HWND hDlg, int nIDDlgItem, UINT Msg, WPARAM wParam, LPARAM lParam) {
    const detail::WindowRef item = detail::LookUpDialogItemOrFail(hDlg, nIDDlgItem);
    return item ? SendTo(item, Msg, wParam, lParam) : 0;
}

BOOL PostMessageA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam) {
    if (!hWnd) return TRUE;  // a thread message: no dialog loop would deliver it
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    if (!window) return FALSE;
    window.dialog->queue().Post(hWnd, Msg, wParam, lParam);
    return TRUE;
}

namespace orvella::platform::gui::detail {

void DeliverPosted(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
    const WindowRef window = LookUp(hwnd);
    if (window) SendTo(window, message, wParam, lParam);
}

void DeliverTimer(HWND hwnd, UINT_PTR id, TIMERPROC proc) {
    const WindowRef window = LookUp(hwnd);
    if (!window) return;
    if (!proc) {
        SendTo(window, WM_TIMER, id, 0);
        return;
    }
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    proc(hwnd, WM_TIMER, id,
         static_cast<DWORD>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count()));
}

}  // namespace orvella::platform::gui::detail
