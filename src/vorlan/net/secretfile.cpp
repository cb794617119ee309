#include "secretfile.h"

#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/uid.h>
#include <corekit/uniquefd.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vorlan::net {

using namespace corekit;

bool CreateSecretFile(Path const& path, std::string_view text) {
    File::MakeFolder(path.Branch());
    Path const made = path + "." + UID(true).ToString();
    File::WriteWhole(made, text, 0600);
    int const result = ::link(made.c_str(), path.c_str());
    int const error = errno;
    File::Delete(made);
    if (result != 0 && error != EEXIST)
        throw File::Failure("write", path, error);
    return result == 0;
}

void KeepSecret(Path const& path) {
    // What a link points to is not ours to change.
    UniqueFd const file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {};
    if (!file || ::fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode) || (info.st_mode & 077) == 0)
        return;
    bool const fixed = ::fchmod(file.Get(), 0600) == 0;
    LogWarning("Others could read " + path + (fixed ? ". Its rights are 0600 now." : ". Run `chmod 0600` on it."));
}

} // namespace vorlan::net
