// The settings file: elements, each with the value of one node.
#pragma once

#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "com.h"

namespace host {

/// <name value='text' type='kind' ext='text' extType='kind'>, with what stands inside.
struct Element {
    struct Stored {
        std::wstring text;
        VARTYPE kind;
    };
    std::wstring name;
    std::optional<Stored> value;
    std::optional<Stored> unit;
    std::vector<Element> children;
    size_t line = 0;
};

/// The kind of an object value, whose text is a class id or a label.
inline constexpr VARTYPE kObjectKind = 72;

/// What a settings file can't have here.
inline constexpr const char* kNoDiscs = "choices on a DVD can't be kept: this host reads no discs";

/// Reads settings in the system's code page, as the tree writes them, and what another XML program made of them.
/// Throws Problem, with the line, for anything else than such elements.
Element ParseSettings(std::string_view bytes);
/// The same for a file. At most 16 MB.
std::string ReadWhole(const std::filesystem::path& file);
std::string ReadWhole(std::FILE* stream);

/// Calls write for a draft beside the file, which takes the file's place once it is whole: when write throws,
/// the old file stays. What is no file, such as a device, is written to as it is. Throws Problem.
void ReplaceFile(const std::filesystem::path& file,
                 const std::function<void(const std::filesystem::path&)>& write);
/// The same for bytes.
void WriteWhole(const std::filesystem::path& file, std::string_view bytes);

/// The value that was stored; no value when the text doesn't fit its kind or the kind can't be restored from
/// text.
std::optional<Value> Restored(const Element::Stored& stored);

}  // namespace host
