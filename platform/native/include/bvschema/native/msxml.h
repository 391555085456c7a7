// The XML document: reading alone. Operations that edit or query are in the tables for their places and give
// E_NOTIMPL.
#pragma once

#include "oaidl.h"

struct IXMLDOMNodeList;
struct IXMLDOMNamedNodeMap;
struct IXMLDOMDocument;
struct IXMLDOMDocumentType;
struct IXMLDOMImplementation;
struct IXMLDOMElement;
struct IXMLDOMDocumentFragment;
struct IXMLDOMText;
struct IXMLDOMComment;
struct IXMLDOMCDATASection;
struct IXMLDOMProcessingInstruction;
struct IXMLDOMAttribute;
struct IXMLDOMEntityReference;
struct IXMLDOMParseError;

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
    /// Text of a node that has some of its own; VT_NULL and S_FALSE for an element and the document.
    STDMETHOD(get_nodeValue)(VARIANT* value) PURE;
    STDMETHOD(put_nodeValue)(VARIANT value) PURE;
    STDMETHOD(get_nodeType)(DOMNodeType* type) PURE;
    STDMETHOD(get_parentNode)(IXMLDOMNode** parent) PURE;
    STDMETHOD(get_childNodes)(IXMLDOMNodeList** childList) PURE;
    STDMETHOD(get_firstChild)(IXMLDOMNode** firstChild) PURE;
    STDMETHOD(get_lastChild)(IXMLDOMNode** lastChild) PURE;
    STDMETHOD(get_previousSibling)(IXMLDOMNode** previousSibling) PURE;
    STDMETHOD(get_nextSibling)(IXMLDOMNode** nextSibling) PURE;
    /// Of an element or the XML declaration.
    STDMETHOD(get_attributes)(IXMLDOMNamedNodeMap** attributeMap) PURE;
    STDMETHOD(insertBefore)(IXMLDOMNode* newChild, VARIANT refChild, IXMLDOMNode** outNewChild) PURE;
    STDMETHOD(replaceChild)(IXMLDOMNode* newChild, IXMLDOMNode* oldChild, IXMLDOMNode** outOldChild) PURE;
    STDMETHOD(removeChild)(IXMLDOMNode* childNode, IXMLDOMNode** oldChild) PURE;
    STDMETHOD(appendChild)(IXMLDOMNode* newChild, IXMLDOMNode** outNewChild) PURE;
    STDMETHOD(hasChildNodes)(VARIANT_BOOL* hasChild) PURE;
    STDMETHOD(get_ownerDocument)(IXMLDOMDocument** DOMDocument) PURE;
    STDMETHOD(cloneNode)(VARIANT_BOOL deep, IXMLDOMNode** cloneRoot) PURE;
    STDMETHOD(get_nodeTypeString)(BSTR* nodeType) PURE;
    /// The text of the node and of all elements in it.
    STDMETHOD(get_text)(BSTR* text) PURE;
    STDMETHOD(put_text)(BSTR text) PURE;
    STDMETHOD(get_specified)(VARIANT_BOOL* isSpecified) PURE;
    STDMETHOD(get_definition)(IXMLDOMNode** definitionNode) PURE;
    STDMETHOD(get_nodeTypedValue)(VARIANT* typedValue) PURE;
    STDMETHOD(put_nodeTypedValue)(VARIANT typedValue) PURE;
    STDMETHOD(get_dataType)(VARIANT* dataTypeName) PURE;
    STDMETHOD(put_dataType)(BSTR dataTypeName) PURE;
    STDMETHOD(get_xml)(BSTR* xmlString) PURE;
    STDMETHOD(transformNode)(IXMLDOMNode* stylesheet, BSTR* xmlString) PURE;
    STDMETHOD(selectNodes)(BSTR queryString, IXMLDOMNodeList** resultList) PURE;
    STDMETHOD(selectSingleNode)(BSTR queryString, IXMLDOMNode** resultNode) PURE;
    STDMETHOD(get_parsed)(VARIANT_BOOL* isParsed) PURE;
    STDMETHOD(get_namespaceURI)(BSTR* namespaceURI) PURE;
    STDMETHOD(get_prefix)(BSTR* prefixString) PURE;
    STDMETHOD(get_baseName)(BSTR* nameString) PURE;
    STDMETHOD(transformNodeToObject)(IXMLDOMNode* stylesheet, VARIANT outputObject) PURE;
};

struct IXMLDOMNodeList : IDispatch {
    /// S_FALSE past the end; E_INVALIDARG below 0.
    STDMETHOD(get_item)(LONG index, IXMLDOMNode** listItem) PURE;
    STDMETHOD(get_length)(LONG* listLength) PURE;
    STDMETHOD(nextNode)(IXMLDOMNode** nextItem) PURE;
    STDMETHOD(reset)() PURE;
    STDMETHOD(get__newEnum)(IUnknown** ppUnk) PURE;
};

struct IXMLDOMNamedNodeMap : IDispatch {
    STDMETHOD(getNamedItem)(BSTR name, IXMLDOMNode** namedItem) PURE;
    STDMETHOD(setNamedItem)(IXMLDOMNode* newItem, IXMLDOMNode** nameItem) PURE;
    STDMETHOD(removeNamedItem)(BSTR name, IXMLDOMNode** namedItem) PURE;
    STDMETHOD(get_item)(LONG index, IXMLDOMNode** listItem) PURE;
    STDMETHOD(get_length)(LONG* listLength) PURE;
    STDMETHOD(getQualifiedItem)(BSTR baseName, BSTR namespaceURI, IXMLDOMNode** qualifiedItem) PURE;
    STDMETHOD(removeQualifiedItem)(BSTR baseName, BSTR namespaceURI, IXMLDOMNode** qualifiedItem) PURE;
    STDMETHOD(nextNode)(IXMLDOMNode** nextItem) PURE;
    STDMETHOD(reset)() PURE;
    STDMETHOD(get__newEnum)(IUnknown** ppUnk) PURE;
};

/// A document. It is well-formed in these points: one document element, no text outside it, no doubled
/// attribute, only the five named references and those by number. Nesting goes to 256, size to 256 MiB. A
/// document type is passed over. Bytes that are valid UTF-8 are read as such, others in the encoding that the
/// declaration names; UTF-16 is known by its mark.
struct IXMLDOMDocument : IXMLDOMNode {
    STDMETHOD(get_doctype)(IXMLDOMDocumentType** documentType) PURE;
    STDMETHOD(get_implementation)(IXMLDOMImplementation** impl) PURE;
    STDMETHOD(get_documentElement)(IXMLDOMElement** DOMElement) PURE;
    STDMETHOD(putref_documentElement)(IXMLDOMElement* DOMElement) PURE;
    STDMETHOD(createElement)(BSTR tagName, IXMLDOMElement** element) PURE;
    STDMETHOD(createDocumentFragment)(IXMLDOMDocumentFragment** docFrag) PURE;
    STDMETHOD(createTextNode)(BSTR data, IXMLDOMText** text) PURE;
    STDMETHOD(createComment)(BSTR data, IXMLDOMComment** comment) PURE;
    STDMETHOD(createCDATASection)(BSTR data, IXMLDOMCDATASection** cdata) PURE;
    STDMETHOD(createProcessingInstruction)(BSTR target, BSTR data, IXMLDOMProcessingInstruction** pi) PURE;
    STDMETHOD(createAttribute)(BSTR name, IXMLDOMAttribute** attribute) PURE;
    STDMETHOD(createEntityReference)(BSTR name, IXMLDOMEntityReference** entityRef) PURE;
    STDMETHOD(getElementsByTagName)(BSTR tagName, IXMLDOMNodeList** resultList) PURE;
    STDMETHOD(createNode)(VARIANT Type, BSTR name, BSTR namespaceURI, IXMLDOMNode** node) PURE;
    STDMETHOD(nodeFromID)(BSTR idString, IXMLDOMNode** node) PURE;
    /// xmlSource: the path of a file, VT_BSTR. A file that can't be read or is no document leaves an empty
    /// document, VARIANT_FALSE and S_FALSE.
    STDMETHOD(load)(VARIANT xmlSource, VARIANT_BOOL* isSuccessful) PURE;
    STDMETHOD(get_readyState)(LONG* value) PURE;
    STDMETHOD(get_parseError)(IXMLDOMParseError** errorObj) PURE;
    STDMETHOD(get_url)(BSTR* urlString) PURE;
    STDMETHOD(get_async)(VARIANT_BOOL* isAsync) PURE;
    /// Loading is never done in the background; this and the other switches are taken and change nothing.
    STDMETHOD(put_async)(VARIANT_BOOL isAsync) PURE;
    STDMETHOD(abort)() PURE;
    /// The same from a text; the encoding that its declaration names has no meaning.
    STDMETHOD(loadXML)(BSTR bstrXML, VARIANT_BOOL* isSuccessful) PURE;
    STDMETHOD(save)(VARIANT destination) PURE;
    STDMETHOD(get_validateOnParse)(VARIANT_BOOL* isValidating) PURE;
    STDMETHOD(put_validateOnParse)(VARIANT_BOOL isValidating) PURE;
    STDMETHOD(get_resolveExternals)(VARIANT_BOOL* isResolving) PURE;
    STDMETHOD(put_resolveExternals)(VARIANT_BOOL isResolving) PURE;
    STDMETHOD(get_preserveWhiteSpace)(VARIANT_BOOL* isPreserving) PURE;
    STDMETHOD(put_preserveWhiteSpace)(VARIANT_BOOL isPreserving) PURE;
    STDMETHOD(put_onreadystatechange)(VARIANT readystatechangeSink) PURE;
    STDMETHOD(put_ondataavailable)(VARIANT ondataavailableSink) PURE;
    STDMETHOD(put_ontransformnode)(VARIANT ontransformnodeSink) PURE;
};

struct IXMLDOMElement : IXMLDOMNode {
    STDMETHOD(get_tagName)(BSTR* tagName) PURE;
    /// VT_NULL and S_FALSE when there is no such attribute.
    STDMETHOD(getAttribute)(BSTR name, VARIANT* value) PURE;
    STDMETHOD(setAttribute)(BSTR name, VARIANT value) PURE;
    STDMETHOD(removeAttribute)(BSTR name) PURE;
    STDMETHOD(getAttributeNode)(BSTR name, IXMLDOMAttribute** attributeNode) PURE;
    STDMETHOD(setAttributeNode)(IXMLDOMAttribute* DOMAttribute, IXMLDOMAttribute** attributeNode) PURE;
    STDMETHOD(removeAttributeNode)(IXMLDOMAttribute* DOMAttribute, IXMLDOMAttribute** attributeNode) PURE;
    STDMETHOD(getElementsByTagName)(BSTR tagName, IXMLDOMNodeList** resultList) PURE;
    STDMETHOD(normalize)() PURE;
};

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
