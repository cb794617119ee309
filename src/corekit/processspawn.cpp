#include "processspawn.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <system_error>
#include <vector>

extern char** environ;

namespace corekit {

namespace {

constexpr int k_FirstOtherFd = 3;

// The texts that exec takes, and the pointers to them.
class TextVector {
public:
    void Add(String text) { m_texts.push_back(std::move(text)); }
    char** Pointers() {
        m_pointers.clear();
        for (String const& text : m_texts)
            m_pointers.push_back(const_cast<char*>(text.c_str()));
        m_pointers.push_back(nullptr);
        return m_pointers.data();
    }

private:
    std::vector<String> m_texts;
    std::vector<char*> m_pointers;
};

bool IsDropped(ProcessOptions const& options, String const& name) {
    for (String const& unset : options.unsetEnv) {
        if (unset == name)
            return true;
    }
    return options.env.count(name) != 0;
}

TextVector MakeEnvironment(ProcessOptions const& options) {
    TextVector result;
    for (char** entry = options.inheritEnv ? environ : nullptr; entry && *entry; ++entry) {
        char const* equals = std::strchr(*entry, '=');
        if (equals && !IsDropped(options, String(std::string_view(*entry, static_cast<size_t>(equals - *entry)))))
            result.Add(*entry);
    }
    for (auto const& [name, value] : options.env)
        result.Add(name + "=" + value);
    return result;
}

// Looks through PATH, the child's own where it is given one.
Path FindInPath(Path const& program, ProcessOptions const& options) {
    auto own = options.env.find("PATH");
    char const* inherited = std::getenv("PATH");
    String folders =
        own != options.env.end() ? own->second : String(inherited ? inherited : "/usr/local/bin:/usr/bin:/bin");
    std::string_view rest = folders;
    while (!rest.empty()) {
        std::string_view folder = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(rest.size(), folder.size() + 1));
        Path candidate = Path(folder.empty() ? std::string_view(".") : folder) / program;
        if (::access(candidate.c_str(), X_OK) == 0 && !candidate.IsFolder())
            return candidate;
    }
    return Path();
}

// The program's file, absolute: the child changes its folder before it looks.
Path ResolveProgram(Path const& program, ProcessOptions const& options, String& error) {
    if (program.Empty()) {
        error = "Cannot start a program without a name";
        return Path();
    }
    if (!program.Contains("/")) {
        Path found = FindInPath(program, options);
        if (found.Empty())
            error = "Cannot start \"" + program + "\": it is not in the search path. Install it or give its full path";
        return found;
    }
    if (!program.Exists()) {
        error = "Cannot start \"" + program + "\": there is no such file. Install it or correct the path";
        return Path();
    }
    std::error_code failure;
    return Path(std::filesystem::absolute(program.Native(), failure));
}

// The three standard descriptors of the child. Sources that are themselves below
// three are moved up first, or one redirection would overwrite the next one's source.
class StandardFiles {
public:
    bool Prepare(ProcessOptions const& options) {
        int const sources[] = {options.stdinFd, options.stdoutFd, options.stderrFd};
        for (int target = 0; target < k_FirstOtherFd; ++target) {
            m_sources[target] = sources[target];
            if (sources[target] < 0 || sources[target] >= k_FirstOtherFd || sources[target] == target)
                continue;
            m_copies[target].Reset(::fcntl(sources[target], F_DUPFD_CLOEXEC, k_FirstOtherFd));
            m_sources[target] = m_copies[target].Get();
            if (!m_copies[target])
                return false;
        }
        return true;
    }

    void AddTo(posix_spawn_file_actions_t& actions) const {
        for (int target = 0; target < k_FirstOtherFd; ++target) {
            if (m_sources[target] == ProcessOptions::k_Null)
                posix_spawn_file_actions_addopen(&actions, target, "/dev/null", target == 0 ? O_RDONLY : O_WRONLY, 0);
            else if (m_sources[target] >= 0)
                posix_spawn_file_actions_adddup2(&actions, m_sources[target], target);
        }
        posix_spawn_file_actions_addclosefrom_np(&actions, k_FirstOtherFd);
    }

private:
    int m_sources[k_FirstOtherFd]{};
    UniqueFd m_copies[k_FirstOtherFd];
};

class SpawnSettings {
public:
    SpawnSettings() {
        posix_spawnattr_init(&attributes);
        posix_spawn_file_actions_init(&actions);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(SpawnSettings const&) = delete;
    SpawnSettings& operator=(SpawnSettings const&) = delete;

    // Signals as a fresh program expects them, and the process group.
    void SetAttributes(ProcessGroup group) {
        int flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
        if (group == ProcessGroup::Session)
            flags |= POSIX_SPAWN_SETSID;
        else if (group == ProcessGroup::Own)
            flags |= POSIX_SPAWN_SETPGROUP;
        sigset_t signals;
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(&attributes, static_cast<short>(flags));
    }

    posix_spawnattr_t attributes;
    posix_spawn_file_actions_t actions;
};

String SpawnError(Path const& program, int failure) {
    String text = "Cannot start \"" + program + "\": " + std::strerror(failure);
    if (failure == EACCES)
        text += ". Give the file the right to be executed";
    else if (failure == ENOEXEC)
        text += ". The file is not a program for this machine";
    else if (failure == ENOENT)
        text += ". The program or its interpreter is missing";
    else if (failure == E2BIG)
        text += ". Shorten its arguments or its environment";
    return text;
}

} // namespace

pid_t SpawnProcess(Path const& program, ProcessOptions const& options, String& error) {
    if (!options.folder.Empty() && !options.folder.IsFolder()) {
        error = "Cannot start \"" + program + "\": there is no folder \"" + options.folder + "\" to run it in";
        return -1;
    }
    Path file = ResolveProgram(program, options, error);
    if (file.Empty())
        return -1;

    StandardFiles files;
    if (!files.Prepare(options)) {
        error = "Cannot start \"" + program + "\": " + std::strerror(errno);
        return -1;
    }
    SpawnSettings settings;
    settings.SetAttributes(options.group);
    files.AddTo(settings.actions);
    if (!options.folder.Empty())
        posix_spawn_file_actions_addchdir_np(&settings.actions, options.folder.c_str());

    TextVector arguments;
    arguments.Add(program);
    for (String const& argument : options.args)
        arguments.Add(argument);
    TextVector environment = MakeEnvironment(options);

    pid_t pid = -1;
    int failure = posix_spawn(&pid, file.c_str(), &settings.actions, &settings.attributes, arguments.Pointers(),
                              environment.Pointers());
    if (failure == 0)
        return pid;
    error = SpawnError(file, failure);
    return -1;
}

} // namespace corekit
