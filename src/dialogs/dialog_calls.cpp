// The system's dialogs, with the flags and structures that they are called with.
#include <bvschema/platform.h>

#include <commdlg.h>
#include <shlobj.h>

#include <atomic>

#include "com/bstr.h"
#include "com/com_ptr.h"
#include "com/narrow.h"
#include "dialogs/dialogs.h"

namespace bv {
namespace {

constexpr char kOpenTitle[] = "Open Media File";
constexpr char kSaveTitle[] = "Save Media File";
constexpr char kFolderTitle[] = "Browse For Folder";
constexpr char kFolderPrompt[] = "Please select a folder";
constexpr DWORD kExisting = OFN_HIDEREADONLY | OFN_PATHMUSTEXIST | OFN_FILEMUSTEXIST;

OPENFILENAMEA FileCall(char* name, size_t capacity, const char* filter, const char* title, DWORD flags) {
    OPENFILENAMEA call = {};
    call.lStructSize = sizeof call;
    call.hwndOwner = GetActiveWindow();
    call.lpstrFilter = filter;
    call.lpstrFile = name;
    call.nMaxFile = DWORD(capacity);
    call.lpstrTitle = title;
    call.Flags = flags;
    return call;
}

bool ShowOpenOne(char (&name)[kOpenName], const char* filter) {
    OPENFILENAMEA call = FileCall(name, kOpenName, filter, kOpenTitle, kExisting);
    return GetOpenFileNameA(&call);
}

bool ShowSaveOne(char (&name)[kSaveName], const char* filter) {
    OPENFILENAMEA call =
        FileCall(name, kSaveName, filter, kSaveTitle, OFN_OVERWRITEPROMPT | OFN_HIDEREADONLY);
    return GetSaveFileNameA(&call);
}

bool ShowOpenSeveral(char (&names)[kSeveralNames], const char* filter, const char* start) {
    OPENFILENAMEA call =
        FileCall(names, kSeveralNames, filter, kOpenTitle, kExisting | OFN_ALLOWMULTISELECT | OFN_EXPLORER);
    call.lpstrInitialDir = start;
    return GetOpenFileNameA(&call);
}

int CALLBACK SelectStart(HWND window, UINT message, LPARAM, LPARAM start) {
    if (message == BFFM_INITIALIZED) {
        SetWindowTextA(window, kFolderTitle);
        if (start) SendMessageA(window, BFFM_SETSELECTIONA, FALSE, start);
    }
    return 0;
}

HRESULT ShowBrowse(char (&folder)[kFolderName]) {
    ComPtr<IMalloc> allocator;
    if (FAILED(SHGetMalloc(allocator.Put()))) return E_FAIL;
    const HWND owner = GetActiveWindow();
    LPITEMIDLIST start = nullptr;
    ComPtr<IShellFolder> desktop;
    if (folder[0] && SUCCEEDED(SHGetDesktopFolder(desktop.Put()))) {
        const Bstr name = ToBstr(folder);
        std::ignore = desktop->ParseDisplayName(owner, nullptr, name.get(), nullptr, &start, nullptr);
    }
    BROWSEINFOA call = {};
    char shown[MAX_PATH] = {};
    call.hwndOwner = owner;
    call.pszDisplayName = shown;
    call.lpszTitle = kFolderPrompt;
    call.ulFlags = BIF_RETURNONLYFSDIRS;
    call.lpfn = SelectStart;
    call.lParam = reinterpret_cast<LPARAM>(start);
    LPITEMIDLIST const chosen = SHBrowseForFolderA(&call);
    const bool found = chosen && SHGetPathFromIDListA(chosen, folder);
    if (chosen) allocator->Free(chosen);
    if (start) allocator->Free(start);
    return found ? S_OK : S_FALSE;
}

bool ShowChooseColor(DWORD& color, DWORD (&custom)[kCustomColors]) {
    CHOOSECOLORA call = {};
    call.lStructSize = sizeof call;
    call.hwndOwner = GetActiveWindow();
    call.rgbResult = color;
    COLORREF colors[kCustomColors];
    std::copy(std::begin(custom), std::end(custom), colors);
    call.lpCustColors = colors;
    call.Flags = CC_RGBINIT | CC_FULLOPEN;
    if (!ChooseColorA(&call)) return false;
    color = call.rgbResult;
    std::copy(std::begin(colors), std::end(colors), custom);
    return true;
}

void ShowErrorBox(const char* text) { MessageBoxA(nullptr, text, "Error", MB_ICONHAND); }

constexpr DialogCalls kSystem = {ShowOpenOne, ShowSaveOne,     ShowOpenSeveral,
                                 ShowBrowse,  ShowChooseColor, ShowErrorBox};
std::atomic<const DialogCalls*> current{&kSystem};

}  // namespace

const DialogCalls& Dialogs() { return *current.load(); }
void SetDialogs(const DialogCalls* calls) { current.store(calls ? calls : &kSystem); }

}  // namespace bv
