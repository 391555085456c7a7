// A node as a user sees it: a copy of all that it shows, with everything below it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "com.h"

namespace host {

struct NodeView {
    struct Choice {
        std::wstring label;
        Value value;
        bool selected;
    };
    Ref<IProperty> node;
    std::wstring name, title, description;
    CLSID cls = {};
    LONG style = 0;
    bool hidden = false, disabled = false, active = true;
    bool has_value = false;
    Value value;         // as it is stored
    std::wstring shown;  // as a user reads it: a label, "on", a number, a text; without the unit
    std::vector<Choice> choices;
    std::unique_ptr<NodeView> unit;  // the extension
    std::unique_ptr<NodeView> held;  // the node that is the value, such as the selected format
    std::vector<NodeView> children;

    const std::wstring& Label() const { return title.empty() ? name : title; }
};

NodeView ViewOf(IProperty* node);

/// A node of the job by its name; null when there is none.
Ref<IProperty> Find(IProperty* from, const std::wstring& name);

/// "Output" or "Common/Output": the node with that name, and with those names above it. Null: none.
const NodeView* Pick(const NodeView& root, const std::wstring& name);

/// All names of the tree.
void CollectNames(const NodeView& root, std::vector<std::wstring>* names);

/// The unit beside a value, such as "ms"; empty for none.
std::wstring UnitOf(const NodeView& view);

}  // namespace host
