#include <bvschema/host/components.h>

namespace bv::inline host {

std::vector<OfferedFilter> OfferedFilters() {
    std::vector<OfferedFilter> filters;
    Ref<IBVFilterMapper> mapper;
    Ref<IListOfValues> list;
    const auto create = [](REFCLSID cls, REFIID iid, void** out) {
        return SUCCEEDED(CoCreateInstance(cls, nullptr, CLSCTX_INPROC_SERVER, iid, out));
    };
    if (!create(clsid::BVFilterMapper, kIid<IBVFilterMapper>, mapper.PutVoid()) ||
        !create(clsid::ListOfValues, kIid<IListOfValues>, list.PutVoid()))
        return filters;
    GUID category = category::Filters;
    LONG count = 0;
    if (FAILED(mapper->Init(&category, nullptr, list.get())) || FAILED(list->get_Count(&count)))
        return filters;
    for (LONG i = 0; i < count; ++i) {
        Ref<IUnknown> item;
        TextResult label, name;
        Value value;
        if (FAILED(list->get_Item(i, item.Put()))) continue;
        const auto entry = item.As<IListItem>();
        if (!entry || FAILED(entry->get_Title(label.Put())) || FAILED(entry->get_Value(value.Put())))
            continue;
        // What the list offers is a filter that is a node: another one would have needed a wrapper.
        const auto node = Ask<IProperty>(value.object());
        if (node && SUCCEEDED(node->get_Name(name.Put())))
            filters.push_back({label.Utf8(), name.Utf8(), Ref<IUnknown>(value.object())});
    }
    return filters;
}

}  // namespace bv::inline host
