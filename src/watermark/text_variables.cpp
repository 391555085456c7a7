#include "watermark/text_variables.h"

#include "watermark/dynamic_text.h"

namespace bv {
namespace {

enum class FileName { kFull, kWithoutExtension };

VariableValue NameOf(VariableValue path, FileName form) {
    if (!path) return path;
    if (form == FileName::kWithoutExtension) PathRemoveExtensionA(path->Buffer());
    path->UpdateLength();
    NarrowText name;
    name.Append(PathFindFileNameA(path->c_str()));
    return name;
}

VariableValue Index(VariableSource& source) {
    const auto index = source.OutputIndex();
    if (!index) return {};
    const auto format = source.FormatOf(names::kFormatIndex);
    return FormatNumber(format ? format->View() : "%d", *index);
}

/// A text of the moment, by one of the system's two calls for that.
template <class Call>
VariableValue Now(VariableSource& source, Name name, const wchar_t* otherwise, Call call) {
    SYSTEMTIME now;
    GetLocalTime(&now);
    const NarrowText format = source.FormatOf(name).value_or(NarrowText(otherwise));
    NarrowText text;
    if (!call(0, 0, &now, format.c_str(), text.Buffer(), int(kTextLimit))) return {};
    text.UpdateLength();
    return text;
}

}  // namespace

const Variable kVariables[kVariableCount] = {
    {"%sf", L"Full Source File Name",
     [](VariableSource& source) { return NameOf(source.SourcePath(), FileName::kFull); }},
    {"%s", L"Short Source File Name",
     [](VariableSource& source) { return NameOf(source.SourcePath(), FileName::kWithoutExtension); }},
    {"%of", L"Full Output File Name",
     [](VariableSource& source) { return NameOf(source.OutputPath(), FileName::kFull); }},
    {"%o", L"Short Output File Name",
     [](VariableSource& source) { return NameOf(source.OutputPath(), FileName::kWithoutExtension); }},
    {"%i", L"Index", Index},
    {"%d", L"Current Date",
     [](VariableSource& source) { return Now(source, names::kFormatDate, kDateFormat, GetDateFormatA); }},
    {"%t", L"Current Time",
     [](VariableSource& source) { return Now(source, names::kFormatTime, kTimeFormat, GetTimeFormatA); }},
};

}  // namespace bv
