#include <windows.h>

#include <commctrl.h>
#include <commdlg.h>
#include <dlgs.h>
#include <shlobj.h>

#include <colordlg.h>
#include <algorithm>
#include <chrono>
#include <filesystem>

#include "desktop/person.h"

namespace bv::test {
namespace {

constexpr UINT kAnswerTime = 1000;  // ms
constexpr std::chrono::seconds kBetweenPresses(5);

/// The dialog, when it is on the screen and takes messages.
HWND Shown(const std::string& title) {
    HWND dialog = nullptr;
    Await("the dialog " + title, [&] {
        const HWND window = FindWindowA("#32770", title.c_str());
        DWORD_PTR answer = 0;
        if (!window || !IsWindowVisible(window) ||
            !SendMessageTimeoutA(window, WM_NULL, 0, 0, SMTO_NORMAL, kAnswerTime, &answer))
            return false;
        dialog = window;
        return true;
    });
    return dialog;
}

/// Presses the button, when the dialog shows what it shall, until the dialog has gone. shows: says whether it
/// does, and does what is missing.
void Close(const std::string& title, int button, const std::function<bool(HWND)>& shows) {
    const HWND dialog = Shown(title);
    auto pressed = std::chrono::steady_clock::time_point();
    Await("the end of " + title, [&] {
        if (!IsWindow(dialog)) return true;
        // It may take a while over its last steps, and a second press would wait for the next dialog.
        const auto now = std::chrono::steady_clock::now();
        if (now - pressed < kBetweenPresses || !shows(dialog)) return false;
        PostMessageA(dialog, WM_COMMAND, WPARAM(button), 0);
        pressed = now;
        return false;
    });
}

std::string TextOf(HWND tree, HTREEITEM item) {
    char text[MAX_PATH] = "";
    TVITEMA asked = {};
    asked.mask = TVIF_HANDLE | TVIF_TEXT;
    asked.hItem = item;
    asked.pszText = text;
    asked.cchTextMax = MAX_PATH;
    SendMessageA(tree, TVM_GETITEMA, 0, reinterpret_cast<LPARAM>(&asked));
    return asked.pszText;
}

std::vector<HTREEITEM> ItemsBelow(HWND tree, HTREEITEM parent) {
    TreeView_Expand(tree, parent, TVE_EXPAND);
    std::vector<HTREEITEM> items;
    for (HTREEITEM item = TreeView_GetChild(tree, parent); item; item = TreeView_GetNextSibling(tree, item))
        items.push_back(item);
    return items;
}

HTREEITEM DriveOf(HWND tree, const std::string& letter) {
    for (const HTREEITEM place : ItemsBelow(tree, TreeView_GetRoot(tree)))
        for (const HTREEITEM drive : ItemsBelow(tree, place))
            if (TextOf(tree, drive).find(letter) != std::string::npos) return drive;
    return nullptr;
}

/// Opens folder after folder: asked for a path at once, the dialog of Wine doesn't find a folder whose times
/// have changed since it was listed. True: the folder is the one that is chosen.
bool ChooseInTree(HWND tree, const std::filesystem::path& folder) {
    HTREEITEM item = DriveOf(tree, folder.root_name().string());
    for (const auto& name : folder.relative_path()) {
        if (!item) return false;
        const auto items = ItemsBelow(tree, item);
        const auto found = std::ranges::find_if(items, [&](HTREEITEM i) { return TextOf(tree, i) == name; });
        item = found == items.end() ? nullptr : *found;
    }
    if (item && TreeView_GetSelection(tree) == item) return true;
    if (item) TreeView_SelectItem(tree, item);
    return false;
}

/// True: the dialog shows the name, or the names.
bool TypeName(HWND dialog, const std::string& name) {
    // A combo box where the dialog remembers names, else a plain field.
    for (const int id : {cmb13, edt1})
        if (const HWND field = GetDlgItem(dialog, id)) {
            std::string shown(name.size() + 2, '\0');
            shown.resize(size_t(
                SendMessageA(field, WM_GETTEXT, shown.size(), reinterpret_cast<LPARAM>(shown.data()))));
            if (shown == name) return true;
            SendMessageA(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(name.c_str()));
            return false;
        }
    const HWND tree = FindWindowExA(dialog, nullptr, WC_TREEVIEWA, nullptr);
    return tree && ChooseInTree(tree, name);
}

}  // namespace

void Dialog::Accept(const std::string& path) const {
    Close(title, IDOK, [&](HWND dialog) { return path.empty() || TypeName(dialog, path); });
}

void Dialog::AcceptAll(const std::vector<std::string>& names) const {
    std::string list;
    for (const std::string& name : names) list += '"' + name + "\" ";
    Close(title, IDOK, [&](HWND dialog) { return TypeName(dialog, list); });
}

void Dialog::AcceptColor(int red, int green, int blue) const {
    const std::pair<int, int> parts[] = {{COLOR_RED, red}, {COLOR_GREEN, green}, {COLOR_BLUE, blue}};
    Close(title, IDOK, [&](HWND dialog) {
        bool all = true;
        for (const auto& [field, part] : parts) {
            if (GetDlgItemInt(dialog, field, nullptr, FALSE) == UINT(part)) continue;
            SetDlgItemInt(dialog, field, UINT(part), FALSE);
            all = false;
        }
        return all;
    });
}

void Dialog::Cancel() const {
    Close(title, IDCANCEL, [](HWND) { return true; });
}

std::vector<std::string> CloseDialogs() {
    std::vector<std::string> closed;
    EnumWindows(
        [](HWND window, LPARAM list) -> BOOL {
            char kind[16] = "", title[256] = "";
            DWORD process = 0;
            GetWindowThreadProcessId(window, &process);
            GetClassNameA(window, kind, sizeof kind);
            if (process != GetCurrentProcessId() || std::string(kind) != "#32770" || !IsWindowVisible(window))
                return TRUE;
            GetWindowTextA(window, title, sizeof title);
            reinterpret_cast<std::vector<std::string>*>(list)->push_back(title);
            PostMessageA(window, WM_COMMAND, IDCANCEL, 0);
            PostMessageA(window, WM_COMMAND, IDOK, 0);  // a box with one button
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&closed));
    return closed;
}

}  // namespace bv::test
