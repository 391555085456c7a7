#include "com/narrow.h"
#include "dialogs/dialogs.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr int kMaxLevels = 256;  // on the way up to the job's root
constexpr NodeDecl kMediaName = {.name = names::kOutputMediaName,
                                 .cls = clsid::PropertyOutputMediaName,
                                 .title = L"Output File Name",
                                 .type = 9,
                                 .description = 95,
                                 .value = Text(L"")};

/// The dialog's filter text and the file extension of the job's current format; both empty when there is
/// none.
struct FormatFilter {
    std::string filter;
    std::string extension;
};

std::string ToText(const Bstr& text) { return NarrowPath(Lend(text.get())); }

class PropertyOutputMediaName : public PropertyBase {
public:
    PropertyOutputMediaName() : PropertyBase(kMediaName) {}

protected:
    HRESULT OnShowDialog() override try {
        const FormatFilter format = CurrentFormat();
        std::string name = StartName();
        if (!SaveOne(name, format.filter)) return S_FALSE;
        return StoreQuietly(ToBstr(WithExtension(name, format.extension)).View());
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }

private:
    /// The stored path; a relative one of a cut counts from the job's folder.
    std::string StartName() {
        std::string name = NarrowPath(Stored());
        if (!PathIsRelativeA(name.c_str()) || SameName(NameView(), names::kOutputMediaName.View()))
            return name;
        const auto destination = Find(names::kDestinationPath);
        Variant folder;
        if (!destination || FAILED(destination->get_Value(folder.Put()))) return name;
        const std::string start = NarrowPath(folder);
        char path[MAX_PATH];
        if (start.size() >= MAX_PATH) return name;
        path[start.copy(path, MAX_PATH - 1)] = 0;
        return name.empty() || PathAppendA(path, name.c_str()) ? path : name;
    }

    /// The job's root: what the media object says, or the first object on the way up that knows one.
    ComPtr<IProperty> Root() {
        if (Media()) return Query<IProperty>(Media());
        ComPtr<IDispatch> above = Parent();
        for (int level = 0; above && level < kMaxLevels; ++level) {
            if (auto job = above.As<IMediaObject>()) return job.As<IProperty>();
            const auto node = above.As<IProperty>();
            if (!node) break;
            ComPtr<IDispatch> media, next;
            if (SUCCEEDED(node->get_MediaObject(media.Put())) && media) return media.As<IProperty>();
            if (node->get_Parent(next.Put()) != S_OK) break;
            above = std::move(next);
        }
        return nullptr;
    }

    FormatFilter CurrentFormat() {
        const auto root = Root();
        const auto node = root ? Find(root.get(), names::kOutputFileFormat) : nullptr;
        Variant value;
        if (!node || node->get_Value(value.Put()) != S_OK) return {};
        const auto format = Query<IOutputFormatInfo>(ObjectOf(value));
        Bstr name, extension;
        if (!format || FAILED(format->GetFormatInfo(name.Put(), extension.Put()))) return {};
        const std::string mask = "*" + ToText(extension);
        return {ToText(name) + "(" + mask + ")|" + mask + "||", ToText(extension)};
    }

    /// The name with the format's extension, whatever was typed.
    static std::string WithExtension(const std::string& name, const std::string& extension) {
        char path[MAX_PATH];
        if (extension.empty() || name.size() + extension.size() >= MAX_PATH) return name;
        path[name.copy(path, MAX_PATH - 1)] = 0;
        if (lstrcmpiA(PathFindExtensionA(path), extension.c_str()) == 0) return name;
        PathRemoveExtensionA(path);
        return path + extension;  // PathAddExtension leaves a name alone that has a dot left
    }
};

}  // namespace
BV_CREATOR(PropertyOutputMediaName)
}  // namespace bv
