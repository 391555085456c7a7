// The file and colour dialogs, shown by the desktop's dialog program (zenity, kdialog). Without one, and
// without a display, a dialog counts as cancelled. Masks match without regard to case.
#pragma once

#include "winuser.h"

using COLORREF = DWORD;  // red in the low byte, then green, then blue
using LPOFNHOOKPROC = UINT_PTR (*)(HWND, UINT, WPARAM, LPARAM);
using LPCCHOOKPROC = LPOFNHOOKPROC;

#define OFN_OVERWRITEPROMPT 0x2
#define OFN_HIDEREADONLY 0x4
#define OFN_ALLOWMULTISELECT 0x200
#define OFN_PATHMUSTEXIST 0x800
#define OFN_FILEMUSTEXIST 0x1000
#define OFN_EXPLORER 0x80000
#define CC_RGBINIT 0x1
#define CC_FULLOPEN 0x2

struct OPENFILENAMEA {
    DWORD lStructSize;
    HWND hwndOwner;
    HINSTANCE hInstance;
    LPCSTR lpstrFilter;  // pairs of label and masks ("*.a;*.b"), each ended by NUL, then one more; or null
    LPSTR lpstrCustomFilter;
    DWORD nMaxCustFilter;
    DWORD nFilterIndex;
    LPSTR lpstrFile;  // in: the initial name; out: what was chosen
    DWORD nMaxFile;   // bytes
    LPSTR lpstrFileTitle;
    DWORD nMaxFileTitle;
    LPCSTR lpstrInitialDir;
    LPCSTR lpstrTitle;
    DWORD Flags;
    WORD nFileOffset;
    WORD nFileExtension;
    LPCSTR lpstrDefExt;
    LPARAM lCustData;
    LPOFNHOOKPROC lpfnHook;
    LPCSTR lpTemplateName;
    void* pvReserved;
    DWORD dwReserved;
    DWORD FlagsEx;
};

struct CHOOSECOLORA {
    DWORD lStructSize;
    HWND hwndOwner;
    HWND hInstance;
    COLORREF rgbResult;      // in: the colour to start from; out: the chosen one
    COLORREF* lpCustColors;  // sixteen; the desktop's dialogs leave them as they are
    DWORD Flags;
    LPARAM lCustData;
    LPCCHOOKPROC lpfnHook;
    LPCSTR lpTemplateName;
};

extern "C" {

/// TRUE: confirmed. With OFN_ALLOWMULTISELECT the names come as the folder and the names in it, each ended by
/// NUL, the list by one more; one name alone comes whole. FALSE: cancelled, or more than the buffer holds,
/// which stays as it was.
BV_PLATFORM_API BOOL GetOpenFileNameA(OPENFILENAMEA* dialog);
BV_PLATFORM_API BOOL GetSaveFileNameA(OPENFILENAMEA* dialog);
BV_PLATFORM_API BOOL ChooseColorA(CHOOSECOLORA* dialog);
}
