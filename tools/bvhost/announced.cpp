#include "announced.h"

#include "paths.h"
#include "registry_key.h"
#include "server.h"
#include "text.h"

namespace host {
namespace {

namespace fs = std::filesystem;

/// Where components of a kind stand, and what they must answer to be of use.
struct Kind {
    const GUID* category;
    bool of_framework;  // among the media framework's devices
    const char* what;
    const IID* must_answer;  // null: no object is made of it
};
const Kind kKinds[] = {
    {&bv::category::OutputFormats, false, "an output format", &bv::kIid<IOutputFormatInfo>},
    {&bv::category::Actions, false, "an action", &bv::kIid<IActionObject>},
    {&bv::category::Filters, true, "a filter", &bv::kIid<IFilterEntry>},
};

std::wstring ServerOf(HKEY classes, const std::wstring& id) {
    return DefaultOf(classes, id + L"\\InprocServer32");
}

void ReadKind(const Kind& kind, HKEY classes, ClassList* list) {
    const std::wstring category = GuidText(*kind.category);
    const std::wstring path =
        kind.of_framework ? category + L"\\Instance" : GuidText(bv::category::Root) + L'\\' + category;
    const Key components(classes, path);
    if (!components) return;
    for (const std::wstring& name : components.Subkeys()) {
        const Key component(components.get(), name);
        if (!component) continue;
        const std::wstring id = kind.of_framework ? component.Value(L"CLSID").value_or(name) : name;
        RegisteredClass found;
        if (FAILED(CLSIDFromString(id.c_str(), &found.id))) continue;
        found.name = component.Value(kind.of_framework ? L"FriendlyName" : nullptr).value_or(L"");
        found.server = ServerOf(classes, id);
        found.announced = kind.what;
        found.must_answer = kind.must_answer;
        (*list)[path + L'\\' + name] = found;
    }
}

/// This program, by which a module that doesn't know itself is registered.
fs::path Self() {
    wchar_t self[1024] = {};
    GetModuleFileNameW(nullptr, self, 1023);
    return ToPath(self);
}

/// Creates the class as it will be used; empty, or why not.
std::string WhyNot(const RegisteredClass& cls) {
    std::error_code ignored;
    if (!cls.server.empty() && fs::equivalent(ToPath(cls.server), Self(), ignored))
        return "its module is said to be " + OneLine(Utf8(cls.server)) +
               ", a program: the module doesn't know its own path";
    Ref<IUnknown> object, answer;
    ForgetErrors();
    HRESULT status =
        CoCreateInstance(cls.id, nullptr, CLSCTX_INPROC_SERVER, bv::kIid<IUnknown>, object.PutVoid());
    if (FAILED(status)) return Reason(status);
    if (cls.must_answer && FAILED(object->QueryInterface(*cls.must_answer, answer.PutVoid())))
        return "the object doesn't answer the interface of one";
    return {};
}

}  // namespace

ClassList RegisteredClasses() {
    ClassList list;
    const Key classes(HKEY_CLASSES_ROOT, L"CLSID");
    if (!classes) return list;
    for (const std::wstring& id : classes.Subkeys()) {
        RegisteredClass found;
        found.server = ServerOf(classes.get(), id);
        if (found.server.empty() || FAILED(CLSIDFromString(id.c_str(), &found.id))) continue;
        found.name = DefaultOf(classes.get(), id);
        list[id] = found;
    }
    for (const Kind& kind : kKinds) ReadKind(kind, classes.get(), &list);
    return list;
}

std::vector<RegisteredClass> NewClasses(const ClassList& before, const fs::path& module) {
    std::vector<RegisteredClass> result;
    const fs::path self = Self();
    for (const auto& [key, found] : RegisteredClasses()) {
        const auto known = before.find(key);
        std::error_code ignored;
        const fs::path server = ToPath(found.server);
        if (known == before.end() || known->second != found || found.server.empty() ||
            fs::equivalent(server, module, ignored) || fs::equivalent(server, self, ignored))
            result.push_back(found);
    }
    return result;
}

std::vector<std::string> WhatCannotBeMade(const std::vector<RegisteredClass>& classes) {
    std::vector<std::string> problems;
    for (const RegisteredClass& cls : classes) {
        const std::string why = WhyNot(cls);
        if (why.empty()) continue;
        std::string what = OneLine(Utf8(GuidText(cls.id)));
        if (!cls.name.empty()) what = '"' + OneLine(Utf8(cls.name)) + "\" " + what;
        if (!cls.announced.empty()) what += ", announced as " + cls.announced + ",";
        problems.push_back(what + " can't be made: " + why);
    }
    return problems;
}

}  // namespace host
