// What modules have announced in the registry, and whether it can be made.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <bvschema/bvschema.h>

namespace host {

/// A class as the registry knows it.
struct RegisteredClass {
    CLSID id = {};
    std::wstring name;
    std::wstring server;    // the module that is said to have it; empty: none
    std::string announced;  // as what it is offered, such as "an output format"; empty: a class alone
    const IID* must_answer = nullptr;  // what it must answer for that

    bool operator==(const RegisteredClass&) const = default;
};
using ClassList = std::map<std::wstring, RegisteredClass>;  // by key

ClassList RegisteredClasses();
/// What a module's registration has brought: what leads to the module, and what has changed since. What leads
/// to this program, which has no classes, or nowhere, is in it as well:
/// a second registration changes nothing.
std::vector<RegisteredClass> NewClasses(const ClassList& before, const std::filesystem::path& module);
/// Creates each, and says of those that fail what it is and why.
std::vector<std::string> WhatCannotBeMade(const std::vector<RegisteredClass>& classes);

struct Registration {
    std::filesystem::path module;
    std::vector<RegisteredClass> classes;
};

}  // namespace host
