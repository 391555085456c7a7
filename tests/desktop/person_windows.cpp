#include <windows.h>

#include <commdlg.h>
#include <dlgs.h>
#include <shlobj.h>

#include <colordlg.h>
#include <cstdio>
#include <cstdlib>

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

void TypeName(HWND dialog, const std::string& name) {
    // A combo box where the dialog remembers names, else a plain field.
    for (const int id : {cmb13, edt1})
        if (const HWND field = GetDlgItem(dialog, id)) {
            SendMessageA(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(name.c_str()));
            return;
        }
    SendMessageA(dialog, BFFM_SETSELECTIONA, TRUE,
                 reinterpret_cast<LPARAM>(name.c_str()));  // a tree of folders
    Sleep(500);
}

}  // namespace

const char* const kFolderDialog = "Browse For Folder";

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
