#include <optional>

#include "com/narrow.h"
#include "dialogs/dialogs.h"
#include "tree/node_values.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr int kMaxLevels = 256;  // on the way up to the job's root
constexpr NodeDecl kMediaName = {.name = names::kOutputMediaName,
                                 .cls = clsid::PropertyOutputMediaName,
                                 .title = L"Output File Name",
                                 .type = style::kEdit | style::kDialog,
                                 .description = help::kOutputMediaName,
                                 .value = Text(L"")};

/// The job's current format, as the dialog shows it.
struct FormatFilter {
    std::string filter;
    std::string extension;  // may be empty
};

class PropertyOutputMediaName : public PropertyBase {
public:
    PropertyOutputMediaName() : PropertyBase(kMediaName) {}

protected:
    HRESULT OnShowDialog() override try {
        const auto format = CurrentFormat();
        std::string name = StartName();
        if (!SaveOne(name, format ? format->filter : std::string())) return S_FALSE;
        if (format) name = WithExtension(name, format->extension);
        return StoreQuietly(ToBstr(name).View());
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }

private:
    /// The stored path; a relative one of a cut counts from the job's folder.
    std::string StartName() {
        const auto stored = ToNarrow(Stored());
        if (!stored) return {};
        const std::string name(stored->View());
        if (!PathIsRelativeA(name.c_str()) || NameText().Is(names::kOutputMediaName.View())) return name;
        const auto folder = TextOf(Find(names::kDestinationPath).get());
        if (!folder) return name;
        PathText path(folder->View());
        return name.empty() || PathAppendA(path.Buffer(), name.c_str()) ? path.c_str() : name;
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

    std::optional<FormatFilter> CurrentFormat() {
        const auto root = Root();
        const auto node = root ? Find(root.get(), names::kOutputFileFormat) : nullptr;
        Variant value;
        if (!node || node->get_Value(value.Put()) != S_OK) return {};
        const auto format = Query<IOutputFormatInfo>(ObjectOf(value));
        Bstr name, extension;
        if (!format || FAILED(format->GetFormatInfo(name.Put(), extension.Put()))) return {};
        const NarrowText label(name.View()), ending(extension.View());
        const std::string mask = "*" + std::string(ending.View());
        return FormatFilter{std::string(label.View()) + "(" + mask + ")|" + mask + "||",
                            std::string(ending.View())};
    }

    /// The name with the format's extension, whatever was typed;
    /// as it is when the path calls have no room for that.
    static std::string WithExtension(const std::string& name, const std::string& extension) {
        PathText path;
        if (!path.Append(name) || lstrcmpiA(PathFindExtensionA(path.c_str()), extension.c_str()) == 0)
            return name;
        PathRemoveExtensionA(path.Buffer());
        path.UpdateLength();
        // Not by the path calls, which leave a name alone that has another dot.
        return path.Append(extension) ? path.c_str() : name;
    }
};

}  // namespace
BV_CREATOR(PropertyOutputMediaName)
}  // namespace bv
