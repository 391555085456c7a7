// The desktop's dialog programs.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace bv::platform {

struct FileMask {
    std::string label;
    std::vector<std::string> masks;  // "*.avi"
};

/// What a file dialog is to show. Folder dialogs are file dialogs too.
struct FileDialog {
    enum Kind { kOpen, kOpenSeveral, kSave, kFolder } kind = kOpen;
    std::string title;
    std::string initial;  // a file, or a folder to start in; empty: the program's own
    std::vector<FileMask> filters;
};

/// Each shows a dialog and waits for it. No value: cancelled, no display, no program, or one that failed.
std::optional<std::vector<std::string>> ShowFileDialog(const FileDialog& dialog);
struct Rgb {
    unsigned char red, green, blue;
};
std::optional<Rgb> ShowColorDialog(Rgb initial);
bool ShowErrorBox(const std::string& caption, const std::string& text);

}  // namespace bv::platform
