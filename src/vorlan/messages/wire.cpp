#include <vorlan/wire.h>

#include <corekit/exception.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <new>

namespace vorlan {

namespace {

char* PutBig(char* at, uint64_t value, size_t bytes) {
    for (size_t i = bytes; i > 0; --i)
        *at++ = static_cast<char>(value >> (8 * (i - 1)));
    return at;
}

thread_local std::unique_ptr<MessageWriter> t_writer;

} // namespace

ScratchWriter::ScratchWriter() : m_writer(t_writer ? std::move(t_writer) : std::make_unique<MessageWriter>()) {
    m_writer->Clear();
}

ScratchWriter::~ScratchWriter() {
    if (m_writer->Capacity() <= k_KeptBytes)
        t_writer = std::move(m_writer);
}

void MessageWriter::Grow(size_t bytes) {
    size_t const used = Size();
    size_t const wanted = std::max({Capacity() * 2, used + bytes, size_t{512}});
    void* const memory = std::realloc(m_begin, wanted);
    if (!memory)
        throw std::bad_alloc();
    m_begin = static_cast<char*>(memory);
    m_at = m_begin + used;
    m_end = m_begin + wanted;
}

void MessageWriter::Header(size_t count, unsigned small, size_t smallLimit, unsigned wide) {
    char* at = Room(k_LongestHeader);
    if (count <= smallLimit) {
        *at++ = static_cast<char>(small | count);
    } else if (count <= 0xffff) {
        *at++ = static_cast<char>(wide);
        at = PutBig(at, count, 2);
    } else {
        *at++ = static_cast<char>(wide + 1);
        at = PutBig(at, count, 4);
    }
    m_at = at;
}

char* MessageWriter::TextHeader(char* at, size_t length) {
    if (length < 32) {
        *at++ = static_cast<char>(0xa0 | length);
    } else if (length < 0x100) {
        *at++ = static_cast<char>(0xd9);
        *at++ = static_cast<char>(length);
    } else if (length < 0x10000) {
        *at++ = static_cast<char>(0xda);
        at = PutBig(at, length, 2);
    } else {
        *at++ = static_cast<char>(0xdb);
        at = PutBig(at, length, 4);
    }
    return at;
}

void MessageWriter::Uint(uint64_t value) {
    char* at = Room(9);
    if (value < 0x80) {
        *at++ = static_cast<char>(value);
    } else if (value <= 0xff) {
        *at++ = static_cast<char>(0xcc);
        at = PutBig(at, value, 1);
    } else if (value <= 0xffff) {
        *at++ = static_cast<char>(0xcd);
        at = PutBig(at, value, 2);
    } else if (value <= 0xffffffff) {
        *at++ = static_cast<char>(0xce);
        at = PutBig(at, value, 4);
    } else {
        *at++ = static_cast<char>(0xcf);
        at = PutBig(at, value, 8);
    }
    m_at = at;
}

void MessageWriter::Int(int64_t value) {
    if (value >= 0)
        return Uint(static_cast<uint64_t>(value));
    char* at = Room(9);
    uint64_t const bits = static_cast<uint64_t>(value);
    if (value >= -32) {
        *at++ = static_cast<char>(bits);
    } else if (value >= std::numeric_limits<int8_t>::min()) {
        *at++ = static_cast<char>(0xd0);
        at = PutBig(at, bits, 1);
    } else if (value >= std::numeric_limits<int16_t>::min()) {
        *at++ = static_cast<char>(0xd1);
        at = PutBig(at, bits, 2);
    } else if (value >= std::numeric_limits<int32_t>::min()) {
        *at++ = static_cast<char>(0xd2);
        at = PutBig(at, bits, 4);
    } else {
        *at++ = static_cast<char>(0xd3);
        at = PutBig(at, bits, 8);
    }
    m_at = at;
}

// A value that is no number has no place in a message.
void MessageWriter::Real(double value) {
    char* at = Room(9);
    *at++ = static_cast<char>(0xcb);
    m_at = PutBig(at, std::bit_cast<uint64_t>(std::isfinite(value) ? value : 0.0), 8);
}

void MessageReader::Fail(char const* what) const {
    if (m_field)
        throw ParseException(String(m_messageName) + ": \"" + m_field + "\" " + what);
    throw ParseException(String(m_messageName) + ": the body " + what);
}

std::string_view MessageReader::TakeBytes(size_t bytes) {
    if (bytes > Left())
        Fail("ends too early");
    std::string_view const taken(m_at, bytes);
    m_at += bytes;
    return taken;
}

uint8_t MessageReader::Byte() { return static_cast<uint8_t>(TakeBytes(1)[0]); }

uint64_t MessageReader::Big(size_t bytes) {
    uint64_t value = 0;
    for (char const c : TakeBytes(bytes))
        value = value << 8 | static_cast<uint8_t>(c);
    return value;
}

size_t MessageReader::Enter(size_t limit, bool map) {
    uint8_t const first = Byte();
    uint8_t const wide = map ? 0xde : 0xdc;
    size_t count = 0;
    if ((first & 0xf0) == (map ? 0x80 : 0x90))
        count = first & 15;
    else if (first == wide)
        count = Big(2);
    else if (first == wide + 1)
        count = Big(4);
    else
        Fail(map ? "is not a map" : "is not a list");
    if (count > limit)
        Fail("has too many items");
    // Each item takes a byte at least.
    if (count > Left() / (map ? 2 : 1))
        Fail("ends too early");
    if (m_depth >= limits::k_MaxDepth)
        Fail("is nested too deep");
    ++m_depth;
    return count;
}

bool MessageReader::Bool() {
    uint8_t const first = Byte();
    if (first != 0xc2 && first != 0xc3)
        Fail("is neither true nor false");
    return first == 0xc3;
}

uint64_t MessageReader::Uint() {
    uint8_t const first = Byte();
    if (first < 0x80)
        return first;
    switch (first) {
    case 0xcc:
    case 0xcd:
    case 0xce:
    case 0xcf:
        return Big(size_t{1} << (first - 0xcc));
    case 0xd0:
    case 0xd1:
    case 0xd2:
    case 0xd3: {
        size_t const bytes = size_t{1} << (first - 0xd0);
        uint64_t const value = Big(bytes);
        if (value >> (8 * bytes - 1))
            Fail("is below zero");
        return value;
    }
    default:
        Fail(first >= 0xe0 ? "is below zero" : "is not a whole number");
    }
}

int64_t MessageReader::Int() {
    if (m_at == m_end)
        Fail("ends too early");
    uint8_t const first = static_cast<uint8_t>(*m_at);
    if (first >= 0xe0) {
        ++m_at;
        return static_cast<int8_t>(first);
    }
    if (first >= 0xd0 && first <= 0xd3) {
        ++m_at;
        size_t const bytes = size_t{1} << (first - 0xd0);
        unsigned const unused = static_cast<unsigned>(64 - 8 * bytes);
        return static_cast<int64_t>(Big(bytes) << unused) >> unused;
    }
    uint64_t const value = Uint();
    if (value > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))
        Fail("is too large");
    return static_cast<int64_t>(value);
}

double MessageReader::Real() {
    if (m_at == m_end)
        Fail("ends too early");
    uint8_t const first = static_cast<uint8_t>(*m_at);
    double value = 0;
    if (first == 0xca) {
        ++m_at;
        value = static_cast<double>(std::bit_cast<float>(static_cast<uint32_t>(Big(4))));
    } else if (first == 0xcb) {
        ++m_at;
        value = std::bit_cast<double>(Big(8));
    } else if (first == 0xcf) {
        value = static_cast<double>(Uint());
    } else if (first < 0x80 || first >= 0xe0 || (first >= 0xcc && first <= 0xd3)) {
        value = static_cast<double>(Int());
    } else {
        Fail("is not a number");
    }
    if (!std::isfinite(value))
        Fail("is not a number");
    return value;
}

std::string_view MessageReader::LongText(size_t limit) {
    uint8_t const first = Byte();
    size_t length = 0;
    switch (first) {
    case 0xc4: // bytes are taken for a text too
    case 0xd9:
        length = Big(1);
        break;
    case 0xc5:
    case 0xda:
        length = Big(2);
        break;
    case 0xc6:
    case 0xdb:
        length = Big(4);
        break;
    default:
        if ((first & 0xe0) != 0xa0)
            Fail("is not a text");
        length = first & 31;
    }
    if (length > limit)
        Fail("is a text that is too long");
    return TakeBytes(length);
}

UID MessageReader::Id() {
    std::string_view const head = TakeBytes(2);
    if (static_cast<uint8_t>(head[0]) != 0xc4 || static_cast<uint8_t>(head[1]) != UID::k_Size)
        Fail("is not an id");
    std::string_view const bytes = TakeBytes(UID::k_Size);
    return UID::FromBytes({reinterpret_cast<uint8_t const*>(bytes.data()), bytes.size()});
}

void MessageReader::Skip() {
    if (m_at == m_end)
        Fail("ends too early");
    uint8_t const first = static_cast<uint8_t>(*m_at);
    bool const map = (first & 0xf0) == 0x80 || first == 0xde || first == 0xdf;
    if (map || (first & 0xf0) == 0x90 || first == 0xdc || first == 0xdd) {
        size_t const items = Enter(std::numeric_limits<uint32_t>::max(), map) * (map ? 2 : 1);
        for (size_t i = 0; i < items; ++i)
            Skip();
        Leave();
        return;
    }
    ++m_at;
    if (first < 0x80 || first >= 0xe0 || first == 0xc0 || first == 0xc2 || first == 0xc3)
        return;
    if ((first & 0xe0) == 0xa0) {
        TakeBytes(first & 31);
    } else if (first >= 0xc4 && first <= 0xc6) {
        TakeBytes(Big(size_t{1} << (first - 0xc4)));
    } else if (first >= 0xc7 && first <= 0xc9) { // extensions with a length
        TakeBytes(Big(size_t{1} << (first - 0xc7)) + 1);
    } else if (first == 0xca || first == 0xcb) {
        TakeBytes(first == 0xca ? 4 : 8);
    } else if (first >= 0xcc && first <= 0xd3) {
        TakeBytes(size_t{1} << ((first - 0xcc) & 3));
    } else if (first >= 0xd4 && first <= 0xd8) { // extensions of fixed length
        TakeBytes((size_t{1} << (first - 0xd4)) + 1);
    } else if (first >= 0xd9 && first <= 0xdb) {
        TakeBytes(Big(size_t{1} << (first - 0xd9)));
    } else {
        Fail("holds a byte that begins nothing");
    }
}

} // namespace vorlan
