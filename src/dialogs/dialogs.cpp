#include "dialogs/dialogs.h"

#include <algorithm>

#include "com/strings.h"
#include "com/variant.h"
#include "components/mapper.h"

namespace bv {
namespace {

constexpr size_t kJoinedMask = 32;  // bytes of a mask among the joined ones
constexpr size_t kMaxFilter = 1 << 16;

/// The label and mask list of a dialog: the text with NUL for each bar.
std::string ToList(std::string_view filter) {
    std::string list(filter);
    std::replace(list.begin(), list.end(), '|', '\0');
    return list;
}

/// Puts in the name to start from: only that of a file which is there.
template <size_t N>
void Start(char (&buffer)[N], const std::string& name) {
    buffer[0] = 0;
    if (name.size() < N && name.size() < MAX_PATH && PathFileExistsA(name.c_str())) {
        name.copy(buffer, name.size());
        buffer[name.size()] = 0;
    }
}

/// A printf text with two "%s" and no other placeholder.
std::string Format(std::string_view format, std::initializer_list<std::string_view> texts) {
    std::string result;
    auto text = texts.begin();
    for (size_t at = 0; at < format.size(); ++at) {
        if (format.substr(at, 2) != "%s" || text == texts.end()) {
            result += format[at];
            continue;
        }
        result += *text++;
        ++at;
    }
    return result;
}

}  // namespace

bool OpenOne(std::string& name, std::string_view filter) {
    char buffer[kOpenName];
    Start(buffer, name);
    if (!Dialogs().open_one(buffer, ToList(filter).c_str())) return false;
    buffer[kOpenName - 1] = 0;
    name = buffer;
    return true;
}

bool SaveOne(std::string& name, std::string_view filter) {
    char buffer[kSaveName];
    Start(buffer, name);
    const std::string list = ToList(filter);
    if (!Dialogs().save_one(buffer, filter.empty() ? nullptr : list.c_str())) return false;
    buffer[kSaveName - 1] = 0;
    name = buffer;
    return true;
}

std::vector<std::string> OpenSeveral(std::string_view filter, const std::string& start) {
    std::vector<std::string> names;
    static_assert(kSeveralNames > 2);
    char buffer[kSeveralNames] = {};
    if (!Dialogs().open_several(buffer, ToList(filter).c_str(), start.empty() ? nullptr : start.c_str()))
        return names;
    buffer[kSeveralNames - 2] = buffer[kSeveralNames - 1] = 0;
    const char* at = buffer;
    const std::string folder = at;
    at += folder.size() + 1;
    if (!*at) {
        if (!folder.empty()) names.push_back(folder);
        return names;
    }
    for (; *at; at += std::string_view(at).size() + 1) {
        PathText path;
        // A name as it is: what would be a separator in a typed path may be a letter of it.
        if (path.Append(folder) && PathAddBackslashA(path.Buffer()))
            names.push_back(std::string(path.c_str()) + at);
    }
    return names;
}

HRESULT BrowseFolder(std::string& folder) {
    char buffer[kFolderName] = {};
    if (folder.size() < kFolderName) folder.copy(buffer, folder.size());
    const HRESULT status = Dialogs().browse(buffer);
    if (status != S_OK) return status;
    buffer[kFolderName - 1] = 0;
    if (!buffer[0]) return S_FALSE;
    folder = buffer;
    return S_OK;
}

std::string InputFilter(const wchar_t* restriction) {
    std::string masks, entries;
    GUID formats = category::InputFormats;
    ComPtr<IBVMapper> mapper;
    LONG count = 0;
    if (SUCCEEDED(Create(clsid::BVMapper, mapper)) && mapper->Init(&formats) == S_OK)
        std::ignore = mapper->get_Count(&count);
    for (LONG i = 0; i < count; ++i) {
        tagGUIDREG* format = nullptr;
        if (FAILED(mapper->get_Item(i, &format)) || !format || format->cbCount < 2) continue;
        if (restriction && !SameName(View(format->pExtrData[2]), restriction)) continue;
        if (masks.size() + entries.size() > kMaxFilter) break;
        const std::wstring_view mask = View(format->pExtrData[0]);
        masks += NarrowBuffer<kJoinedMask>(mask, Fit::kCut).View();
        if (i + 1 < count) masks += ';';
        const NarrowText whole(mask), label(View(format->pExtrData[1]));
        entries += Format("%s (%s)|%s|", {label.View(), whole.View(), whole.View()});
    }
    char frame[kTextLimit];
    LoadMessage(ModuleInstance(), msg::kAllFormats, frame);
    return Format(frame, {masks, entries});
}

}  // namespace bv
