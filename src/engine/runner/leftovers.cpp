#include "engine/runner/leftovers.h"

#include <corekit/sformat.h>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include <corekit/uniquefd.h>

namespace vorlan::runner {

namespace {

// An environment that is longer than this belongs to no unit.
constexpr size_t k_ReadLimit = size_t{4} << 20;

// Of the system's own files below "/proc".
std::string ReadFile(String const& name) {
    UniqueFd file(open(name.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    char buffer[16384];
    while (file && text.size() < k_ReadLimit) {
        ssize_t const count = read(file.Get(), buffer, sizeof buffer);
        if (count <= 0)
            break;
        text.append(buffer, static_cast<size_t>(count));
    }
    return text;
}

std::string ReadEnvironment(pid_t pid) { return ReadFile(SFormat("/proc/%d/environ", pid)); }

// The entries of a folder that are numbers: processes, or threads.
std::vector<pid_t> NumbersIn(char const* path) {
    std::vector<pid_t> found;
    std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path), closedir);
    while (dirent const* entry = folder ? readdir(folder.get()) : nullptr) {
        std::string_view const name(entry->d_name);
        pid_t number = 0;
        auto const parsed = std::from_chars(name.data(), name.data() + name.size(), number);
        if (parsed.ec == std::errc() && parsed.ptr == name.data() + name.size())
            found.push_back(number);
    }
    return found;
}

// What follows `wanted` in the variable that begins with it. A process that has ended
// and waits to be collected has no environment left, so that it never has one.
std::optional<std::string> ValueBehind(std::string const& environment, std::string const& wanted) {
    for (size_t from = 0; from < environment.size();) {
        size_t const end = std::min(environment.find('\0', from), environment.size());
        if (environment.compare(from, wanted.size(), wanted) == 0)
            return environment.substr(from + wanted.size(), end - from - wanted.size());
        from = end + 1;
    }
    return std::nullopt;
}

std::string Wanted(String const& prefix) { return std::string(k_MarkName) + "=" + prefix.Str(); }

} // namespace

String MarkPrefix(UID const& machine) { return machine.ToString() + "/"; }

String MarkOf(UID const& machine, UID const& work) { return MarkPrefix(machine) + work.ToString(); }

std::optional<UID> MarkedWork(pid_t pid, UID const& machine) {
    auto const text = ValueBehind(ReadEnvironment(pid), Wanted(MarkPrefix(machine)));
    UID work;
    return text && UID::FromString(*text, work) ? std::optional(work) : std::nullopt;
}

std::vector<pid_t> MarkedProcesses(String const& prefix) {
    std::vector<pid_t> found = NumbersIn("/proc");
    std::erase_if(found,
                  [&](pid_t pid) { return pid == getpid() || !ValueBehind(ReadEnvironment(pid), Wanted(prefix)); });
    return found;
}

std::vector<pid_t> ChildrenOfThread(pid_t thread) {
    std::string const text = ReadFile(SFormat("/proc/self/task/%d/children", thread));
    std::vector<pid_t> children;
    for (char const *at = text.data(), *end = at + text.size(); at < end;) {
        pid_t pid = 0;
        auto const parsed = std::from_chars(at, end, pid);
        if (parsed.ec != std::errc())
            break;
        at = parsed.ptr + 1;
        children.push_back(pid);
    }
    return children;
}

std::vector<pid_t> ChildrenOfAllThreads() {
    std::vector<pid_t> children;
    for (pid_t const thread : NumbersIn("/proc/self/task")) {
        auto const own = ChildrenOfThread(thread);
        children.insert(children.end(), own.begin(), own.end());
    }
    return children;
}

size_t EndMarkedProcesses(String const& prefix, int timeoutMs) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::set<pid_t> killed;
    for (;;) {
        std::vector<pid_t> const alive = MarkedProcesses(prefix);
        if (alive.empty() || std::chrono::steady_clock::now() > deadline)
            return killed.size();
        for (pid_t const pid : alive) {
            kill(pid, SIGKILL);
            killed.insert(pid);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

} // namespace vorlan::runner
