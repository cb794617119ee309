#pragma once

// Full loads and answers about Jobs and Engines, bit by bit.

#include "master/core/farm.h"

#include <vector>

namespace farm {

// Answers what peers ask for, as much at a time as their queues take.
//
// Owned by the Farm. Reads only. A load tells the state of the moment in which a piece
// of it is pulled; what happens to a Job before the load has come to it is told by the
// load alone, what happens afterwards by events.
class Loader {
public:
    explicit Loader(Farm& farm) : m_farm(farm) {}

    // What a peer must have before it counts as connected.
    void SendInitial(Peer& peer);

    void OnGetJobs(Peer& peer, GetJobInfoMsg const& message);
    void OnGetEngines(Peer& peer, GetEngineInfoMsg const& message);

    // Appends up to about `maxBytes` of messages; false when there is nothing more.
    bool Pull(Peer& peer, size_t maxBytes, std::vector<MessagePtr>& out);

    // The history of a Job, put together from its rows and its active runs.
    static MessagePtr HistoryOf(JobEntry const& job);
    // What tells of a unit that is out.
    static MessagePtr UnitMessage(Run const& run);

private:
    // Takes it on for the `objects` asked for, unless the peer has too much asked for already.
    void AddTask(Peer& peer, LoadTask task, FollowJobMsg const& objects);
    // True when the task has come to its end.
    bool Go(LoadTask& task, size_t& bytesLeft, std::vector<MessagePtr>& out);
    bool NextJob(LoadTask& task, size_t& bytesLeft, std::vector<MessagePtr>& out);
    bool NextRun(LoadTask& task, size_t& bytesLeft, std::vector<MessagePtr>& out);
    bool NextEngine(LoadTask& task, size_t& bytesLeft, std::vector<MessagePtr>& out);
    void AddJob(JobEntry const& job, LoadTask const& task, size_t& bytesLeft, std::vector<MessagePtr>& out);
    void AddEngine(EngineEntry const& engine, LoadTask const& task, size_t& bytesLeft, std::vector<MessagePtr>& out);

    Farm& m_farm;
};

} // namespace farm
