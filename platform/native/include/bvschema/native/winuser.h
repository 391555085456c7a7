// Windows, as far as dialogs need them, and the message box.
#pragma once

#include "windef.h"

using LPARAM = LONG_PTR;
using WPARAM = UINT_PTR;
using LRESULT = LONG_PTR;

#define WM_USER 0x0400
#define MB_OK 0x00000000
#define MB_ICONHAND 0x00000010
#define IDOK 1

extern "C" {

/// Null: a program here has no window of its own for a dialog to stand before.
BV_PLATFORM_API HWND GetActiveWindow();
/// Shows a text by the desktop's dialog program, and waits for its end. IDOK, or 0 when there is no desktop.
BV_PLATFORM_API int MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT style);
/// To the handle that a folder dialog gives its callback: its title, and the folder that it starts from.
BV_PLATFORM_API BOOL SetWindowTextA(HWND window, LPCSTR text);
BV_PLATFORM_API LRESULT SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
}
