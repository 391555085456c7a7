// The whole schema as data, for tools that know no component model.
#pragma once

#include <bvschema/host/job.h>

#include <string>

namespace bv::inline host {

/// All settings of all choices as a JSON document: for each its path, name, title, help, class, style word,
/// editor, type, default, choices, units, the range of numbers that the tree takes, and whether a new job
/// shows it; where it doesn't, what shows it, as Why tells. `docs/bvschema.schema.json` describes it. It
/// takes about half a second, as every choice is tried. Throws Error.
std::string SchemaJson();

}  // namespace bv::inline host
