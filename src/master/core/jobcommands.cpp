#include "master/core/jobcommands.h"

#include "master/core/conditions.h"
#include "master/core/rows.h"

#include <corekit/sformat.h>

namespace farm {

void JobCommands::Owe(JobEntry const& job, char const* event, EngineEntry const* engine) {
    String command;
    if (!job.job->GetParameter(event, command) || command.Trim().Empty())
        return;
    Owed owed;
    owed.message = RunJobCommandMsg::New();
    owed.message->id = m_farm.random.NextUID();
    owed.message->event = event;
    owed.message->job = boost::make_shared<Job>(*job.job);
    for (auto const& [number, other] : m_farm.engines) {
        if (engine ? other.get() != engine : !MayUse(m_farm, job, *other))
            continue;
        owed.message->engines.insert(other->id);
    }
    if (owed.message->engines.empty()) {
        m_farm.out.Log(LogLevel::Warning, "No Engine may run the command of the Job \"" + job.job->Name() + "\" for " +
                                              event + ". It is left out.");
        return;
    }
    if (m_owed.size() >= k_Most) {
        m_farm.out.Erase(RecordKind::JobCommand, m_owed.begin()->first);
        m_owed.erase(m_owed.begin());
        m_farm.out.Log(LogLevel::Warning,
                       SFormat("More than %zu commands of Jobs wait for an Engine. The oldest one is "
                               "left out.",
                               k_Most));
    }
    uint64_t const number = m_farm.NextNumber();
    m_farm.out.Put(RecordKind::JobCommand, number, owed.message->id, EncodeMessage(*owed.message));
    Owed& kept = m_owed[number] = owed;
    EngineEntry const* best = nullptr;
    for (UID const& id : kept.message->engines) {
        EngineEntry const* const one = m_farm.FindEngine(id);
        if (one && one->Online() && (!best || (job.workedOn.contains(id) && !job.workedOn.contains(best->id))))
            best = one;
    }
    if (best)
        Tell(kept, *best);
}

void JobCommands::Tell(Owed& owed, EngineEntry const& engine) {
    owed.told = engine.id;
    m_farm.out.To(engine.peer, owed.message);
}

void JobCommands::OnTaken(JobCommandTakenMsg const& message) {
    for (auto const& [number, owed] : m_owed) {
        if (owed.message->id != message.id)
            continue;
        m_farm.out.Erase(RecordKind::JobCommand, number);
        m_owed.erase(number);
        return;
    }
}

void JobCommands::EngineCame(EngineEntry const& engine) {
    for (auto& [number, owed] : m_owed) {
        if ((owed.told.IsNull() || owed.told == engine.id) && owed.message->engines.contains(engine.id))
            Tell(owed, engine);
    }
}

// What it has not taken another one may.
void JobCommands::EngineGone(EngineEntry const& engine) {
    for (auto& [number, owed] : m_owed) {
        if (owed.told == engine.id)
            owed.told = UID::Null;
    }
}

void JobCommands::Restore(Record const& record) {
    auto const message =
        boost::dynamic_pointer_cast<RunJobCommandMsg>(DecodeMessage(RunJobCommandMsg::s_Type, record.body));
    if (message && message->job)
        m_owed[record.number] = {message, UID::Null};
}

} // namespace farm
