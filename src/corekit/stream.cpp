#include "temporaryfile.h"

#include <corekit/stream.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace corekit {

namespace {

template <class T>
T LittleEndian(T value) noexcept {
    if constexpr (std::endian::native == std::endian::big)
        std::ranges::reverse(std::span(reinterpret_cast<unsigned char*>(&value), sizeof value));
    return value;
}

template <class T>
void PutNumber(OutStream& out, T value) {
    value = LittleEndian(value);
    out.WriteBytes(&value, sizeof value);
}

template <class T>
T TakeNumber(InStream& in) {
    T value{};
    in.ReadBytes(&value, sizeof value);
    return LittleEndian(value);
}

} // namespace

void InStream::Fault(char const* reason) {
    m_failed = true;
    m_buffer.clear();
    m_position = 0;
    Raise(k_Error, ParseException("The data ended too early or is damaged.", reason));
}

// Brings more bytes when all were used. False at the end.
bool InStream::Fill() {
    if (m_failed)
        return false;
    if (m_position < m_buffer.size())
        return true;
    m_buffer.resize(k_BufferBytes);
    m_position = 0;
    size_t got = 0;
    try {
        got = Fetch(m_buffer.data(), m_buffer.size());
    } catch (...) {
        m_buffer.clear();
        throw;
    }
    m_buffer.resize(got);
    return got > 0;
}

void InStream::ReadBytes(void* to, size_t bytes) {
    auto* at = static_cast<char*>(to);
    while (bytes > 0 && Fill()) {
        size_t const piece = std::min(bytes, m_buffer.size() - m_position);
        std::memcpy(at, m_buffer.data() + m_position, piece);
        m_position += piece;
        at += piece;
        bytes -= piece;
    }
    if (bytes == 0)
        return;
    std::memset(to, 0, static_cast<size_t>(at - static_cast<char*>(to)) + bytes);
    if (!m_failed)
        Fault("end of data");
}

bool InStream::Read(bool& value) {
    value = TakeNumber<uint8_t>(*this) != 0;
    return !m_failed;
}

bool InStream::Read(int32_t& value) {
    value = TakeNumber<int32_t>(*this);
    return !m_failed;
}

bool InStream::Read(uint32_t& value) {
    value = TakeNumber<uint32_t>(*this);
    return !m_failed;
}

bool InStream::Read(int64_t& value) {
    value = TakeNumber<int64_t>(*this);
    return !m_failed;
}

bool InStream::Read(uint64_t& value) {
    value = TakeNumber<uint64_t>(*this);
    return !m_failed;
}

bool InStream::Read(double& value) {
    value = std::bit_cast<double>(TakeNumber<uint64_t>(*this));
    return !m_failed;
}

bool InStream::Read(String& value, uint32_t maxBytes) {
    value.clear();
    size_t left = TakeNumber<uint32_t>(*this);
    if (left > maxBytes) {
        Fault("text above its limit");
        return false;
    }
    // Memory grows with the bytes that are really there.
    while (left > 0 && Fill()) {
        size_t const piece = std::min(left, m_buffer.size() - m_position);
        value.append(m_buffer.data() + m_position, piece);
        m_position += piece;
        left -= piece;
    }
    if (left == 0)
        return !m_failed;
    value.clear();
    if (!m_failed)
        Fault("end of data");
    return false;
}

bool InStream::Read(UID& value) {
    uint8_t bytes[UID::k_Size];
    ReadBytes(bytes, sizeof bytes);
    value = UID::FromBytes(bytes);
    return !m_failed;
}

bool InStream::Read(Time& value) {
    value = Time(TakeNumber<int64_t>(*this));
    return !m_failed;
}

bool InStream::Line(String& line) {
    line.clear();
    bool ended = false;
    while (!ended && line.size() < k_MaxLineBytes && Fill()) {
        std::string_view const ready = std::string_view(m_buffer).substr(m_position, k_MaxLineBytes - line.size());
        size_t const end = ready.find('\n');
        ended = end != std::string_view::npos;
        line += ready.substr(0, end);
        m_position += ended ? end + 1 : ready.size();
    }
    bool const any = ended || !line.Empty();
    if (ended && line.EndsWith("\r"))
        line.pop_back();
    return any;
}

String InStream::ReadAll(size_t maxBytes) {
    String all;
    while (Fill()) {
        if (m_buffer.size() - m_position > maxBytes - all.size()) {
            Fault("text above its limit");
            return {};
        }
        all.append(m_buffer.data() + m_position, m_buffer.size() - m_position);
        m_position = m_buffer.size();
    }
    return all;
}

bool InStream::AtEnd() { return !Fill(); }

size_t InMemory::Fetch(void* to, size_t bytes) {
    size_t const piece = std::min(bytes, m_bytes.size());
    std::memcpy(to, m_bytes.data(), piece);
    m_bytes.remove_prefix(piece);
    return piece;
}

InFile::InFile(Path const& path) : m_path(path), m_fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (m_fd < 0)
        throw File::Failure("read", path, errno);
}

InFile::~InFile() { ::close(m_fd); }

size_t InFile::Fetch(void* to, size_t bytes) {
    for (;;) {
        ssize_t const got = ::read(m_fd, to, bytes);
        if (got >= 0)
            return static_cast<size_t>(got);
        if (errno != EINTR)
            throw File::Failure("read", m_path, errno);
    }
}

void OutStream::Write(bool value) { PutNumber(*this, static_cast<uint8_t>(value)); }
void OutStream::Write(int32_t value) { PutNumber(*this, value); }
void OutStream::Write(uint32_t value) { PutNumber(*this, value); }
void OutStream::Write(int64_t value) { PutNumber(*this, value); }
void OutStream::Write(uint64_t value) { PutNumber(*this, value); }
void OutStream::Write(double value) { PutNumber(*this, std::bit_cast<uint64_t>(value)); }

void OutStream::Write(String const& value) {
    if (value.size() > InStream::k_MaxTextBytes)
        throw ArgumentException("A text is too long to be stored or sent.");
    Write(static_cast<uint32_t>(value.size()));
    Text(value);
}

void OutStream::Write(UID const& value) { WriteBytes(value.Bytes(), UID::k_Size); }
void OutStream::Write(Time value) { Write(value.Milliseconds()); }

void OutMemory::WriteBytes(void const* data, size_t bytes) { m_bytes.append(static_cast<char const*>(data), bytes); }

OutFile::OutFile(Path const& path, int mask) : m_file(std::make_unique<TemporaryFile>(path, ModeOfMask(mask))) {}

OutFile::~OutFile() = default;

void OutFile::WriteBytes(void const* data, size_t bytes) {
    if (!m_file)
        return;
    m_buffer.append(static_cast<char const*>(data), bytes);
    if (m_buffer.size() >= k_BufferBytes)
        Flush();
}

void OutFile::Flush() {
    try {
        m_file->Write(m_buffer);
        m_buffer.clear();
    } catch (FileException const& exception) {
        m_file.reset();
        Raise(k_Serious, exception);
    }
}

bool OutFile::Close() {
    if (m_file)
        Flush();
    if (!m_file)
        return false;
    std::unique_ptr<TemporaryFile> const file = std::move(m_file);
    try {
        file->Commit();
        return true;
    } catch (FileException const& exception) {
        Raise(k_Serious, exception);
    }
    return false;
}

} // namespace corekit
