// Common controls: the progress bar's class name and messages, with the Windows SDK's values.
#pragma once

#include "winuser.h"

#define PROGRESS_CLASSA "msctls_progress32"

#define PBS_SMOOTH 0x01
#define PBS_VERTICAL 0x04

// A progress bar starts with the range 0..100, position 0 and step 10. Positions are kept
// inside the range: PBM_SETPOS and PBM_DELTAPOS clamp, PBM_STEPIT wraps around past either end,
// and a new range pulls the position into it.
#define PBM_SETRANGE (WM_USER + 1)    // lParam = MAKELPARAM(min, max), 16-bit; returns old range
#define PBM_SETPOS (WM_USER + 2)      // wParam = position; returns the previous position
#define PBM_DELTAPOS (WM_USER + 3)    // wParam = increment; returns the previous position
#define PBM_SETSTEP (WM_USER + 4)     // wParam = step; returns the previous step
#define PBM_STEPIT (WM_USER + 5)      // returns the previous position
#define PBM_SETRANGE32 (WM_USER + 6)  // wParam = min, lParam = max; returns old range, 16-bit
#define PBM_GETRANGE (WM_USER + 7)    // wParam TRUE: min, FALSE: max; lParam PPBRANGE or NULL
#define PBM_GETPOS (WM_USER + 8)
#define PBM_GETSTEP (WM_USER + 13)

typedef struct {
    int iLow;
    int iHigh;
} PBRANGE, *PPBRANGE;
