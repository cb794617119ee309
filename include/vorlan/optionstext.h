#pragma once

// Text forms of maps, lists and sets, for values that hold more than one thing.

#include <corekit/optionmap.h>
#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>

#include <functional>
#include <set>
#include <string_view>
#include <vector>

namespace vorlan {

enum class OptionsToStringMode {
    OneLine, // for a value in a file or a message
    Lines,   // an option per line, for people
    Brief,   // one line, options with an empty value left out
};

// The text of a map, in braces: `{Name="a" Range="1-10"}`. Braces in it always
// balance and a comma stands between quotes only, whatever the names and values are,
// so that texts may be joined by commas. A UID that is not null stands in front:
// `type` as "#" and `id` as "@" with the UID.
String OptionsToString(OptionMap const& options, OptionsToStringMode mode = OptionsToStringMode::OneLine,
                       UID const& type = UID::Null, UID const& id = UID::Null);

// The map of a text. A text that is none gives an empty map and null UIDs.
OptionMap StringToOptions(String text, UID* type = nullptr, UID* id = nullptr);

// Reads one options text at the front of `text`, blanks before it skipped. Gives the
// number of bytes that it took, 0 if there is none.
size_t ParseOptions(std::string_view text, OptionMap& options, UID* type = nullptr, UID* id = nullptr);

// Longer texts of options are refused.
inline constexpr size_t k_MaxOptionsText = size_t{64} << 20;

// Joins texts so that StringToStrings gives the same list back, empty texts included.
String StringsToString(std::vector<String> const& strings, char separator, char escape);

// Splits at `separator`. `escape` before a separator or another escape makes it plain
// text; before anything else it is plain text itself. A separator at the very end
// ends the last text and starts no further one.
std::vector<String> StringToStrings(String const& text, char separator, char escape);

// UIDs as text, separated by commas; reading takes blanks and semicolons as well and
// leaves out what is no UID.
String UIDsToString(std::vector<UID> const& ids);
String UIDsToString(std::set<UID> const& ids);
std::vector<UID> StringToUIDs(std::string_view text);
// A list of ids or of names in which each that `find` knows has become an id, parted by commas. A name may have
// blanks in it; what nobody knows stays as it is.
String NamesToUIDs(String const& text, std::function<bool(String const& name, UID& id)> const& find);

} // namespace vorlan
