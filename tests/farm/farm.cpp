#include "domain.h"

#include "farm/farm.h"

#include "cli/exitcode.h"
#include "cli/masterlink.h"
#include "engine/runner/leftovers.h"

namespace vorlan::farmtest {

using namespace corekit;

namespace {

UniqueFd OpenFile(Path const& path, int flags) { return UniqueFd(::open(path.c_str(), flags | O_CLOEXEC, 0600)); }

} // namespace

bool WaitUntil(std::function<bool()> const& condition, int timeoutMs, int everyMs) {
    auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(everyMs));
    }
    return true;
}

Program::Program(String name, Path home, std::vector<String> prefix)
    : m_name(std::move(name)), m_home(std::move(home)), m_prefix(std::move(prefix)) {}

Program::~Program() {
    if (m_process)
        m_process->Kill();
}

void Program::Start(std::vector<String> const& arguments) {
    UniqueFd const output = OpenFile(m_home / (m_name + ".output"), O_WRONLY | O_CREAT | O_APPEND);
    ProcessOptions options;
    options.env["VORLAN_HOME"] = m_home;
    options.stdoutFd = output.Get();
    options.stderrFd = output.Get();
    options.group = ProcessGroup::Session;
    Path program = Path(vorlan::k_BinDir) / m_name;
    if (!m_prefix.empty()) {
        options.args.assign(m_prefix.begin() + 1, m_prefix.end());
        options.args.push_back(program);
        program = m_prefix.front();
    }
    options.args.insert(options.args.end(), arguments.begin(), arguments.end());
    String error;
    m_process = corekit::Process::Start(program, options, &error);
    ASSERT_TRUE(m_process) << error;
}

void Program::KillAlone() {
    ASSERT_TRUE(m_process);
    ::kill(m_process->Pid(), SIGKILL);
    EXPECT_EQ(m_process->Wait(10'000), -SIGKILL) << m_name;
}

std::optional<int> Program::Stop(int timeoutMs) {
    if (!m_process)
        return std::nullopt;
    ::kill(m_process->Pid(), SIGTERM);
    return m_process->Wait(timeoutMs);
}

String Program::Output() const {
    Path const path = m_home / (m_name + ".output");
    return path.Exists() ? File::Read(path) : String();
}

String Program::Log() const {
    Path const path = m_home / "machine" / m_name / "History.log";
    return path.Exists() ? File::Read(path) : String();
}

FarmFixture::FarmFixture()
    : m_home("VORLAN_HOME", m_folder.Folder().c_str()),
      m_master("VorlanMaster", m_folder.Folder()),
      m_engine("VorlanEngine", m_folder.Folder()) {}

FarmFixture::~FarmFixture() {
    if (HasFailure()) {
        std::cerr << "The Master's log:\n"
                  << m_master.Log() << m_master.Output() << "\nThe Engine's log:\n"
                  << m_engine.Log() << m_engine.Output() << std::endl;
    }
    EXPECT_TRUE(m_guard.End()) << "processes of the test are still there";
}

unsigned short FarmFixture::MasterPort() const { return MasterFinder::LocalPort(); }

void FarmFixture::StartMaster() {
    Path const port = MasterFinder::PortFile();
    if (port.Exists())
        File::Delete(port);
    ASSERT_NO_FATAL_FAILURE(m_master.Start());
    ASSERT_TRUE(WaitUntil([&] { return port.Exists() || !m_master.Running(); }, k_StartMs));
    ASSERT_TRUE(m_master.Running());
}

void FarmFixture::StartEngine() {
    ASSERT_NO_FATAL_FAILURE(m_engine.Start());
    auto const farm = Connect();
    ASSERT_TRUE(farm);
    ASSERT_TRUE(WaitUntil(
        [&] {
            farm->LoadEngines();
            auto const& engines = farm->View().Engines();
            return !engines.empty() && engines.begin()->second.Online();
        },
        k_StartMs, 20));
}

std::unique_ptr<cli::Farm> FarmFixture::Connect() const {
    std::unique_ptr<cli::Farm> farm;
    WaitUntil(
        [&] {
            try {
                farm = std::make_unique<cli::Farm>([] { return cli::ConnectToMaster({}); });
            } catch (cli::CommandException const& exception) {
                EXPECT_EQ(exception.Exit(), cli::ExitCode::NoMaster);
            }
            return farm != nullptr;
        },
        k_StartMs, 20);
    EXPECT_TRUE(farm) << "no Master was reached";
    return farm;
}

boost::shared_ptr<Job> FarmFixture::CommandJob(String const& name, String const& commandLine,
                                               String const& range) const {
    auto const product = JobFactory::s_JobFactory->FindProduct("Command");
    if (!product)
        throw std::runtime_error("connect first: the Products come from the Master");
    auto job = JobFactory::s_JobFactory->CreateJob(product->Type());
    job->SetName(name);
    job->Set("CommandLine", commandLine);
    job->Set(p_Range, range);
    return job;
}

boost::shared_ptr<Job> FarmFixture::CountingJob(String const& range, String const& seconds) const {
    auto job = CommandJob("counting", "sleep " + seconds + "; echo $(First) >>" + (Home() / "frames"), range);
    job->Set("Shell", k_Yes);
    return job;
}

std::map<int, int> FarmFixture::CountedFrames() const {
    std::map<int, int> counts;
    std::ifstream file((Home() / "frames").Str());
    for (int frame = 0; file >> frame;)
        ++counts[frame];
    return counts;
}

int FarmFixture::WaitForEnd(UID const& id, int timeoutMs) const {
    int status = Queued;
    std::unique_ptr<cli::Farm> farm;
    WaitUntil(
        [&] {
            try {
                if (!farm)
                    farm = Connect();
                farm->LoadJobs({id});
            } catch (cli::CommandException const&) {
                farm.reset(); // the Master was killed meanwhile
                return false;
            }
            auto const job = farm->View().FindJob(id);
            status = job && job->IsFinished() ? job->Status() : static_cast<int>(Queued);
            return status != Queued;
        },
        timeoutMs, 20);
    return status;
}

JobHistory FarmFixture::HistoryOf(UID const& job) const {
    auto const farm = Connect();
    if (!farm)
        return {};
    farm->LoadHistories({job});
    return farm->View().History(job);
}

void FarmFixture::ExpectEachFrameFinishedOnce(UID const& job, int frames) const {
    JobHistory const history = HistoryOf(job);
    EXPECT_EQ(history.size(), static_cast<size_t>(frames));
    for (int frame = 1; frame <= frames; ++frame) {
        WorkHistory const& work = history[String::From(frame)];
        int finished = 0;
        for (unsigned i = 0; i < work.Tries(); ++i) {
            finished += work[i].Status() == Finished ? 1 : 0;
            EXPECT_TRUE(work[i].HasEnded()) << "frame " << frame << ", try " << i;
        }
        EXPECT_EQ(finished, 1) << "frame " << frame << ", " << work.Tries() << " tries";
    }
}

std::vector<pid_t> FarmFixture::Processes() const {
    std::vector<pid_t> pids;
    for (auto const& [pid, name] : HomeProcesses(Home()))
        pids.push_back(pid);
    return pids;
}

std::vector<pid_t> FarmFixture::UnitProcesses() const {
    std::string const mark = '\0' + std::string(runner::k_MarkName) + "=";
    std::vector<pid_t> pids = Processes();
    std::erase_if(pids, [&](pid_t pid) { return EnvironmentOf(pid).find(mark) == std::string::npos; });
    return pids;
}

std::unique_ptr<corekit::Process> FarmFixture::StartVorlan(std::vector<String> const& arguments) const {
    UniqueFd const out = OpenFile(Home() / "vorlan.out", O_WRONLY | O_CREAT | O_TRUNC);
    UniqueFd const err = OpenFile(Home() / "vorlan.err", O_WRONLY | O_CREAT | O_TRUNC);
    ProcessOptions options;
    options.args = {arguments.begin(), arguments.end()};
    options.env["VORLAN_HOME"] = Home();
    options.stdoutFd = out.Get();
    options.stderrFd = err.Get();
    String error;
    auto process = corekit::Process::Start(Path(vorlan::k_BinDir) / "vorlan", options, &error);
    EXPECT_TRUE(process) << error;
    return process;
}

String FarmFixture::VorlanOutput() const { return File::Read(Home() / "vorlan.out"); }

String FarmFixture::VorlanErrors() const { return File::Read(Home() / "vorlan.err"); }

FarmFixture::Ran FarmFixture::Vorlan(std::vector<String> const& arguments, int timeoutMs) const {
    auto const process = StartVorlan(arguments);
    if (!process)
        return {};
    auto const code = process->Wait(timeoutMs);
    EXPECT_TRUE(code) << "vorlan has not ended";
    return {code.value_or(-1), VorlanOutput().Str(), VorlanErrors().Str()};
}

} // namespace vorlan::farmtest
