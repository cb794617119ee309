#pragma once

#include <corekit/file.h>

namespace corekit {

// A new file beside the one that it will replace. Owned by one writer; one
// thread. Works through FileLayer. Until Commit the old file stays untouched, and
// without Commit the new one is deleted.
class TemporaryFile {
public:
    // Follows a link. `mode` as in File::WriteWhole. Throws FileException.
    TemporaryFile(Path const& path, int mode);
    ~TemporaryFile();
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    // Both throw FileException.
    void Write(std::string_view bytes);
    // Brings the bytes to the disk and puts the file in the old one's place.
    void Commit();

private:
    [[noreturn]] void Fail(int systemError);
    void SyncFolder() noexcept;

    Path const m_asked;
    Path const m_target;
    Path m_temporary;
    int m_fd = -1;
};

// "rw-r--r--" for a mask of 22; throws ArgumentException when it is no mask.
int ModeOfMask(int mask);

} // namespace corekit
