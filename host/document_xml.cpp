#include "document_xml.h"

#include <algorithm>

BV_SYSTEM_INTERFACE_ID(IXMLDOMDocument, "2933BF81-7B36-11D2-B20E-00C04F983E60")

namespace bv::inline host {
namespace {

constexpr CLSID kXmlDocument = GuidOf("2933BF90-7B36-11D2-B20E-00C04F983E60");

[[noreturn]] void Fail(size_t line, const std::string& what) {
    throw Error("line " + std::to_string(line) + ": " + OneLine(what));
}

// --- The text, whatever its encoding

std::wstring FromUtf16(std::string_view bytes, bool big_endian) {
    std::wstring text;
    const auto unit = [&](size_t at) {
        const auto first = static_cast<unsigned char>(bytes[at]),
                   second = static_cast<unsigned char>(bytes[at + 1]);
        return char32_t(big_endian ? first << 8 | second : second << 8 | first);
    };
    for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
        char32_t c = unit(at);
        const bool pair =
            c >= 0xD800 && c < 0xDC00 && at + 3 < bytes.size() && (unit(at + 2) & 0xFC00) == 0xDC00;
        if (pair && sizeof(wchar_t) == 4) {
            c = 0x10000 + ((c - 0xD800) << 10) + (unit(at + 2) - 0xDC00);
            at += 2;
        }
        text += wchar_t(c);
    }
    return text;
}

std::optional<std::wstring> FromCodePage(UINT page, std::string_view bytes) {
    const DWORD flags = page == CP_UTF8 ? MB_ERR_INVALID_CHARS : 0;
    const int size = MultiByteToWideChar(page, flags, bytes.data(), int(bytes.size()), nullptr, 0);
    if (size <= 0) return {};
    std::wstring text(size_t(size), L'\0');
    MultiByteToWideChar(page, flags, bytes.data(), int(bytes.size()), text.data(), size);
    return text;
}

/// The code page that a declaration names; by XML's rule UTF-8 when it names none. A text without a
/// declaration is in the system's, as the tree writes it.
UINT PageOf(std::string_view bytes) {
    constexpr std::string_view kDeclaration = "<?xml";
    if (!bytes.starts_with(kDeclaration)) return CP_ACP;
    const std::string_view declaration = bytes.substr(0, bytes.find("?>"));
    constexpr std::string_view kEncoding = "encoding";
    size_t at = declaration.find(kEncoding);
    if (at == declaration.npos) return CP_UTF8;
    at = declaration.find_first_of("'\"", at + kEncoding.size());
    if (at == declaration.npos) return CP_UTF8;
    const std::string_view name =
        declaration.substr(at + 1, declaration.find(declaration[at], at + 1) - at - 1);
    struct Page {
        const char* name;
        UINT number;
    };
    // ISO-8859-1 differs from 1252 in control characters alone.
    constexpr Page kPages[] = {
        {"UTF-8", CP_UTF8},     {"US-ASCII", CP_UTF8},  {"ISO-8859-1", 1252}, {"windows-1250", 1250},
        {"windows-1251", 1251}, {"windows-1252", 1252}, {"Shift_JIS", 932},   {"GB2312", 936},
    };
    for (const Page& page : kPages)
        if (SameName(name, page.name)) return page.number;
    Fail(1, "the encoding " + std::string(name) + " isn't known here");
}

/// The text without its mark and its declaration, which has done its work; its lines stay.
std::optional<std::wstring> Decoded(std::string_view bytes) {
    std::optional<std::wstring> text;
    if (bytes.starts_with("\xFF\xFE"))
        text = FromUtf16(bytes.substr(2), false);
    else if (bytes.starts_with("\xFE\xFF"))
        text = FromUtf16(bytes.substr(2), true);
    else if (bytes.starts_with("\xEF\xBB\xBF"))
        text = FromCodePage(CP_UTF8, bytes.substr(3));
    else
        text = FromCodePage(PageOf(bytes), bytes);
    if (!text || text->find(L'\0') != text->npos) return {};
    if (text->starts_with(L"<?xml")) {
        const size_t end = text->find(L"?>");
        if (end == text->npos) return {};
        const auto blank = [](wchar_t c) { return c == L'\n' ? c : L' '; };
        std::transform(text->begin(), text->begin() + std::ptrdiff_t(end) + 2, text->begin(), blank);
    }
    return text;
}

/// The lines on which elements begin, in their order. The text is looked at as far as it is well-formed.
std::vector<size_t> LinesOf(std::wstring_view text) {
    std::vector<size_t> lines;
    size_t line = 1, counted = 0;
    const auto line_at = [&](size_t at) {
        line += size_t(
            std::count(text.begin() + std::ptrdiff_t(counted), text.begin() + std::ptrdiff_t(at), L'\n'));
        counted = at;
        return line;
    };
    for (size_t at = 0; (at = text.find(L'<', at)) != text.npos;) {
        const std::wstring_view rest = text.substr(at);
        const auto skip = [&](const wchar_t* end) { at = std::min(text.find(end, at + 2), text.size()); };
        if (rest.starts_with(L"<!--")) {
            skip(L"-->");
        } else if (rest.starts_with(L"<![CDATA[")) {
            skip(L"]]>");
        } else if (rest.starts_with(L"<!")) {
            Fail(line_at(at), "a document type has no place in settings");
        } else if (rest.starts_with(L"<?")) {
            skip(L"?>");
        } else {
            if (!rest.starts_with(L"</")) lines.push_back(line_at(at));
            // "<" doesn't stand inside a value, but ">" may.
            for (++at; at < text.size() && text[at] != L'>'; ++at)
                if (text[at] == L'"' || text[at] == L'\'')
                    at = std::min(text.find(text[at], at + 1), text.size());
        }
    }
    return lines;
}

// --- Elements

class XmlReader {
public:
    explicit XmlReader(std::vector<size_t> lines) : lines_(std::move(lines)) {}

    Element Read(IXMLDOMNode* node, size_t depth) {
        Element element;
        element.line = next_ < lines_.size() ? lines_[next_++] : 0;
        if (depth > kDeepestElement) Fail(element.line, "elements lie more than 64 deep");
        TextResult name;
        node->get_nodeName(name.Put());
        element.name = name.Utf8();
        if (element.name == "DVDEXT") Fail(element.line, kNoDiscs);
        Ref<IXMLDOMNamedNodeMap> attributes;
        node->get_attributes(attributes.Put());
        element.value = Stored(attributes.get(), L"value", L"type", element.line);
        element.unit = Stored(attributes.get(), L"ext", L"extType", element.line);

        Ref<IXMLDOMNode> child;
        node->get_firstChild(child.Put());
        while (child) {
            DOMNodeType type = NODE_INVALID;
            child->get_nodeType(&type);
            if (type == NODE_ELEMENT) element.children.push_back(Read(child.get(), depth + 1));
            if ((type == NODE_TEXT || type == NODE_CDATA_SECTION) && !IsBlank(TextOf(child.get())))
                Fail(element.line, "text inside of " + element.name);
            Ref<IXMLDOMNode> next;
            child->get_nextSibling(next.Put());
            child = next;
        }
        return element;
    }

private:
    static std::wstring TextOf(IXMLDOMNode* node) {
        TextResult text;
        node->get_text(text.Put());
        return text.Get();
    }
    static bool IsBlank(const std::wstring& text) { return text.find_first_not_of(L" \t\r\n") == text.npos; }

    static std::optional<std::wstring> Attribute(IXMLDOMNamedNodeMap* attributes, const wchar_t* name) {
        Ref<IXMLDOMNode> attribute;
        if (!attributes || attributes->getNamedItem(Text(name), attribute.Put()) != S_OK || !attribute)
            return {};
        return TextOf(attribute.get());
    }
    static std::optional<Element::Stored> Stored(IXMLDOMNamedNodeMap* attributes, const wchar_t* name,
                                                 const wchar_t* kind, size_t line) {
        const auto text = Attribute(attributes, name), type = Attribute(attributes, kind);
        if (!text && !type) return {};
        if (!text || !type) Fail(line, "a value stands with its type, or not at all");
        const auto number = Value::Of(*type).number();
        if (!number || *number < 0 || *number > 9999) Fail(line, "a type is a number");
        return Element::Stored{ToUtf8(*text), VARTYPE(*number)};
    }

    std::vector<size_t> lines_;
    size_t next_ = 0;
};

}  // namespace

std::optional<Element> ReadXml(std::string_view bytes) {
    const auto text = Decoded(bytes);
    if (!text) return {};
    std::vector<size_t> lines = LinesOf(*text);
    const auto document = Create<IXMLDOMDocument>(kXmlDocument, "the XML document");
    document->put_async(VARIANT_FALSE);
    document->put_validateOnParse(VARIANT_FALSE);
    document->put_resolveExternals(VARIANT_FALSE);
    VARIANT_BOOL loaded = VARIANT_FALSE;
    if (document->loadXML(Text(*text), &loaded) != S_OK || !loaded) return {};
    Ref<IXMLDOMElement> root;
    if (document->get_documentElement(root.Put()) != S_OK || !root) return {};
    return XmlReader(std::move(lines)).Read(root.get(), 1);
}

}  // namespace bv::inline host
