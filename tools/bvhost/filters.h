// The filters that components offer for a job's list of filters.
#pragma once

#include <string>
#include <vector>

#include "com.h"

namespace host {

struct OfferedFilter {
    std::wstring label;    // for people
    std::wstring name;     // of its node, as a settings file has it
    Ref<IUnknown> filter;  // a new one, which may go into a list
};
std::vector<OfferedFilter> OfferedFilters();

}  // namespace host
