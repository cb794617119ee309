#pragma once

// Many people at once, who give random commands.

#include "farm/farmpeer.h"

#include <corekit/thread.h>

namespace vorlan::farmtest {

// FarmUsers submits, changes, stops and deletes, sets Pools, options and Engines, on a
// connection of its own.
// Owner: a test. Works with: the Master of VORLAN_HOME, and the lists of this process,
// from which it takes Engines and units to speak of.
// Thread: its own gives the commands; Submit, Hold and GoOn on the test's, while it holds.
class FarmUsers final : corekit::Thread {
public:
    FarmUsers(double commandsPerSecond, uint64_t seed);
    ~FarmUsers() override;

    // The options that let units fail for ever; then many Jobs. False when the Master did
    // not take them in time.
    bool Fill(unsigned jobs);
    // Returns when the Master has handled everything. False when it did not in time.
    bool Hold();
    void GoOn();

    uint64_t Commands() const { return m_commands; }

private:
    struct Action {
        unsigned weight;
        void (FarmUsers::*act)();
    };
    static std::vector<Action> const& Actions();

    bool Execute() override;
    void ActOnce();

    void SubmitJob();
    void SetParameter();
    void PauseOrGoOn();
    void EditJob();
    void DeleteJob();
    void FinishJob();
    void ReopenJob();
    void StopUnit();
    void ResetFailures();
    void ChangePools();
    void ChangeOptions();
    void ChangeProductOptions();
    void ChangeLimits();
    void ChangeEngine();
    void ChangeEngineOptions();
    void ChangeDefaultEngine();
    void RemoveEngine();

    unsigned Random(unsigned end) { return static_cast<unsigned>(m_random() % end); }
    UID AnyJob() { return m_jobs.empty() ? UID::Null : m_jobs[Random(static_cast<unsigned>(m_jobs.size()))]; }
    UID AnyPool();
    boost::shared_ptr<Job> NewJob();
    void SetJobParameter(UID const& job, char const* name, String const& value);
    void Send(boost::shared_ptr<Message const> const& message) { m_peer.Send(message); }

    double const m_perSecond;
    // Of the thread that acts.
    std::mt19937_64 m_random;
    std::vector<UID> m_jobs; // that were submitted and not deleted
    std::vector<UID> m_pools;
    unsigned m_number = 0;

    std::atomic<uint64_t> m_commands{0};
    FarmPeer m_peer;
};

} // namespace vorlan::farmtest
