#pragma once

#include <vorlan/fwd.h>

#include <corekit/string.h>
#include <corekit/time.h>
#include <corekit/uid.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

namespace vorlan {

// The limits of a message body. A body that breaks one is refused as a whole.
namespace limits {
inline constexpr size_t k_MaxDepth = 16;
inline constexpr size_t k_MaxItems = 1'000'000;
inline constexpr size_t k_MaxText = 64u << 20;
inline constexpr size_t k_MaxName = 1024;
inline constexpr size_t k_MaxValues = 20'000;
inline constexpr size_t k_MaxHistoryElements = 16'000'000;
inline constexpr size_t k_MaxBody = 1u << 30;
} // namespace limits

// Writes the body of one message in the msgpack format. It is written by hand,
// because a Job is encoded for every change that a farm sees and the plain copy
// of its texts sets the pace.
// Owned by whoever encodes; one thread at a time. The bytes written so far are
// always a prefix of a right body, as long as maps and arrays get as many items
// as they were announced with.
class MessageWriter {
public:
    MessageWriter() = default;
    ~MessageWriter() { std::free(m_begin); }
    MessageWriter(MessageWriter const&) = delete;
    MessageWriter& operator=(MessageWriter const&) = delete;

    // `count` pairs follow, each a name and a value.
    void Map(size_t count) { Header(count, 0x80, 15, 0xde); }
    void Array(size_t count) { Header(count, 0x90, 15, 0xdc); }
    void Nil() { *Room(1) = static_cast<char>(0xc0), ++m_at; }
    void Bool(bool value) { *Room(1) = static_cast<char>(value ? 0xc3 : 0xc2), ++m_at; }
    void Int(int64_t value);
    void Uint(uint64_t value);
    void Real(double value);
    void Text(std::string_view text) {
        char* at = Room(text.size() + k_LongestHeader);
        at = TextHeader(at, text.size());
        if (!text.empty())
            std::memcpy(at, text.data(), text.size());
        m_at = at + text.size();
    }
    void Id(UID const& id) {
        char* at = Room(2 + UID::k_Size);
        at[0] = static_cast<char>(0xc4);
        at[1] = static_cast<char>(UID::k_Size);
        std::memcpy(at + 2, id.Bytes(), UID::k_Size);
        m_at = at + 2 + UID::k_Size;
    }

    // For those who put the bytes themselves: room for so many, and where they end.
    char* Begin(size_t bytes) { return Room(bytes); }
    void End(char* at) noexcept { m_at = at; }
    static char* TextHeader(char* at, size_t length);
    std::string_view Bytes() const noexcept { return {m_begin, static_cast<size_t>(m_at - m_begin)}; }
    size_t Size() const noexcept { return static_cast<size_t>(m_at - m_begin); }
    // Starts anew and keeps the memory.
    void Clear() noexcept { m_at = m_begin; }
    size_t Capacity() const noexcept { return static_cast<size_t>(m_end - m_begin); }

private:
    static constexpr size_t k_LongestHeader = 5;

    char* Room(size_t bytes) {
        if (static_cast<size_t>(m_end - m_at) < bytes)
            Grow(bytes);
        return m_at;
    }
    void Grow(size_t bytes);
    void Header(size_t count, unsigned small, size_t smallLimit, unsigned wide);

    char* m_begin = nullptr;
    char* m_at = nullptr;
    char* m_end = nullptr;
};

// ScratchWriter lends this thread's own writer, empty, so that its memory is used again.
// While it is lent, a second one of the thread is new: a sink of the log may send.
class ScratchWriter {
public:
    ScratchWriter();
    ~ScratchWriter();
    ScratchWriter(ScratchWriter const&) = delete;
    ScratchWriter& operator=(ScratchWriter const&) = delete;

    MessageWriter& operator*() const noexcept { return *m_writer; }
    MessageWriter* operator->() const noexcept { return m_writer.get(); }

    // A writer that grew beyond this is given back.
    static constexpr size_t k_KeptBytes = 1u << 20;

private:
    std::unique_ptr<MessageWriter> m_writer;
};

// Reads the body of one message, item by item, without a copy: texts are views
// into the body, which must outlive them. Every count and length is checked
// against the bytes that are there and against `limits` before it is believed.
// Owned by whoever decodes; one thread at a time. What is wrong throws a
// ParseException that names the message and the field.
class MessageReader {
public:
    explicit MessageReader(std::string_view body, char const* messageName = "message")
        : m_at(body.data()), m_end(body.data() + body.size()), m_messageName(messageName) {
        if (body.size() > limits::k_MaxBody)
            Fail("is longer than a message may be");
    }

    // The number of pairs or items that follow. Each call is matched by a Leave
    // after the last of them.
    size_t EnterMap(size_t limit = limits::k_MaxItems) { return Enter(limit, true); }
    size_t EnterArray(size_t limit = limits::k_MaxItems) { return Enter(limit, false); }
    void Leave() noexcept { --m_depth; }

    // True, and the item is taken, when it is nil.
    bool TakeNil() noexcept {
        if (m_at == m_end || static_cast<uint8_t>(*m_at) != 0xc0)
            return false;
        ++m_at;
        return true;
    }
    bool Bool();
    int64_t Int();
    uint64_t Uint();
    // Takes whole numbers too.
    double Real();
    std::string_view Text(size_t limit = limits::k_MaxText) {
        // The two shortest forms carry nearly all texts.
        size_t const left = static_cast<size_t>(m_end - m_at);
        if (left >= 2) {
            uint8_t const first = static_cast<uint8_t>(m_at[0]);
            size_t length = first & 31u;
            size_t header = 1;
            if (first == 0xd9) {
                length = static_cast<uint8_t>(m_at[1]);
                header = 2;
            } else if ((first & 0xe0u) != 0xa0u) {
                return LongText(limit);
            }
            if (length <= left - header && length <= limit) {
                std::string_view const text(m_at + header, length);
                m_at += header + length;
                return text;
            }
        }
        return LongText(limit);
    }
    std::string_view Name() { return Text(limits::k_MaxName); }
    UID Id();
    // Passes over one item of any kind.
    void Skip();

    bool AtEnd() const noexcept { return m_at == m_end; }
    size_t Left() const noexcept { return static_cast<size_t>(m_end - m_at); }
    // The bytes not yet read.
    std::string_view Rest() const noexcept { return {m_at, Left()}; }
    // Passes over bytes of Rest() that the caller has read himself.
    void Pass(size_t bytes) noexcept { m_at += bytes; }

    // Throws ParseException: message, field and what is wrong with it.
    [[noreturn]] void Fail(char const* what) const;
    // The field that is being read, for the text of an exception. The former one
    // is handed back, to be set again afterwards.
    char const* SetField(char const* field) noexcept { return std::exchange(m_field, field); }

private:
    size_t Enter(size_t limit, bool map);
    std::string_view LongText(size_t limit);
    std::string_view TakeBytes(size_t bytes);
    uint8_t Byte();
    uint64_t Big(size_t bytes);

    char const* m_at;
    char const* const m_end;
    char const* const m_messageName;
    char const* m_field = nullptr;
    size_t m_depth = 0;
};

// The forms of the domain objects on the wire: a map of "ID", "Parent" and
// "Values", the last a map of name and text.
void WriteJob(MessageWriter& writer, Job const& job);
boost::shared_ptr<Job> ReadJob(MessageReader& reader);
void WriteEngine(MessageWriter& writer, Engine const& engine);
void ReadEngine(MessageReader& reader, Engine& engine);
// "Job" and "Units": for each sub-range its runs, for each run its elements.
void WriteJobHistory(MessageWriter& writer, JobHistory const& history);
void ReadJobHistory(MessageReader& reader, JobHistory& history);
void WriteEngineHistory(MessageWriter& writer, EngineHistory const& history);
void ReadEngineHistory(MessageReader& reader, EngineHistory& history);

} // namespace vorlan
