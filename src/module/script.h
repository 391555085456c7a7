// The language of registry scripts: keys in blocks, with their values.
// The same script registers and unregisters.
#pragma once

#include <bvschema/platform.h>

#include <span>
#include <string>
#include <string_view>

namespace bv {

/// What stands for %Name% in a script, without regard to case.
struct Replacement {
    std::string_view name;
    std::string_view value;
};

/// Puts the replacements in. E_FAIL for a name of more than 31 characters; DISP_E_EXCEPTION for one that
/// isn't closed or isn't there. Throws std::bad_alloc.
HRESULT Substitute(std::string_view text, std::span<const Replacement> replacements, std::string& result);

/// Substitutes and interprets a script, up to a NUL if there is one. registering: writes what the script
/// says; a block that fails is taken back. Otherwise deletes it: a key goes when nothing is left in it that
/// the script doesn't know. DISP_E_EXCEPTION for a syntax error or a key that can't be created, E_FAIL for
/// bytes of odd length. Throws std::bad_alloc.
HRESULT RunScript(std::string_view text, std::span<const Replacement> replacements, bool registering);

}  // namespace bv
