#pragma once

// A real farm for tests: programs in a folder of their own, on free ports.

#include "cli/farm.h"
#include "corekit/homeprocesses.h"
#include "corekit/sanitizerreports.h"

#include <vorlan/messages.h>

namespace vorlan::farmtest {

// Polls until the condition holds. False when the time is over.
bool WaitUntil(std::function<bool()> const& condition, int timeoutMs, int everyMs = 10);

inline constexpr int k_StartMs = 20'000; // from a program's start to its work
inline constexpr int k_JobMs = 120'000;  // a Job of a test, on a busy machine

// One program of the farm, as a process.
class Program {
public:
    // `prefix` goes before the program: another program that starts it.
    Program(String name, Path home, std::vector<String> prefix = {});
    ~Program();

    void Start(std::vector<String> const& arguments = {});
    bool Running() { return m_process && m_process->Running(); }
    pid_t Pid() const { return m_process ? m_process->Pid() : 0; }
    // SIGKILL to the program alone, then waits for its end.
    void KillAlone();
    // SIGTERM; the exit code, or nothing when it goes on.
    std::optional<int> Stop(int timeoutMs = 15'000);
    // What it printed on both outputs, from its first start on.
    String Output() const;
    // Its own log.
    String Log() const;

private:
    String const m_name;
    Path const m_home;
    std::vector<String> const m_prefix;
    std::unique_ptr<corekit::Process> m_process;
};

// The base of the tests with a farm. Everything that runs with the test's VORLAN_HOME is
// dead after the test, whatever has happened, and also when the test program is killed.
class FarmFixture : public testing::Test {
protected:
    FarmFixture();
    ~FarmFixture() override;

    Path const& Home() const { return m_folder.Folder(); }
    void StartMaster();
    void StartEngine();
    void StartFarm() {
        StartMaster();
        StartEngine();
    }
    // Starts them without waiting until they work.
    Program& Master() { return m_master; }
    Program& Engine() { return m_engine; }
    unsigned short MasterPort() const;

    // A connection as the command line has it; a new one each time.
    std::unique_ptr<cli::Farm> Connect() const;

    // A Job of the Product "Command" that is not submitted yet.
    boost::shared_ptr<Job> CommandJob(String const& name, String const& commandLine, String const& range) const;
    // A Job that appends the number of each frame to the file Home()/frames before it ends.
    boost::shared_ptr<Job> CountingJob(String const& range, String const& seconds = "0") const;
    std::map<int, int> CountedFrames() const;
    void Submit(cli::Farm& farm, boost::shared_ptr<Job> const& job) const { farm.Do(JobMsg::Create(job)); }

    // The Job's status once it is finished, over as many connections as it takes;
    // Queued when the time is over.
    int WaitForEnd(UID const& job, int timeoutMs = k_JobMs) const;
    JobHistory HistoryOf(UID const& job) const;
    // Every unit of 1 to `frames` has a history with exactly one run that finished well.
    void ExpectEachFrameFinishedOnce(UID const& job, int frames) const;

    // Processes with this test's VORLAN_HOME in their environment.
    std::vector<pid_t> Processes() const;
    // Those of them that belong to work units.
    std::vector<pid_t> UnitProcesses() const;

    // The real command line.
    struct Ran {
        int code = -1;
        std::string out;
        std::string err;
    };
    Ran Vorlan(std::vector<String> const& arguments, int timeoutMs = k_JobMs) const;
    // The same without waiting; what it prints is in VorlanOutput and VorlanErrors.
    std::unique_ptr<corekit::Process> StartVorlan(std::vector<String> const& arguments) const;
    String VorlanOutput() const;
    String VorlanErrors() const;

private:
    corekit::SanitizerReports m_reports;
    corekit::TempFolder m_folder;
    corekit::HomeGuard m_guard{m_folder.Folder()};
    corekit::EnvironmentValue m_home;
    Program m_master;
    Program m_engine;
};

} // namespace vorlan::farmtest
