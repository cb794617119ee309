#pragma once

// The commands of a Job's own events.

#include "master/core/farm.h"

#include <vorlan/messages_farm.h>

namespace farm {

// Has the commands of a Job as a whole run on an Engine that the Job may use: the Master
// itself runs nothing. A command waits for such an Engine, across restarts, until one has
// taken it.
//
// Owned by the Farm.
class JobCommands {
public:
    // The oldest are given up beyond that many.
    static constexpr size_t k_Most = 10'000;

    explicit JobCommands(Farm& farm) : m_farm(farm) {}

    // The Job's command for the event is to run, if it has one: on `engine`, or without one
    // on any, best one that has worked on the Job.
    void Owe(JobEntry const& job, char const* event, EngineEntry const* engine = nullptr);
    void OnTaken(JobCommandTakenMsg const& message);

    void EngineCame(EngineEntry const& engine);
    void EngineGone(EngineEntry const& engine);

    void Restore(Record const& record);

private:
    struct Owed {
        boost::shared_ptr<RunJobCommandMsg> message;
        UID told; // the Engine; null: none yet
    };
    void Tell(Owed& owed, EngineEntry const& engine);

    Farm& m_farm;
    std::map<uint64_t, Owed> m_owed; // by the numbers of their rows
};

} // namespace farm
