#pragma once

// A real farm for tests: programs in a folder of their own, on free ports.

#include "cli/farm.h"
#include "corekit/sanitizerreports.h"
#include "domain.h"
#include "program.h"

namespace vorlan::farmtest {

inline constexpr int k_StartMs = 20'000; // from a program's start to its work
inline constexpr int k_JobMs = 120'000;  // a Job of a test, on a busy machine

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

    // A connection as the command line has it; a new one each time.
    std::unique_ptr<cli::Farm> Connect() const;

    // Submits a Job of the Product "Command", over a connection of its own.
    boost::shared_ptr<Job> Submit(String const& name, String const& commandLine, String const& range,
                                  OptionMap const& values = {}) const;
    // One that appends the number of each frame to the file Home()/frames before it ends.
    boost::shared_ptr<Job> SubmitCounting(String const& range, String const& seconds = "0",
                                          OptionMap values = {}) const;
    std::map<int, int> CountedFrames() const;

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
    String VorlanOutput() const { return TextOf(Home() / "vorlan.out"); }
    String VorlanErrors() const { return TextOf(Home() / "vorlan.err"); }

private:
    corekit::SanitizerReports m_reports;
    corekit::TempFolder m_folder;
    corekit::HomeGuard m_guard{m_folder.Folder()};
    corekit::EnvironmentValue m_home;
    Program m_master;
    Program m_engine;
};

} // namespace vorlan::farmtest
