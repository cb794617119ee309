#pragma once

// The client without windows, in the process of a test.

#include "test.h"

#include "vorlangui/client/farmclient.h"
#include "vorlangui/model/enginewatcher.h"
#include "vorlangui/model/jobwatcher.h"
#include "vorlangui/model/listlist.h"

#include <corekit/optionmap.h>

namespace vorlan::farmtest {

// WindowlessClient mirrors the farm as the client does: by a Messenger, the lists, and a
// loop of its own that emits the 250 ms tick. On it stand displays that read as windows
// do: a view of the Job list that copies it whenever it is dirty, and watchers.
// Owner: a test. Thread: the test's, which is the client's main thread while it waits
// here.
class WindowlessClient : public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    WindowlessClient();
    ~WindowlessClient() override;

    void Connect();
    // As after a cable that was pulled: it connects again after a while and loads everything.
    void LoseConnection(int awayMs);
    // The Refresh command.
    void Refresh() { m_mirror.Reload(); }

    // Goes on until the condition holds. False when the time is over.
    bool Run(std::function<bool()> const& until, int timeoutMs);
    void RunFor(int milliseconds);
    // Goes on until all that the Master has told so far has been handled, the load too.
    bool Settle(int timeoutMs);

    // From now on displays show so many Jobs, their histories too, and so many Engines.
    void WatchSome(size_t jobs, size_t engines);
    // Those whose histories are held.
    std::vector<boost::shared_ptr<JobInfo>> HeldHistories() const;
    // What a display shows that is not what the lists hold. To be asked after Settle and
    // one more tick.
    std::vector<String> StaleDisplays() const;
    void RunOneTick();

    FarmClient& Lists() { return m_mirror; }
    unsigned Loads() const { return m_loads; }
    // The longest time from one turn of the loop to the next.
    int LongestTurnMs() const { return m_longestTurnMs; }

private:
    class JobDisplay;
    class EngineDisplay;
    class JobView;

    void Turn();
    void OnConnected(MessengerConnectedEvt&) { m_connected = true; }
    void OnDisconnected(MessengerDisconnectedEvt&) { m_disconnected = true; }
    void OnEndJobInfo(boost::shared_ptr<EndJobInfoMsg> const&) { ++m_loads; }
    void OnRefused(boost::shared_ptr<RefusedMsg> const& message);

    FarmClient m_mirror;
    std::unique_ptr<JobView> m_view;
    std::vector<std::unique_ptr<JobDisplay>> m_jobs;
    std::vector<std::unique_ptr<EngineDisplay>> m_engines;
    std::chrono::steady_clock::time_point m_nextTick;
    unsigned m_ticks = 0;
    int m_longestTurnMs = 0;

    std::atomic<bool> m_connected{false};
    std::atomic<bool> m_disconnected{false};
    std::atomic<unsigned> m_loads{0}; // that have come to their end
    std::mutex m_guard;
    UID m_answer; // guarded by m_guard: what the Master refused last
};

} // namespace vorlan::farmtest
