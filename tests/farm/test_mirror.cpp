// The client's lists are the Master's state: under change, after a lost connection, after
// the Master was killed.
#include "farm/farm.h"
#include "farm/farmusers.h"
#include "farm/simengines.h"
#include "farm/statecheck.h"
#include "farm/windowlessclient.h"
#include "vorlangui/model/enginelist.h"
#include "vorlangui/model/joblist.h"
#include "vorlangui/model/worklist.h"

#include <vorlan/messenger.h>

namespace vorlan::farmtest::test_mirror {

// How large a farm, and how long it changes.
struct Size {
    unsigned jobs;
    unsigned engines;
    int seconds;
    double pace; // 1: some 5,000 messages a second to each client
};

#if defined(__SANITIZE_THREAD__)
constexpr Size k_Short{5'000, 150, 8, 0.4};
#elif defined(__SANITIZE_ADDRESS__)
constexpr Size k_Short{5'000, 200, 8, 0.5};
#else
constexpr Size k_Short{20'000, 500, 12, 1};
#endif
constexpr Size k_Full{20'000, 500, 60, 1};

// VORLAN_SOAK=full asks for the long run.
Size SizeOfRun() {
    char const* const soak = std::getenv("VORLAN_SOAK");
    return soak && String(soak).CompareNoCase("full") == 0 ? k_Full : k_Short;
}

constexpr unsigned k_Cores = 4;
constexpr size_t k_Displays = 400;
constexpr int k_SettleMs = 120'000;
constexpr int k_DumpMs = 60'000;

class FarmMirror : public FarmFixture {
protected:
    Path StateFile() const { return Home() / "machine/VorlanMaster/State.jsonl"; }

    // Nothing happens on the farm any more, and all of it has been told.
    bool HoldStill() {
        m_engines->Hold();
        if (!m_users->Hold() || !m_client->Run([&] { return m_engines->AllThere(); }, k_SettleMs))
            return false;
        return m_client->Settle(k_SettleMs);
    }
    void GoOn() {
        m_engines->GoOn();
        m_users->GoOn();
    }

    std::unique_ptr<MasterState> AskForState() {
        if (StateFile().Exists())
            File::Delete(StateFile());
        Messenger::Send(LogDumpMsg::New());
        if (!m_client->Run([&] { return StateFile().Exists(); }, k_DumpMs) || !m_client->Settle(k_SettleMs))
            return nullptr;
        m_client->RunOneTick();
        return std::make_unique<MasterState>(StateFile());
    }

    // The lists equal the Master's state, and so do the displays that stand on them and the
    // histories and logs that were told piece by piece. Gives the state.
    std::unique_ptr<MasterState> ExpectEqual(char const* when) {
        SCOPED_TRACE(when);
        EXPECT_TRUE(HoldStill()) << "the farm does not come to rest";
        std::unique_ptr<MasterState> state;
        String difference = "no state was written";
        // What the Master does by the clock may come between the state and the lists.
        for (int tries = 0; tries < 3 && !difference.Empty(); ++tries) {
            state = AskForState();
            if (!state)
                continue;
            Differences differences;
            CompareLists(m_client->Lists(), *state, differences);
            difference = differences.Text();
        }
        EXPECT_EQ(difference, "");
        for (String const& stale : m_client->StaleDisplays())
            ADD_FAILURE() << stale;
        ExpectHistoriesEqual();
        EXPECT_THAT(m_engines->Faults(), testing::IsEmpty());
        return state;
    }

    // Against those of a fresh load.
    void ExpectHistoriesEqual() {
        auto const held = m_client->HeldHistories();
        std::mutex guard;
        std::map<UID, String> histories;
        std::map<UID, String> logs;
        FarmPeer fresh([&](Message const& message) {
            std::lock_guard const lock(guard);
            if (message.Type() == JobHistoryMsg::s_Type) {
                auto const& told = static_cast<JobHistoryMsg const&>(message);
                histories[told.job] = TextOf(told.history);
            } else if (message.Type() == EngineHistoryMsg::s_Type) {
                auto const& told = static_cast<EngineHistoryMsg const&>(message);
                logs[told.engine] = TextOf(told.history);
            }
        });
        auto const engines = EngineList::Get().Snapshot();
        ASSERT_TRUE(fresh.Settle(k_SettleMs));
        auto jobs = GetJobInfoMsg::New();
        for (auto const& info : held)
            jobs->AddID(info->job->id);
        jobs->wantHistory = true;
        fresh.Send(jobs);
        auto all = GetEngineInfoMsg::New();
        all->AddAll();
        all->wantHistory = true;
        fresh.Send(all);
        ASSERT_TRUE(m_client->Run(
            [&] {
                std::lock_guard const lock(guard);
                return histories.size() == held.size() && logs.size() == engines.size();
            },
            k_SettleMs))
            << "the fresh load did not come";
        size_t events = 0;
        for (auto const& info : held) {
            RWLock::Reader const reader(info->lock);
            events += info->history.ElementCount();
            EXPECT_EQ(TextOf(info->history), histories[info->job->id]) << "history of " << info->job->Name();
        }
        EXPECT_GT(events, held.size() / 4) << "hardly any history is compared";
        EXPECT_GT(held.size(), k_Displays / 4);
        for (auto const& [id, engine] : engines) {
            RWLock::Reader const reader(engine->lock);
            EXPECT_EQ(TextOf(engine->history), logs[id]) << "log of " << engine->Name();
        }
    }

    ~FarmMirror() override {
        m_users.reset();
        m_engines.reset();
        m_client.reset();
        Log::Close();
    }

    // The Engines can be connected as soon as there is a Master, and with it the farm's key.
    void Begin(Size const& size) {
        uint64_t const seed = std::random_device()();
        std::cout << "seed " << seed << std::endl;
        // Many messages speak of what is not there any more, as in any client.
        Log::Open(Home() / "client", "FarmMirror");
        SimEnginesOptions engines;
        engines.engines = size.engines;
        engines.cores = k_Cores;
        engines.endsPerSecond *= size.pace;
        engines.progressPerSecond *= size.pace;
        engines.lossesPerSecond *= std::max(size.pace, 0.5);
        engines.seed = seed;
        m_client = std::make_unique<WindowlessClient>();
        m_client->Connect();
        m_users = std::make_unique<FarmUsers>(150 * size.pace, seed);
        ASSERT_TRUE(m_users->Fill(size.jobs));
        m_engines = std::make_unique<SimEngines>(engines);
        m_engines->Hold();
        ASSERT_TRUE(m_client->Run([&] { return m_engines->Count().registered == size.engines; }, k_SettleMs));
        ASSERT_TRUE(m_client->Settle(k_SettleMs));
        m_client->WatchSome(k_Displays, 50);
    }

    void KillMaster() {
        Master().KillAlone();
        ASSERT_NO_FATAL_FAILURE(StartMaster());
        // Until the client has loaded anew.
        ASSERT_TRUE(m_client->Run([&] { return Messenger::IsConnected(); }, k_SettleMs));
    }

    std::unique_ptr<WindowlessClient> m_client;
    std::unique_ptr<SimEngines> m_engines;
    std::unique_ptr<FarmUsers> m_users;
};

TEST_F(FarmMirror, TheListsEqualTheMastersState) {
    Size const size = SizeOfRun();
    ASSERT_NO_FATAL_FAILURE(StartMaster());
    ASSERT_NO_FATAL_FAILURE(Begin(size));

    GoOn();
    m_client->RunFor(size.seconds * 500);
    m_client->LoseConnection(1'500); // and a full load while everything changes
    m_client->RunFor(size.seconds * 250);
    m_client->Refresh();
    m_client->RunFor(size.seconds * 250);
    auto const before = ExpectEqual("after the change");
    ASSERT_TRUE(before);
    auto const counts = m_engines->Count();
    std::cout << SFormat("%zu Jobs, %zu units, %llu units ended, %llu commands, %llu Engines lost, longest turn %d ms",
                         before->jobs.size(), before->work.size(), static_cast<unsigned long long>(counts.ended),
                         static_cast<unsigned long long>(m_users->Commands()),
                         static_cast<unsigned long long>(counts.losses), m_client->LongestTurnMs())
              << std::endl;
    EXPECT_GT(before->work.size(), size_t{size.engines} * k_Cores / 2);
    EXPECT_GT(counts.ended, static_cast<uint64_t>(size.seconds));
    EXPECT_GT(counts.losses, 0U);
    EXPECT_FALSE(before->failures.empty());

    ASSERT_NO_FATAL_FAILURE(KillMaster());
    auto const after = ExpectEqual("after the Master was killed at rest");
    ASSERT_TRUE(after);
    Differences lost;
    CompareStates(*before, *after, lost);
    EXPECT_EQ(lost.Text(), "") << "between the Master that was killed and the next one";

    GoOn();
    m_client->RunFor(1'500);
    ASSERT_NO_FATAL_FAILURE(KillMaster());
    m_client->RunFor(3'000);
    ExpectEqual("after the Master was killed in the midst of it");
}

} // namespace vorlan::farmtest::test_mirror
