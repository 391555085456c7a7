// The platform's XML document.
#pragma once

#include <bv_xml_cursor.h>
#include <bvschema/bvschema.h>
#include <msxml.h>

#include <memory>

#include "com/com_ptr.h"

BV_SYSTEM_INTERFACE_ID(IXMLDOMNode, "2933BF80-7B36-11D2-B20E-00C04F983E60")
BV_SYSTEM_INTERFACE_ID(IXMLDOMDocument, "2933BF81-7B36-11D2-B20E-00C04F983E60")

namespace bv {
inline constexpr CLSID kXmlDocument = GuidOf("2933BF90-7B36-11D2-B20E-00C04F983E60");

template <>
inline constexpr IID kIid<IXmlCursorSource> = IID_IXmlCursorSource;

struct EndCursor {
    void operator()(IXmlCursor* cursor) const { cursor->End(); }
};
using XmlCursor = std::unique_ptr<IXmlCursor, EndCursor>;

/// A cursor for a document: its own, else one over its nodes. Null: no memory.
XmlCursor CursorOf(IXMLDOMDocument* document);

}  // namespace bv
