#pragma once

#include <vorlan/valueblock.h>
#include <vorlan/wire.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorlan {

// The names of the values of one kind of object: their numbers here, and their
// form on the wire, header and all, one behind the other. Objects of a kind have
// the same names in the same order, so that a name costs a comparison.
struct ValueShape {
    // Larger objects are coded the slow way.
    static constexpr size_t k_MaxNames = 256;
    static constexpr size_t k_MaxBytes = 8192;

    std::vector<uint32_t> numbers;
    std::vector<uint16_t> sizes;
    std::string names;

    void Add(std::string_view name, uint32_t number);
    void Clear();
};

// The shapes of the objects that a thread has coded last, one for each kind that
// is in use, within reason.
class ValueShapes {
public:
    static constexpr size_t k_Shapes = 16;

    // The first that fits, looking at the one used last first; null if none does.
    template <class Fits>
    ValueShape const* Find(Fits fits) {
        for (size_t i = 0; i < k_Shapes; ++i) {
            size_t const at = (m_last + i) % k_Shapes;
            if (fits(m_shapes[at])) {
                m_last = at;
                return &m_shapes[at];
            }
        }
        return nullptr;
    }
    // An empty one in place of the oldest.
    ValueShape& Renew();

private:
    std::array<ValueShape, k_Shapes> m_shapes;
    size_t m_last = 0;
    size_t m_oldest = 0;
};

// Writes the values of an object as a map of name and text. One per thread.
class ValueWriter {
public:
    static ValueWriter& OfThisThread();
    void Write(MessageWriter& writer, ValueBlock const& values);

private:
    ValueShapes m_shapes;
};

// Reads such a map into a block, the texts straight from the message's body into
// their place. One per thread.
class ValueReader {
public:
    static ValueReader& OfThisThread();
    // Throws ParseException.
    boost::shared_ptr<ValueBlock const> Read(MessageReader& reader);

private:
    bool Fits(ValueShape const& shape, size_t count, std::string_view body);
    boost::shared_ptr<ValueBlock const> TakeBlock(MessageReader& reader, ValueShape const& shape);
    boost::shared_ptr<ValueBlock const> ReadAny(MessageReader& reader, size_t count);

    ValueShapes m_shapes;
    ValueBlockBuilder m_builder;
    std::vector<std::string_view> m_names;
    // Of the map that fitted a shape: where the texts begin, and where they end in
    // the block.
    std::vector<char const*> m_starts;
    std::vector<uint32_t> m_ends;
    size_t m_used = 0;
};

} // namespace vorlan
