// The dialogs that a node may show: the table of calls behind them, and what is the same for all of them.
#pragma once

#include <bvschema/platform.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "com/com_ptr.h"

namespace bv {

inline constexpr size_t kOpenName = MAX_PATH;  // bytes of a name, with its terminator
inline constexpr size_t kSaveName = 255;
inline constexpr size_t kSeveralNames = 5200;  // of a folder and the names in it
inline constexpr size_t kFolderName = MAX_PATH;
inline constexpr size_t kCustomColors = 16;

/// The calls that show something and wait for a person. Tests put others in their place. name and folder: in,
/// what the dialog starts from, which may be empty; out, what was chosen. filter: pairs of label and masks,
/// each ended by NUL, the list by one more; null: none. Each gives false for a cancelled dialog.
struct DialogCalls {
    bool (*open_one)(char (&name)[kOpenName], const char* filter);
    bool (*save_one)(char (&name)[kSaveName], const char* filter);
    /// start: the folder to start in; null: the dialog's own. names: the folder and the names in it, each
    /// ended by NUL, the list by one more; one name alone is whole.
    bool (*open_several)(char (&names)[kSeveralNames], const char* filter, const char* start);
    /// E_FAIL: the shell is not there. S_FALSE: cancelled.
    HRESULT (*browse)(char (&folder)[kFolderName]);
    bool (*choose_color)(DWORD& color, DWORD (&custom)[kCustomColors]);
    void (*error_box)(const char* text);
};

/// Those of the system, until others are put in their place; null puts them back.
const DialogCalls& Dialogs();
void SetDialogs(const DialogCalls* calls);

// The filter texts are those of the string table: "|" between label and mask, "||" at the end.
/// One file to open. name: the one to start from, if there is such a file; then the chosen one.
bool OpenOne(std::string& name, std::string_view filter);
/// One file to save. An empty filter text means none.
bool SaveOne(std::string& name, std::string_view filter);
/// Several files of one folder, in the dialog's order. start: the folder to start in;
/// empty: the dialog's own.
std::vector<std::string> OpenSeveral(std::string_view filter, const std::string& start);
/// A folder. S_FALSE: cancelled.
HRESULT BrowseFolder(std::string& folder);

/// The filter text of the registered input formats. restriction: only formats of that kind, without regard to
/// case; null: all of them.
std::string InputFilter(const wchar_t* restriction);
}  // namespace bv
