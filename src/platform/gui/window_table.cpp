// The process's table of window handles.
#include "window_table.h"

#include <cstdint>
#include <mutex>
#include <unordered_map>

#include "dialog_window.h"
#include "winbase.h"

namespace orvella::platform::gui::detail {
namespace {

struct Table {
    std::mutex mutex;
    std::unordered_map<HWND, WindowRef> windows;
    uintptr_t next = 0x10010;
};

Table& TheTable() {
    static Table table;
    return table;
}

}  // namespace

HWND AllocateHandle() {
    Table& table = TheTable();
    std::lock_guard lock(table.mutex);
    const uintptr_t value = table.next;
    table.next += 4;
    return reinterpret_cast<HWND>(value);
}

void AddWindow(HWND hwnd, const std::shared_ptr<DialogWindow>& dialog, Control* control) {
    Table& table = TheTable();
    std::lock_guard lock(table.mutex);
    table.windows[hwnd] = WindowRef{dialog, control};
}

void RemoveWindow(HWND hwnd) {
    Table& table = TheTable();
    WindowRef removed;  // released outside the lock: it may hold the dialog's last reference
    std::lock_guard lock(table.mutex);
    auto found = table.windows.find(hwnd);
    if (found == table.windows.end()) return;
    removed = std::move(found->second);
    table.windows.erase(found);
}

WindowRef LookUp(HWND hwnd) {
    if (!hwnd) return {};
    Table& table = TheTable();
    std::lock_guard lock(table.mutex);
    auto found = table.windows.find(hwnd);
    return found == table.windows.end() ? WindowRef{} : found->second;
}

WindowRef LookUpOrFail(HWND hwnd) {
    WindowRef ref = LookUp(hwnd);
    if (!ref) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return ref;
}

std::shared_ptr<DialogWindow> LookUpDialogOrFail(HWND hwnd) {
    WindowRef ref = LookUp(hwnd);
    if (!ref || ref.control) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return nullptr;
    }
    return ref.dialog;
}

WindowRef LookUpDialogItemOrFail(HWND dialog, int id) {
    std::shared_ptr<DialogWindow> found = LookUpDialogOrFail(dialog);
    if (!found) return {};
    Control* control = found->FindControl(id);
    if (!control) {
        SetLastError(ERROR_CONTROL_ID_NOT_FOUND);
        return {};
    }
    return WindowRef{std::move(found), control};
}

}  // namespace orvella::platform::gui::detail
