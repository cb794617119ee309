#include "domain.h"

#include "corekit/runtimetools.h"
#include "master/net/shell.h"
#include "vorlan/inbox.h"

#include <vorlan/net/client.h>

namespace vorlan::test_shell {

// A store that others can look at and break while a shell uses it.
class SharedStore : public farm::Store {
public:
    explicit SharedStore(std::shared_ptr<farm::MemoryStore> store) : m_store(std::move(store)) {}
    void LoadAll(std::function<void(farm::Record const&)> const& take) override { m_store->LoadAll(take); }
    void Commit(std::span<farm::Record const> records) override { m_store->Commit(records); }

private:
    std::shared_ptr<farm::MemoryStore> m_store;
};

// A client that remembers what it was told. It begins where its first load has ended.
class Listener : public Inbox {
public:
    Listener(FarmKey key, unsigned short port) : m_client(OptionsFor(key, port), MakeHandlers()) {
        m_client.Start();
        master = Take<MasterInfoMsg>();
        Take<LoadedMsg>();
    }

    void Send(boost::shared_ptr<Message const> const& message) {
        auto const connection = m_client.Current();
        ASSERT_TRUE(connection);
        connection->Send(message);
    }
    void Follow() {
        auto message = NotifyOnEventMsg::New();
        message->AddAll();
        message->AddID(MasterLogsMsg::s_Type);
        Send(message);
    }
    void AskForJobs() {
        auto message = GetJobInfoMsg::New();
        message->AddAll();
        message->wantJob = true;
        Send(message);
    }
    // A log as it comes; `error` is the last piece's.
    String Download(UID const& log, String& error) {
        auto ask = GetOutputMsg::New();
        ask->request = UID(true);
        ask->work = log;
        Send(ask);
        String text;
        for (bool more = true; more;) {
            auto const piece = Take<OutputDataMsg>([&](auto const& told) { return told.request == ask->request; });
            if (!piece)
                return {};
            EXPECT_TRUE(!piece->error.Empty() || piece->offset == int64_t(text.size()));
            text += piece->data;
            error = piece->error;
            more = !piece->end;
        }
        return text;
    }

    boost::shared_ptr<MasterInfoMsg> master;

private:
    static net::ClientOptions OptionsFor(FarmKey const& key, unsigned short port) {
        net::ClientOptions options;
        options.self = net::PeerInfo::Self(net::PeerKind::Client, "test");
        options.key = [key] { return key; };
        options.find = [port](auto const&, auto const&) { return std::vector<IPPeer>{{"127.0.0.1", port}}; };
        return options;
    }
    net::Handlers MakeHandlers() {
        net::Handlers handlers;
        handlers.onMessage = [this](auto const&, auto const& message) { Add(message); };
        return handlers;
    }

    net::Client m_client;
};

class ShellTest : public ::testing::Test {
protected:
    void SetUp() override { Start(); }
    void TearDown() override { Stop(); }

    void Start() {
        farm::Shell::Options options;
        options.key = m_key;
        options.machineDir = options.logFolder = m_folder.Folder();
        options.machine = UID::FromName("master");
        options.machineName = "master";
        options.stateFile = m_stateFile;
        options.products.push_back(m_command);
        m_shell = std::make_unique<farm::Shell>(std::move(options), std::make_unique<SharedStore>(m_store));
        m_shell->Start();
        m_thread = std::thread([this] { m_shell->Run(); });
    }
    void Stop() {
        m_shell->Stop();
        m_thread.join();
        m_shell.reset();
    }

    boost::shared_ptr<Job> NewJob(char const* name) const {
        auto job = boost::make_shared<Job>(UID(true));
        job->SetValues(
            {{p_Name, name}, {p_Type, m_command->Type().ToString()}, {"CommandLine", "true"}, {p_Range, "1-5"}});
        return job;
    }

    FarmKey const m_key = FarmKey::Fresh();
    TempFolder m_folder;
    EnvironmentValue m_home{"VORLAN_HOME", m_folder.Folder().c_str()};
    Path const m_stateFile = m_folder / "State.jsonl";
    boost::shared_ptr<Product> m_command =
        SLoadProductFile(corekit::Path(vorlan::k_SourceDir) / "products/command.json");
    std::shared_ptr<farm::MemoryStore> m_store = std::make_shared<farm::MemoryStore>();
    std::unique_ptr<farm::Shell> m_shell;
    std::thread m_thread;
};

TEST_F(ShellTest, AJobIsStoredToldAndThereAgainAfterARestart) {
    auto const job = NewJob("first");
    {
        Listener client(m_key, m_shell->Port());
        ASSERT_TRUE(client.Take<ProductMsg>());
        client.Follow();
        client.Send(JobMsg::Create(job));
        auto const told = client.Take<JobMsg>();
        ASSERT_TRUE(told);
        EXPECT_EQ(told->job->id, job->id);
        EXPECT_GT(m_store->Size(), 0U);
        LogStatus("a line for the followers");
        client.Take<MasterLogsMsg>([](MasterLogsMsg const& log) {
            return std::any_of(log.lines.begin(), log.lines.end(),
                               [](String const& line) { return line.Contains("a line for the followers"); });
        });
    }
    Stop();
    Start();
    Listener again(m_key, m_shell->Port());
    again.AskForJobs();
    auto const told = again.Take<JobMsg>();
    ASSERT_TRUE(told);
    EXPECT_EQ(told->job->Name(), "first");
    EXPECT_TRUE(again.Take<EndJobInfoMsg>());
    // Each transaction says which it is, and of which Master.
    again.Follow();
    again.Send(JobMsg::Create(NewJob("second")));
    ASSERT_TRUE(again.Take<JobMsg>());
    String position;
    m_store->LoadAll([&](farm::Record const& record) {
        if (record.kind == farm::RecordKind::Counter && record.number == farm::k_PositionRow)
            position = record.body;
    });
    EXPECT_EQ(position, "2 2");
}

TEST_F(ShellTest, AFullDiskRefusesTheJobSaysSoAndTheFarmGoesOn) {
    LogLines errors(LogLevel::Error);
    Listener client(m_key, m_shell->Port());
    auto const lost = NewJob("lost");
    m_store->FailNext(3);
    client.Send(JobMsg::Create(lost));
    auto const refused = client.Take<RefusedMsg>();
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->id, lost->id);
    EXPECT_TRUE(refused->reason.Contains("full"));

    ASSERT_TRUE(client.Take<LoadedMsg>()) << "it must come back by itself";
    EXPECT_EQ(errors.Get().size(), 1U);
    client.Follow();
    auto const kept = NewJob("kept");
    client.Send(JobMsg::Create(kept));
    ASSERT_TRUE(client.Take<JobMsg>([&](JobMsg const& told) { return told.job->id == kept->id; }));
    size_t jobs = 0;
    m_store->LoadAll([&](farm::Record const& record) { jobs += record.kind == farm::RecordKind::Job ? 1 : 0; });
    EXPECT_EQ(jobs, 1U);
}

TEST_F(ShellTest, ManyJobsReachASlowStarterWhole) {
    Listener client(m_key, m_shell->Port());
    std::set<UID> wanted;
    for (int i = 0; i < 3000; ++i) {
        auto const job = NewJob("many");
        wanted.insert(job->id);
        client.Send(JobMsg::Create(job));
    }
    Listener late(m_key, m_shell->Port());
    late.Follow();
    late.AskForJobs();
    while (!wanted.empty()) {
        auto const told = late.Take<JobMsg>();
        ASSERT_TRUE(told) << wanted.size() << " never came";
        wanted.erase(told->job->id);
    }
}

// What people send to whoever helps them: complete, readable line by line, no password.
TEST_F(ShellTest, TheStateIsWrittenWhenAskedForAndNeverHalf) {
    Listener client(m_key, m_shell->Port());
    auto const job = NewJob("dumped \xff \"quoted\"\n");
    job->Set(p_Password, "secret");
    client.Send(JobMsg::Create(job));
    auto pools = PoolMsg::New();
    pools->pools[UID::FromName("pool")] = "Night";
    client.Send(pools);

    LogLines log(LogLevel::Debug);
    client.Send(LogDumpMsg::New());
    ASSERT_TRUE(WaitFor([&] { return log.Has("was written to"); }));
    String const text = File::Read(m_stateFile);
    std::map<std::string, std::vector<nlohmann::json>> lines;
    std::istringstream stream(text.Str());
    for (std::string line; std::getline(stream, line);) {
        auto const json = nlohmann::json::parse(line);
        lines[json["kind"]].push_back(json);
    }
    EXPECT_EQ(lines["Master"].at(0)["jobs"], 1);
    ASSERT_EQ(lines["Job"].size(), 1U);
    EXPECT_EQ(lines["Job"][0]["id"], job->id.ToString().Str());
    EXPECT_EQ(lines["Job"][0]["values"]["Name"], "dumped \xEF\xBF\xBD \"quoted\"\n");
    EXPECT_EQ(lines["Job"][0]["frames"]["queued"], 5);
    ASSERT_EQ(lines["Pool"].size(), 1U);
    EXPECT_EQ(lines["Pool"][0]["name"], "Night");
    EXPECT_FALSE(text.Contains("secret"));

    // A full disk leaves the former file, and nothing beside it.
    {
        FaultyLayer full;
        full.fault = FaultyLayer::Fault::FullDisk;
        client.Send(LogDumpMsg::New());
        EXPECT_TRUE(WaitFor([&] { return log.Has("was not written. Cannot"); }));
    }
    EXPECT_EQ(File::Read(m_stateFile), text);
    EXPECT_TRUE(WaitFor([&] { return !Path(m_stateFile + ".new").Exists(); }));
}

TEST_F(ShellTest, ItsLogsAreGivenAway) {
    Listener client(m_key, m_shell->Port());
    client.Follow();
    String error;
    EXPECT_TRUE(client.Download(client.master->historyLog, error).Empty());
    EXPECT_TRUE(error.Contains("History.log")) << "there is none yet: " << error;
    // Many pieces, and more than a peer's queue takes.
    String history;
    for (int line = 0; line < 40'000; ++line)
        history += SFormat("line %d of the history\n", line);
    File::WriteWhole(m_folder / "History.log", history);
    EXPECT_TRUE(client.Download(client.master->historyLog, error) == history);
    EXPECT_EQ(error, "");

    // The dispatch log is made on demand while nothing is logged.
    auto const job = NewJob("waits for an Engine");
    client.Send(JobMsg::Create(job));
    String const onDemand = client.Download(client.master->dispatchLog, error);
    EXPECT_TRUE(onDemand.Contains("waits for an Engine: 5 frames queued, may be distributed")) << onDemand;
    auto rename = JobParameterMsg::New();
    rename->job = job->id;
    rename->name = p_Name;
    rename->value = "renamed";
    client.Send(rename);
    auto begin = SetMasterOptionsMsg::New();
    begin->section = o_Distribution;
    begin->options[o_LogDispatch] = "Yes";
    client.Send(begin);
    client.Take<SetMasterOptionsMsg>();
    String const anew = client.Download(client.master->dispatchLog, error);
    EXPECT_TRUE(anew.Contains("renamed: 5 frames") && !anew.Contains("waits for"))
        << "the former one is gone: " << anew;
}

TEST_F(ShellTest, AShutdownReachesEverybody) {
    Listener asks(m_key, m_shell->Port());
    Listener other(m_key, m_shell->Port());
    auto administrate = AdministrateMsg::New();
    administrate->on = true;
    asks.Send(administrate);
    asks.Send(ShutdownMsg::New());
    EXPECT_TRUE(asks.Take<ShutdownMsg>());
    EXPECT_TRUE(other.Take<ShutdownMsg>());
}

} // namespace vorlan::test_shell
