#include <optional>

#include "com/narrow.h"
#include "dialogs/dialogs.h"
#include "tree/node_values.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr size_t kMaxChosen = 255;  // characters of a folder taken from the dialog
constexpr NodeDecl kFolder = {.name = names::kDestinationPath,
                              .cls = clsid::PropertyFolder,
                              .title = L"Destination Folder",
                              .type = style::kEdit | style::kDialog,
                              .description = help::kFolder,
                              .value = Text(L"")};

/// The text of a value as a path for the path calls; none when it is no text, or too long for them.
std::optional<PathText> ToPath(const VARIANT& value) {
    const auto text = ToNarrow(value);
    PathText path;
    if (!text || !path.Append(text->View())) return std::nullopt;
    return path;
}

/// The folder that a node stands for: its value as a path, of any length that the path calls take.
std::optional<PathText> FolderOf(IProperty* node) {
    const auto text = TextOf(node);
    if (!text) return std::nullopt;
    PathText path(text->View());
    if (path.empty() && !text->empty()) return std::nullopt;
    return path;
}

/// The folder of the file that a value names, with a separator at its end.
std::optional<PathText> FolderOfFile(const VARIANT& value) {
    auto path = ToPath(value);
    if (!path) return std::nullopt;
    PathRemoveFileSpecA(path->Buffer());
    path->UpdateLength();
    if (!path->empty() && !PathAddBackslashA(path->Buffer())) return std::nullopt;
    path->UpdateLength();
    return path;
}

/// Marks a folder as being counted from: false when it is that already, and when too many count
/// from each other.
class Counting {
public:
    explicit Counting(bool& counting) : counting_(counting), free_(!counting && depth < kDeepest) {
        ++depth;
        if (free_) counting_ = true;
    }
    Counting(const Counting&) = delete;
    ~Counting() {
        --depth;
        if (free_) counting_ = false;
    }
    explicit operator bool() const { return free_; }

private:
    static constexpr int kDeepest = 32;
    static constinit thread_local int depth;
    bool& counting_;
    const bool free_;
};
constinit thread_local int Counting::depth = 0;

/// A folder that is absolute, or relative to where the job's files are.
/// Value is resolved, Format is what was typed.
class PropertyFolder : public PropertyBase {
public:
    PropertyFolder() : PropertyBase(kFolder) {}

    STDMETHODIMP get_Value(VARIANT* pVal) override {
        if (!pVal) return E_POINTER;
        const auto folder = Resolved();
        if (!folder) return Unresolved(pVal);
        Variant(ToBstr(folder->View()).View()).DetachTo(pVal);
        return S_OK;
    }
    STDMETHODIMP put_Value(VARIANT newVal) override { return StoreQuietly(newVal); }
    STDMETHODIMP get_Format(VARIANT* pVal) override {
        if (!pVal) return E_POINTER;
        return Unresolved(pVal);
    }
    STDMETHODIMP put_Format(VARIANT newVal) override { return put_Value(newVal); }

protected:
    HRESULT OnShowDialog() override try {
        Variant start;
        std::ignore = get_Value(start.Put());
        std::string folder(ToNarrow(start).value_or(NarrowText()).View());
        if (BrowseFolder(folder) != S_OK) return S_FALSE;
        return StoreQuietly(ToBstr(folder).View().substr(0, kMaxChosen));
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }

private:
    HRESULT Unresolved(VARIANT* pVal) {
        Variant copy;
        copy.CopyFrom(Stored());
        copy.DetachTo(pVal);
        return S_OK;
    }

    /// The folder that a relative path leads to; none for an absolute one, and where nothing tells what
    /// it counts from.
    std::optional<PathText> Resolved() {
        const auto stored = ToPath(Stored());
        if (!stored || !PathIsRelativeA(stored->c_str())) return std::nullopt;
        const Counting counting(counting_);
        if (!counting) return std::nullopt;
        auto path = BaseFolder();
        if (!path || (!stored->empty() && !PathAppendA(path->Buffer(), stored->c_str()))) return std::nullopt;
        path->UpdateLength();
        PathText canonical;
        if (path->empty() || !PathCanonicalizeA(canonical.Buffer(), path->c_str())) return std::nullopt;
        canonical.UpdateLength();
        return canonical;
    }

    /// Where a relative path counts from. The job's own folder counts from the input file; any other, such as
    /// a cut's, from what the job says of its output.
    std::optional<PathText> BaseFolder() {
        const auto common = Find(names::kCommon);
        if (!common) return std::nullopt;
        const auto destination = Find(common.get(), names::kDestinationPath);
        if (!destination) return std::nullopt;
        Variant value;
        if (SameObject(destination.get(), static_cast<IProperty*>(this))) {
            const auto input = Find(destination.get(), names::kPathToMediaFile);
            if (!input || input->get_Value(value.Put()) != S_OK || value.vt != VT_BSTR) return std::nullopt;
            return FolderOfFile(value);
        }
        const auto mode = Find(common.get(), names::kMode);
        if (!mode) return std::nullopt;
        if (NumberOf(mode.get()) != output_mode::kSingle) return FolderOf(destination.get());
        const auto file = Find(common.get(), names::kOutputMediaName);
        if (!file || file->get_Value(value.Put()) != S_OK) return std::nullopt;
        return FolderOfFile(value);
    }

    bool counting_ = false;  // from another folder, which may count from this one
};

}  // namespace
BV_CREATOR(PropertyFolder)
}  // namespace bv
