// The XML document: objects in front of a parsed tree.
#include <bv_xml_cursor.h>
#include <msxml.h>
#include <windows.h>

#include <atomic>
#include <deque>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "boundary.h"
#include "model/builtin.h"
#include "model/object.h"
#include "oleauto.h"
#include "text/text.h"
#include "xml/xml_text.h"

namespace bv::platform {
namespace {

/// What was loaded: the text, in which all names and values lie, and the tree over it.
struct Tree {
    std::string text;
    pugi::xml_document document;
    std::atomic<int> references = 0;
};

class TreePtr {
public:
    explicit TreePtr(Tree* tree) : tree_(tree) { tree_->references.fetch_add(1, std::memory_order_relaxed); }
    TreePtr(const TreePtr& other) : TreePtr(other.tree_) {}
    TreePtr& operator=(TreePtr other) noexcept {
        std::swap(tree_, other.tree_);
        return *this;
    }
    ~TreePtr() {
        if (tree_->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete tree_;
    }
    Tree* operator->() const { return tree_; }

private:
    Tree* tree_;
};

/// A text of the tree, which is valid UTF-8.
HRESULT ReturnText(const char* text, BSTR* result) {
    if (!result) return E_POINTER;
    const size_t length = std::strlen(text);
    BSTR copy = SysAllocStringLen(nullptr, static_cast<UINT>(length));  // never more characters than bytes
    *result = copy;
    if (!copy) return E_OUTOFMEMORY;
    size_t i = 0;
    for (; i < length && static_cast<unsigned char>(text[i]) < 0x80; ++i)
        copy[i] = static_cast<wchar_t>(text[i]);
    if (i == length) return S_OK;
    SysFreeString(copy);
    *result = nullptr;
    return Bounded(E_OUTOFMEMORY, [&] {
        const std::wstring wide = ToWide({text, length});
        *result = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
        return *result ? S_OK : E_OUTOFMEMORY;
    });
}

/// IDispatch of objects that are called by their tables alone.
template <class Interface>
class Early : public Interface {
public:
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
};

HRESULT ReturnNode(const TreePtr& tree, pugi::xml_node node, IXMLDOMNode** result);
HRESULT ReturnAttribute(const TreePtr& tree, pugi::xml_node owner, pugi::xml_attribute attribute,
                        IXMLDOMNode** result);
HRESULT ReturnChildren(const TreePtr& tree, pugi::xml_node node, IXMLDOMNodeList** result);
HRESULT ReturnAttributes(const TreePtr& tree, pugi::xml_node node, IXMLDOMNamedNodeMap** result);

/// All that a node, an attribute and the document have in common.
template <class Interface>
class NodeOf : public Early<Interface> {
public:
    explicit NodeOf(const TreePtr& tree, pugi::xml_node node, pugi::xml_attribute attribute = {})
        : tree_(tree), node_(node), attribute_(attribute) {}

    STDMETHODIMP get_nodeName(BSTR* name) override {
        if (attribute_) return ReturnText(attribute_.name(), name);
        switch (node_.type()) {
            case pugi::node_pcdata:
                return ReturnText("#text", name);
            case pugi::node_cdata:
                return ReturnText("#cdata-section", name);
            case pugi::node_comment:
                return ReturnText("#comment", name);
            case pugi::node_document:
                return ReturnText("#document", name);
            default:
                return ReturnText(node_.name(), name);
        }
    }
    STDMETHODIMP get_nodeType(DOMNodeType* type) override {
        if (!type) return E_POINTER;
        if (attribute_) {
            *type = NODE_ATTRIBUTE;
            return S_OK;
        }
        switch (node_.type()) {
            case pugi::node_document:
                *type = NODE_DOCUMENT;
                break;
            case pugi::node_element:
                *type = NODE_ELEMENT;
                break;
            case pugi::node_pcdata:
                *type = NODE_TEXT;
                break;
            case pugi::node_cdata:
                *type = NODE_CDATA_SECTION;
                break;
            case pugi::node_comment:
                *type = NODE_COMMENT;
                break;
            default:
                *type = NODE_PROCESSING_INSTRUCTION;
        }
        return S_OK;
    }
    STDMETHODIMP get_parentNode(IXMLDOMNode** parent) override {
        return ReturnNode(tree_, attribute_ ? pugi::xml_node() : node_.parent(), parent);
    }
    STDMETHODIMP get_childNodes(IXMLDOMNodeList** childList) override {
        return ReturnChildren(tree_, Inside(), childList);
    }
    STDMETHODIMP get_firstChild(IXMLDOMNode** firstChild) override {
        return ReturnNode(tree_, Inside().first_child(), firstChild);
    }
    STDMETHODIMP get_nextSibling(IXMLDOMNode** nextSibling) override {
        return ReturnNode(tree_, Inside().next_sibling(), nextSibling);
    }
    STDMETHODIMP get_attributes(IXMLDOMNamedNodeMap** attributeMap) override {
        if (!attributeMap) return E_POINTER;
        *attributeMap = nullptr;
        const bool has =
            !attribute_ && (node_.type() == pugi::node_element || node_.type() == pugi::node_declaration);
        return has ? ReturnAttributes(tree_, node_, attributeMap) : S_FALSE;
    }
    STDMETHODIMP get_text(BSTR* text) override try {
        if (attribute_) return ReturnText(attribute_.value(), text);
        if (node_.type() != pugi::node_element && node_.type() != pugi::node_document)
            return ReturnText(node_.value(), text);
        std::string all;
        AppendText(node_, all);
        return ReturnText(all.c_str(), text);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }

protected:
    /// The node that siblings and children are asked of; an attribute has none here.
    pugi::xml_node Inside() const { return attribute_ ? pugi::xml_node() : node_; }

    TreePtr tree_;
    pugi::xml_node node_;
    pugi::xml_attribute attribute_;

private:
    /// As deep as documents may be.
    static void AppendText(pugi::xml_node node, std::string& text) {
        for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
            if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
                text += child.value();
            else if (child.type() == pugi::node_element)
                AppendText(child, text);
        }
    }
};

class Leaf final : public Object<NodeOf<IXMLDOMNode>, IID_IXMLDOMNode, IID_IDispatch> {
public:
    using Object::Object;
};

class Element final
    : public Object<NodeOf<IXMLDOMElement>, IID_IXMLDOMElement, IID_IXMLDOMNode, IID_IDispatch> {
public:
    using Object::Object;
};

/// A walk through items of one kind, by place or one after the other. Asking in order costs one step each.
template <class Item>
class Sequence {
public:
    explicit Sequence(Item first) : first_(first), at_(first), next_(first) {}

    Item At(LONG index) {
        if (index < place_) {
            at_ = first_;
            place_ = 0;
        }
        for (; at_ && place_ < index; ++place_) at_ = After(at_);
        const Item found = at_;
        if (!at_) {  // past the end: begin anew
            at_ = first_;
            place_ = 0;
        }
        return found;
    }
    LONG Length() const {
        LONG length = 0;
        for (Item item = first_; item; item = After(item)) ++length;
        return length;
    }
    Item Next() {
        const Item found = next_;
        if (next_) next_ = After(next_);
        return found;
    }

private:
    static pugi::xml_node After(pugi::xml_node node) { return node.next_sibling(); }
    static pugi::xml_attribute After(pugi::xml_attribute attribute) { return attribute.next_attribute(); }

    Item first_;
    Item at_;
    LONG place_ = 0;
    Item next_;
};

class Children final : public Object<Early<IXMLDOMNodeList>, IID_IXMLDOMNodeList, IID_IDispatch> {
public:
    Children(const TreePtr& tree, pugi::xml_node node) : tree_(tree), nodes_(node.first_child()) {}

    STDMETHODIMP get_item(LONG index, IXMLDOMNode** listItem) override {
        if (!listItem) return E_POINTER;
        *listItem = nullptr;
        return index < 0 ? E_INVALIDARG : ReturnNode(tree_, nodes_.At(index), listItem);
    }
    STDMETHODIMP get_length(LONG* listLength) override {
        if (!listLength) return E_POINTER;
        *listLength = nodes_.Length();
        return S_OK;
    }
    STDMETHODIMP nextNode(IXMLDOMNode** nextItem) override {
        return ReturnNode(tree_, nodes_.Next(), nextItem);
    }

private:
    TreePtr tree_;
    Sequence<pugi::xml_node> nodes_;
};

class Attributes final : public Object<Early<IXMLDOMNamedNodeMap>, IID_IXMLDOMNamedNodeMap, IID_IDispatch> {
public:
    Attributes(const TreePtr& tree, pugi::xml_node node)
        : tree_(tree), node_(node), attributes_(node.first_attribute()) {}

    STDMETHODIMP getNamedItem(BSTR name, IXMLDOMNode** namedItem) override try {
        const std::string wanted = ToUtf8({name ? name : L"", SysStringLen(name)});
        return ReturnAttribute(tree_, node_, node_.attribute(wanted.c_str()), namedItem);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    STDMETHODIMP get_item(LONG index, IXMLDOMNode** listItem) override {
        if (!listItem) return E_POINTER;
        *listItem = nullptr;
        return index < 0 ? E_INVALIDARG : ReturnAttribute(tree_, node_, attributes_.At(index), listItem);
    }
    STDMETHODIMP get_length(LONG* listLength) override {
        if (!listLength) return E_POINTER;
        *listLength = attributes_.Length();
        return S_OK;
    }
    STDMETHODIMP nextNode(IXMLDOMNode** nextItem) override {
        return ReturnAttribute(tree_, node_, attributes_.Next(), nextItem);
    }

private:
    TreePtr tree_;
    pugi::xml_node node_;
    Sequence<pugi::xml_attribute> attributes_;
};

class Cursor final : public IXmlCursor {
public:
    explicit Cursor(const TreePtr& tree) : tree_(tree), at_(tree_->document) {}

    void End() override { delete this; }
    bool Enter() override { return MoveTo(at_.first_child()); }
    bool Next() override { return MoveTo(at_.next_sibling()); }
    void Leave() override { at_ = at_.parent(); }
    bool Read(XmlElement& element) override try {
        attributes_.clear();
        long_texts_.clear();
        end_ = texts_;
        element.name = Widen(at_.name());
        for (pugi::xml_attribute each = at_.first_attribute(); each; each = each.next_attribute())
            attributes_.push_back({Widen(each.name()), Widen(each.value())});
        element.attributes = attributes_.data();
        element.attribute_count = attributes_.size();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }

private:
    bool MoveTo(pugi::xml_node node) {
        while (node && node.type() != pugi::node_element) node = node.next_sibling();
        if (node) at_ = node;
        return bool(node);
    }
    /// A text of the tree, which is valid UTF-8. Most are ASCII, and short.
    std::wstring_view Widen(const char* text) {
        const char* from = text;
        wchar_t* to = end_;
        const auto is_plain = [](unsigned char c) { return c > 0 && c < 0x80; };  // char may have no sign
        while (is_plain(static_cast<unsigned char>(*from)) && to != std::end(texts_))
            *to++ = static_cast<wchar_t>(*from++);
        if (*from) return long_texts_.emplace_back(ToWide(text));
        const wchar_t* const begin = std::exchange(end_, to);
        return {begin, static_cast<size_t>(to - begin)};
    }

    TreePtr tree_;
    pugi::xml_node at_;
    std::vector<XmlAttribute> attributes_;
    std::deque<std::wstring> long_texts_;  // they stay where they are
    wchar_t texts_[1024];
    wchar_t* end_ = texts_;
};

/// The whole file; false when it can't be read or is too big.
bool ReadWhole(const wchar_t* path, std::string& bytes) {
    const HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    LARGE_INTEGER size = {};
    bool good = GetFileSizeEx(file, &size) && size.QuadPart <= static_cast<LONGLONG>(kMaxXmlSize);
    try {
        if (good) bytes.resize(static_cast<size_t>(size.QuadPart));
    } catch (const std::bad_alloc&) {
        good = false;
    }
    size_t done = 0;
    while (good && done < bytes.size()) {
        DWORD read = 0;
        good = ReadFile(file, bytes.data() + done, static_cast<DWORD>(bytes.size() - done), &read, nullptr) &&
               read > 0;
        done += read;
    }
    CloseHandle(file);
    return good;
}

class Document final
    : public Object<NodeOf<IXMLDOMDocument>, IID_IXMLDOMDocument, IID_IXMLDOMNode, IID_IDispatch>,
      public IXmlCursorSource {
public:
    using Object::Object;

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
        if (iid != IID_IXmlCursorSource) return Object::QueryInterface(iid, result);
        if (!result) return E_POINTER;
        *result = static_cast<IXmlCursorSource*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return Object::AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return Object::Release(); }
    STDMETHODIMP NewCursor(IXmlCursor** cursor) override {
        if (!cursor) return E_POINTER;
        *cursor = nullptr;
        return Bounded(E_OUTOFMEMORY, [&] {  // its texts need memory too
            *cursor = new Cursor(tree_);
            return S_OK;
        });
    }

    STDMETHODIMP get_documentElement(IXMLDOMElement** DOMElement) override {
        if (!DOMElement) return E_POINTER;
        *DOMElement = nullptr;
        const pugi::xml_node root = tree_->document.document_element();
        if (!root) return S_FALSE;
        *DOMElement = new (std::nothrow) Element(tree_, root);
        return *DOMElement ? S_OK : E_OUTOFMEMORY;
    }
    STDMETHODIMP load(VARIANT xmlSource, VARIANT_BOOL* isSuccessful) override try {
        if (isSuccessful) *isSuccessful = VARIANT_FALSE;
        if (xmlSource.vt != VT_BSTR) return E_INVALIDARG;
        std::string text;
        const wchar_t* path = xmlSource.bstrVal;
        const bool read =
            path && std::wcslen(path) == SysStringLen(xmlSource.bstrVal) && ReadWhole(path, text);
        return Take(std::move(text), read, isSuccessful);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    STDMETHODIMP loadXML(BSTR bstrXML, VARIANT_BOOL* isSuccessful) override try {
        return Take(ToUtf8({bstrXML ? bstrXML : L"", SysStringLen(bstrXML)}), true, isSuccessful);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }

    STDMETHODIMP put_async(VARIANT_BOOL) override { return S_OK; }
    STDMETHODIMP put_validateOnParse(VARIANT_BOOL) override { return S_OK; }
    STDMETHODIMP put_resolveExternals(VARIANT_BOOL) override { return S_OK; }

private:
    HRESULT Take(std::string text, bool read, VARIANT_BOOL* isSuccessful) {
        TreePtr tree(new Tree);
        tree->text = std::move(text);
        const bool good = read && ToXmlUtf8(tree->text) && ParseXml(tree->document, tree->text);
        if (!good) tree->document.reset();
        tree_ = tree;
        node_ = tree_->document;
        if (isSuccessful) *isSuccessful = good ? VARIANT_TRUE : VARIANT_FALSE;
        return good ? S_OK : S_FALSE;
    }
};

HRESULT ReturnNode(const TreePtr& tree, pugi::xml_node node, IXMLDOMNode** result) {
    if (!result) return E_POINTER;
    *result = nullptr;
    if (!node) return S_FALSE;
    if (node.type() == pugi::node_element)
        *result = new (std::nothrow) Element(tree, node);
    else
        *result = new (std::nothrow) Leaf(tree, node);
    return *result ? S_OK : E_OUTOFMEMORY;
}

HRESULT ReturnAttribute(const TreePtr& tree, pugi::xml_node owner, pugi::xml_attribute attribute,
                        IXMLDOMNode** result) {
    if (!result) return E_POINTER;
    *result = nullptr;
    if (!attribute) return S_FALSE;
    *result = new (std::nothrow) Leaf(tree, owner, attribute);
    return *result ? S_OK : E_OUTOFMEMORY;
}

HRESULT ReturnChildren(const TreePtr& tree, pugi::xml_node node, IXMLDOMNodeList** result) {
    if (!result) return E_POINTER;
    *result = new (std::nothrow) Children(tree, node);
    return *result ? S_OK : E_OUTOFMEMORY;
}

HRESULT ReturnAttributes(const TreePtr& tree, pugi::xml_node node, IXMLDOMNamedNodeMap** result) {
    *result = new (std::nothrow) Attributes(tree, node);
    return *result ? S_OK : E_OUTOFMEMORY;
}

}  // namespace

HRESULT CreateXmlDocument(IUnknown* outer, REFIID iid, void** result) {
    if (outer) return CLASS_E_NOAGGREGATION;
    Tree* tree = new (std::nothrow) Tree;
    if (!tree) return E_OUTOFMEMORY;
    const TreePtr empty(tree);
    auto* const document = new (std::nothrow) Document(empty, tree->document);
    return HandOut(static_cast<IXMLDOMDocument*>(document), iid, result);
}

}  // namespace bv::platform
