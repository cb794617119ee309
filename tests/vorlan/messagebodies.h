#pragma once

#include <vorlan/messagefactory.h>

#include <msgpack.hpp>

#include <random>

namespace vorlan::test {

// Makes bodies of messages from their descriptions with the msgpack library, and
// so without the code under test.
class BodyMaker {
public:
    explicit BodyMaker(unsigned seed);

    // All fields, or each with even odds. With `strangers` there are fields that
    // no program knows between them.
    enum class Fields { All, Some, AllAndStrangers };
    std::string Body(MessageDescription const& message, Fields fields);

    UID Id();
    std::string Text();

private:
    using Packer = msgpack::packer<msgpack::sbuffer>;

    void Record(Packer& out, MessageDescription const& record, Fields fields);
    void Value(Packer& out, std::string_view type);
    void Object(Packer& out, bool parent);
    void JobHistoryValue(Packer& out);
    void PackText(Packer& out, std::string const& text);
    void PackId(Packer& out);
    void Stranger(Packer& out);
    int64_t Number(int bits, bool isSigned);
    size_t Below(size_t limit) { return m_random() % limit; }

    std::mt19937 m_random;
    corekit::vector<MessageDescription> m_records;
};

// Whether two bodies say the same: the order of maps, and of lists of values that
// could be sets, does not count.
bool SameContent(std::string_view a, std::string_view b);

// One value of each field of a map on the wire, as text for failures.
std::string Shown(std::string_view body);

} // namespace vorlan::test
