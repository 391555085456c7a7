#include "xml/xml_dom.h"

#include <new>
#include <vector>

#include "com/bstr.h"

namespace bv {
namespace {

/// Over the nodes of a document that has no cursor of its own.
class NodeCursor final : public IXmlCursor {
public:
    explicit NodeCursor(IXMLDOMNode* document) : at_(document) {}

    void End() override { delete this; }
    bool Enter() override {
        ComPtr<IXMLDOMNode> node;
        return at_->get_firstChild(node.Put()) == S_OK && MoveTo(std::move(node));
    }
    bool Next() override {
        ComPtr<IXMLDOMNode> node;
        return at_->get_nextSibling(node.Put()) == S_OK && MoveTo(std::move(node));
    }
    void Leave() override {
        ComPtr<IXMLDOMNode> parent;
        if (at_->get_parentNode(parent.Put()) == S_OK && parent) at_ = std::move(parent);
    }
    bool Read(XmlElement& element) override try {
        texts_.clear();
        attributes_.clear();
        if (FAILED(at_->get_nodeName(name_.Put()))) return false;
        element.name = name_.View();
        ComPtr<IXMLDOMNamedNodeMap> map;
        ComPtr<IXMLDOMNode> attribute;
        if (at_->get_attributes(map.Put()) == S_OK && map) {
            while (map->nextNode(attribute.Put()) == S_OK && attribute) {
                Bstr name, text;
                if (FAILED(attribute->get_nodeName(name.Put())) || FAILED(attribute->get_text(text.Put())))
                    continue;
                attributes_.push_back({name.View(), text.View()});
                texts_.push_back(std::move(name));
                texts_.push_back(std::move(text));
            }
        }
        element.attributes = attributes_.data();
        element.attribute_count = attributes_.size();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }

private:
    ~NodeCursor() = default;
    bool MoveTo(ComPtr<IXMLDOMNode> node) {
        while (node) {
            DOMNodeType type = NODE_INVALID;
            if (SUCCEEDED(node->get_nodeType(&type)) && type == NODE_ELEMENT) {
                at_ = std::move(node);
                return true;
            }
            ComPtr<IXMLDOMNode> next;
            if (node->get_nextSibling(next.Put()) != S_OK) return false;
            node = std::move(next);
        }
        return false;
    }

    ComPtr<IXMLDOMNode> at_;
    Bstr name_;
    std::vector<Bstr> texts_;
    std::vector<XmlAttribute> attributes_;
};

}  // namespace

XmlCursor CursorOf(IXMLDOMDocument* document) {
    IXmlCursor* cursor = nullptr;
    if (const auto source = Query<IXmlCursorSource>(document))
        std::ignore = source->NewCursor(&cursor);
    else
        cursor = new (std::nothrow) NodeCursor(document);
    return XmlCursor(cursor);
}

}  // namespace bv
