// Classes that the layer itself supplies: a line in the table in classes.cpp each.
#pragma once

#include "unknwn.h"

namespace bv::platform {

/// The media framework's device enumerator. S_OK, or E_NOINTERFACE, CLASS_E_NOAGGREGATION, E_OUTOFMEMORY.
HRESULT CreateDeviceEnumerator(IUnknown* outer, REFIID iid, void** result);

/// An empty XML document. The same statuses.
HRESULT CreateXmlDocument(IUnknown* outer, REFIID iid, void** result);

}  // namespace bv::platform
