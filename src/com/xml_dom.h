// The platform's XML document.
#pragma once

#include <bv_xml_cursor.h>
#include <bvschema/bvschema.h>
#include <msxml.h>

#include "com/com_ptr.h"

BV_SYSTEM_INTERFACE_ID(IXMLDOMNode, "2933BF80-7B36-11D2-B20E-00C04F983E60")
BV_SYSTEM_INTERFACE_ID(IXMLDOMDocument, "2933BF81-7B36-11D2-B20E-00C04F983E60")

namespace bv {
inline constexpr CLSID kXmlDocument = GuidOf("2933BF90-7B36-11D2-B20E-00C04F983E60");

template <>
inline constexpr IID kIid<IXmlCursorSource> = IID_IXmlCursorSource;

/// A cursor for a document: its own, else one over its nodes. Null: no memory.
ComPtr<IXmlCursor> CursorOf(IXMLDOMDocument* document);

}  // namespace bv
