#pragma once

#include <corekit/exception.h>
#include <corekit/path.h>
#include <corekit/runcommand.h>
#include <corekit/string.h>

#include <functional>
#include <optional>
#include <vector>

namespace corekit {

// Whose services: those of this user, or those of the whole machine, which only its
// administrators may change.
enum class ServiceScope { User, System };

struct ServiceUnit {
    String name; // "vorlan-engine.service"
    String text; // of its file
};

// A service could not be installed, started, stopped or removed.
class ServiceException : public Exception {
public:
    explicit ServiceException(String message, String detail = {}) : Exception(std::move(message), std::move(detail)) {}
};

// ServiceManager is what the machine offers to run programs without a user.
// Owner: whoever asks. Thread: any but the GUI's: every method waits, possibly for
// somebody to type a password. All throw ServiceException, or FileException.
class ServiceManager {
public:
    virtual ~ServiceManager() = default;

    // Writes the units and has the one called `enable` started with the scope from the
    // next time on. Units that are there are replaced.
    virtual void Install(ServiceScope scope, std::vector<ServiceUnit> const& units, String const& enable) = 0;
    virtual void Start(ServiceScope scope, String const& unit) = 0;
    virtual void Stop(ServiceScope scope, String const& unit) = 0;
    // Stops them and takes their files away. `enabled` is the one that Install enabled.
    virtual void Remove(ServiceScope scope, std::vector<String> const& units, String const& enabled) = 0;
    // Where the unit is installed; the user's own counts first. Does not wait.
    virtual std::optional<ServiceScope> FindScope(String const& unit) = 0;
};

// SystemdManager is the ServiceManager of a machine with systemd.
// Works with: systemctl; for the machine's services pkexec, else sudo with a password.
// Always: what goes to a shell with the administrator's rights is a fixed text, its
// arguments are handed over beside it.
class SystemdManager : public ServiceManager {
public:
    struct Options {
        Path userFolder;   // empty: of this user
        Path systemFolder; // empty: of this machine
        // Runs a program; as RunCommand.
        std::function<CommandOutcome(Path const& program, std::vector<String> const& args, String const& input)> run;
        // A program's path, or nothing.
        std::function<Path(String const& name)> find;
        // This process has the administrator's rights already.
        std::optional<bool> isRoot;
        // The user's password, for sudo; nothing when it was not given.
        std::function<std::optional<String>()> askPassword;
    };

    explicit SystemdManager(Options options = {});

    void Install(ServiceScope scope, std::vector<ServiceUnit> const& units, String const& enable) override;
    void Start(ServiceScope scope, String const& unit) override;
    void Stop(ServiceScope scope, String const& unit) override;
    void Remove(ServiceScope scope, std::vector<String> const& units, String const& enabled) override;
    std::optional<ServiceScope> FindScope(String const& unit) override;

    // A word of an ExecStart line that stands for itself: quoted, and with none of the
    // characters that systemd replaces.
    static String Quote(String const& word);

    // Somebody may have to type a password.
    static constexpr int k_TimeoutMs = 180'000;

private:
    void Systemctl(ServiceScope scope, std::vector<String> const& args);
    void Elevated(std::vector<String> const& command);
    CommandOutcome Run(Path const& program, std::vector<String> const& args, String const& input = {});
    static void Check(CommandOutcome const& outcome, String const& what);

    // Constant after construction.
    Options m_options;
};

} // namespace corekit
