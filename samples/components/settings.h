// Settings as tables: what a component shows of itself, built from the server's simple nodes.
#pragma once

#include <bvschema/rows.h>

#include "component.h"

namespace sample {

using bv::style::kCheckBox, bv::style::kEdit, bv::style::kList, bv::style::kNotNegative;
inline constexpr LONG kSection = bv::style::kGroup | bv::style::kHeading;

struct Choice {
    const wchar_t* label;
    LONG value;
};

struct Setting {
    const wchar_t* name;
    const wchar_t* title = nullptr;
    LONG style = kSection;
    LONG value = 0;  // a group has none
    bv::Rows<Choice> choices = {};
    const wchar_t* unit = nullptr;
    const wchar_t* description = nullptr;
    int description_id = 0;  // a text of the server's own string table, in place of the description
    bv::Rows<Setting> children = {};
    CLSID cls = bv::clsid::PropertySimple;  // any other class brings all but its name and further children
};

/// Gives a new node of the setting's class its name and all below it, and a simple node the rest as well.
HRESULT SetUp(IUnknown* node, const Setting& setting);

}  // namespace sample
