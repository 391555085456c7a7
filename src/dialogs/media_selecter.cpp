// The file and folder dialogs, for the media list and for hosts.
#include <vector>

#include "com/byte_block.h"
#include "com/narrow.h"
#include "com/object.h"
#include "com/registry_key.h"
#include "com/variant.h"
#include "dialogs/dialogs.h"

namespace bv {
namespace {

constexpr char kOptionsKey[] = "Software\\Brenvaltide\\Brenvaltide2\\Options";
constexpr char kFolderValue[] = "sel";
constexpr char kTimelinesFilter[] = "Timelines config(*.tlc)|*.tlc;|All files(*.*)|*.*||";
constexpr size_t kLongestPath = 255;  // characters of a chosen path
constexpr char kTimelinesExtension[] = ".tlc";

/// The name with ".tlc" if it was typed without an extension.
std::string WithExtension(const std::string& name) {
    PathText path;
    if (!path.Append(name)) return name;
    const std::string_view extension = PathFindExtensionA(path.c_str());
    if (!extension.empty() && extension != ".") return name;
    PathRemoveExtensionA(path.Buffer());
    PathAddExtensionA(path.Buffer(), kTimelinesExtension);
    return path.c_str();
}

class MediaSelecter : public Dispatch<IMediaSelecter>, public ObjectRoot {
public:
    using Answers = InterfaceMap<IMediaSelecter, IDispatch>;

    STDMETHODIMP Simple() override try {
        const RegistryKey options = RegistryKey::Create(HKEY_CURRENT_USER, kOptionsKey);
        const auto names = OpenSeveral(InputFilter(nullptr), options.Text(kFolderValue).value_or(""));
        if (names.empty()) return S_OK;
        for (const std::string& name : names)
            if (Bstr path = ToBstr(name); path.get() && path.View().size() <= kLongestPath)
                std::ignore = TryAppend(paths_, std::move(path));
        if (paths_.empty()) return S_OK;
        // The dialog puts the name that was clicked last in front.
        if (paths_.size() > 1) std::swap(paths_.front(), paths_.back());
        PathText folder(paths_.front().View());
        PathRemoveFileSpecA(folder.Buffer());
        folder.UpdateLength();
        options.PutText(kFolderValue, folder.View());
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
        std::string folder(NarrowText(View(CurFolder)).View());
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
