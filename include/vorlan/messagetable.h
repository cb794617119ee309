#pragma once

// How kinds of messages are written down: each is one row of a table, in one of the
// headers messages_*.h, and nothing else. Encoding, decoding, the line in the log, the
// registration and the tables of docs/protocol.md all follow from the row.
//
//     VORLAN_MESSAGE(DeleteJobMsg, FromClients | ToClients, k_V300, "A Job is gone, or is to go.",
//         (UID, job, "Job", "the Job"),
//         (bool, immediately, "Immediately", "without waiting for its running work"));
//
// The name, who sends it to whom, the version that brought it, a sentence about it; then
// a line for each field: its type, its member, its name on the wire, its meaning, and the
// version that brought it if that is a later one. A type with a comma needs a name of its
// own (`using`).
//
// A kind with functions of its own is declared by VORLAN_MESSAGE_FIELDS in the same way,
// and its struct follows:
//
//     VORLAN_MESSAGE_FIELDS(NoFields, StopWorkMsg, FromClients, k_V300, "...", (...));
//     struct StopWorkMsg : MessageOf<StopWorkMsg> { ... };
//
// A header of messages defines VORLAN_MESSAGE_GROUP, the name of its table, before the
// first row; the file beside messages/messagecodec.h that registers the table names it.

#include <vorlan/field.h>
#include <vorlan/message.h>

#include <boost/preprocessor/punctuation/comma_if.hpp>
#include <boost/preprocessor/seq/for_each_i.hpp>
#include <boost/preprocessor/variadic/to_seq.hpp>

#include <tuple>

namespace vorlan {

// Who sends a kind, and who gets it; bits. Tools count as clients. The Master is the other
// end, or stands in between where both a sender and a receiver are named.
enum MessageWays : unsigned { FromClients = 1, FromEngines = 2, ToClients = 4, ToEngines = 8 };

// The base of fields that have none in common with another kind.
struct NoFields {
    static constexpr auto Fields() { return std::tuple<>{}; }
};

// A place in a table. The overloads of MessageAt give the kind that stands there, so that
// a table can be walked through without a second list of its names.
template <int Line>
struct TableLine {};

} // namespace vorlan

#define VORLAN_MEMBER_(type, member, ...) type member{};
#define VORLAN_MEMBER_OF_(r, data, i, row) VORLAN_MEMBER_ row
#define VORLAN_ENTRY_(type, member, name, ...) Field(name, &Self::member, __VA_ARGS__)
#define VORLAN_ENTRY_OF_(r, data, i, row) BOOST_PP_COMMA_IF(i) VORLAN_ENTRY_ row
#define VORLAN_ROWS_(macro, ...) __VA_OPT__(BOOST_PP_SEQ_FOR_EACH_I(macro, ~, BOOST_PP_VARIADIC_TO_SEQ(__VA_ARGS__)))

// The members and Fields(), inside the class `Class`. Fields() is a template so that only
// those who ask for the fields build the list of them.
#define VORLAN_FIELDS(Class, Base, ...)                                                                                \
    VORLAN_ROWS_(VORLAN_MEMBER_OF_, __VA_ARGS__)                                                                       \
    template <class Self = Class>                                                                                      \
    static constexpr auto Fields() {                                                                                   \
        return std::tuple_cat(Base::Fields(), std::tuple{VORLAN_ROWS_(VORLAN_ENTRY_OF_, __VA_ARGS__)});                \
    }

#define VORLAN_MESSAGE_FIELDS(Base, Name, ways, since, about, ...)                                                     \
    struct Name;                                                                                                       \
    Name* MessageAt(VORLAN_MESSAGE_GROUP*, TableLine<__LINE__>);                                                       \
    template <>                                                                                                        \
    struct FieldsOf<Name> : Base {                                                                                     \
        static constexpr char const* k_Name = #Name;                                                                   \
        static constexpr unsigned k_Ways = ways;                                                                       \
        static constexpr unsigned k_Since = since;                                                                     \
        static constexpr char const* k_About = about;                                                                  \
        VORLAN_FIELDS(FieldsOf, Base, __VA_ARGS__)                                                                     \
    }

#define VORLAN_MESSAGE_ON(Base, Name, ...)                                                                             \
    VORLAN_MESSAGE_FIELDS(Base, Name, __VA_ARGS__);                                                                    \
    struct Name : MessageOf<Name> {}
#define VORLAN_MESSAGE(Name, ...) VORLAN_MESSAGE_ON(NoFields, Name, __VA_ARGS__)

// A record inside messages, in the same form: no ways, and no type of its own.
#define VORLAN_RECORD(Name, ...)                                                                                       \
    struct Name {                                                                                                      \
        static constexpr char const* k_Name = #Name;                                                                   \
        VORLAN_FIELDS(Name, NoFields, __VA_ARGS__)                                                                     \
        bool operator==(Name const&) const = default;                                                                  \
    }
