// The registry, as a test looks at it.
#pragma once

#include <string>
#include <vector>

#include <bvschema/platform.h>

#include "support/node.h"

namespace bv::test {

/// All that stands below a key, a line each: "path" or "path = default value", then "  name = value" for the
/// named values. Numbers are #decimal, bytes are hexadecimal. Empty when there is no such key, or nothing in
/// it.
std::string Snapshot(HKEY root, const std::wstring& path);

/// A text value, empty when there is none. A null name is the default value.
std::wstring TextValue(HKEY root, const std::wstring& path, const wchar_t* name = nullptr);

bool KeyExists(HKEY root, const std::wstring& path);

}  // namespace bv::test
