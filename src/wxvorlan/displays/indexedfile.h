#pragma once

#include "lineindex.h"
#include "textsource.h"

#include <corekit/commonmutex.h>
#include <corekit/path.h>
#include <corekit/uniquefd.h>
#include <sys/stat.h>

// IndexedFile is an open file with the index of its lines.
// Owner: shared by who reads it on, who shows it and the snapshots of it.
// Thread: ReadOn and the calls that look for changes on one thread, all others on any.
// All but the counts wait for the disk and throw FileException.
// Always: what is known of it are its first Bytes(); the file may have grown since.
class IndexedFile : public std::enable_shared_from_this<IndexedFile> {
public:
    static std::shared_ptr<IndexedFile> Open(corekit::Path const& path);

    // Reads at most so many bytes more into the index; false at the end.
    bool ReadOn(size_t mostBytes);
    int64_t SizeNow() const;
    // Bytes that were read stand there no more: it was cut or written anew.
    bool IsRewritten();
    // The path leads to another file. Not when it leads to none: `isGone`.
    bool IsReplaced(bool& isGone) const;

    int64_t Bytes() const;
    int Lines() const;
    size_t IndexBytes() const;
    // The first byte of a line that is known, or the end.
    int64_t OffsetOf(int line) const;
    std::vector<TextLine> ReadLines(int first, int count) const;
    // The lines of the end, at most so many bytes; none when a longer line stands there.
    // `offset` is where they begin.
    std::vector<TextLine> ReadTail(size_t mostBytes, int64_t& offset) const;
    std::shared_ptr<TextSnapshot const> Snapshot() const;
    // Fills the buffer from there; gives what the file still had.
    size_t ReadAt(int64_t offset, char* to, size_t bytes) const;

private:
    class Taken;

    IndexedFile(corekit::Path path, corekit::UniqueFd file);
    // Behind the line feed of this number.
    int64_t OffsetBehindEnd(int64_t number) const;

    // Constant after construction.
    corekit::Path const m_path;
    corekit::UniqueFd const m_file;
    dev_t m_device = 0;
    ino_t m_inode = 0;

    mutable corekit::CommonMutex m_guard;
    LineIndex m_index CK_GUARDED_BY(m_guard);

    // The reading thread only.
    std::string m_buffer;
    std::string m_lastBytes; // that were read
    int64_t m_changedNs = 0; // when the file was written last, as of the last look
};
