#pragma once

// The way out of the Core: messages, rows and log lines of one event.

#include "master/core/peers.h"

#include <vector>

namespace farm {

// Gathers the effects of the event that is being handled.
//
// Owned by the Farm, used by all its parts. Open gives it the list to fill; outside of
// an event nothing may be sent.
class Outbox {
public:
    explicit Outbox(Peers& peers) : m_peers(peers) {}

    void Open(std::vector<Effect>& effects) { m_effects = &effects; }
    void Close() { m_effects = nullptr; }

    void To(PeerId peer, MessagePtr message);
    void ClosePeerWith(PeerId peer, String const& reason) { Add(ClosePeer{peer, reason}); }
    void Refuse(PeerId peer, UID const& id, String const& reason);
    void TellLoadReady(PeerId peer) { Add(LoadReady{peer}); }
    void Dump(std::shared_ptr<StateSnapshot const> snapshot) { Add(DumpState{std::move(snapshot)}); }
    void LogDispatch(String text, bool begin = false) { Add(DispatchText{std::move(text), begin}); }
    void Stop() { Add(StopProgram{}); }

    // Whether a message of this kind would reach anybody.
    template <class T>
    bool Wanted() {
        return m_peers.Anyone(T::s_Type);
    }

    // To all who follow this kind of message. What tells that something is gone always
    // goes this way: a client may have been told of it before it asked for a load.
    void ToFollowers(MessagePtr message);
    // The same, but a full load that has not come to this Job yet tells it later.
    void AboutJob(uint64_t job, MessagePtr message);
    // The same for the run with this number.
    void AboutRun(uint64_t run, MessagePtr message);

    void Put(RecordKind kind, uint64_t number, UID const& id, String body, uint64_t job = 0);
    void Put(RecordKind kind, uint64_t number, String const& id, String body);
    void Erase(RecordKind kind, uint64_t number, uint64_t job = 0);
    // All rows of a Job.
    void EraseJob(uint64_t job);

    void Log(LogLevel level, String const& text);

private:
    void Add(Effect effect) {
        if (m_effects)
            m_effects->push_back(std::move(effect));
    }
    template <class Reached>
    void Spread(MessagePtr const& message, Reached reached);

    Peers& m_peers;
    std::vector<Effect>* m_effects = nullptr;
};

} // namespace farm
