#pragma once

// All options that the client keeps on this machine.

#include <corekit/inifile.h>
#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <span>
#include <vector>

namespace vorlan {

enum class OptionType { Bool, Int, Unsigned, Float, Color, Text };

struct LocalOption {
    char const* section;
    char const* key; // one that ends with '*' stands for all that begin so
    OptionType type;
    char const* missing; // what holds without it, as text; null: it depends on who asks
    char const* about;
};

std::span<LocalOption const> LocalOptions();
// Null for a key that is none, and for those of sections that are not in the table.
LocalOption const* FindLocalOption(String const& section, String const& key);

// What is wrong with the options of the sections in the table, a line each: keys that
// nobody reads, and values that are not of their type.
std::vector<String> CheckLocalOptions(IniFile const& options);

} // namespace vorlan
