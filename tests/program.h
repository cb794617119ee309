#pragma once

#include "corekit/homeprocesses.h"
#include "domain.h"

namespace vorlan {

// A file's text; empty while there is none.
inline String TextOf(Path const& file) { return file.Exists() ? corekit::File::Read(file) : String(); }

inline corekit::UniqueFd OpenFile(Path const& path, int flags) {
    return corekit::UniqueFd(::open(path.c_str(), flags | O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
}

// One program of the system, as a process in a home of its own.
// Owner: a test. Thread: the test's.
class Program {
public:
    Program(String name, Path home) : m_name(std::move(name)), m_home(std::move(home)) {}
    ~Program() {
        if (m_process)
            m_process->Kill();
    }

    // `prefix` goes before the program: another program that starts it.
    void Start(std::vector<String> const& prefix = {}) {
        corekit::UniqueFd const output = OpenFile(m_home / (m_name + ".output"), O_APPEND);
        corekit::ProcessOptions options;
        options.env["VORLAN_HOME"] = m_home;
        options.stdoutFd = options.stderrFd = output.Get();
        options.group = corekit::ProcessGroup::Session;
        std::vector<String> words = prefix;
        words.push_back(Path(vorlan::k_BinDir) / m_name);
        options.args = {words.begin() + 1, words.end()};
        String error;
        m_process = corekit::Process::Start(Path(words.front()), options, &error);
        ASSERT_TRUE(m_process) << error;
    }
    bool Running() { return m_process && m_process->Running(); }
    pid_t Pid() const { return m_process ? m_process->Pid() : 0; }
    // SIGKILL to the program alone, then waits for its end.
    void KillAlone() {
        ASSERT_TRUE(m_process);
        ::kill(Pid(), SIGKILL);
        EXPECT_EQ(m_process->Wait(10'000), -SIGKILL) << m_name;
    }
    // SIGTERM; the exit code, or nothing when it goes on.
    std::optional<int> Stop() {
        if (!m_process)
            return std::nullopt;
        ::kill(Pid(), SIGTERM);
        return Wait();
    }
    std::optional<int> Wait() { return m_process->Wait(15'000); }
    // What it printed on both outputs, from its first start on.
    String Output() const { return TextOf(m_home / (m_name + ".output")); }
    // The log of one without windows.
    String Log() const { return TextOf(m_home / "machine" / m_name / "History.log"); }

private:
    String const m_name;
    Path const m_home;
    std::unique_ptr<corekit::Process> m_process;
};

} // namespace vorlan
