#include "master/core/outbox.h"

namespace farm {

void Outbox::To(PeerId peer, MessagePtr message) {
    if (peer != 0)
        Add(SendTo{peer, std::move(message)});
}

void Outbox::Refuse(PeerId peer, UID const& id, String const& reason) {
    auto message = RefusedMsg::New();
    message->id = id;
    message->reason = reason;
    To(peer, message);
    Log(LogLevel::Warning, "Refused a command for {" + id.ToString() + "}: " + reason);
}

template <class Reached>
void Outbox::Spread(MessagePtr const& message, Reached reached) {
    Peers::List const& settled = m_peers.Settled(message->Type());
    if (settled->size() == 1)
        Add(SendTo{settled->front(), message});
    else if (!settled->empty())
        Add(SendAll{settled, message});
    for (Peer* const peer : m_peers.Loading()) {
        if (Peers::Follows(*peer, message->Type()) && reached(*peer))
            Add(SendTo{peer->id, message});
    }
}

void Outbox::ToFollowers(MessagePtr message) {
    Spread(message, [](Peer const&) { return true; });
}

void Outbox::AboutJob(uint64_t job, MessagePtr message) {
    Spread(message, [job](Peer const& peer) { return peer.JobReached(job); });
}

void Outbox::AboutRun(uint64_t run, MessagePtr message) {
    Spread(message, [run](Peer const& peer) { return peer.RunReached(run); });
}

namespace {

String BytesOf(UID const& id) { return String(reinterpret_cast<char const*>(id.Bytes()), UID::k_Size); }

} // namespace

void Outbox::Put(RecordKind kind, uint64_t number, UID const& id, String body, uint64_t job) {
    Add(Record{kind, number, BytesOf(id), std::move(body), Record::Op::Put, job});
}

void Outbox::Put(RecordKind kind, uint64_t number, String const& id, String body) {
    Add(Record{kind, number, id, std::move(body), Record::Op::Put, 0});
}

void Outbox::Erase(RecordKind kind, uint64_t number, uint64_t job) {
    Add(Record{kind, number, String(), String(), Record::Op::Erase, job});
}

void Outbox::EraseJob(uint64_t job) {
    Erase(RecordKind::Job, job, job);
    for (RecordKind const kind : {RecordKind::JobState, RecordKind::History})
        Add(Record{kind, job, String(), String(), Record::Op::EraseJob, job});
}

void Outbox::Log(LogLevel level, String const& text) { Add(LogLine{level, text}); }

} // namespace farm
