// The file and folder dialogs, for the media list and for hosts.
#include <vector>

#include "com/byte_block.h"
#include "com/narrow.h"
#include "com/object.h"
#include "com/variant.h"
#include "dialogs/dialogs.h"
#include "dialogs/user_key.h"

namespace bv {
namespace {

constexpr char kOptionsKey[] = "Software\\Brenvaltide\\Brenvaltide2\\Options";
constexpr char kFolderValue[] = "sel";
constexpr char kTimelinesFilter[] = "Timelines config(*.tlc)|*.tlc;|All files(*.*)|*.*||";
constexpr size_t kLongestPath = 255;  // characters of a chosen path
constexpr char kTimelinesExtension[] = ".tlc";

/// The name with ".tlc" if it was typed without an extension.
std::string WithExtension(const std::string& name) {
    char path[MAX_PATH];
    if (name.size() >= MAX_PATH) return name;
    path[name.copy(path, name.size())] = 0;
    const std::string_view extension = PathFindExtensionA(path);
    if (!extension.empty() && extension != ".") return name;
    PathRemoveExtensionA(path);
    PathAddExtensionA(path, kTimelinesExtension);
    return path;
}

class MediaSelecter : public Dispatch<IMediaSelecter>, public ObjectRoot {
public:
    using Answers = InterfaceMap<IMediaSelecter, IDispatch>;

    STDMETHODIMP Simple() override try {
        const UserKey options(kOptionsKey);
        auto names = OpenSeveral(InputFilter(nullptr), options.Text(kFolderValue));
        if (names.empty()) return S_OK;
        // The dialog puts the name that was clicked last in front.
        if (names.size() > 1) std::swap(names.front(), names.back());
        for (const std::string& name : names)
            if (Bstr path = ToBstr(name); path.View().size() <= kLongestPath)
                std::ignore = TryAppend(paths_, std::move(path));
        char folder[MAX_PATH];
        if (names.front().size() < MAX_PATH) {
            folder[names.front().copy(folder, MAX_PATH - 1)] = 0;
            PathRemoveFileSpecA(folder);
            options.PutText(kFolderValue, folder);
        }
        return S_OK;
    } catch (const std::bad_alloc&) {
        return S_OK;  // what was chosen so far counts
    }
    STDMETHODIMP get_Count(LONG* pVal) override {
        if (!pVal) return E_POINTER;
        *pVal = LONG(paths_.size());
        return S_OK;
    }
    STDMETHODIMP get_Path(LONG nID, BSTR* pVal) override {
        if (!pVal) return E_POINTER;
        if (nID < 0 || size_t(nID) >= paths_.size()) return E_INVALIDARG;
        return paths_[size_t(nID)].CopyTo(pVal);
    }
    STDMETHODIMP SelectFolder(BSTR CurFolder, BSTR* pRet) override try {
        if (!pRet) return E_POINTER;
        std::string folder = NarrowPath(Lend(CurFolder));
        const HRESULT status = BrowseFolder(folder);
        return status == S_OK ? ToBstr(folder).CopyTo(pRet) : status;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    STDMETHODIMP LoadTimelines(BSTR* pRet) override { return PickTimelines(OpenOne, pRet); }
    STDMETHODIMP SaveTimelines(BSTR* pRet) override { return PickTimelines(SaveOne, pRet); }

private:
    static HRESULT PickTimelines(bool (*dialog)(std::string&, std::string_view), BSTR* pRet) try {
        if (!pRet) return E_POINTER;
        std::string name;
        return dialog(name, kTimelinesFilter) ? ToBstr(WithExtension(name)).CopyTo(pRet) : S_FALSE;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }

    std::vector<Bstr> paths_;
};

}  // namespace
BV_CREATOR(MediaSelecter)
}  // namespace bv
