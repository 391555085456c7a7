// What a node is, as constant data.
#pragma once

#include <bvschema/bvschema.h>
#include <bvschema/rows.h>

#include "com/strings.h"
#include "com/variant.h"

namespace bv {

/// One entry of a value list. NodeOf(class) as value: an entry that brings its own settings.
struct Choice {
    LiteralText label;
    Literal value;
};

/// The filter object, outside the server, that a node of the class PropertyFilterImpl stands for.
struct FilterDecl {
    const wchar_t* name;  // of the filter's own node
    const CLSID& cls;
};

/// What a node holds when its creation call returns. Constant data: texts are literals, arrays are static.
struct NodeDecl {
    LiteralText name = {};                // identifier for search and XML
    CLSID cls = clsid::PropertySimple;    // own class; in `children`, the class to create
    LiteralText title = {};               // shown beside the value
    LONG type = 0;                        // style word of bv::style; the server acts on kNotNegative alone
    int description = 0;                  // of bv::help, 0: none
    LiteralText help = {};                // description as a text of its own
    Literal value = {};                   // I4(1), Text(L""), Empty(); {}: no store, a group
    Rows<Choice> choices = {};            // value list, in the order shown
    Rows<NodeDecl> children = {};         // in tree order
    const NodeDecl* extension = nullptr;  // unit or converter beside the value
    const FilterDecl* filter = nullptr;   // to be created once the node is in the tree
    bool hidden = false;
    bool disabled = false;
};

}  // namespace bv
