// The settings document as data: elements, each with the value of one node.
#pragma once

#include <bvschema/host/result.h>
#include <bvschema/host/value.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bv::inline host {

/// <name value='text' type='kind' ext='text' extType='kind'>, with what stands inside. Texts are UTF-8.
struct Element {
    struct Stored {
        std::string text;
        VARTYPE kind;
        /// The value that was stored; none when the text doesn't fit its kind or the kind can't be
        /// restored from text.
        std::optional<Value> Restored() const;
    };
    std::string name;
    std::optional<Stored> value;
    std::optional<Stored> unit;
    std::vector<Element> children;
    size_t line = 0;
};

/// The kind of an object value, whose text is a class id or a label.
inline constexpr VARTYPE kObjectKind = 72;
inline constexpr size_t kDeepestElement = 64;
inline constexpr size_t kLargestDocument = 16 * 1024 * 1024;  // bytes

/// Reads settings in the system's code page, as the tree writes them, and what another XML program made of
/// them: whatever its prolog, encoding, comments, white space, and attributes besides those of settings.
/// Nothing is ever fetched, and a document type is refused. Throws Error, with the line, for anything else
/// than such elements, and for more than kDeepestElement levels.
Element ParseSettings(std::string_view bytes);

/// The bytes of a file of at most kLargestDocument. Throws Error.
std::string ReadWhole(const std::filesystem::path& file);
std::string ReadWhole(std::FILE* stream);

/// Calls write for a draft beside the file, which takes the file's place once it is whole and on the disk:
/// when write throws, the old file stays. What is no file, such as a device, is written to as it is.
/// Throws Error.
void ReplaceFile(const std::filesystem::path& file,
                 const std::function<void(const std::filesystem::path&)>& write);
/// The same for bytes.
void WriteWhole(const std::filesystem::path& file, std::string_view bytes);

}  // namespace bv::inline host
