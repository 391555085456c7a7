// How a module learns that a class id still leads where it led when it last looked.
#pragma once

#include <cstdint>

/// 0: the system doesn't tell, each creation has to ask.
constexpr std::uint64_t BvClassChanges() { return 0; }
