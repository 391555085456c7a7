// Where one cut goes: to the job's output, to a file, or to a folder under a name pattern.
#include "tree/node_values.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kOutputChildren[] = {
    {.name = L"TimelineOutputMode", .cls = clsid::PropertyTimelineOutputMode},
};
constexpr NodeDecl kOutput = {.name = L"TimeLineOutput",
                              .cls = clsid::PropertyTimelineOutput,
                              .title = L"Output",
                              .type = style::kGroup | style::kHeading,
                              .description = help::kTimelineOutput,
                              .children = kOutputChildren};

class PropertyTimelineOutput : public PropertyBase {
public:
    PropertyTimelineOutput() : PropertyBase(kOutput) {}
};

using output_mode::kGlobal, output_mode::kSingle, output_mode::kMultiply;
constexpr Choice kModes[] = {
    {L"Use global settings", I4(kGlobal)}, {L"Single", I4(kSingle)}, {L"Multiply", I4(kMultiply)}};
constexpr NodeDecl kModeChildren[] = {
    {.name = names::kTimelineOutputMediaName,
     .cls = clsid::PropertyOutputMediaName,
     .title = L"Output File Name",
     .type = style::kEdit | style::kDialog,
     .description = help::kTimelineOutputMediaName,
     .value = Text(L""),
     .hidden = true},
    {.name = names::kTimelineDestinationPath,
     .cls = clsid::PropertyFolder,
     .value = Text(L".\\"),
     .hidden = true},
    {.name = names::kTimelineFileNamePattern,
     .title = L"File Name Pattern",
     .type = style::kEdit,
     .description = help::kFileNamePattern,
     .value = Text(L"{SOURCE_FILE_NAME}"),
     .hidden = true},
};
constexpr NodeDecl kMode = {.name = L"TimelineOutputMode",
                            .cls = clsid::PropertyTimelineOutputMode,
                            .title = L"Mode",
                            .type = style::kList | style::kShowsOthers,
                            .description = help::kTimelineOutputMode,
                            .value = I4(kGlobal),
                            .choices = kModes,
                            .children = kModeChildren};

/// A number as it stands, whatever its kind; 0 for what is none.
LONG NumberIn(const VARIANT& value) {
    switch (value.vt) {
        case VT_EMPTY:
        case VT_NULL:
        case VT_BSTR:
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return 0;
        case VT_I2:
        case VT_BOOL:
            return value.iVal;
        case VT_UI1:
            return value.bVal;
        default:
            return value.lVal;
    }
}

class PropertyTimelineOutputMode : public PropertyBase {
public:
    PropertyTimelineOutputMode() : PropertyBase(kMode) {}

    /// A cut has no output of its own while the whole job goes into one file.
    /// Asking brings what is shown up to date.
    STDMETHODIMP get_IsDisabled(LONG* pVal) override {
        if (!pVal) return E_POINTER;
        LONG job_mode = 0;
        if (!FindJobMode(job_mode)) return S_OK;
        *pVal = job_mode == kSingle;
        if (job_mode == kSingle)
            Show(false, {names::kTimelineOutputMediaName, names::kTimelineDestinationPath,
                         names::kTimelineFileNamePattern});
        else
            OnValueChanged();
        return S_OK;
    }
    /// What is in force; Value stays what was chosen.
    STDMETHODIMP get_Format(VARIANT* pVal) override {
        if (!pVal) return E_POINTER;
        LONG job_mode = 0;
        if (!FindJobMode(job_mode)) return S_OK;
        if (job_mode != kSingle) return get_Value(pVal);
        Variant(I4(kGlobal)).DetachTo(pVal);
        return S_OK;
    }

protected:
    void OnValueChanged() override {
        const bool series = Is(I4(kMultiply));
        Show(Is(I4(kSingle)), {names::kTimelineOutputMediaName});
        Show(series, {names::kTimelineDestinationPath, names::kTimelineFileNamePattern});
    }

private:
    bool FindJobMode(LONG& mode) {
        const auto output = Find(names::kOutput);
        const auto node = output ? Find(output.get(), names::kMode) : nullptr;
        if (!node) return false;
        Variant value;
        if (node->get_Value(value.Put()) == S_OK) mode = NumberIn(value);
        return true;
    }
};

}  // namespace
BV_CREATOR(PropertyTimelineOutput)
BV_CREATOR(PropertyTimelineOutputMode)
}  // namespace bv
