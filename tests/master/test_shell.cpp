#include "master/net/shell.h"
#include "master/store/sqlstore.h"

#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <vorlan/keys.h>
#include <vorlan/messages.h>
#include <vorlan/net/client.h>
#include <vorlan/productfile.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <sstream>
#include <thread>

using namespace vorlan;
using namespace std::chrono_literals;

namespace {

/// A store that others can look at and break while a shell uses it.
class SharedStore : public farm::Store {
public:
    explicit SharedStore(std::shared_ptr<farm::MemoryStore> store) : m_store(std::move(store)) {}
    void LoadAll(std::function<void(farm::Record const&)> const& take) override { m_store->LoadAll(take); }
    void Commit(std::span<farm::Record const> records) override { m_store->Commit(records); }

private:
    std::shared_ptr<farm::MemoryStore> m_store;
};

/// A client that remembers what it was told.
class Listener {
public:
    Listener(FarmKey key, unsigned short port) {
        net::ClientOptions options;
        options.self.machine = UID(true);
        options.self.instance = UID(true);
        options.self.machineName = "test";
        options.self.program = "test";
        options.key = [key] { return key; };
        options.find = [port](FarmKey const&, std::function<bool()> const&) {
            IPPeer peer;
            EXPECT_TRUE(IPPeer::FromString(SFormat("127.0.0.1:%u", port), peer));
            return corekit::vector<IPPeer>{peer};
        };
        net::Handlers handlers;
        handlers.onMessage = [this](auto const&, boost::shared_ptr<Message> const& message) {
            std::lock_guard const lock(m_guard);
            m_messages.push_back(message);
            m_arrived.notify_all();
        };
        m_client = std::make_unique<net::Client>(std::move(options), std::move(handlers));
        m_client->Start();
    }

    void Send(boost::shared_ptr<Message const> const& message) {
        auto const connection = m_client->Current();
        ASSERT_TRUE(connection);
        connection->Send(message);
    }

    /// The first message of a kind that satisfies `wanted`, taken off what came.
    template <class T>
    boost::shared_ptr<T> Expect(std::function<bool(T const&)> const& wanted = [](T const&) { return true; }) {
        std::unique_lock lock(m_guard);
        auto const until = std::chrono::steady_clock::now() + 20s;
        for (;;) {
            for (auto message = m_messages.begin(); message != m_messages.end(); ++message) {
                auto const found = boost::dynamic_pointer_cast<T>(*message);
                if (found && wanted(*found)) {
                    m_messages.erase(message);
                    return found;
                }
            }
            if (m_arrived.wait_until(lock, until) == std::cv_status::timeout) {
                ADD_FAILURE() << "no " << T::k_Name << " came";
                return nullptr;
            }
        }
    }

private:
    std::mutex m_guard;
    std::condition_variable m_arrived;
    std::vector<boost::shared_ptr<Message>> m_messages;
    std::unique_ptr<net::Client> m_client;
};

class ShellTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_folder = std::filesystem::temp_directory_path() / ("vorlan-shell-" + UID(true).ToString().Str());
        std::filesystem::create_directories(m_folder);
        corekit::vector<String> errors;
        m_command = SLoadProductFile(Path(String(VORLAN_SOURCE_DIR "/products/command.json")));
        Start();
    }
    void TearDown() override {
        Stop();
        std::filesystem::remove_all(m_folder);
    }

    void Start() {
        farm::Shell::Options options;
        options.key = m_key;
        options.machineDir = Path(String(m_folder.string()));
        options.machine = UID::FromName("master");
        options.logFolder = options.machineDir;
        options.machineName = "master";
        options.stateFile = StateFile();
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
        job->Set(p_Name, name);
        job->Set(p_Type, m_command->Type().ToString());
        job->Set("CommandLine", "true");
        job->Set(p_Range, "1-5");
        return job;
    }

    static boost::shared_ptr<Message const> AllJobs() {
        auto message = GetJobInfoMsg::New();
        message->AddAll();
        message->wantJob = true;
        return message;
    }

    Path StateFile() const { return Path(String((m_folder / "State.jsonl").string())); }

    FarmKey const m_key = FarmKey::Fresh();
    std::filesystem::path m_folder;
    boost::shared_ptr<Product> m_command;
    std::shared_ptr<farm::MemoryStore> m_store = std::make_shared<farm::MemoryStore>();
    std::unique_ptr<farm::Shell> m_shell;
    std::thread m_thread;
};

} // namespace

TEST_F(ShellTest, AJobIsStoredToldAndThereAgainAfterARestart) {
    auto const job = NewJob("first");
    {
        Listener client(m_key, m_shell->Port());
        ASSERT_TRUE(client.Expect<ProductMsg>());
        ASSERT_TRUE(client.Expect<LoadedMsg>());
        auto follow = NotifyOnEventMsg::New();
        follow->AddAll();
        client.Send(follow);
        client.Send(JobMsg::Create(job));
        auto const told = client.Expect<JobMsg>();
        ASSERT_TRUE(told);
        EXPECT_EQ(told->job->id, job->id);
        EXPECT_GT(m_store->Size(), 0U);
    }
    Stop();
    Start();
    Listener again(m_key, m_shell->Port());
    ASSERT_TRUE(again.Expect<LoadedMsg>());
    again.Send(AllJobs());
    auto const told = again.Expect<JobMsg>();
    ASSERT_TRUE(told);
    EXPECT_EQ(told->job->Name(), "first");
    EXPECT_TRUE(again.Expect<EndJobInfoMsg>());
}

TEST_F(ShellTest, AFullDiskRefusesTheJobSaysSoAndTheFarmGoesOn) {
    std::atomic<int> errors{0};
    auto const sink = Log::AddSink([&](LogLevel level, String const&) { errors += level == LogLevel::Error ? 1 : 0; });
    Listener client(m_key, m_shell->Port());
    ASSERT_TRUE(client.Expect<LoadedMsg>());
    auto const lost = NewJob("lost");
    m_store->FailNext(3);
    client.Send(JobMsg::Create(lost));
    auto const refused = client.Expect<RefusedMsg>();
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->id, lost->id);
    EXPECT_TRUE(refused->reason.Contains("full"));

    ASSERT_TRUE(client.Expect<LoadedMsg>()) << "it must come back by itself";
    EXPECT_EQ(errors, 1);
    auto follow = NotifyOnEventMsg::New();
    follow->AddAll();
    client.Send(follow);
    auto const kept = NewJob("kept");
    client.Send(JobMsg::Create(kept));
    ASSERT_TRUE(client.Expect<JobMsg>([&](JobMsg const& told) { return told.job->id == kept->id; }));
    client.Send(AllJobs());
    client.Expect<EndJobInfoMsg>();
    size_t jobs = 0;
    m_store->LoadAll([&](farm::Record const& record) { jobs += record.kind == farm::RecordKind::Job ? 1 : 0; });
    EXPECT_EQ(jobs, 1U);
}

TEST_F(ShellTest, TheLogIsToldToThoseWhoAskForIt) {
    Listener client(m_key, m_shell->Port());
    ASSERT_TRUE(client.Expect<LoadedMsg>());
    auto follow = NotifyOnEventMsg::New();
    follow->AddAll();
    follow->AddID(MasterLogsMsg::s_Type);
    client.Send(follow);
    auto const job = NewJob("followed");
    client.Send(JobMsg::Create(job));
    ASSERT_TRUE(client.Expect<JobMsg>());
    LogStatus("a line for the followers");
    client.Expect<MasterLogsMsg>([](MasterLogsMsg const& told) {
        return std::any_of(told.lines.begin(), told.lines.end(),
                           [](String const& line) { return line.Contains("a line for the followers"); });
    });
}

TEST_F(ShellTest, ManyJobsReachASlowStarterWhole) {
    Listener client(m_key, m_shell->Port());
    ASSERT_TRUE(client.Expect<LoadedMsg>());
    std::set<UID> wanted;
    for (int i = 0; i < 3000; ++i) {
        auto const job = NewJob("many");
        wanted.insert(job->id);
        client.Send(JobMsg::Create(job));
    }
    Listener late(m_key, m_shell->Port());
    ASSERT_TRUE(late.Expect<LoadedMsg>());
    auto follow = NotifyOnEventMsg::New();
    follow->AddAll();
    late.Send(follow);
    late.Send(AllJobs());
    while (!wanted.empty()) {
        auto const told = late.Expect<JobMsg>();
        ASSERT_TRUE(told) << wanted.size() << " never came";
        wanted.erase(told->job->id);
    }
}

// What people send to whoever helps them: complete, readable line by line, no password.
TEST_F(ShellTest, TheStateIsWrittenWhenAskedForAndNeverHalf) {
    Listener client(m_key, m_shell->Port());
    ASSERT_TRUE(client.Expect<LoadedMsg>());
    auto const job = NewJob("dumped \xff \"quoted\"\n");
    job->Set(p_Password, "secret");
    client.Send(JobMsg::Create(job));
    auto pools = PoolMsg::New();
    pools->pools[UID::FromName("pool")] = "Night";
    client.Send(pools);

    std::atomic<int> written{0};
    std::atomic<int> failed{0};
    auto const sink = Log::AddSink([&](LogLevel, String const& text) {
        written += text.Contains("was written to") ? 1 : 0;
        failed += text.Contains("was not written. Cannot") ? 1 : 0;
    });
    auto const until = [](std::atomic<int> const& count) {
        auto const end = std::chrono::steady_clock::now() + 20s;
        while (count == 0 && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(1ms);
        return count > 0;
    };
    client.Send(LogDumpMsg::New());
    ASSERT_TRUE(until(written));
    std::string const text = File::Read(StateFile()).Str();
    std::map<std::string, std::vector<nlohmann::json>> lines;
    std::istringstream stream(text);
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
    EXPECT_EQ(text.find("secret"), std::string::npos);

    // A full disk leaves the former file, and nothing beside it.
    class FullDisk : public corekit::FileLayer {
        ssize_t Write(int, void const*, size_t) override { return errno = ENOSPC, -1; }
    } full;
    corekit::FileLayer* const former = std::exchange(corekit::FileLayer::s_Layer, &full);
    client.Send(LogDumpMsg::New());
    EXPECT_TRUE(until(failed));
    corekit::FileLayer::s_Layer = former;
    EXPECT_EQ(File::Read(StateFile()).Str(), text);
    EXPECT_FALSE(Path(StateFile() + ".new").Exists());
}

namespace {

// What comes for a request of a log; `error` is the last piece's.
String Download(Listener& client, UID const& log, String& error) {
    auto ask = GetOutputMsg::New();
    ask->request = UID(true);
    ask->work = log;
    client.Send(ask);
    String text;
    for (bool more = true; more;) {
        auto const piece =
            client.Expect<OutputDataMsg>([&](OutputDataMsg const& told) { return told.request == ask->request; });
        if (!piece)
            return {};
        EXPECT_EQ(piece->error.empty() ? piece->offset : int64_t(text.size()), int64_t(text.size()));
        text += piece->data;
        error = piece->error;
        more = !piece->end;
    }
    return text;
}

} // namespace

TEST_F(ShellTest, ItsLogsAreGivenAway) {
    Listener client(m_key, m_shell->Port());
    auto const info = client.Expect<MasterInfoMsg>();
    ASSERT_TRUE(info && !info->historyLog.IsNull() && !info->dispatchLog.IsNull());
    ASSERT_TRUE(client.Expect<LoadedMsg>());
    String error;
    EXPECT_TRUE(Download(client, info->historyLog, error).empty());
    EXPECT_TRUE(error.Contains("History.log")) << "there is none yet: " << error;
    // Many pieces, and more than a peer's queue takes.
    String history;
    for (int line = 0; line < 40'000; ++line)
        history += SFormat("line %d of the history\n", line);
    File::WriteWhole(Path(m_folder / "History.log"), history);
    EXPECT_TRUE(Download(client, info->historyLog, error) == history);
    EXPECT_EQ(error, "");
}

TEST_F(ShellTest, TheDispatchLogTellsWhatIsGivenAndBeginsAnew) {
    Listener client(m_key, m_shell->Port());
    auto const info = client.Expect<MasterInfoMsg>();
    ASSERT_TRUE(info && client.Expect<LoadedMsg>());
    auto const job = NewJob("waits for an Engine");
    client.Send(JobMsg::Create(job));
    String error;
    // Made on demand while nothing is logged.
    String const onDemand = Download(client, info->dispatchLog, error);
    EXPECT_TRUE(onDemand.Contains("waits for an Engine: 5 frames queued, may be distributed")) << onDemand;
    auto begin = SetMasterOptionsMsg::New();
    begin->section = o_Distribution;
    begin->options[o_LogDispatch] = "Yes";
    client.Send(begin);
    size_t const first = Download(client, info->dispatchLog, error).size();
    client.Send(begin);
    EXPECT_LE(Download(client, info->dispatchLog, error).size(), first + 16) << "the former one is gone";
}

TEST_F(ShellTest, AShutdownReachesEverybody) {
    Listener asks(m_key, m_shell->Port());
    Listener other(m_key, m_shell->Port());
    ASSERT_TRUE(asks.Expect<LoadedMsg>() && other.Expect<LoadedMsg>());
    asks.Send(ShutdownMsg::New());
    EXPECT_TRUE(asks.Expect<ShutdownMsg>());
    EXPECT_TRUE(other.Expect<ShutdownMsg>());
}
