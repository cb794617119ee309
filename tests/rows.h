#pragma once

#include <tuple>
#include <vector>

// The cases of one test, a row each. What the parts are is said where they are read:
// for (auto const& [text, expected] : rows).
template <class... Parts>
using Rows = std::vector<std::tuple<Parts...>>;
