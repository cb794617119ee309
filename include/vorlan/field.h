#pragma once

namespace vorlan {

// The versions of this program that brought messages or fields, as of k_VorlanVersion.
inline constexpr unsigned k_V300 = 30000;

// One field of a message or of a record inside one: its name on the wire, the member that
// holds it, a sentence for the protocol's documentation and the version that brought it.
// A class lists its fields once, in `static constexpr auto Fields()`; encoding,
// decoding, log text and documentation all follow from that list.
template <class Class, class Value>
struct Field {
    using ValueType = Value;

    constexpr Field(char const* fieldName, Value Class::*fieldMember, char const* fieldHelp,
                    unsigned sinceVersion = k_V300)
        : name(fieldName), member(fieldMember), help(fieldHelp), since(sinceVersion) {}

    char const* name;
    Value Class::*member;
    char const* help;
    unsigned since;
};

} // namespace vorlan
