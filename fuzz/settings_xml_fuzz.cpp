// The settings XML: a tree with values made of the input is written, parsed by a parser that isn't ours, and
// must give the values back within the limits that are told. Control characters have no form in XML, so the
// input has none of them.
#include <cstdlib>
#include <cstring>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "com/narrow.h"
#include "com/object.h"
#include "com/variant.h"
#include "host.h"
#include "support/memory_stream.h"
#include "xml/xml_sink.h"

namespace bv {
namespace {

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool Empty() const { return size_ == 0; }
    std::uint8_t Byte() {
        if (!size_) return 0;
        --size_;
        return *data_++;
    }
    /// Characters of all ranges, also such as no text may have.
    std::wstring Text() {
        std::wstring text;
        const std::size_t units = Byte() | (Byte() & 3) << 8;
        const std::uint8_t range = Byte();
        for (std::size_t i = 0; i < units && size_; ++i) {
            std::uint32_t c = Byte();
            if (range & 1 && c > 0xC0) c = c << 8 | Byte();
            if (range & 2 && c > 0xF000) c = c << 4 | Byte() % 16;
            if (c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0xFFFE || c == 0xFFFF) c = '&';
            text += wchar_t(c);
        }
        return text;
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
};

/// What a text must come back as.
std::string Expected(const std::wstring& text) {
    std::string narrow(text.size() * 4 + 1, 0);
    const int length = ToNarrowBytes(narrow.data(), text, int(narrow.size()));
    if (length < 0) std::abort();
    narrow.resize(std::size_t(length));
    std::size_t bytes = narrow.size(), characters = text.size();
    bool special = false;
    for (const char c : narrow) {
        const std::size_t entity = c == '&' ? 5 : c == '<' || c == '>' ? 4 : c == '\'' ? 6 : 0;
        special |= entity > 0;
        if (entity) bytes += entity - 1, characters += entity - 1;
    }
    return bytes > 512 || (special && characters > 255) ? std::string() : narrow;
}

void Check(bool good) {
    if (!good) std::abort();
}

/// One node in the written text, and the values that it was given.
struct Written {
    std::string name;
    std::wstring value;
    bool text = false;
    std::wstring unit;
    bool has_unit = false;
};

void CheckNode(const pugi::xml_node& element, const Written& node) {
    Check(element.name() == node.name);
    if (!node.text) return;
    Check(element.attribute("value").value() == Expected(node.value));
    Check(std::strcmp(element.attribute("type").value(), "8") == 0);
    Check(bool(element.attribute("ext")) == node.has_unit);
    if (node.has_unit) Check(element.attribute("ext").value() == Expected(node.unit));
}

Written SetRandom(IProperty* node, Input& input, std::size_t number) {
    Written written{"Node" + std::to_string(number), {}, false, {}, false};
    const auto init = Query<ISimpleInit>(node);
    std::ignore = node->SetInfo(ToBstr(written.name).get(), Variant());
    VARIANT value = {};
    switch (input.Byte() % 8) {
        case 0:
            return written;  // a group
        case 1:
            value.vt = VT_I4;
            value.lVal = LONG(input.Byte() << 24 | input.Byte());
            break;
        case 2:
            value.vt = VT_R8;
            value.dblVal = input.Byte() / double(1 + input.Byte());
            break;
        case 3:
            value.vt = VARTYPE(input.Byte() % 3 ? VT_ERROR : VT_BOOL);
            value.boolVal = SHORT(input.Byte());
            break;
        default: {
            written.text = true;
            written.value = input.Text();
            std::ignore = init->put_Value(Variant(written.value));
            if (input.Byte() % 2 == 0) return written;
            written.has_unit = true;
            written.unit = input.Text();
            CLSID simple = clsid::PropertySimple;
            Check(SUCCEEDED(init->SetExtensionClass(&simple)));
            ComPtr<IProperty> unit;
            Check(SUCCEEDED(node->get_Extension(unit.Put())));
            std::ignore = unit->put_Value(Variant(written.unit));
            return written;
        }
    }
    std::ignore = init->put_Value(value);
    return written;
}

}  // namespace
}  // namespace bv

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace bv;
    fuzz::StartServer();
    if (size > 16384) return 0;
    Input input(data, size);
    ComPtr<IProperty> root;
    Check(SUCCEEDED(Create(clsid::PropertySimple, root)));
    std::vector<Written> nodes = {SetRandom(root.get(), input, 0)};
    const auto children = root.As<IEnumProperties>();
    while (!input.Empty() && nodes.size() < 12) {
        CLSID simple = clsid::PropertySimple;
        ComPtr<IProperty> child;
        Check(SUCCEEDED(children->InsertProperty(nullptr, &simple, child.Put())));
        nodes.push_back(SetRandom(child.get(), input, nodes.size()));
    }
    bv::test::MemoryStream stream;
    Check(root.As<ISettingsWriter>()->WriteXml(&stream) == S_OK);

    pugi::xml_document document;
    Check(bool(document.load_buffer(stream.text.data(), stream.text.size(), pugi::parse_default,
                                    pugi::encoding_utf8)));
    CheckNode(document.first_child(), nodes[0]);
    std::size_t number = 0;
    for (const pugi::xml_node& element : document.first_child().children())
        CheckNode(element, nodes.at(++number));
    Check(number + 1 == nodes.size());
    return 0;
}
