// The filters that components offer for a job's list of filters.
#pragma once

#include <string>
#include <vector>

#include <bvschema/host/value.h>

namespace bv::inline host {

struct OfferedFilter {
    std::string label;     // for people
    std::string name;      // of its node, as a settings file has it
    Ref<IUnknown> filter;  // a new one, which may go into a list
};
std::vector<OfferedFilter> OfferedFilters();

}  // namespace bv::inline host
