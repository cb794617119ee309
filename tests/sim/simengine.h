#pragma once

// An Engine of the simulation.

#include "test.h"

#include "master/core/event.h"

namespace sim {

using namespace vorlan;
using farm::Moment;
using Messages = std::vector<boost::shared_ptr<Message>>;

template <class Map>
auto Nth(Map& map, size_t number) {
    return std::next(map.begin(), static_cast<ptrdiff_t>(number));
}

// Behaves towards the Master as an Engine does, without processes.
//
// Owned by the World, which moves its messages and makes its faults.
class SimEngine {
public:
    // `skew` is what its clock differs from the Master's.
    SimEngine(UID const& id, String const& name, unsigned cores, Time skew)
        : m_id(id), m_name(name), m_cores(cores), m_skew(skew) {}

    struct Run {
        UID job;
        String subRange;
        bool started = false;
        Time startedAt;
        farm::Steady startedSteady;
    };

    farm::PeerId peer = 0; // 0: not connected
    UID const& Id() const { return m_id; }
    String const& Name() const { return m_name; }
    std::map<UID, Run> const& Runs() const { return m_runs; }
    std::map<UID, WorkEnded> const& Unacknowledged() const { return m_ended; }

    // What it says first on a new connection.
    boost::shared_ptr<Message> Register(Moment const& now) const;

    // Takes a message; `answers` are to be sent. Gives a fault, empty if there is none.
    String Receive(Message const& message, Moment const& now, Messages& answers);

    // What happens on it; null when there was nothing to do. The answer is only sent
    // while it is connected, and told at the next registration otherwise.
    boost::shared_ptr<Message> Begin(size_t choice, Moment const& now);
    boost::shared_ptr<Message> Progress(size_t choice, int percent) const;
    boost::shared_ptr<Message> End(size_t choice, int status, Moment const& now);
    boost::shared_ptr<Message> RepeatEnded(size_t choice) const;

    // Loses its runs. `reports`: it tells of them when it is back.
    void Crash(bool reports, Moment const& now);

private:
    boost::shared_ptr<Message> Ended(UID const& work, Run const& run, int status, Moment const& now);

    UID const m_id;
    String const m_name;
    unsigned const m_cores;
    Time const m_skew;
    std::map<UID, Run> m_runs;
    std::map<UID, WorkEnded> m_ended;
    std::set<UID> m_seen; // every work it was ever given
};

} // namespace sim
