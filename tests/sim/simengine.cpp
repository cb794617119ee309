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
    return WorkEndedMsg::Create(ended);
}

String SimEngine::Receive(Message const& message, Moment const& now, Messages& answers) {
    if (message.Type() == RunWorkMsg::s_Type) {
        auto const& unit = *static_cast<RunWorkMsg const&>(message).work;
        if (!m_seen.insert(unit.id).second)
            return "work {" + unit.id.ToString() + "} was given to " + m_name + " twice";
        m_runs[unit.id] = {unit.parentID, unit.Get(p_SubRange, false)};
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
    Run& run = m_runs[work];
    run.started = true;
    run.startedAt = now.wall + m_skew;
    run.startedSteady = now.steady;
    return WorkBegunMsg::Create(work, run.startedAt);
}

boost::shared_ptr<Message> SimEngine::Progress(size_t choice, int percent) const {
    if (m_runs.empty())
        return nullptr;
    return WorkProgressMsg::Create(Nth(m_runs, choice % m_runs.size())->first,
                                   OptionMap{{p_PercentDone, String::From(percent)}});
}

boost::shared_ptr<Message> SimEngine::End(size_t choice, int status, Moment const& now) {
    if (m_runs.empty())
        return nullptr;
    auto const at = Nth(m_runs, choice % m_runs.size());
    auto const message = Ended(at->first, at->second, status, now);
    m_runs.erase(at);
    return message;
}

boost::shared_ptr<Message> SimEngine::RepeatEnded(size_t choice) const {
    return m_ended.empty() ? nullptr : WorkEndedMsg::Create(Nth(m_ended, choice % m_ended.size())->second);
}

void SimEngine::Crash(bool reports, Moment const& now) {
    for (auto const& [work, run] : m_runs) {
        if (reports)
            Ended(work, run, Lost, now);
    }
    m_runs.clear();
}

} // namespace sim
