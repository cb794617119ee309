#include "indexedfile.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <corekit/file.h>
#include <cstring>
#include <fcntl.h>

using corekit::CommonMutex;
using corekit::File;
using corekit::Path;
using corekit::UniqueFd;

namespace {

constexpr size_t k_ReadBytes = 64 * 1024;
// Bytes before the end of what was read that tell a file from another content.
constexpr size_t k_PrintBytes = 256;

int64_t ChangeTime(struct stat const& state) {
    return int64_t{state.st_mtim.tv_sec} * 1'000'000'000 + state.st_mtim.tv_nsec;
}

// A carriage return before the line feed belongs to the line's end.
TextLine MakeLine(std::string_view text, bool cut) {
    if (!cut && text.ends_with('\r'))
        text.remove_suffix(1);
    bool const isLong = cut || text.size() > TextLine::k_MaxShownBytes;
    return {corekit::String(text.substr(0, TextLine::k_MaxShownBytes)), ColorName::Text, isLong};
}

} // namespace

// What is known of the file now.
class IndexedFile::Taken : public TextSnapshot {
public:
    Taken(std::shared_ptr<IndexedFile const> file, int64_t bytes, int lines)
        : m_file(std::move(file)), m_bytes(bytes), m_lines(lines) {}

    int Lines() const override { return m_lines; }
    void Read(int first, int end, Visitor const& visitor) const override;

private:
    std::shared_ptr<IndexedFile const> const m_file;
    int64_t const m_bytes;
    int const m_lines;
};

void IndexedFile::Taken::Read(int first, int end, Visitor const& visitor) const {
    if (first >= end || first >= m_lines)
        return;
    int64_t at = m_file->OffsetOf(first);
    int64_t const stop = end >= m_lines ? m_bytes : std::min(m_file->OffsetOf(end), m_bytes);
    std::string buffer(k_PieceBytes, '\0');
    size_t have = 0;
    for (int line = first; at < stop || have > 0;) {
        size_t const room = std::min(buffer.size() - have, static_cast<size_t>(stop - at));
        size_t const got = m_file->ReadAt(at, buffer.data() + have, room);
        at = got < room ? stop : at + static_cast<int64_t>(got);
        have += got;
        std::string_view const all(buffer.data(), have);
        size_t const feed = all.rfind('\n');
        bool const hasEnd = feed != std::string_view::npos;
        size_t const taken = at >= stop || !hasEnd ? have : feed + 1;
        if (taken == 0 || !visitor({line, all.substr(0, taken), at < stop && !hasEnd}))
            return;
        line += static_cast<int>(CountLineFeeds(all.substr(0, taken)));
        std::memmove(buffer.data(), buffer.data() + taken, have - taken);
        have -= taken;
    }
}

std::shared_ptr<IndexedFile> IndexedFile::Open(Path const& path) {
    UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat state {};
    if (!file || ::fstat(file.Get(), &state) != 0)
        throw File::Failure("read", path, errno);
    if (!S_ISREG(state.st_mode))
        throw File::Failure("read", path, S_ISDIR(state.st_mode) ? EISDIR : EINVAL);
    std::shared_ptr<IndexedFile> const made(new IndexedFile(path, std::move(file)));
    made->m_device = state.st_dev;
    made->m_inode = state.st_ino;
    made->m_changedNs = ChangeTime(state);
    return made;
}

IndexedFile::IndexedFile(Path path, UniqueFd file) : m_path(std::move(path)), m_file(std::move(file)) {}

size_t IndexedFile::ReadAt(int64_t offset, char* to, size_t bytes) const {
    size_t have = 0;
    while (have < bytes) {
        ssize_t const got = ::pread(m_file.Get(), to + have, bytes - have, offset + static_cast<int64_t>(have));
        if (got == 0)
            break;
        if (got < 0 && errno != EINTR)
            throw File::Failure("read", m_path, errno);
        have += got > 0 ? static_cast<size_t>(got) : 0;
    }
    return have;
}

bool IndexedFile::ReadOn(size_t mostBytes) {
    m_buffer.resize(std::max(m_buffer.size(), mostBytes));
    size_t const got = ReadAt(Bytes(), m_buffer.data(), mostBytes);
    std::string_view const bytes(m_buffer.data(), got);
    m_lastBytes.append(bytes.substr(got - std::min(got, k_PrintBytes)));
    m_lastBytes.erase(0, m_lastBytes.size() - std::min(m_lastBytes.size(), k_PrintBytes));
    CommonMutex::Lock const lock(m_guard);
    m_index.Append(bytes);
    return got == mostBytes;
}

int64_t IndexedFile::SizeNow() const {
    struct stat state {};
    if (::fstat(m_file.Get(), &state) != 0)
        throw File::Failure("read", m_path, errno);
    return state.st_size;
}

bool IndexedFile::IsRewritten() {
    struct stat state {};
    if (::fstat(m_file.Get(), &state) != 0)
        throw File::Failure("read", m_path, errno);
    if (state.st_size < Bytes())
        return true;
    if (std::exchange(m_changedNs, ChangeTime(state)) == m_changedNs)
        return false;
    std::string print(m_lastBytes.size(), '\0');
    ReadAt(Bytes() - static_cast<int64_t>(print.size()), print.data(), print.size());
    return print != m_lastBytes;
}

bool IndexedFile::IsReplaced(bool& isGone) const {
    struct stat state {};
    isGone = ::stat(m_path.c_str(), &state) != 0;
    if (isGone && errno != ENOENT && errno != ENOTDIR)
        throw File::Failure("read", m_path, errno);
    return !isGone && (state.st_ino != m_inode || state.st_dev != m_device);
}

int64_t IndexedFile::Bytes() const {
    CommonMutex::Lock const lock(m_guard);
    return m_index.Bytes();
}

int IndexedFile::Lines() const {
    CommonMutex::Lock const lock(m_guard);
    return static_cast<int>(std::min<int64_t>(m_index.Lines(), INT_MAX / 2));
}

size_t IndexedFile::IndexBytes() const {
    CommonMutex::Lock const lock(m_guard);
    return m_index.MemoryBytes();
}

int64_t IndexedFile::OffsetBehindEnd(int64_t number) const {
    LineIndex::Block block;
    {
        CommonMutex::Lock const lock(m_guard);
        if (number >= m_index.Ends())
            return m_index.Bytes();
        block = m_index.BlockOfEnd(number);
    }
    std::string bytes(static_cast<size_t>(LineIndex::k_BlockBytes), '\0');
    bytes.resize(ReadAt(block.offset, bytes.data(), bytes.size()));
    size_t at = 0;
    for (int64_t ends = block.ends; ends <= number; ++ends) {
        size_t const feed = bytes.find('\n', at);
        if (feed == std::string::npos)
            break; // it was written over meanwhile
        at = feed + 1;
    }
    return block.offset + static_cast<int64_t>(at);
}

int64_t IndexedFile::OffsetOf(int line) const { return line <= 0 ? 0 : OffsetBehindEnd(line - 1); }

std::vector<TextLine> IndexedFile::ReadLines(int first, int count) const {
    std::vector<TextLine> lines;
    int const end = std::min(first + count, Lines());
    int64_t const bytes = Bytes();
    int64_t at = OffsetOf(first);
    std::string buffer;
    int64_t bufferAt = at;
    for (int line = first; line < end; ++line) {
        std::string_view rest(buffer);
        rest.remove_prefix(std::min(rest.size(), static_cast<size_t>(at - bufferAt)));
        size_t feed = rest.find('\n');
        if (feed == std::string_view::npos) {
            buffer.resize(std::min(k_ReadBytes, static_cast<size_t>(std::max<int64_t>(bytes - at, 0))));
            buffer.resize(ReadAt(at, buffer.data(), buffer.size()));
            bufferAt = at;
            rest = buffer;
            feed = rest.find('\n');
        }
        bool const hasEnd = feed != std::string_view::npos;
        // One that is longer than the buffer: the index knows where it ends.
        bool const isLong = !hasEnd && at + static_cast<int64_t>(rest.size()) < bytes;
        lines.push_back(MakeLine(rest.substr(0, feed), isLong));
        at = isLong ? OffsetBehindEnd(line) : at + static_cast<int64_t>(hasEnd ? feed + 1 : rest.size());
        if (isLong) {
            buffer.clear();
            bufferAt = at;
        }
    }
    return lines;
}

std::vector<TextLine> IndexedFile::ReadTail(size_t mostBytes, int64_t& offset) const {
    int64_t const size = SizeNow();
    offset = std::max<int64_t>(size - static_cast<int64_t>(mostBytes), 0);
    std::string bytes(static_cast<size_t>(size - offset), '\0');
    bytes.resize(ReadAt(offset, bytes.data(), bytes.size()));
    std::string_view rest(bytes);
    if (offset > 0) {
        size_t const feed = rest.find('\n');
        size_t const skip = feed == std::string_view::npos ? rest.size() : feed + 1;
        rest.remove_prefix(skip);
        offset += static_cast<int64_t>(skip);
    }
    std::vector<TextLine> lines;
    while (!rest.empty()) {
        size_t const feed = rest.find('\n');
        lines.push_back(MakeLine(rest.substr(0, feed), false));
        rest.remove_prefix(feed == std::string_view::npos ? rest.size() : feed + 1);
    }
    return lines;
}

std::shared_ptr<TextSnapshot const> IndexedFile::Snapshot() const {
    int64_t bytes = 0;
    int lines = 0;
    {
        CommonMutex::Lock const lock(m_guard);
        bytes = m_index.Bytes();
        lines = static_cast<int>(std::min<int64_t>(m_index.Lines(), INT_MAX / 2));
    }
    return std::make_shared<Taken>(shared_from_this(), bytes, lines);
}
