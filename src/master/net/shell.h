#pragma once

// The shell around the Core: sockets, store, clock and log.

#include "master/core/core.h"
#include "master/net/inbox.h"
#include "master/net/masterlogs.h"
#include "master/net/statewriter.h"
#include "master/store/store.h"

#include <corekit/commonmutex.h>
#include <corekit/log.h>
#include <vorlan/discovery.h>
#include <vorlan/farmkey.h>
#include <vorlan/net/connection.h>
#include <vorlan/net/server.h>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace farm {

// Feeds the Core with what peers say and the clock shows, and does what it asks for.
//
// Owned by VorlanMaster's main, or by a test or benchmark. Run works on the thread
// that calls it, the working thread; Stop may come from any.
//
// A turn takes the events that wait, as many as it has time for, lets the Core handle them, commits their records
// in one transaction, and only then sends what the Core said: nobody ever hears of
// something that the store could forget. When the store cannot be written nothing of
// the turn is sent; the Core is made anew from the store, the peers are dropped and
// come back with a fresh load. The same where an event cannot be handled: what it was
// about, a Job or a kind of message of its sender, is set apart from then on.
class Shell {
public:
    struct Options {
        vorlan::FarmKey key;
        unsigned short port = 0;  // 0: any free one
        corekit::Path machineDir; // of the certificate; empty: the machine folder
        UID machine;
        String machineName;
        std::vector<boost::shared_ptr<vorlan::Product const>> products;
        Time releaseDate;
        corekit::Path logFolder;      // of History.log and Dispatch.log; empty: nobody is given them
        uint64_t seed = 0;            // 0: a fresh one
        corekit::Path stateFile;      // where the state is written when it is asked for; empty: nowhere
        bool answerMulticast = false; // tell those who look for a Master in the local network
    };

    Shell(Options options, std::unique_ptr<Store> store);
    ~Shell();

    // Restores the Core and opens the port. Throws StoreException or NetException.
    void Start();

    // Works until Stop, or until a message ends the Master.
    void Run();

    void Stop();

    // The port it listens on, once started.
    unsigned short Port() const;

private:
    using ConnectionPtr = boost::shared_ptr<vorlan::net::Connection>;

    std::unique_ptr<Core> RestoredCore();
    void OpenPort();
    void Turn(std::deque<Incoming>& events);
    bool HandleEvent(Moment const& now, Event const& event, std::vector<Effect>& effects);
    void SetApart(Event const& event, HandlingFailed const& problem);
    void StartAnew();
    void Forget(std::deque<Incoming> const& events, String const& reason);
    bool Commit(std::vector<Effect> const& effects, String& reason);
    void Perform(std::vector<Effect> const& effects);
    void Send(SendAll const& effect);
    void FeedLoads();
    bool TakesLogRequest(Event const& event);
    MasterLogs::Send ToPeer() const;
    void TellLog();
    void WaitForStore();
    std::chrono::steady_clock::time_point NextTurn() const;
    ConnectionPtr Find(PeerId peer) const;

    // Constant after Start.
    Options m_options;
    std::unique_ptr<Store> m_store;
    Time m_startTime;
    std::unique_ptr<vorlan::net::Server> m_server;
    std::unique_ptr<vorlan::DiscoveryResponder> m_responder;

    Inbox m_inbox; // has its own lock

    // Network threads add and the working thread looks up.
    mutable CommonMutex m_connectionsGuard;
    std::map<PeerId, ConnectionPtr> m_connections CK_GUARDED_BY(m_connectionsGuard);

    // Any thread logs, the working thread tells the followers.
    CommonMutex m_logGuard;
    std::vector<String> m_logLines CK_GUARDED_BY(m_logGuard);
    corekit::Log::SinkHandle m_logSink;

    // The working thread only.
    std::unique_ptr<Core> m_core;
    std::map<uint64_t, String> m_jobsApart;     // numbers of Jobs that the Core cannot handle, and why
    std::set<std::pair<UID, UID>> m_kindsApart; // instance and kind of message, the same
    std::unique_ptr<StateWriter> m_stateWriter; // null: none is wanted
    std::vector<Record> m_records;
    Position m_position;            // of the last transaction
    std::deque<Incoming> m_waiting; // taken from the inbox, for the next turn
    bool m_untidy = true;           // the store has something to tidy
    MasterLogs m_logs;
    std::set<PeerId> m_loading;
    bool m_feedsOn = false; // a peer has room for the next piece of its load now
    bool m_stopping = false;
};

} // namespace farm
