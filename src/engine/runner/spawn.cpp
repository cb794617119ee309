#include "engine/runner/spawn.h"

#include "engine/runner/leftovers.h"

#include <corekit/file.h>
#include <corekit/sformat.h>

#include <fcntl.h>
#include <pwd.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

extern char** environ;

namespace vorlan::runner {

namespace {

constexpr char const* k_SetPriv = "/usr/bin/setpriv";
constexpr char const* k_DefaultPath = "/usr/local/bin:/usr/bin:/bin";

bool IsProgram(std::string const& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(file.c_str(), X_OK) == 0;
}

class Actions {
public:
    Actions() { posix_spawn_file_actions_init(&m_actions); }
    ~Actions() { posix_spawn_file_actions_destroy(&m_actions); }
    Actions(Actions const&) = delete;
    Actions& operator=(Actions const&) = delete;
    posix_spawn_file_actions_t* operator&() { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions;
};

class Attributes {
public:
    Attributes() {
        posix_spawnattr_init(&m_attributes);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~Attributes() { posix_spawnattr_destroy(&m_attributes); }
    Attributes(Attributes const&) = delete;
    Attributes& operator=(Attributes const&) = delete;
    posix_spawnattr_t* operator&() { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes;
};

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// The variables of a new process. Those of this program are not copied.
class Environment {
public:
    Environment(RunSpec const& spec, String const& mark) {
        m_own.reserve(spec.environment.size() + 1); // what is pointed to stays where it is
        for (char** entry = environ; *entry; ++entry) {
            std::string_view const name = std::string_view(*entry).substr(0, std::strcspn(*entry, "="));
            if (name != k_MarkName && (spec.environment.empty() || !spec.environment.contains(String(name))))
                m_pointers.push_back(*entry);
        }
        for (auto const& [name, value] : spec.environment)
            Add(name.Str() + "=" + value.Str());
        Add(std::string(k_MarkName) + "=" + mark.Str());
        m_pointers.push_back(nullptr);
    }
    Environment(Environment const&) = delete;
    Environment& operator=(Environment const&) = delete;
    char* const* Pointers() { return m_pointers.data(); }

private:
    void Add(std::string variable) {
        m_own.push_back(std::move(variable));
        m_pointers.push_back(m_own.back().data());
    }

    std::vector<std::string> m_own;
    std::vector<char*> m_pointers;
};

// The system has run out of something, which is no fault of what was to be started.
bool IsOfMachine(int error) {
    constexpr int k_Shortages[] = {EMFILE, ENFILE, ENOMEM, EAGAIN, ENOSPC, EDQUOT, EIO, ESTALE, EROFS};
    return std::find(std::begin(k_Shortages), std::end(k_Shortages), error) != std::end(k_Shortages);
}

RunEnd Failure(int error, String const& text) {
    return {IsOfMachine(error) ? RunEnd::Kind::Lost : RunEnd::Kind::NotStarted, 0, text};
}

// The file that the program's name means: as it stands when it holds a stroke, else the
// first one in the process's PATH that can be executed. Empty when there is none.
String FindProgram(RunSpec const& spec) {
    String const& name = spec.arguments.front();
    if (name.Contains("/"))
        return IsProgram(name.Str()) ? name : String();
    auto const given = spec.environment.find("PATH");
    char const* const own = getenv("PATH");
    std::string_view left = given != spec.environment.end() ? std::string_view(given->second)
                            : own                           ? own
                                                            : k_DefaultPath;
    while (!name.Empty() && !left.empty()) {
        size_t const end = std::min(left.find(':'), left.size());
        std::string const file = std::string(left.substr(0, end)) + "/" + name.Str();
        if (IsProgram(file))
            return String(file);
        left.remove_prefix(std::min(end + 1, left.size()));
    }
    return {};
}

// The account under which the process is to run.
struct Account {
    bool isOther = false; // than this program's own
    uid_t uid = 0;
    gid_t gid = 0;
};

std::optional<RunEnd> FindAccount(RunSpec& spec, Account& account) {
    if (spec.user.Empty())
        return std::nullopt;
    passwd found{};
    passwd* entry = nullptr;
    std::vector<char> buffer(16384);
    int const error = getpwnam_r(spec.user.c_str(), &found, buffer.data(), buffer.size(), &entry);
    char const* const user = spec.user.c_str();
    if (IsOfMachine(error))
        return Failure(error, SFormat("The user \"%s\" cannot be looked up: %s.", user, std::strerror(error)));
    if (!entry)
        return Failure(
            0, SFormat("There is no user \"%s\" on this machine. Create it there, or name another one: the Job's "
                       "Username, or the WorkAccount in VorlanEngine.ini.",
                       user));
    if (entry->pw_uid == 0 && !spec.mayBeRoot) {
        return Failure(0, SFormat("The user \"%s\" has all rights, and this machine lets no work run like that. Use "
                                  "another Username, or name this one in its WorkUsers.",
                                  user));
    }
    account = {entry->pw_uid != geteuid(), entry->pw_uid, entry->pw_gid};
    if (!account.isOther)
        return std::nullopt;
    if (geteuid() != 0) {
        return Failure(0, SFormat("VorlanEngine does not run as root here and cannot run work as \"%s\". Empty "
                                  "Username, or start it as root.",
                                  user));
    }
    spec.environment["HOME"] = entry->pw_dir;
    spec.environment["USER"] = entry->pw_name;
    spec.environment["LOGNAME"] = entry->pw_name;
    return std::nullopt;
}

std::optional<RunEnd> MakeOwnFolder(Path const& folder, Account const& account) {
    try {
        if (!folder.IsFolder())
            File::MakeFolder(folder);
    } catch (FileException const& error) {
        return Failure(error.SystemError(), error.Message());
    }
    if (account.isOther && chown(folder.c_str(), account.uid, account.gid) != 0) {
        return Failure(
            errno, SFormat("The folder \"%s\" cannot be given to its user: %s.", folder.c_str(), std::strerror(errno)));
    }
    return std::nullopt;
}

// Changes the ids and becomes the program: no process in between.
void ChangeUser(RunSpec& spec, Account const& account) {
    std::vector<String> arguments{
        k_SetPriv, "--reuid", String::From(account.uid), "--regid", String::From(account.gid), "--init-groups", "--"};
    arguments.insert(arguments.end(), spec.arguments.begin(), spec.arguments.end());
    spec.arguments = std::move(arguments);
}

// What the new process has open, and where it stands.
void SetUp(Actions& actions, Path const& folder, int output) {
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    for (int const descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
        if (output >= 0)
            posix_spawn_file_actions_adddup2(&actions, output, descriptor);
        else
            posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_WRONLY, 0);
    }
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    if (!folder.Empty())
        posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
}

} // namespace

SpawnResult SpawnUnit(RunSpec spec, String const& mark, int output, std::function<bool()> const& mayStart) {
    if (spec.arguments.empty())
        return {0, Failure(0, "There is no command to run.")};
    Account account;
    if (auto const error = FindAccount(spec, account))
        return {0, *error};
    if (spec.ownFolder) {
        if (auto const error = MakeOwnFolder(spec.folder, account))
            return {0, *error};
    }
    String file = FindProgram(spec);
    if (file.Empty()) {
        return {
            0,
            {RunEnd::Kind::NotFound, 0, SFormat("The program \"%s\" was not found.", spec.arguments.front().c_str())}};
    }
    if (account.isOther) {
        ChangeUser(spec, account);
        file = k_SetPriv;
    }
    std::vector<std::string> arguments;
    for (String const& argument : spec.arguments)
        arguments.push_back(argument.Str());
    Actions actions;
    SetUp(actions, spec.folder, output);
    Attributes attributes;
    std::vector<char*> argumentPointers = Pointers(arguments);
    Environment environment(spec, mark);
    if (!mayStart())
        return {0, Failure(0, "It was stopped before it could start.")};
    SpawnResult result;
    int const error =
        posix_spawn(&result.pid, file.c_str(), &actions, &attributes, argumentPointers.data(), environment.Pointers());
    if (error != 0) {
        result.pid = 0;
        Path const& folder = spec.folder;
        bool const badFolder = !folder.Empty() && access(folder.c_str(), X_OK) != 0;
        result.failure =
            Failure(error, badFolder ? SFormat("The working folder \"%s\" cannot be entered: %s.", folder.c_str(),
                                               std::strerror(error))
                                     : SFormat("\"%s\" could not be started: %s.", file.c_str(), std::strerror(error)));
    }
    return result;
}

} // namespace vorlan::runner
