#include "engine/runner/unitgroup.h"

#include <corekit/file.h>
#include <corekit/string.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>
#include <string>

#include <corekit/uniquefd.h>

namespace vorlan::runner {

namespace {

// Where the file system of control groups is, and which group is its root there.
struct Mount {
    std::string folder;
    std::string root;
};

Mount FindMount() {
    std::ifstream file("/proc/self/mountinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.find(" - cgroup2 ") == std::string::npos)
            continue;
        std::istringstream fields(line);
        std::string skipped;
        Mount mount;
        fields >> skipped >> skipped >> skipped >> mount.root >> mount.folder;
        return mount;
    }
    return {};
}

// Empty when there is none.
std::string OwnGroup() {
    std::ifstream file("/proc/self/cgroup");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("0::/") && !line.starts_with("0::/.."))
            return line.substr(3);
    }
    return {};
}

bool WriteTo(Path const& file, String const& text) {
    UniqueFd const descriptor(open(file.c_str(), O_WRONLY | O_CLOEXEC));
    return descriptor && write(descriptor.Get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

} // namespace

UnitGroup::UnitGroup(UID const& machine) {
    Mount const mount = FindMount();
    std::string own = OwnGroup();
    if (mount.folder.empty() || own.empty())
        return;
    if (mount.root != "/" && own.starts_with(mount.root))
        own.erase(0, mount.root.size());
    m_folder = Path(mount.folder + own) / Path("vorlan-engine-" + machine.ToString());
}

void UnitGroup::Take(pid_t pid) {
    if (m_folder.Empty())
        return;
    mkdir(m_folder.c_str(), 0755);
    if (!WriteTo(m_folder / "cgroup.procs", String::From(pid)))
        Remove();
}

void UnitGroup::Kill() {
    if (!m_folder.Empty())
        WriteTo(m_folder / "cgroup.kill", "1");
}

bool UnitGroup::IsEmpty() const {
    std::ifstream file((m_folder / "cgroup.events").Str());
    for (std::string line; !m_folder.Empty() && std::getline(file, line);) {
        if (line == "populated 1")
            return false;
    }
    return true;
}

void UnitGroup::Remove() {
    if (!m_folder.Empty())
        rmdir(m_folder.c_str());
}

} // namespace vorlan::runner
