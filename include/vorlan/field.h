#pragma once

namespace vorlan {

// One field of a message or of a record inside one: its name on the wire, the
// member that holds it and a sentence for the protocol's documentation.
// A class lists its fields once, in `static constexpr auto Fields()`; encoding,
// decoding, log text and documentation all follow from that list.
template <class Class, class Value>
struct Field {
    using ValueType = Value;

    constexpr Field(char const* fieldName, Value Class::*fieldMember, char const* fieldHelp)
        : name(fieldName), member(fieldMember), help(fieldHelp) {}

    char const* name;
    Value Class::*member;
    char const* help;
};

} // namespace vorlan
