#pragma once

// Checks that the state of the farm is what it must be.

#include "master/core/farm.h"

#include <vector>

namespace farm {

// What is wrong with the state, a line for each fault; empty when all is well. Walks
// over everything: for tests and simulations.
std::vector<String> Audit(Farm const& farm);

} // namespace farm
