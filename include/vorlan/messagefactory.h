#pragma once

#include <vorlan/message.h>

#include <vector>

namespace vorlan {

// One field of a message as the documentation shows it.
struct FieldDescription {
    String name;
    String type;
    String help;
    unsigned since = 0; // the version that brought it, as of k_VorlanVersion
};

// One kind of message, or one record inside messages (its type is null then).
struct MessageDescription {
    UID type;
    String name;
    String about;
    unsigned ways = 0; // MessageWays
    unsigned since = 0;
    std::vector<FieldDescription> fields;
};

// Makes messages by their type. All kinds are registered at the first call, by
// an explicit list, so that a linker cannot drop one. Any thread.
class MessageFactory {
public:
    using Maker = boost::shared_ptr<Message> (*)();

    // Null for a type that is not known.
    static boost::shared_ptr<Message> CreateMessage(UID const& type);
    // Empty for a type that is not known.
    static char const* TypeName(UID const& type);

    // All kinds in the order of their groups, then the records inside them.
    static std::vector<MessageDescription> Describe();
    // The kinds by name.
    static std::vector<UID> Types();
};

} // namespace vorlan
