#include "valuewire.h"

#include <corekit/exception.h>

#include <algorithm>
#include <cstring>

namespace vorlan {

namespace {

static_assert(limits::k_MaxValues <= ValueBlock::k_MaxValues);

// Most names and texts are short; for them a call costs more than the copy. Two
// pieces of a fixed size that may overlap cover each length.
template <size_t Piece>
void CopyEnds(char* to, char const* from, size_t bytes) {
    std::memcpy(to, from, Piece);
    std::memcpy(to + bytes - Piece, from + bytes - Piece, Piece);
}

inline void CopyBytes(char* to, char const* from, size_t bytes) {
    if (bytes > 32)
        std::memcpy(to, from, bytes);
    else if (bytes >= 16)
        CopyEnds<16>(to, from, bytes);
    else if (bytes >= 8)
        CopyEnds<8>(to, from, bytes);
    else if (bytes >= 4)
        CopyEnds<4>(to, from, bytes);
    else {
        for (size_t i = 0; i < bytes; ++i)
            to[i] = from[i];
    }
}

template <size_t Piece>
bool SameEnds(char const* a, char const* b, size_t bytes) {
    return std::memcmp(a, b, Piece) == 0 && std::memcmp(a + bytes - Piece, b + bytes - Piece, Piece) == 0;
}

inline bool SameBytes(char const* a, char const* b, size_t bytes) {
    if (bytes > 32)
        return std::memcmp(a, b, bytes) == 0;
    if (bytes >= 16)
        return SameEnds<16>(a, b, bytes);
    if (bytes >= 8)
        return SameEnds<8>(a, b, bytes);
    if (bytes >= 4)
        return SameEnds<4>(a, b, bytes);
    for (size_t i = 0; i < bytes; ++i) {
        if (a[i] != b[i])
            return false;
    }
    return true;
}

// The longest text that the quick way takes; longer ones are read one by one.
constexpr size_t k_MaxQuickText = 0xffff;

// Takes the header of a text of that length. False for any other item, and where the
// header is cut off.
inline bool TakeLength(char const*& at, char const* end, size_t& length) {
    uint8_t const first = static_cast<uint8_t>(*at++);
    if ((first & 0xe0u) == 0xa0u) {
        length = first & 31u;
        return true;
    }
    if (first == 0xd9 && at != end) {
        length = static_cast<uint8_t>(*at++);
        return true;
    }
    if (first == 0xda && end - at >= 2) {
        length = static_cast<size_t>(static_cast<uint8_t>(at[0])) << 8 | static_cast<uint8_t>(at[1]);
        at += 2;
        return true;
    }
    return false;
}

} // namespace

void ValueShape::Add(std::string_view name, uint32_t number) {
    char header[8];
    size_t const headerSize = static_cast<size_t>(MessageWriter::TextHeader(header, name.size()) - header);
    names.append(header, headerSize);
    names.append(name);
    sizes.push_back(static_cast<uint16_t>(headerSize + name.size()));
    numbers.push_back(number);
}

void ValueShape::Clear() {
    numbers.clear();
    sizes.clear();
    names.clear();
}

ValueShape& ValueShapes::Renew() {
    ValueShape& shape = m_shapes[m_oldest];
    m_last = m_oldest;
    m_oldest = (m_oldest + 1) % k_Shapes;
    shape.Clear();
    return shape;
}

ValueWriter& ValueWriter::OfThisThread() {
    static thread_local ValueWriter t_writer;
    return t_writer;
}

void ValueWriter::Write(MessageWriter& writer, ValueBlock const& values) {
    size_t const count = values.Count();
    writer.Map(count);
    ValueShape const* shape = m_shapes.Find([&](ValueShape const& known) {
        if (known.numbers.size() != count)
            return false;
        for (uint32_t i = 0; i < count; ++i) {
            if (known.numbers[i] != values.NameNumber(i))
                return false;
        }
        return true;
    });
    if (!shape) {
        size_t bytes = 0;
        for (ValueBlock::Value const value : values)
            bytes += value.Name().size() + 5;
        if (count > ValueShape::k_MaxNames || bytes > ValueShape::k_MaxBytes) {
            for (ValueBlock::Value const value : values) {
                writer.Text(value.Name());
                writer.Text(value.text);
            }
            return;
        }
        ValueShape& fresh = m_shapes.Renew();
        for (ValueBlock::Value const value : values)
            fresh.Add(value.Name(), value.number);
        shape = &fresh;
    }
    char* at = writer.Begin(shape->names.size() + values.TextBytes() + count * 5);
    char const* name = shape->names.data();
    for (uint32_t i = 0; i < count; ++i) {
        size_t const size = shape->sizes[i];
        CopyBytes(at, name, size);
        name += size;
        std::string_view const text = values.Text(i);
        at = MessageWriter::TextHeader(at + size, text.size());
        CopyBytes(at, text.data(), text.size());
        at += text.size();
    }
    writer.End(at);
}

ValueReader& ValueReader::OfThisThread() {
    static thread_local ValueReader t_reader;
    return t_reader;
}

boost::shared_ptr<ValueBlock const> ValueReader::Read(MessageReader& reader) {
    size_t const count = reader.EnterMap(limits::k_MaxValues);
    try {
        ValueShape const* const shape =
            m_shapes.Find([&](ValueShape const& known) { return Fits(known, count, reader.Rest()); });
        auto block = shape ? TakeBlock(reader, *shape) : ReadAny(reader, count);
        reader.Leave();
        return block;
    } catch (ArgumentException const& exception) {
        m_builder.Reset();
        reader.Fail((String("has values that are none: ") + exception.Message()).c_str());
    }
}

// Notes where the texts are. What is odd in any way does not fit, and is read the
// slow way, which says what is wrong with it.
bool ValueReader::Fits(ValueShape const& shape, size_t count, std::string_view body) {
    if (shape.numbers.size() != count || count == 0)
        return false;
    m_starts.resize(count);
    m_ends.resize(count);
    char const* at = body.data();
    char const* const end = at + body.size();
    char const* name = shape.names.data();
    uint32_t total = 0;
    for (size_t i = 0; i < count; ++i) {
        size_t const size = shape.sizes[i];
        if (static_cast<size_t>(end - at) < size + 1 || !SameBytes(at, name, size))
            return false;
        at += size;
        name += size;
        size_t length = 0;
        if (!TakeLength(at, end, length) || static_cast<size_t>(end - at) < length)
            return false;
        m_starts[i] = at;
        total += static_cast<uint32_t>(length);
        m_ends[i] = total;
        at += length;
    }
    m_used = static_cast<size_t>(at - body.data());
    return true;
}

boost::shared_ptr<ValueBlock const> ValueReader::TakeBlock(MessageReader& reader, ValueShape const& shape) {
    size_t const count = shape.numbers.size();
    ValueBlock::Space space;
    auto block = ValueBlock::Allocate(ValueBlock::NamesOf(shape.numbers.data(), count), m_ends.back(), space);
    auto const [ends, texts] = space;
    std::memcpy(ends, m_ends.data(), count * sizeof(uint32_t));
    uint32_t from = 0;
    for (size_t i = 0; i < count; ++i) {
        CopyBytes(texts + from, m_starts[i], m_ends[i] - from);
        from = m_ends[i];
    }
    reader.Pass(m_used);
    return block;
}

boost::shared_ptr<ValueBlock const> ValueReader::ReadAny(MessageReader& reader, size_t count) {
    m_builder.Reset();
    m_names.clear();
    size_t bytes = 0;
    bool isQuick = true;
    for (size_t i = 0; i < count; ++i) {
        std::string_view const name = reader.Name();
        std::string_view const text = reader.Text();
        m_builder.Add(name, text);
        bytes += name.size() + 5;
        isQuick = isQuick && text.size() <= k_MaxQuickText;
        if (i < ValueShape::k_MaxNames)
            m_names.push_back(name);
    }
    auto block = m_builder.Build();
    // A doubled name makes a block that is smaller than its map.
    bool const isRegular = count == m_names.size() && count == block->Count();
    if (isQuick && isRegular && count > 0 && bytes <= ValueShape::k_MaxBytes) {
        ValueShape& shape = m_shapes.Renew();
        for (uint32_t i = 0; i < count; ++i)
            shape.Add(m_names[i], block->NameNumber(i));
    }
    return block;
}

} // namespace vorlan
