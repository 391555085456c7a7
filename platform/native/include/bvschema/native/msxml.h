// The XML document, for reading alone: operations that edit or query aren't declared.
#pragma once

#include "oaidl.h"

struct IXMLDOMNodeList;
struct IXMLDOMNamedNodeMap;
struct IXMLDOMElement;

enum DOMNodeType {
    NODE_INVALID,
    NODE_ELEMENT,
    NODE_ATTRIBUTE,
    NODE_TEXT,
    NODE_CDATA_SECTION,
    NODE_ENTITY_REFERENCE,
    NODE_ENTITY,
    NODE_PROCESSING_INSTRUCTION,
    NODE_COMMENT,
    NODE_DOCUMENT,
    NODE_DOCUMENT_TYPE,
    NODE_DOCUMENT_FRAGMENT,
    NODE_NOTATION
};

/// A node of a document: element, attribute, text, comment, instruction (the XML declaration is one), or the
/// document itself. It keeps what was loaded alive. What isn't there is a null pointer and S_FALSE.
struct IXMLDOMNode : IDispatch {
    STDMETHOD(get_nodeName)(BSTR* name) PURE;
    STDMETHOD(get_nodeType)(DOMNodeType* type) PURE;
    STDMETHOD(get_parentNode)(IXMLDOMNode** parent) PURE;
    STDMETHOD(get_childNodes)(IXMLDOMNodeList** childList) PURE;
    STDMETHOD(get_firstChild)(IXMLDOMNode** firstChild) PURE;
    STDMETHOD(get_nextSibling)(IXMLDOMNode** nextSibling) PURE;
    /// Of an element or the XML declaration.
    STDMETHOD(get_attributes)(IXMLDOMNamedNodeMap** attributeMap) PURE;
    /// The text of the node and of all elements in it.
    STDMETHOD(get_text)(BSTR* text) PURE;
};

struct IXMLDOMNodeList : IDispatch {
    /// S_FALSE past the end; E_INVALIDARG below 0.
    STDMETHOD(get_item)(LONG index, IXMLDOMNode** listItem) PURE;
    STDMETHOD(get_length)(LONG* listLength) PURE;
    STDMETHOD(nextNode)(IXMLDOMNode** nextItem) PURE;
};

struct IXMLDOMNamedNodeMap : IDispatch {
    STDMETHOD(getNamedItem)(BSTR name, IXMLDOMNode** namedItem) PURE;
    STDMETHOD(get_item)(LONG index, IXMLDOMNode** listItem) PURE;
    STDMETHOD(get_length)(LONG* listLength) PURE;
    STDMETHOD(nextNode)(IXMLDOMNode** nextItem) PURE;
};

/// A document. It is well-formed in these points: one document element, no text outside it, no doubled
/// attribute, only the five named references and those by number. Nesting goes to 256, size to 256 MiB. A
/// document type is passed over. Bytes that are valid UTF-8 are read as such, others in the encoding that the
/// declaration names; UTF-16 is known by its mark.
struct IXMLDOMDocument : IXMLDOMNode {
    STDMETHOD(get_documentElement)(IXMLDOMElement** DOMElement) PURE;
    /// xmlSource: the path of a file, VT_BSTR. A file that can't be read or is no document leaves an empty
    /// document, VARIANT_FALSE and S_FALSE.
    STDMETHOD(load)(VARIANT xmlSource, VARIANT_BOOL* isSuccessful) PURE;
    /// Loading is never done in the background; this and the other switches are taken and change nothing.
    STDMETHOD(put_async)(VARIANT_BOOL isAsync) PURE;
    /// The same from a text; the encoding that its declaration names has no meaning.
    STDMETHOD(loadXML)(BSTR bstrXML, VARIANT_BOOL* isSuccessful) PURE;
    STDMETHOD(put_validateOnParse)(VARIANT_BOOL isValidating) PURE;
    STDMETHOD(put_resolveExternals)(VARIANT_BOOL isResolving) PURE;
};

struct IXMLDOMElement : IXMLDOMNode {};

inline constexpr IID IID_IXMLDOMNode = {
    0x2933BF80, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
inline constexpr IID IID_IXMLDOMDocument = {
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
inline constexpr IID IID_IXMLDOMNodeList = {
    0x2933BF82, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
inline constexpr IID IID_IXMLDOMNamedNodeMap = {
    0x2933BF83, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
inline constexpr IID IID_IXMLDOMElement = {
    0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
inline constexpr CLSID CLSID_DOMDocument = {
    0x2933BF90, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
