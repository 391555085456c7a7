// Settings as tables: what a component shows of itself, built from the server's simple nodes.
#pragma once

#include "component.h"

namespace sample {

using bv::style::kCheckBox, bv::style::kEdit, bv::style::kList, bv::style::kNotNegative;
inline constexpr LONG kSection = bv::style::kGroup | bv::style::kHeading;

struct Choice {
    const wchar_t* label;
    LONG value;
};

template <class T>
struct Rows {
    constexpr Rows() = default;
    template <size_t N>
    constexpr Rows(const T (&rows)[N]) : first(rows), last(rows + N) {}
    const T* begin() const { return first; }
    const T* end() const { return last; }
    const T* first = nullptr;
    const T* last = nullptr;
};

struct Setting {
    const wchar_t* name;
    const wchar_t* title = nullptr;
    LONG style = kSection;
    LONG value = 0;  // a group has none
    Rows<Choice> choices = {};
    const wchar_t* unit = nullptr;
    const wchar_t* description = nullptr;
    int description_id = 0;  // a text of the server's own string table, in place of the description
    Rows<Setting> children = {};
    CLSID cls = bv::clsid::PropertySimple;  // any other class brings all but its name and further children
};

/// Gives a new node of the setting's class its name and all below it, and a simple node the rest as well.
HRESULT SetUp(IUnknown* node, const Setting& setting);

}  // namespace sample
