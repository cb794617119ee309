#pragma once

#include <corekit/exception.h>
#include <corekit/path.h>

#include <cstdint>
#include <sys/types.h>

namespace corekit {

// The few calls by which files are written. File and OutFile go through
// `s_Layer`, so that a test can fill the disk. Every method reports as the system
// call of its name: -1 and errno. Any thread.
class FileLayer {
public:
    virtual ~FileLayer() = default;

    virtual int Open(char const* path, int flags, mode_t mode);
    virtual ssize_t Write(int fd, void const* data, size_t bytes);
    virtual int Sync(int fd);
    virtual int Close(int fd);
    virtual int Rename(char const* from, char const* to);

    // Never null. A test puts its own here and the former one back.
    static FileLayer* s_Layer;
};

// Where the system's files lie, and reading and writing them as a whole. Static
// only; any thread.
class File {
public:
    // Files above this size are refused by Read: no text file of the system
    // comes near it.
    static constexpr int64_t k_MaxReadBytes = 256 * 1024 * 1024;
    // As the `mode` of a write: what SetMode said, else the rights of the file
    // that is replaced, else 0644.
    static constexpr int k_KeepMode = -1;

    // The folder of the running program.
    static Path s_AppDir;

    // The folders are made when they are missing; when that fails the path is
    // given all the same, and the first write there says what is wrong.
    // This user's own files.
    static Path GetUserDir();
    // What all components on this machine share.
    static Path GetMachineDir();
    static Path GetTempDir();
    static Path GetConnectionFile();
    // Where a user who may not write there keeps it; what it says comes first.
    static Path GetUserConnectionFile();

    static bool Exists(Path const& path) noexcept { return path.Exists(); }
    // Bytes; -1 when there is no such file.
    static int64_t Size(Path const& path) noexcept;

    // The whole file. Throws FileException.
    static String Read(Path const& path);
    // Replaces the file in one step: after a crash or a full disk either the old
    // content or the new one is there, whole. Throws FileException when the new
    // one could not be written; the old file then stays as it was. A link is
    // followed, not replaced.
    static void WriteWhole(Path const& path, std::string_view text, int mode = k_KeepMode);
    // The rights of the next file that this thread writes with `k_KeepMode`, as
    // the digits of a file mask: 22 takes writing from group and others (rw-r--r--),
    // 77 takes everything from them (rw-------). Throws ArgumentException for
    // digits that are no mask.
    static void SetMode(int mask);
    // Makes the folder and those above it. Throws FileException.
    static void MakeFolder(Path const& path);
    // False when there was no such file. Throws FileException when it is there
    // and cannot be deleted. Does not delete folders.
    static bool Delete(Path const& path);
    // Moves a file that cannot be used out of the way, beside itself, under a
    // name that is free ("name.damaged", "name.damaged-2"). Throws FileException.
    static Path MoveAside(Path const& path);

    // A FileException for the errno at hand: "Cannot <action> <path>", with what
    // the user can do about it.
    static FileException Failure(std::string_view action, Path const& path, int systemError);
};

} // namespace corekit
