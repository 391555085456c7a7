#include <windows.h>

#include <commctrl.h>
#include <commdlg.h>
#include <dlgs.h>
#include <shlobj.h>

#include <colordlg.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "desktop/person.h"

namespace bv::test {
namespace {

HWND Shown(const std::string& title) {
    for (int tries = 0; tries < 200; ++tries) {
        const HWND window = FindWindowA("#32770", title.c_str());
        if (window && IsWindowVisible(window)) {
            Sleep(300);  // until it has filled itself
            return window;
        }
        Sleep(100);
    }
    std::fprintf(stderr, "there is no dialog %s\n", title.c_str());
    std::_Exit(1);
}

void Press(HWND dialog, int button) { PostMessageA(dialog, WM_COMMAND, WPARAM(button), 0); }

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
/// have changed since it was listed.
void ChooseInTree(HWND dialog, const std::filesystem::path& folder) {
    const HWND tree = FindWindowExA(dialog, nullptr, WC_TREEVIEWA, nullptr);
    HTREEITEM item = DriveOf(tree, folder.root_name().string());
    for (const auto& name : folder.relative_path()) {
        const auto items = ItemsBelow(tree, item);
        const auto found = std::ranges::find_if(items, [&](HTREEITEM i) { return TextOf(tree, i) == name; });
        if (found == items.end()) return;
        item = *found;
    }
    TreeView_SelectItem(tree, item);
}

void TypeName(HWND dialog, const std::string& name) {
    // A combo box where the dialog remembers names, else a plain field.
    for (const int id : {cmb13, edt1})
        if (const HWND field = GetDlgItem(dialog, id)) {
            SendMessageA(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(name.c_str()));
            return;
        }
    ChooseInTree(dialog, name);
}

}  // namespace

void Dialog::Accept(const std::string& path) const {
    const HWND dialog = Shown(title);
    if (!path.empty()) TypeName(dialog, path);
    Press(dialog, IDOK);
}

void Dialog::AcceptAll(const std::vector<std::string>& names) const {
    const HWND dialog = Shown(title);
    std::string list;
    for (const std::string& name : names) list += '"' + name + "\" ";
    TypeName(dialog, list);
    Press(dialog, IDOK);
}

void Dialog::AcceptColor(int red, int green, int blue) const {
    const HWND dialog = Shown(title);
    SetDlgItemInt(dialog, COLOR_RED, UINT(red), FALSE);
    SetDlgItemInt(dialog, COLOR_GREEN, UINT(green), FALSE);
    SetDlgItemInt(dialog, COLOR_BLUE, UINT(blue), FALSE);
    Press(dialog, IDOK);
}

void Dialog::Cancel() const { Press(Shown(title), IDCANCEL); }

}  // namespace bv::test
