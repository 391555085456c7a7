// What the layer for hosts has round the component model, under the names of this program.
#pragma once

#include <bvschema/host/com.h>
#include <bvschema/host/value.h>

namespace host {

using bv::Ask;
using bv::IsWhole;
using bv::Ref;
using bv::Text;
using bv::TextResult;
using bv::Value;

}  // namespace host
