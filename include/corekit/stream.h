#pragma once

#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/time.h>
#include <corekit/uid.h>

#include <memory>

namespace corekit {

class TemporaryFile;

// Typed reading from a row of bytes. Owned by one reader; one thread. Numbers are
// little-endian, text is a 32-bit length and its bytes. All lengths are checked
// before memory is taken. When the bytes end too early, or a length is beyond its
// limit, that is a fault of severity k_Error (ParseException); at a higher
// threshold the stream gives zeros and empty text from then on and Failed() says so.
class InStream : public FaultSource {
public:
    static constexpr uint32_t k_MaxTextBytes = 64 * 1024 * 1024;
    static constexpr size_t k_MaxLineBytes = 1024 * 1024;

    virtual ~InStream() = default;

    // Fills all of it or faults, and then the rest is zeros.
    void ReadBytes(void* to, size_t bytes);
    bool Read(bool& value);
    bool Read(int32_t& value);
    bool Read(uint32_t& value);
    bool Read(int64_t& value);
    bool Read(uint64_t& value);
    bool Read(double& value);
    bool Read(String& value, uint32_t maxBytes = k_MaxTextBytes);
    bool Read(UID& value);
    bool Read(Time& value);
    template <class T>
    T Get() {
        T value{};
        Read(value);
        return value;
    }

    // The text up to the next line end, which is taken and left out, with a
    // carriage return before it. The last line need not have one. A line beyond
    // k_MaxLineBytes comes in pieces. False at the end.
    bool Line(String& line);
    // All that is left, at most `maxBytes`; more is a fault.
    String ReadAll(size_t maxBytes = k_MaxTextBytes);
    bool AtEnd();
    bool Failed() const noexcept { return m_failed; }

protected:
    InStream() = default;
    // Up to `bytes` into `to`; 0 at the end. Throws FileException on a read error.
    virtual size_t Fetch(void* to, size_t bytes) = 0;

private:
    bool Fill();
    void Fault(char const* reason);

    static constexpr size_t k_BufferBytes = 16 * 1024;
    std::string m_buffer;
    size_t m_position = 0;
    bool m_failed = false;
};

// Reads bytes that stay where they are: the text must outlive the stream.
class InMemory : public InStream {
public:
    explicit InMemory(std::string_view bytes) noexcept : m_bytes(bytes) {}

protected:
    size_t Fetch(void* to, size_t bytes) override;

private:
    std::string_view m_bytes;
};

// Reads a file from its beginning. Throws FileException when it cannot be opened.
class InFile : public InStream {
public:
    explicit InFile(Path const& path);
    ~InFile() override;
    InFile(InFile const&) = delete;
    InFile& operator=(InFile const&) = delete;

protected:
    size_t Fetch(void* to, size_t bytes) override;

private:
    Path const m_path;
    int const m_fd;
};

// Typed writing, the counterpart of InStream. Owned by one writer; one thread.
class OutStream : public FaultSource {
public:
    virtual ~OutStream() = default;

    virtual void WriteBytes(void const* data, size_t bytes) = 0;
    void Write(bool value);
    void Write(int32_t value);
    void Write(uint32_t value);
    void Write(int64_t value);
    void Write(uint64_t value);
    void Write(double value);
    // Throws ArgumentException beyond InStream::k_MaxTextBytes.
    void Write(String const& value);
    void Write(char const* value) { Write(String(value)); }
    void Write(UID const& value);
    void Write(Time value);
    // The bytes alone, without a length.
    void Text(std::string_view text) { WriteBytes(text.data(), text.size()); }

protected:
    OutStream() = default;
};

class OutMemory : public OutStream {
public:
    void WriteBytes(void const* data, size_t bytes) override;

    String const& Bytes() const noexcept { return m_bytes; }
    String TakeBytes() noexcept { return std::exchange(m_bytes, {}); }

private:
    String m_bytes;
};

// Writes a new file, which takes the place of the old one when Close succeeds.
// Without Close the new file is dropped and the old one stays. A write error is a
// fault of severity k_Serious (FileException).
class OutFile : public OutStream {
public:
    // `mask` as in File::SetMode. Throws FileException when it cannot be made.
    explicit OutFile(Path const& path, int mask = 22);
    ~OutFile() override;
    OutFile(OutFile const&) = delete;
    OutFile& operator=(OutFile const&) = delete;

    void WriteBytes(void const* data, size_t bytes) override;
    // Puts the new file in place. False when an earlier or this write failed and
    // the threshold let it pass; the old file is whole then.
    bool Close();

private:
    void Flush();

    static constexpr size_t k_BufferBytes = 64 * 1024;
    // Null when closed or failed.
    std::unique_ptr<TemporaryFile> m_file;
    String m_buffer;
};

} // namespace corekit
