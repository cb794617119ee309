#include "farm/farm.h"

#include "cli/exitcode.h"
#include "cli/masterlink.h"
#include "engine/runner/leftovers.h"

namespace vorlan::farmtest {

using namespace corekit;

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

void FarmFixture::StartMaster() {
    Path const port = MasterFinder::PortFile();
    if (port.Exists())
        File::Delete(port);
    ASSERT_NO_FATAL_FAILURE(m_master.Start());
    ASSERT_TRUE(WaitFor([&] { return port.Exists() || !m_master.Running(); }, k_StartMs));
    ASSERT_TRUE(m_master.Running());
}

void FarmFixture::StartEngine() {
    ASSERT_NO_FATAL_FAILURE(m_engine.Start());
    auto const farm = Connect();
    ASSERT_TRUE(farm);
    ASSERT_TRUE(WaitFor(
        [&] {
            farm->LoadEngines();
            auto const& engines = farm->View().Engines();
            return !engines.empty() && engines.begin()->second.Online();
        },
        k_StartMs, 20));
}

std::unique_ptr<cli::Farm> FarmFixture::Connect() const {
    std::unique_ptr<cli::Farm> farm;
    WaitFor(
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

boost::shared_ptr<Job> FarmFixture::Submit(String const& name, String const& commandLine, String const& range,
                                           OptionMap const& values) const {
    auto const farm = Connect();
    auto const product = JobFactory::s_JobFactory->FindProduct("Command");
    if (!farm || !product)
        throw std::runtime_error("no Master, or it has no Product \"Command\"");
    auto job = JobFactory::s_JobFactory->CreateJob(product->Type());
    job->SetName(name);
    job->Set("CommandLine", commandLine);
    job->Set(p_Range, range);
    for (auto const& [key, value] : values)
        job->Set(key, value);
    farm->Do(JobMsg::Create(job));
    return job;
}

boost::shared_ptr<Job> FarmFixture::SubmitCounting(String const& range, String const& seconds, OptionMap values) const {
    values["Shell"] = k_Yes;
    return Submit("counting", "sleep " + seconds + "; echo $(First) >>" + (Home() / "frames"), range, values);
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
    WaitFor(
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
    UniqueFd const out = OpenFile(Home() / "vorlan.out", O_TRUNC);
    UniqueFd const err = OpenFile(Home() / "vorlan.err", O_TRUNC);
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

FarmFixture::Ran FarmFixture::Vorlan(std::vector<String> const& arguments, int timeoutMs) const {
    auto const process = StartVorlan(arguments);
    if (!process)
        return {};
    auto const code = process->Wait(timeoutMs);
    EXPECT_TRUE(code) << "vorlan has not ended";
    return {code.value_or(-1), VorlanOutput().Str(), VorlanErrors().Str()};
}

} // namespace vorlan::farmtest
