#pragma once

#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>

struct ZSTD_DCtx_s;

namespace vorlan::net {

// What goes over a connection: the length of the body as four bytes, the highest
// first, the type as sixteen, the body.
inline constexpr size_t k_FrameHeader = 4 + UID::k_Size;

struct Frame {
    UID type;
    std::string_view body; // valid until the reader is used again
};

// Appends the 20 bytes in front of a body.
void AppendFrameHeader(std::string& to, UID const& type, size_t bodySize);
void AppendNumber(std::string& to, uint64_t number, size_t bytes);
uint64_t NumberAt(std::string_view from, size_t offset, size_t bytes);

// FrameReader cuts the bytes of one connection into frames. One thread.
// Always: a frame over the limit is refused by its header alone.
class FrameReader {
public:
    explicit FrameReader(size_t bodyLimit) : m_limit(bodyLimit) {}
    void SetLimit(size_t bodyLimit) { m_limit = bodyLimit; }

    // Where the next bytes may be read to; call Filled with how many came.
    std::span<char> Room();
    void Filled(size_t bytes) { m_end += bytes; }
    // False when no whole frame is there yet. Throws NetException for one over the
    // limit; the connection is then of no use.
    bool Next(Frame& frame);
    // Some bytes of a frame are there, and more must come.
    bool InFrame() const { return m_end != m_begin; }

private:
    static constexpr size_t k_Read = 32 * 1024;
    // A larger buffer is given back when it is empty.
    static constexpr size_t k_Keep = 256 * 1024;

    size_t m_limit;
    size_t m_wanted = 0; // bytes of the frame that is not whole yet
    size_t m_begin = 0;
    size_t m_end = 0;
    std::string m_buffer;
};

// The type of the frames that carry a piece of a longer message: the message's
// type, its whole length as eight bytes, the number of the piece as four, and the
// next bytes of its zstd form. Pieces of two messages are never mixed.
extern UID const k_PartType;
inline constexpr size_t k_PartHeader = UID::k_Size + 8 + 4;

// Appends a message that is longer than a frame as parts. Throws ArgumentException
// when it is longer than a receiver would take.
void AppendParts(std::string& to, UID const& type, std::string_view body, size_t frameLimit, size_t messageLimit);

// PartAssembler puts those together at the receiver. One thread.
// Always: it holds no more than the announced length, and that is within the limit.
class PartAssembler {
public:
    explicit PartAssembler(size_t messageLimit);
    ~PartAssembler();
    PartAssembler(PartAssembler const&) = delete;
    PartAssembler& operator=(PartAssembler const&) = delete;

    // True when that was the last piece: the message is in Type and Body until the
    // next TakePart or Clear. Throws NetException for what is no right piece.
    bool TakePart(std::string_view part);
    // Memory that it holds.
    size_t HeldBytes() const { return m_capacity; }
    // In the midst of a message.
    bool Busy() const { return m_nextIndex != 0; }
    UID const& Type() const { return m_type; }
    std::string_view Body() const { return {m_body.get(), m_filled}; }
    // Gives the memory back.
    void Clear();

private:
    void Begin(std::string_view part);
    void Grow();

    size_t const m_limit;
    UID m_type;
    uint64_t m_total = 0;
    uint32_t m_nextIndex = 0;
    struct Freer {
        void operator()(char* memory) const { std::free(memory); }
    };
    std::unique_ptr<char, Freer> m_body;
    size_t m_filled = 0;
    size_t m_capacity = 0;
    struct ContextFreer {
        void operator()(ZSTD_DCtx_s* context) const;
    };
    std::unique_ptr<ZSTD_DCtx_s, ContextFreer> m_context;
};

} // namespace vorlan::net
