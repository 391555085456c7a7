// The folder dialog. An item identifier holds a path.
#pragma once

#include "objidl.h"
#include "winuser.h"

struct SHITEMID {
    USHORT cb;
    BYTE abID[1];
};
struct ITEMIDLIST {
    SHITEMID mkid;
};
using LPITEMIDLIST = ITEMIDLIST*;
using LPCITEMIDLIST = const ITEMIDLIST*;
using BFFCALLBACK = int (*)(HWND hwnd, UINT uMsg, LPARAM lParam, LPARAM lpData);

#define BIF_RETURNONLYFSDIRS 0x00000001
#define BFFM_INITIALIZED 1
#define BFFM_SETSELECTIONA (WM_USER + 102)

struct BROWSEINFOA {
    HWND hwndOwner;
    LPCITEMIDLIST pidlRoot;
    LPSTR pszDisplayName;
    LPCSTR lpszTitle;
    UINT ulFlags;
    BFFCALLBACK lpfn;
    LPARAM lParam;
    int iImage;
};

struct IMalloc : IUnknown {
    STDMETHOD_(void, Free)(void* block) PURE;
};

/// The root of what the shell shows.
struct IShellFolder : IUnknown {
    STDMETHOD(ParseDisplayName)
    (HWND hwnd, IBindCtx* bind, LPWSTR name, ULONG* eaten, LPITEMIDLIST* item, ULONG* attributes) PURE;
};

extern "C" {

/// The allocator of item identifiers.
BV_PLATFORM_API HRESULT SHGetMalloc(IMalloc** result);
BV_PLATFORM_API HRESULT SHGetDesktopFolder(IShellFolder** result);
/// The chosen folder, to be freed with the shell's allocator; null: cancelled.
BV_PLATFORM_API LPITEMIDLIST SHBrowseForFolderA(BROWSEINFOA* dialog);
/// path: MAX_PATH bytes. FALSE, and nothing written, for a longer one.
BV_PLATFORM_API BOOL SHGetPathFromIDListA(LPCITEMIDLIST item, LPSTR path);
}
