// Win32 user interface: message boxes, dialogs, controls, timers and window messages.
// Values are those of the Windows SDK; behaviour follows the Windows documentation, with the
// differences each declaration states.
#pragma once

#include "windef.h"
#include "winerror.h"

namespace orvella::platform::gui {
struct DialogTemplate;
}

#ifndef CALLBACK
#define CALLBACK
#endif
#ifndef WINAPI
#define WINAPI
#endif

// Error codes of the calls below that the shared error header does not carry.
#ifndef ERROR_INVALID_WINDOW_HANDLE
#define ERROR_INVALID_WINDOW_HANDLE 1400L
#endif
#ifndef ERROR_INVALID_INDEX
#define ERROR_INVALID_INDEX 1413L
#endif
#ifndef ERROR_CONTROL_ID_NOT_FOUND
#define ERROR_CONTROL_ID_NOT_FOUND 1421L
#endif
#ifndef ERROR_INVALID_MSGBOX_STYLE
#define ERROR_INVALID_MSGBOX_STYLE 1424L
#endif
#ifndef ERROR_RESOURCE_NAME_NOT_FOUND
#define ERROR_RESOURCE_NAME_NOT_FOUND 1814L
#endif

typedef INT_PTR(CALLBACK* DLGPROC)(HWND, UINT, WPARAM, LPARAM);
typedef void(CALLBACK* TIMERPROC)(HWND, UINT, UINT_PTR, DWORD);
// A dialog template in memory; here a C++ value rather than the packed binary layout.
typedef const orvella::platform::gui::DialogTemplate* LPCDLGTEMPLATEA;

#define MAKEINTRESOURCEA(i) ((LPSTR)((ULONG_PTR)((WORD)(i))))
#define IS_INTRESOURCE(r) ((((ULONG_PTR)(r)) >> 16) == 0)
#define MAKELPARAM(l, h) ((LPARAM)(DWORD)MAKELONG(l, h))
#define MAKELRESULT(l, h) ((LRESULT)(DWORD)MAKELONG(l, h))

// ---------------------------------------------------------------------------------------------
// Window messages and notification codes.

#define WM_NULL 0x0000
#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_ENABLE 0x000A
#define WM_SETTEXT 0x000C
#define WM_GETTEXT 0x000D
#define WM_GETTEXTLENGTH 0x000E
#define WM_CLOSE 0x0010
#define WM_SHOWWINDOW 0x0018
#define WM_NOTIFY 0x004E
#define WM_INITDIALOG 0x0110
#define WM_COMMAND 0x0111
#define WM_TIMER 0x0113
#define WM_USER 0x0400
#define WM_APP 0x8000

#define BN_CLICKED 0
#define EN_SETFOCUS 0x0100
#define EN_KILLFOCUS 0x0200
#define EN_CHANGE 0x0300
#define EN_UPDATE 0x0400

// ---------------------------------------------------------------------------------------------
// Window and dialog styles.

#define WS_OVERLAPPED 0x00000000
#define WS_POPUP 0x80000000
#define WS_CHILD 0x40000000
#define WS_MINIMIZE 0x20000000
#define WS_VISIBLE 0x10000000
#define WS_DISABLED 0x08000000
#define WS_CLIPSIBLINGS 0x04000000
#define WS_CLIPCHILDREN 0x02000000
#define WS_MAXIMIZE 0x01000000
#define WS_CAPTION 0x00C00000
#define WS_BORDER 0x00800000
#define WS_DLGFRAME 0x00400000
#define WS_VSCROLL 0x00200000
#define WS_HSCROLL 0x00100000
#define WS_SYSMENU 0x00080000
#define WS_THICKFRAME 0x00040000
#define WS_GROUP 0x00020000
#define WS_TABSTOP 0x00010000

#define DS_3DLOOK 0x0004
#define DS_FIXEDSYS 0x0008
#define DS_SETFONT 0x0040
#define DS_MODALFRAME 0x0080
#define DS_SETFOREGROUND 0x0200
#define DS_CONTROL 0x0400
#define DS_CENTER 0x0800
#define DS_SHELLFONT (DS_SETFONT | DS_FIXEDSYS)

// Static controls.
#define SS_LEFT 0x00000000
#define SS_CENTER 0x00000001
#define SS_RIGHT 0x00000002
#define SS_ICON 0x00000003
#define SS_TYPEMASK 0x0000001F
#define SS_NOPREFIX 0x00000080
#define SS_CENTERIMAGE 0x00000200
#define STM_SETICON 0x0170
#define STM_GETICON 0x0171

// Buttons: the low four bits are the button's type.
#define BS_PUSHBUTTON 0x00000000
#define BS_DEFPUSHBUTTON 0x00000001
#define BS_CHECKBOX 0x00000002
#define BS_AUTOCHECKBOX 0x00000003
#define BS_RADIOBUTTON 0x00000004
#define BS_3STATE 0x00000005
#define BS_AUTO3STATE 0x00000006
#define BS_GROUPBOX 0x00000007
#define BS_AUTORADIOBUTTON 0x00000009
#define BS_TYPEMASK 0x0000000F
#define BS_LEFTTEXT 0x00000020
#define BS_MULTILINE 0x00002000

#define BM_GETCHECK 0x00F0
#define BM_SETCHECK 0x00F1
#define BM_CLICK 0x00F5
#define BST_UNCHECKED 0x0000
#define BST_CHECKED 0x0001
#define BST_INDETERMINATE 0x0002

// Edit controls.
#define ES_LEFT 0x0000
#define ES_CENTER 0x0001
#define ES_RIGHT 0x0002
#define ES_MULTILINE 0x0004
#define ES_UPPERCASE 0x0008
#define ES_LOWERCASE 0x0010
#define ES_PASSWORD 0x0020
#define ES_AUTOVSCROLL 0x0040
#define ES_AUTOHSCROLL 0x0080
#define ES_NOHIDESEL 0x0100
#define ES_READONLY 0x0800
#define ES_WANTRETURN 0x1000
#define ES_NUMBER 0x2000

#define EM_GETSEL 0x00B0
#define EM_SETSEL 0x00B1
#define EM_SCROLLCARET 0x00B7
#define EM_REPLACESEL 0x00C2
#define EM_SETREADONLY 0x00CF

// ---------------------------------------------------------------------------------------------
// Message boxes and dialog results.

#define MB_OK 0x00000000
#define MB_OKCANCEL 0x00000001
#define MB_ABORTRETRYIGNORE 0x00000002
#define MB_YESNOCANCEL 0x00000003
#define MB_YESNO 0x00000004
#define MB_RETRYCANCEL 0x00000005
#define MB_CANCELTRYCONTINUE 0x00000006
#define MB_ICONHAND 0x00000010
#define MB_ICONQUESTION 0x00000020
#define MB_ICONEXCLAMATION 0x00000030
#define MB_ICONASTERISK 0x00000040
#define MB_ICONWARNING MB_ICONEXCLAMATION
#define MB_ICONERROR MB_ICONHAND
#define MB_ICONINFORMATION MB_ICONASTERISK
#define MB_ICONSTOP MB_ICONHAND
#define MB_DEFBUTTON1 0x00000000
#define MB_DEFBUTTON2 0x00000100
#define MB_DEFBUTTON3 0x00000200
#define MB_DEFBUTTON4 0x00000300
#define MB_APPLMODAL 0x00000000
#define MB_SYSTEMMODAL 0x00001000
#define MB_TASKMODAL 0x00002000
#define MB_SETFOREGROUND 0x00010000
#define MB_TOPMOST 0x00040000
#define MB_TYPEMASK 0x0000000F
#define MB_ICONMASK 0x000000F0
#define MB_DEFMASK 0x00000F00
#define MB_MODEMASK 0x00003000

#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7
#define IDTRYAGAIN 10
#define IDCONTINUE 11

// ---------------------------------------------------------------------------------------------
// Window data, show commands, timers, system icons.

#define GWLP_HWNDPARENT (-8)
#define GWLP_ID (-12)
#define GWL_STYLE (-16)
#define GWLP_USERDATA (-21)
#define DWLP_MSGRESULT 0
#define DWLP_DLGPROC (DWLP_MSGRESULT + sizeof(LRESULT))
#define DWLP_USER (DWLP_DLGPROC + sizeof(DLGPROC))

#define SW_HIDE 0
#define SW_SHOWNORMAL 1
#define SW_NORMAL 1
#define SW_SHOWMINIMIZED 2
#define SW_SHOWMAXIMIZED 3
#define SW_MAXIMIZE 3
#define SW_SHOWNOACTIVATE 4
#define SW_SHOW 5
#define SW_MINIMIZE 6
#define SW_SHOWMINNOACTIVE 7
#define SW_SHOWNA 8
#define SW_RESTORE 9
#define SW_SHOWDEFAULT 10

#define USER_TIMER_MINIMUM 0x0000000A
#define USER_TIMER_MAXIMUM 0x7FFFFFFF

#define IDI_APPLICATION MAKEINTRESOURCEA(32512)
#define IDI_HAND MAKEINTRESOURCEA(32513)
#define IDI_QUESTION MAKEINTRESOURCEA(32514)
#define IDI_EXCLAMATION MAKEINTRESOURCEA(32515)
#define IDI_ASTERISK MAKEINTRESOURCEA(32516)
#define IDI_WINLOGO MAKEINTRESOURCEA(32517)
#define IDI_SHIELD MAKEINTRESOURCEA(32518)
#define IDI_WARNING IDI_EXCLAMATION
#define IDI_ERROR IDI_HAND
#define IDI_INFORMATION IDI_ASTERISK

// ---------------------------------------------------------------------------------------------
// Threads. A window belongs to the thread that created it (for a dialog: the thread that called
// DialogBox... or MessageBoxA). Its DLGPROC runs only on that thread, inside the modal loop;
// every other call below may be made from any thread. Control state (texts, checks, enabled and
// visible flags, progress ranges and positions, edit selections) is kept thread-safe and changed
// in place by the calling thread; only what must reach the DLGPROC (a notification, a message
// sent to the dialog itself) is marshalled to the owner thread. Invalid handles fail with
// ERROR_INVALID_WINDOW_HANDLE; a window handle is never reused after its window is destroyed.

// Shows a message box and returns the button pressed (IDOK ... IDCONTINUE), or 0 on failure:
// ERROR_INVALID_MSGBOX_STYLE for an unknown button set, ERROR_INVALID_WINDOW_HANDLE for an
// hWnd that is neither NULL nor a window. lpCaption NULL reads "Error". An owner window is
// disabled while the box is shown. With no front end installed nothing is shown and the default
// button (MB_DEFBUTTONn, the first when there are fewer buttons) is the answer at once.
// Modality and placement flags are recorded and otherwise have no effect here.
int MessageBoxA(HWND hWnd, LPCSTR lpText, LPCSTR lpCaption, UINT uType);

// Runs a modal dialog from a dialog resource (registered with RegisterDialogResource; hInstance
// is ignored, there being one resource table for the process) and returns the value passed to
// EndDialog. The calling thread runs the dialog's loop until then: dialogProc receives
// WM_INITDIALOG (lParam = dwInitParam) first, then commands, timers, posted and sent messages,
// and WM_DESTROY last. The owner window, when given, is disabled while the dialog runs.
// Fails with 0 and ERROR_INVALID_WINDOW_HANDLE for an invalid hWndParent, with -1 and
// ERROR_RESOURCE_NAME_NOT_FOUND for a template that is not registered (names other than
// MAKEINTRESOURCEA ids are not supported). dialogProc may be NULL (default processing only).
// An exception escaping the DLGPROC or the front end ends and destroys the dialog and leaves
// the call; see front_end.h for what the front end may throw.
INT_PTR DialogBoxParamA(HINSTANCE hInstance, LPCSTR lpTemplateName, HWND hWndParent,
                        DLGPROC dialogProc, LPARAM dwInitParam);
// The same from a template in memory.
INT_PTR DialogBoxIndirectParamA(HINSTANCE hInstance, LPCDLGTEMPLATEA hDialogTemplate,
                                HWND hWndParent, DLGPROC dialogProc, LPARAM dwInitParam);
#define DialogBoxA(i, t, w, p) DialogBoxParamA(i, t, w, p, 0L)
#define DialogBoxIndirectA(i, t, w, p) DialogBoxIndirectParamA(i, t, w, p, 0L)

// Ends the modal loop of hDlg with nResult (the last call before the loop notices wins). Any
// thread may call it; the dialog is destroyed when its loop returns. FALSE with
// ERROR_INVALID_WINDOW_HANDLE unless hDlg is a dialog.
BOOL EndDialog(HWND hDlg, INT_PTR nResult);

// The control of hDlg with that id (the first one, if several share it); NULL with
// ERROR_CONTROL_ID_NOT_FOUND or ERROR_INVALID_WINDOW_HANDLE.
HWND GetDlgItem(HWND hDlg, int nIDDlgItem);
// A control's id; 0 with ERROR_INVALID_WINDOW_HANDLE for anything but a control.
int GetDlgCtrlID(HWND hWnd);
// A control's dialog, or a dialog's owner window; NULL when there is none.
HWND GetParent(HWND hWnd);
// The calling thread's most recently opened dialog that is still open, or NULL.
HWND GetActiveWindow();
BOOL IsWindow(HWND hWnd);

// Texts. Setting a text sends WM_SETTEXT: a single-line edit then notifies EN_CHANGE (a
// multi-line one does not); a dialog's text is its caption. Reading copies at most
// nMaxCount - 1 characters and a terminating NUL and returns the number copied (0 on failure,
// with an empty string when the buffer has room for it).
BOOL SetWindowTextA(HWND hWnd, LPCSTR lpString);
int GetWindowTextA(HWND hWnd, LPSTR lpString, int nMaxCount);
int GetWindowTextLengthA(HWND hWnd);
BOOL SetDlgItemTextA(HWND hDlg, int nIDDlgItem, LPCSTR lpString);
UINT GetDlgItemTextA(HWND hDlg, int nIDDlgItem, LPSTR lpString, int nMaxCount);

// Check boxes and radio buttons (BM_SETCHECK / BM_GETCHECK). IsDlgButtonChecked answers 0 for a
// control that is not a check box or radio button. CheckRadioButton checks nIDCheckButton and
// clears every other button with an id in nIDFirstButton..nIDLastButton.
BOOL CheckDlgButton(HWND hDlg, int nIDButton, UINT uCheck);
UINT IsDlgButtonChecked(HWND hDlg, int nIDButton);
BOOL CheckRadioButton(HWND hDlg, int nIDFirstButton, int nIDLastButton, int nIDCheckButton);

// Enabled and visible state (the WS_DISABLED and WS_VISIBLE bits of the style). EnableWindow
// returns nonzero when the window was disabled before; ShowWindow nonzero when it was visible
// before (every command but SW_HIDE shows). A disabled or hidden control cannot be used by the
// person at the front end; a disabled dialog takes no input at all.
BOOL EnableWindow(HWND hWnd, BOOL bEnable);
BOOL IsWindowEnabled(HWND hWnd);
BOOL ShowWindow(HWND hWnd, int nCmdShow);
BOOL IsWindowVisible(HWND hWnd);

// Messages. SendMessageA to a control is answered by the control on the calling thread (a
// notification it raises is sent on to the dialog); to a dialog it runs the DLGPROC on the
// dialog's thread and waits for it, handling messages sent to the caller's own windows
// meanwhile. The answer is DWLP_MSGRESULT when the DLGPROC handled the message (its return value
// for WM_INITDIALOG), else the default processing's: WM_CLOSE becomes the IDCANCEL command
// unless the Cancel button is disabled, WM_SETTEXT / WM_GETTEXT / WM_GETTEXTLENGTH act on the
// caption. An exception thrown while handling a sent message reaches the sender.
// PostMessageA queues the message for the window's thread and returns at once; hWnd NULL posts
// a thread message, which dialog loops discard as Windows' do.
LRESULT SendMessageA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam);
BOOL PostMessageA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam);
LRESULT SendDlgItemMessageA(HWND hDlg, int nIDDlgItem, UINT Msg, WPARAM wParam, LPARAM lParam);

// Window data: GWLP_USERDATA, GWL_STYLE and GWLP_ID of any window, DWLP_MSGRESULT, DWLP_DLGPROC
// and DWLP_USER of a dialog (GWLP_ID and GWLP_HWNDPARENT read-only). Set returns the previous
// value. 0 with ERROR_INVALID_INDEX for other indexes.
LONG_PTR SetWindowLongPtrA(HWND hWnd, int nIndex, LONG_PTR dwNewLong);
LONG_PTR GetWindowLongPtrA(HWND hWnd, int nIndex);

// Timers of a window: every uElapse milliseconds (clamped to USER_TIMER_MINIMUM ..
// USER_TIMER_MAXIMUM) the window's loop delivers WM_TIMER (wParam = nIDEvent), or calls
// lpTimerFunc when given, on the window's thread, once the thread has no sent or posted
// messages waiting. Setting an existing id restarts it. Returns nonzero; 0 with
// ERROR_INVALID_WINDOW_HANDLE for a bad window and ERROR_INVALID_PARAMETER for hWnd NULL
// (timers without a window are not supported). KillTimer stops one: FALSE when there is no such
// timer. A window's timers end with it.
UINT_PTR SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC lpTimerFunc);
BOOL KillTimer(HWND hWnd, UINT_PTR uIDEvent);

// The system icons IDI_... (hInstance NULL); NULL with ERROR_RESOURCE_NAME_NOT_FOUND otherwise.
// An icon static shows one through STM_SETICON.
HICON LoadIconA(HINSTANCE hInstance, LPCSTR lpIconName);
