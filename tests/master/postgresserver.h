#pragma once

// A PostgreSQL server of a test.

#include "test.h"

#include <pwd.h>

namespace corekit {

// Reached by a socket in its own folder. It refuses root, so that a plain user runs it.
class PostgresServer {
public:
    ~PostgresServer() { Run("pg_ctl", {"-D", m_folder / "data", "-m", "immediate", "-w", "stop"}); }

    // Where its programs are; nothing when none is installed.
    static std::optional<Path> Programs() {
        std::error_code ignored;
        for (auto const& version : std::filesystem::directory_iterator("/usr/lib/postgresql", ignored)) {
            if (std::filesystem::exists(version.path() / "bin" / "initdb"))
                return Path(version.path() / "bin");
        }
        return std::nullopt;
    }

    bool Start() {
        passwd const* const user = getpwnam("postgres");
        m_asUser = geteuid() == 0 && user && chown(m_folder.Folder().c_str(), user->pw_uid, user->pw_gid) == 0;
        String const options = "-c listen_addresses='' -k " + m_folder.Folder();
        return Run("initdb", {"-D", m_folder / "data", "-A", "trust", "-U", "vorlan", "--no-sync"}) &&
               Run("pg_ctl", {"-D", m_folder / "data", "-w", "-l", m_folder / "log", "-o", options, "start"});
    }
    String Connection() const { return "postgresql://host=" + m_folder.Folder() + " user=vorlan dbname=postgres"; }

private:
    bool Run(char const* program, std::vector<String> const& arguments) const {
        ProcessOptions options;
        options.folder = m_folder.Folder();
        options.stdoutFd = options.stderrFd = ProcessOptions::k_Null;
        Path start = *Programs() / program;
        if (m_asUser) {
            options.args = {"-u", "postgres", "--", start};
            start = "/usr/sbin/runuser";
        }
        options.args.insert(options.args.end(), arguments.begin(), arguments.end());
        auto const process = Process::Start(start, options);
        bool const good = process && process->Wait(60000) == 0;
        if (process)
            process->Detach(); // pg_ctl's server is of its group, and stays
        return good;
    }

    TempFolder m_folder;
    bool m_asUser = false;
};

} // namespace corekit
