#pragma once

// The decision maker of the Master.

#include "master/core/event.h"
#include "master/core/farm.h"

#include <corekit/exception.h>

#include <unordered_map>
#include <vector>

namespace farm {

// An event could not be handled.
class HandlingFailed : public corekit::Exception {
public:
    HandlingFailed(String const& what, uint64_t job) : corekit::Exception(what), m_job(job) {}

    // The number of the Job that it was about; 0: of none that is known.
    uint64_t Job() const { return m_job; }

private:
    uint64_t m_job;
};

// Decides everything: takes events with their time by two clocks, gives effects. What
// people read is told by the time of day, every deadline counts by the steady clock: one
// that is set back or forward neither stops nor hastens anything.
//
// Owned by the Master's shell, or by a simulator. One thread at a time. It does no
// I/O, reads no clock and starts no thread; the same events with the same times and
// seed give the same effects.
//
// The shell must do three things in this order for each turn: Handle all events at
// hand, commit all Records in one transaction, and only then send the messages. Pull
// is called between turns alone. When a commit fails nothing of the turn may be sent,
// and a new Core is restored from the store.
//
// Always, after each event: a Job that anybody is told of has its row among the
// effects of that event or an earlier one; each frame of a Job's range is queued,
// active, finished, failed for good or canceled, and only one of these; no unit goes
// to an Engine beyond its cores, limits and staggers.
class Core {
public:
    // What a kind of message needs before it is handled, and what it does.
    struct Rule {
        bool changes = false;       // something that is stored or that others are told of
        bool administrator = false; // the connection must have declared administrator mode
        bool written = true;        // a change is put down with who made it
    };

    explicit Core(CoreConfig config);
    ~Core();
    Core(Core const&) = delete;
    Core& operator=(Core const&) = delete;

    // One row, before anything else: of a store as a whole, in ascending order of kind and
    // number, and then each that another Core has committed, in the order of its commits.
    // It may come any number of times, the last one counts. So a Core can follow another
    // one until it is to decide itself. Throws ParseException for a row that makes no
    // sense; it is left out then, and the next may be applied.
    void Apply(Record const& record);
    // All rows are in: it decides from now on. Needed after an empty store, too.
    void RestoreDone(Moment const& now);

    // Appends to `effects`. Throws HandlingFailed, after which this Core is of no use any
    // more: what it appended for this event must not be done, and another one be restored.
    void Handle(Moment const& now, Event const& event, std::vector<Effect>& effects);

    // What a peer has asked for, up to about `maxBytes`. False when nothing is left.
    bool Pull(PeerId peer, size_t maxBytes, std::vector<MessagePtr>& out);

    // When a Tick is wanted at the latest.
    Steady NextDeadline() const;

    // Whether a message changes anything, rather than asking for it.
    bool Changes(Message const& message) const;
    // A command of a client that changes something, and of which it must hear when it was
    // not carried out.
    bool IsCommand(Message const& message) const;

    // For tests and reports.
    Farm const& State() const { return *m_farm; }

private:
    using Handler = std::function<void(Peer&, boost::shared_ptr<Message> const&)>;
    struct Entry {
        unsigned ways = 0; // who may send it; MessageWays
        Rule rule;
        Handler handler;
    };

    template <class T, class Function>
    void On(Rule const& rule, Function function);
    void ListenToClients();
    void ListenToEngines();

    bool Allows(Peer const& peer, Entry const& entry, Message const& message);
    void HandleGuarded(Event const& event);
    void HandleOne(PeerConnected const& event);
    void HandleOne(PeerGone const& event);
    void HandleOne(PeerMessage const& event);
    void HandleOne(Tick const& event);
    void CheckTimes();
    void ReserveNumbers();

    std::unique_ptr<Farm> m_farm;
    std::unordered_map<UID, Entry> m_handlers;
    Steady m_nextCheck;
};

} // namespace farm
