#include "com/narrow.h"
#include "dialogs/dialogs.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr size_t kMaxChosen = 255;  // characters of a folder taken from the dialog
constexpr NodeDecl kFolder = {.name = names::kDestinationPath,
                              .cls = clsid::PropertyFolder,
                              .title = L"Destination Folder",
                              .type = 9,
                              .description = 1115,
                              .value = Text(L"")};

using PathBuffer = char[MAX_PATH];

/// The text of a value as a path for the path calls; false when it is no text, or too long for them.
bool ToPath(const VARIANT& value, PathBuffer& path) {
    Variant text;
    if (FAILED(text.ChangeFrom(value, VT_BSTR))) return false;
    ToNarrow(path, text.bstrVal, MAX_PATH);
    return path[0] || TextOf(text).empty();
}

bool ValueToPath(IProperty* node, PathBuffer& path) {
    Variant value;
    return node && node->get_Value(value.Put()) == S_OK && ToPath(value, path);
}

/// The folder of a file, with a separator at its end.
bool ToFolderOf(PathBuffer& file) {
    PathRemoveFileSpecA(file);
    return !file[0] || PathAddBackslashA(file);
}

/// A folder that is absolute, or relative to where the job's files are. Value is resolved, Format is what was
/// typed.
class PropertyFolder : public PropertyBase {
public:
    PropertyFolder() : PropertyBase(kFolder) {}

    STDMETHODIMP get_Value(VARIANT* pVal) override {
        if (!pVal) return E_POINTER;
        PathBuffer stored, base, resolved;
        if (!ToPath(Stored(), stored) || !PathIsRelativeA(stored) || !BaseFolder(base) ||
            (stored[0] && !PathAppendA(base, stored)) || !base[0] || !PathCanonicalizeA(resolved, base))
            return Unresolved(pVal);
        Variant(ToBstr(resolved).View()).DetachTo(pVal);
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
        std::string folder = NarrowPath(start);
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

    /// Where a relative path counts from. The job's own folder counts from the input file; any other, such as
    /// a cut's, from what the job says of its output.
    bool BaseFolder(PathBuffer& base) {
        const auto common = Find(names::kCommon);
        if (!common) return false;
        const auto destination = Find(common.get(), names::kDestinationPath);
        if (!destination) return false;
        if (SameObject(destination.get(), static_cast<IProperty*>(this))) {
            const auto input = Find(destination.get(), names::kPathToMediaFile);
            Variant path;
            return input && input->get_Value(path.Put()) == S_OK && path.vt == VT_BSTR &&
                   ToPath(path, base) && ToFolderOf(base);
        }
        const auto mode = Find(common.get(), names::kMode);
        Variant value, number;
        if (!mode || mode->get_Value(value.Put()) != S_OK) return false;
        if (SUCCEEDED(number.ChangeFrom(value, VT_I2)) && number.iVal == 1) {
            const auto file = Find(common.get(), names::kOutputMediaName);
            return ValueToPath(file.get(), base) && ToFolderOf(base);
        }
        return ValueToPath(destination.get(), base);
    }
};

}  // namespace
BV_CREATOR(PropertyFolder)
}  // namespace bv
