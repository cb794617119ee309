#include "secretfile.h"

#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/uid.h>

#include <cerrno>
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
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || (info.st_mode & 077) == 0)
        return;
    bool const fixed = ::chmod(path.c_str(), 0600) == 0;
    LogWarning("Others could read " + path + (fixed ? ". Its rights are 0600 now." : ". Run `chmod 0600` on it."));
}

} // namespace vorlan::net
