#include "node_view.h"

#include <cstring>

#include "text.h"

namespace host {
namespace {

constexpr int kDeepest = 64;

/// The nodes above the one that is looked at. A component's nodes, or a script's, may hang in a circle.
struct Above {
    IProperty* node;
    const Above* next;
    int depth;

    bool Has(IProperty* wanted) const {
        for (const Above* at = this; at; at = at->next)
            if (at->node == wanted) return true;
        return false;
    }
};

/// The nth object of a collection; null when it isn't there.
Ref<IUnknown> ItemOf(ICollection* collection, LONG index) {
    Ref<IUnknown> item;
    if (FAILED(collection->get_Item(index, item.Put()))) return {};
    return item;
}

LONG CountOf(ICollection* collection) {
    LONG count = 0;
    return SUCCEEDED(collection->get_Count(&count)) ? count : 0;
}

std::wstring ShownValue(const NodeView& view) {
    for (const auto& choice : view.choices)
        if (choice.selected) return choice.label;
    if (view.style & bv::style::kCheckBox && !view.value.object()) {
        Value flag;
        if (SUCCEEDED(view.value.ChangeTo(VT_I4, &flag)) && (flag.get().lVal == 0 || flag.get().lVal == 1))
            return flag.get().lVal ? L"on" : L"off";
    }
    if (view.held) return view.held->Label();
    if (view.value.object()) return L"(object)";
    // What the node shows, which may differ from what it stores.
    Value formatted;
    if (FAILED(view.node->get_Format(formatted.Put()))) return view.value.AsText();
    return formatted.AsText();
}

NodeView ReadView(IProperty* node, const Above* above);

void LookAtChoices(IProperty* node, NodeView* view) {
    const auto list = Ask<IListOfValues>(node);
    if (!list) return;
    // The list itself knows which entry the value is.
    TextResult selected;
    const bool known = view->has_value && SUCCEEDED(list->get_Text(view->value.get(), selected.Put()));
    bool found = false;
    for (LONG i = 0; i < CountOf(list.get()); ++i) {
        const auto item = ItemOf(list.get(), i).As<IListItem>();
        TextResult label;
        NodeView::Choice choice = {};
        if (!item || FAILED(item->get_Title(label.Put())) || FAILED(item->get_Value(choice.value.Put())))
            continue;
        choice.label = label.Get();
        choice.selected = known && !found && choice.label == selected.Get();
        found = found || choice.selected;
        view->choices.push_back(std::move(choice));
    }
}

NodeView ReadView(IProperty* node, const Above* above) {
    NodeView view;
    view.node = Ref<IProperty>(node);
    TextResult name, title, description;
    node->get_Name(name.Put());
    node->get_Title(title.Put());
    node->get_Description(description.Put());
    view.name = name.Get();
    view.title = title.Get();
    view.description = description.Get();
    node->get_ClassID(&view.cls);
    LONG hidden = 0, disabled = 0, active = 1;
    node->get_Type(&view.style);
    node->get_IsHide(&hidden);
    node->get_IsDisabled(&disabled);
    node->get_Active(&active);
    view.hidden = hidden != 0;
    view.disabled = disabled != 0;
    view.active = active != 0;
    view.has_value = node->get_Value(view.value.Put()) == S_OK;
    LookAtChoices(node, &view);
    const Above here = {node, above, above ? above->depth + 1 : 0};
    if (here.depth >= kDeepest) return view;

    Ref<IProperty> unit;
    if (node->get_Extension(unit.Put()) == S_OK && unit && !here.Has(unit.get()))
        view.unit = std::make_unique<NodeView>(ReadView(unit.get(), &here));
    if (const auto held = Ask<IProperty>(view.value.object()); held && !here.Has(held.get()))
        view.held = std::make_unique<NodeView>(ReadView(held.get(), &here));
    if (const auto children = Ask<IEnumProperties>(node)) {
        for (LONG i = 0; i < CountOf(children.get()); ++i)
            if (const auto child = ItemOf(children.get(), i).As<IProperty>(); child && !here.Has(child.get()))
                view.children.push_back(ReadView(child.get(), &here));
    }
    if (view.has_value) view.shown = ShownValue(view);
    return view;
}

const NodeView* PickPath(const NodeView& view, const std::vector<std::wstring>& path, size_t matched) {
    // The last name is the node's own, those before it stand above it in this order, others
    // may stand between.
    const bool last = matched + 1 == path.size();
    if (SameName(view.name, path[matched])) {
        if (last) return &view;
        ++matched;
    }
    if (view.held)
        if (const NodeView* found = PickPath(*view.held, path, matched)) return found;
    for (const NodeView& child : view.children)
        if (const NodeView* found = PickPath(child, path, matched)) return found;
    return nullptr;
}

}  // namespace

Ref<IProperty> Find(IProperty* from, const std::wstring& name) {
    Ref<IProperty> found;
    if (from->FindProperty(Text(name), found.Put()) != S_OK) return {};
    return found;
}

NodeView ViewOf(IProperty* node) { return ReadView(node, nullptr); }

const NodeView* Pick(const NodeView& root, const std::wstring& name) {
    std::vector<std::wstring> path;
    size_t begin = 0;
    for (size_t end; (end = name.find(L'/', begin)) != name.npos; begin = end + 1)
        path.push_back(name.substr(begin, end - begin));
    path.push_back(name.substr(begin));
    return PickPath(root, path, 0);
}

void CollectNames(const NodeView& root, std::vector<std::wstring>* names) {
    names->push_back(root.name);
    if (root.held) CollectNames(*root.held, names);
    for (const NodeView& child : root.children) CollectNames(child, names);
}

std::wstring UnitOf(const NodeView& view) { return view.unit ? view.unit->shown : std::wstring(); }

}  // namespace host
