#include "domain.h"

#include "sim/simengine.h"

namespace sim {

namespace {

int64_t RanMs(SimEngine::Run const& run, Moment const& now) {
    return std::max<int64_t>((now.steady - run.startedSteady).Milliseconds(), 1);
}

} // namespace

boost::shared_ptr<Message> SimEngine::Register(Moment const& now) const {
    auto message = RegisterEngineMsg::New();
    message->engine.id = m_id;
    message->engine.SetName(m_name);
    message->engine.SetMaxCores(m_cores);
    message->clock = now.wall + m_skew;
    for (auto const& [work, run] : m_runs) {
        message->running.push_back({work, run.job, run.started ? Started : Assigned, run.startedAt, run.subRange,
                                    run.started ? RanMs(run, now) : 0});
    }
    for (auto const& [work, ended] : m_ended)
        message->ended.push_back(ended);
    return message;
}

boost::shared_ptr<Message> SimEngine::Ended(UID const& work, Run const& run, int status, Moment const& now) {
    WorkEnded const ended{work,
                          run.job,
                          status,
                          "simulated",
                          now.wall + m_skew,
                          status == Finished ? 0 : 1,
                          run.started ? RanMs(run, now) : 0};
    m_ended[work] = ended;
    auto message = WorkEndedMsg::New();
    message->ended = ended;
    return message;
}

String SimEngine::Receive(Message const& message, Moment const& now, std::vector<boost::shared_ptr<Message>>& answers) {
    if (message.Type() == RunWorkMsg::s_Type) {
        auto const& unit = *static_cast<RunWorkMsg const&>(message).work;
        if (!m_seen.insert(unit.id).second)
            return "work {" + unit.id.ToString() + "} was given to " + m_name + " twice";
        Run run;
        run.job = unit.parentID;
        run.subRange = unit.Get(p_SubRange, false);
        run.cores = static_cast<unsigned>(unit.Get(p_DispatchCPUs, false).Uint());
        m_runs[unit.id] = run;
    } else if (message.Type() == EndWorkMsg::s_Type) {
        auto const& order = static_cast<EndWorkMsg const&>(message);
        auto const run = m_runs.find(order.work);
        if (run != m_runs.end()) {
            answers.push_back(Ended(order.work, run->second, order.status, now));
            m_runs.erase(run);
        }
    } else if (message.Type() == WorkEndedAckMsg::s_Type) {
        m_ended.erase(static_cast<WorkEndedAckMsg const&>(message).work);
    }
    return String();
}

boost::shared_ptr<Message> SimEngine::Begin(size_t choice, Moment const& now) {
    std::vector<UID> works;
    for (auto const& [work, run] : m_runs) {
        if (!run.started)
            works.push_back(work);
    }
    if (works.empty())
        return nullptr;
    UID const work = works[choice % works.size()];
    m_runs[work].started = true;
    m_runs[work].startedAt = now.wall + m_skew;
    m_runs[work].startedSteady = now.steady;
    auto message = WorkBegunMsg::New();
    message->work = work;
    message->time = m_runs[work].startedAt;
    return message;
}

boost::shared_ptr<Message> SimEngine::Progress(size_t choice, int percent) const {
    if (m_runs.empty())
        return nullptr;
    auto const at = std::next(m_runs.begin(), static_cast<ptrdiff_t>(choice % m_runs.size()));
    auto message = WorkProgressMsg::New();
    message->work = at->first;
    message->values[p_PercentDone] = String::From(percent);
    return message;
}

boost::shared_ptr<Message> SimEngine::End(size_t choice, int status, Moment const& now) {
    if (m_runs.empty())
        return nullptr;
    auto const at = std::next(m_runs.begin(), static_cast<ptrdiff_t>(choice % m_runs.size()));
    auto const message = Ended(at->first, at->second, status, now);
    m_runs.erase(at);
    return message;
}

boost::shared_ptr<Message> SimEngine::RepeatEnded(size_t choice) const {
    if (m_ended.empty())
        return nullptr;
    auto message = WorkEndedMsg::New();
    message->ended = std::next(m_ended.begin(), static_cast<ptrdiff_t>(choice % m_ended.size()))->second;
    return message;
}

void SimEngine::Crash(bool reports, Moment const& now) {
    for (auto const& [work, run] : m_runs) {
        if (reports)
            Ended(work, run, Lost, now);
    }
    m_runs.clear();
}

} // namespace sim
