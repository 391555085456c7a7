// The platform's XML document.
#pragma once

#include <bvschema/bvschema.h>
#include <msxml.h>

BV_SYSTEM_INTERFACE_ID(IXMLDOMNode, "2933BF80-7B36-11D2-B20E-00C04F983E60")
BV_SYSTEM_INTERFACE_ID(IXMLDOMDocument, "2933BF81-7B36-11D2-B20E-00C04F983E60")

namespace bv {
inline constexpr CLSID kXmlDocument = GuidOf("2933BF90-7B36-11D2-B20E-00C04F983E60");
}
