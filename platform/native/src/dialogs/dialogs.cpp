// The dialog calls, on top of the desktop's dialog programs.
#include <cerrno>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "commdlg.h"
#include "dialogs/desktop_dialog.h"
#include "objbase.h"
#include "shlobj.h"
#include "shlwapi.h"
#include "windows.h"

using bv::platform::FileDialog;
using bv::platform::FileMask;

namespace {

/// Pairs of label and masks, each ended by NUL.
std::vector<FileMask> Filters(const char* list) {
    std::vector<FileMask> filters;
    while (list && *list) {
        FileMask filter;
        filter.label = list;
        list += std::strlen(list) + 1;
        for (std::string_view rest = list; !rest.empty();) {
            const size_t end = std::min(rest.find(';'), rest.size());
            if (end > 0) filter.masks.emplace_back(rest.substr(0, end));
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
        if (*list) list += std::strlen(list);
        ++list;
        if (!filter.masks.empty()) filters.push_back(std::move(filter));
    }
    return filters;
}

BOOL ShowFileDialog(OPENFILENAMEA& call, FileDialog::Kind kind) {
    if (!call.lpstrFile || call.nMaxFile == 0) return FALSE;
    FileDialog dialog;
    dialog.kind = kind;
    dialog.title = call.lpstrTitle ? call.lpstrTitle : "";
    dialog.filters = Filters(call.lpstrFilter);
    dialog.initial = call.lpstrFile;
    if (dialog.initial.empty() && call.lpstrInitialDir && *call.lpstrInitialDir) {
        dialog.initial = call.lpstrInitialDir;
        if (dialog.initial.back() != '/') dialog.initial += '/';  // to start in the folder, not beside it
    }
    const auto names = bv::platform::ShowFileDialog(dialog);
    if (!names || names->empty()) return FALSE;
    std::string answer;
    size_t name_at = names->front().rfind('/') + 1;
    if (names->size() == 1) {
        answer = names->front();
    } else {
        // The programs show one folder at a time, so it is that of all names.
        answer = names->front().substr(0, std::max<size_t>(name_at - 1, 1));
        const std::string folder = names->front().substr(0, name_at);
        for (const std::string& name : *names) {
            if (!name.starts_with(folder)) return FALSE;
            answer += '\0';
            answer += name.substr(folder.size());
        }
        name_at = std::strlen(answer.c_str()) + 1;
    }
    answer += '\0';
    if (kind == FileDialog::kOpenSeveral) answer += '\0';
    if (answer.size() > call.nMaxFile) return FALSE;
    std::memcpy(call.lpstrFile, answer.data(), answer.size());
    call.nFileOffset = WORD(name_at);
    return TRUE;
}

// --- The folder dialog ---

/// What stands behind the window handle that a folder dialog's callback gets.
struct FolderWindow {
    std::string title;
    std::string initial;
};

LPITEMIDLIST NewItem(std::string_view path) {
    if (path.size() > 0xFF00) return nullptr;
    const size_t size = sizeof(USHORT) + path.size() + 1;
    auto* item = static_cast<LPITEMIDLIST>(
        CoTaskMemAlloc(size + sizeof(USHORT)));  // an empty identifier ends the list
    if (!item) return nullptr;
    std::memset(item, 0, size + sizeof(USHORT));
    item->mkid.cb = USHORT(size);
    std::memcpy(item->mkid.abID, path.data(), path.size());
    return item;
}

const char* PathOf(LPCITEMIDLIST item) { return reinterpret_cast<const char*>(item->mkid.abID); }

template <class I>
class Permanent : public I {
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = iid == IID_IUnknown ? static_cast<IUnknown*>(this) : nullptr;
        return *out ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
};

class Allocator final : public Permanent<IMalloc> {
public:
    STDMETHODIMP_(void) Free(void* block) override { CoTaskMemFree(block); }
};

class Desktop final : public Permanent<IShellFolder> {
public:
    STDMETHODIMP ParseDisplayName(HWND, IBindCtx*, LPWSTR name, ULONG*, LPITEMIDLIST* item, ULONG*) override {
        if (!item) return E_POINTER;
        *item = nullptr;
        char path[MAX_PATH];
        if (!name || !WideCharToMultiByte(CP_ACP, 0, name, -1, path, MAX_PATH, nullptr, nullptr))
            return E_INVALIDARG;
        if (!PathFileExistsA(path)) return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
        *item = NewItem(path);
        return *item ? S_OK : E_OUTOFMEMORY;
    }
};

}  // namespace

extern "C" {

HWND GetActiveWindow() { return nullptr; }

int MessageBoxA(HWND, LPCSTR text, LPCSTR caption, UINT) {
    return bv::platform::ShowErrorBox(caption ? caption : "Error", text ? text : "") ? IDOK : 0;
}

BOOL SetWindowTextA(HWND window, LPCSTR text) {
    if (!window) return FALSE;
    reinterpret_cast<FolderWindow*>(window)->title = text ? text : "";
    return TRUE;
}

LRESULT SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (!window || message != BFFM_SETSELECTIONA || !lParam) return 0;
    // TRUE: a path; FALSE: an item.
    reinterpret_cast<FolderWindow*>(window)->initial =
        wParam ? reinterpret_cast<const char*>(lParam) : PathOf(reinterpret_cast<LPCITEMIDLIST>(lParam));
    return 0;
}

BOOL GetOpenFileNameA(OPENFILENAMEA* dialog) {
    if (!dialog) return FALSE;
    return ShowFileDialog(
        *dialog, dialog->Flags & OFN_ALLOWMULTISELECT ? FileDialog::kOpenSeveral : FileDialog::kOpen);
}

BOOL GetSaveFileNameA(OPENFILENAMEA* dialog) { return dialog && ShowFileDialog(*dialog, FileDialog::kSave); }

BOOL ChooseColorA(CHOOSECOLORA* dialog) {
    if (!dialog) return FALSE;
    const COLORREF from = dialog->Flags & CC_RGBINIT ? dialog->rgbResult : 0;
    const auto chosen = bv::platform::ShowColorDialog({BYTE(from), BYTE(from >> 8), BYTE(from >> 16)});
    if (!chosen) return FALSE;
    dialog->rgbResult = COLORREF(chosen->red | chosen->green << 8 | chosen->blue << 16);
    return TRUE;
}

HRESULT SHGetMalloc(IMalloc** result) {
    static Allocator allocator;
    if (!result) return E_POINTER;
    *result = &allocator;
    return S_OK;
}

HRESULT SHGetDesktopFolder(IShellFolder** result) {
    static Desktop desktop;
    if (!result) return E_POINTER;
    *result = &desktop;
    return S_OK;
}

LPITEMIDLIST SHBrowseForFolderA(BROWSEINFOA* dialog) {
    if (!dialog) return nullptr;
    FolderWindow window;
    window.title = dialog->lpszTitle ? dialog->lpszTitle : "";
    if (dialog->lpfn) dialog->lpfn(reinterpret_cast<HWND>(&window), BFFM_INITIALIZED, 0, dialog->lParam);
    FileDialog shown;
    shown.kind = FileDialog::kFolder;
    shown.title = window.title;  // the programs have no place for the prompt
    shown.initial = window.initial;
    const auto names = bv::platform::ShowFileDialog(shown);
    return names && names->size() == 1 ? NewItem(names->front()) : nullptr;
}

BOOL SHGetPathFromIDListA(LPCITEMIDLIST item, LPSTR path) {
    if (!item || !path || std::strlen(PathOf(item)) >= MAX_PATH) return FALSE;
    std::strcpy(path, PathOf(item));
    return TRUE;
}

}  // extern "C"
