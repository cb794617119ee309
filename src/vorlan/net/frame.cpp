#include "frame.h"

#include <corekit/exception.h>
#include <corekit/sformat.h>

#include <zstd.h>

namespace vorlan::net {

UID const k_PartType = UID::FromName("vorlan part of a message");

void AppendNumber(std::string& to, uint64_t number, size_t bytes) {
    for (size_t i = bytes; i-- > 0;)
        to.push_back(static_cast<char>(number >> (8 * i)));
}

uint64_t NumberAt(std::string_view from, size_t offset, size_t bytes) {
    uint64_t number = 0;
    for (size_t i = 0; i < bytes; ++i)
        number = number << 8 | static_cast<uint8_t>(from[offset + i]);
    return number;
}

void AppendFrameHeader(std::string& to, UID const& type, size_t bodySize) {
    AppendNumber(to, bodySize, 4);
    to.append(reinterpret_cast<char const*>(type.Bytes()), UID::k_Size);
}

static UID IdAt(std::string_view from, size_t offset) {
    return UID::FromBytes({reinterpret_cast<uint8_t const*>(from.data()) + offset, UID::k_Size});
}

std::span<char> FrameReader::Room() {
    if (m_begin == m_end) {
        m_begin = m_end = 0;
        // Moved from, so that the memory goes.
        if (m_buffer.size() > k_Keep && m_wanted == 0)
            m_buffer = std::string();
    }
    size_t const have = m_end - m_begin;
    size_t const want = std::max(have + k_Read / 2, m_wanted);
    if (m_buffer.size() - m_begin < want) {
        m_buffer.erase(0, m_begin);
        m_begin = 0;
        m_end = have;
        if (m_buffer.size() < want)
            m_buffer.resize(std::max(want, k_Read));
    }
    return {m_buffer.data() + m_end, m_buffer.size() - m_end};
}

bool FrameReader::Next(Frame& frame) {
    std::string_view const bytes(m_buffer.data() + m_begin, m_end - m_begin);
    if (bytes.size() < 4)
        return false;
    size_t const body = NumberAt(bytes, 0, 4);
    if (body > m_limit)
        throw NetException(SFormat("a frame of %zu bytes is over the limit of %zu for one frame", body, m_limit));
    m_wanted = k_FrameHeader + body;
    if (bytes.size() < m_wanted)
        return false;
    frame.type = IdAt(bytes, 4);
    frame.body = bytes.substr(k_FrameHeader, body);
    m_begin += m_wanted;
    m_wanted = 0;
    return true;
}

void AppendParts(std::string& to, UID const& type, std::string_view body, size_t frameLimit, size_t messageLimit) {
    if (body.size() > messageLimit)
        throw ArgumentException(SFormat("a message of %zu bytes is over the limit of %zu", body.size(), messageLimit));
    std::string packed(ZSTD_compressBound(body.size()), '\0');
    size_t const size = ZSTD_compress(packed.data(), packed.size(), body.data(), body.size(), 1);
    if (ZSTD_isError(size))
        throw ArgumentException("a message could not be compressed", ZSTD_getErrorName(size));
    size_t const most = frameLimit - k_PartHeader;
    to.reserve(to.size() + size + (size / most + 1) * (k_FrameHeader + k_PartHeader));
    uint32_t index = 0;
    for (size_t at = 0; at < size; at += most) {
        size_t const piece = std::min(most, size - at);
        AppendFrameHeader(to, k_PartType, k_PartHeader + piece);
        to.append(reinterpret_cast<char const*>(type.Bytes()), UID::k_Size);
        AppendNumber(to, body.size(), 8);
        AppendNumber(to, index++, 4);
        to.append(packed, at, piece);
    }
}

PartAssembler::PartAssembler(size_t messageLimit) : m_limit(messageLimit) {}

PartAssembler::~PartAssembler() = default;

void PartAssembler::ContextFreer::operator()(ZSTD_DCtx_s* context) const { ZSTD_freeDCtx(context); }

void PartAssembler::Clear() {
    m_body.reset();
    m_capacity = m_filled = 0;
    m_nextIndex = 0;
    m_context.reset();
}

void PartAssembler::Begin(std::string_view part) {
    Clear();
    m_type = IdAt(part, 0);
    m_total = NumberAt(part, UID::k_Size, 8);
    if (m_total > m_limit)
        throw NetException(SFormat("a message of %llu bytes is over the limit of %zu for one message",
                                   static_cast<unsigned long long>(m_total), m_limit));
    m_context.reset(ZSTD_createDCtx());
}

// The memory follows what really came, so that an announcement alone costs nothing.
void PartAssembler::Grow() {
    size_t const capacity = std::min<size_t>(m_total, std::max<size_t>(m_capacity * 2, 4u << 20));
    char* memory = static_cast<char*>(std::realloc(m_body.get(), std::max<size_t>(capacity, 1)));
    if (!memory)
        throw NetException("there is no memory for a message of this length");
    static_cast<void>(m_body.release());
    m_body.reset(memory);
    m_capacity = capacity;
}

bool PartAssembler::TakePart(std::string_view part) {
    if (part.size() < k_PartHeader)
        throw NetException("a part of a message is shorter than its header");
    uint32_t const index = static_cast<uint32_t>(NumberAt(part, UID::k_Size + 8, 4));
    if (index == 0 && m_nextIndex == 0)
        Begin(part);
    else if (index != m_nextIndex || IdAt(part, 0) != m_type || NumberAt(part, UID::k_Size, 8) != m_total)
        throw NetException("a part of a message does not follow the part before it");
    ++m_nextIndex;
    ZSTD_inBuffer in{part.data() + k_PartHeader, part.size() - k_PartHeader, 0};
    for (;;) {
        if (m_filled == m_capacity && m_filled < m_total)
            Grow();
        ZSTD_outBuffer out{m_body.get(), m_capacity, m_filled};
        size_t const before = in.pos;
        size_t const left = ZSTD_decompressStream(m_context.get(), &out, &in);
        bool const moved = out.pos != m_filled || in.pos != before;
        m_filled = out.pos;
        if (ZSTD_isError(left))
            throw NetException("the parts of a message cannot be unpacked", ZSTD_getErrorName(left));
        if (left == 0) {
            if (m_filled != m_total || in.pos != in.size)
                throw NetException("the parts of a message are not as long as announced");
            m_nextIndex = 0;
            return true;
        }
        if (m_filled == m_capacity && m_filled < m_total)
            continue;
        if (in.pos == in.size)
            return false;
        if (!moved)
            throw NetException("the parts of a message are longer than announced");
    }
}

} // namespace vorlan::net
