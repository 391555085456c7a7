#include "xml/xml_text.h"

#include <iconv.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <new>
#include <vector>

#include "text/text.h"

namespace bv::platform {
namespace {

// --- Encodings

bool Convert(const char* encoding, std::string_view bytes, std::string& result) {
    const iconv_t converter = iconv_open("UTF-8", encoding);
    if (converter == reinterpret_cast<iconv_t>(-1)) return false;
    result.clear();
    char* from = const_cast<char*>(bytes.data());  // iconv's signature; it only reads
    size_t left = bytes.size();
    char piece[4096];
    bool good = true;
    while (good && left > 0) {
        char* to = piece;
        size_t room = sizeof piece;
        good = iconv(converter, &from, &left, &to, &room) != static_cast<size_t>(-1) || errno == E2BIG;
        result.append(piece, to);
        good = good && result.size() <= kMaxXmlSize;
    }
    iconv_close(converter);
    return good;
}

bool IsUtf8(std::string_view text) {
    size_t i = 0;
    while (i < text.size()) {
        std::uint64_t block = 0;  // most of it is ASCII
        if (text.size() - i >= sizeof block) {
            std::memcpy(&block, text.data() + i, sizeof block);
            if (!(block & 0x8080808080808080u)) {
                i += sizeof block;
                continue;
            }
        }
        const Utf8Character next = DecodeUtf8(text.substr(i));
        if (next.character < 0) return false;
        i += next.length;
    }
    return true;
}

/// The encoding that the XML declaration names; empty when there is none.
std::string NamedEncoding(std::string_view text) {
    constexpr std::string_view kWord = "encoding";
    if (!text.starts_with("<?xml")) return {};
    const std::string_view declaration = text.substr(0, text.find("?>"));
    const size_t word = declaration.find(kWord);
    if (word == std::string_view::npos) return {};
    const size_t quote = declaration.find_first_of("'\"", word + kWord.size());
    if (quote == std::string_view::npos) return {};
    const size_t end = declaration.find(declaration[quote], quote + 1);
    if (end == std::string_view::npos) return {};
    const std::string name(declaration.substr(quote + 1, end - quote - 1));
    const bool plain = std::all_of(name.begin(), name.end(), [](unsigned char c) {
        return (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z') || c == '-' || c == '_' ||
               c == '.';
    });
    return plain && name.size() < 64 ? name : std::string();
}

// --- Rules

bool IsXmlCharacter(unsigned long code) {
    return code == 9 || code == 10 || code == 13 || (code >= 0x20 && code < 0xD800) ||
           (code >= 0xE000 && code < 0xFFFE) || (code > 0xFFFF && code <= 0x10FFFF);
}

/// Whether a text that begins with "&" begins with one of the references that need no document type.
bool IsReference(std::string_view text) {
    const size_t end = text.substr(0, 16).find(';');
    if (end == std::string_view::npos) return false;
    const std::string_view name = text.substr(1, end - 1);
    if (name.empty() || name[0] != '#')
        return name == "amp" || name == "lt" || name == "gt" || name == "apos" || name == "quot";
    const bool hexadecimal = name.size() > 1 && name[1] == 'x';
    const std::string_view digits = name.substr(hexadecimal ? 2 : 1);
    unsigned long code = 0;
    const auto [stop, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), code, hexadecimal ? 16 : 10);
    return error == std::errc() && stop == digits.data() + digits.size() && IsXmlCharacter(code);
}

/// Whether all references mean something. Comments, instructions and character data have none.
bool ReferencesAreGood(std::string_view text) {
    struct Quiet {
        std::string_view begin, end;
    };
    static constexpr Quiet kQuiet[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
    if (text.find('&') == std::string_view::npos) return true;
    for (size_t i = 0; (i = text.find_first_of("&<", i)) != std::string_view::npos; ++i) {
        const std::string_view rest = text.substr(i);
        if (rest[0] == '&') {
            if (!IsReference(rest)) return false;
            continue;
        }
        for (const Quiet& quiet : kQuiet) {
            if (!rest.starts_with(quiet.begin)) continue;
            const size_t end = rest.find(quiet.end, quiet.begin.size());
            if (end == std::string_view::npos) return false;
            i += end;
            break;
        }
    }
    return true;
}

bool HasDoubledAttribute(pugi::xml_node node, std::vector<const char*>& names) {
    const auto same = [](const char* a, const char* b) { return *a == *b && std::strcmp(a, b) == 0; };
    names.clear();
    for (pugi::xml_attribute attribute = node.first_attribute(); attribute;
         attribute = attribute.next_attribute())
        names.push_back(attribute.name());
    if (names.size() > 8) {
        std::sort(names.begin(), names.end(),
                  [](const char* a, const char* b) { return std::strcmp(a, b) < 0; });
        return std::adjacent_find(names.begin(), names.end(), same) != names.end();
    }
    for (size_t i = 1; i < names.size(); ++i)
        for (size_t k = 0; k < i; ++k)
            if (same(names[i], names[k])) return true;
    return false;
}

bool IsText(pugi::xml_node_type type) { return type == pugi::node_pcdata || type == pugi::node_cdata; }

bool OutsideIsGood(const pugi::xml_document& document) {
    int elements = 0;
    for (pugi::xml_node node = document.first_child(); node; node = node.next_sibling()) {
        if (IsText(node.type())) return false;
        if (node.type() == pugi::node_declaration && node != document.first_child()) return false;
        elements += node.type() == pugi::node_element;
    }
    return elements == 1;
}

bool InsideIsGood(const pugi::xml_document& document) {
    std::vector<const char*> names;
    int depth = 1;
    pugi::xml_node node = document.first_child();
    while (node) {
        if (node.type() == pugi::node_declaration && depth > 1) return false;
        if (HasDoubledAttribute(node, names)) return false;
        if (const pugi::xml_node child = node.first_child()) {
            if (++depth > kMaxXmlDepth) return false;
            node = child;
            continue;
        }
        while (node && !node.next_sibling()) {
            node = node.parent();
            --depth;
            if (node.type() == pugi::node_document) return true;
        }
        node = node.next_sibling();
    }
    return true;
}

}  // namespace

bool ToXmlUtf8(std::string& bytes) {
    std::string converted;
    const std::string_view text = bytes;
    const char* encoding = text.starts_with("\xFF\xFE")   ? "UTF-16LE"
                           : text.starts_with("\xFE\xFF") ? "UTF-16BE"
                                                          : nullptr;
    if (encoding) {
        if (!Convert(encoding, text.substr(2), converted)) return false;
        bytes.swap(converted);
        return true;
    }
    if (text.starts_with("\xEF\xBB\xBF")) {
        bytes.erase(0, 3);
        return IsUtf8(bytes);
    }
    if (IsUtf8(text)) return true;
    const std::string name = NamedEncoding(text);
    if (name.empty() || !Convert(name.c_str(), text, converted)) return false;
    bytes.swap(converted);
    return true;
}

bool ParseXml(pugi::xml_document& document, std::string& text) {
    if (text.empty() || text.size() > kMaxXmlSize || std::memchr(text.data(), 0, text.size())) return false;
    if (!ReferencesAreGood(text)) return false;
    constexpr unsigned kFlags =
        pugi::parse_pi | pugi::parse_comments | pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
        pugi::parse_wconv_attribute | pugi::parse_declaration |
        pugi::parse_fragment;  // a fragment shows what stands outside the document element
    const auto result = document.load_buffer_inplace(text.data(), text.size(), kFlags, pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
    return result && OutsideIsGood(document) && InsideIsGood(document);
}

}  // namespace bv::platform
