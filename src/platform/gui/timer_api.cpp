// SetTimer and KillTimer: timers live in the queue of the window's thread.
#include <algorithm>

#include "dialog_window.h"
#include "winbase.h"
#include "window_table.h"

using namespace orvella::platform::gui;

UINT_PTR SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC lpTimerFunc) {
    if (!hWnd) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    if (!window) return 0;
    const UINT elapse = std::clamp<UINT>(uElapse, USER_TIMER_MINIMUM, USER_TIMER_MAXIMUM);
    window.dialog->queue().SetTimer(hWnd, nIDEvent, elapse, lpTimerFunc);
    return 1;
}

BOOL KillTimer(HWND hWnd, UINT_PTR uIDEvent) {
    const detail::WindowRef window = detail::LookUpOrFail(hWnd);
    if (!window) return FALSE;
    return window.dialog->queue().KillTimer(hWnd, uIDEvent) ? TRUE : FALSE;
}
