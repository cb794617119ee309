#pragma once

// The connections, what they follow and how far their loads are.

#include "master/core/entries.h"
#include "master/core/event.h"

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <unordered_map>
#include <vector>

namespace farm {

// A request for Jobs or Engines that is answered bit by bit.
struct LoadTask {
    enum class What { Engines, Jobs };
    enum class Phase { Begin, Items, Runs, End };

    What what = What::Jobs;
    bool all = false;
    std::vector<UID> ids;
    bool wantObject = false;
    bool wantHistory = false;
    bool wantOptions = false;

    Phase phase = Phase::Begin;
    uint64_t cursor = 0; // the number told last, or the place in `ids`
};

// One connection.
struct Peer {
    PeerId id = 0;
    Identity who;               // never null
    bool administrates = false; // it has declared administrator mode
    bool followsAll = false;
    std::set<UID> follows; // kinds of messages
    std::deque<LoadTask> loads;
    EngineEntry* engine = nullptr; // the Engine that registered on it

    net::PeerKind Kind() const { return who->kind; }
    String Name() const { return who->Text(); }

    // The load that tells all Jobs, where one is going on.
    LoadTask const* FullLoad() const;
    bool JobReached(uint64_t number) const;
    bool RunReached(uint64_t number) const;
};

// All connections.
//
// Owned by the Farm. Keeps, for each kind of message, the ready list of those who are
// to hear of it and have no full load going on; those who have are asked one by one.
class Peers {
public:
    using List = std::shared_ptr<std::vector<PeerId> const>;

    Peer& Add(PeerConnected const& event);
    void Remove(PeerId peer);
    Peer* Find(PeerId peer);
    std::map<PeerId, Peer> const& All() const { return m_peers; }

    void Follow(Peer& peer, bool all, std::set<UID> const& kinds);
    void AddLoad(Peer& peer, LoadTask task);
    // The first load of the peer has come to its end.
    void EndLoad(Peer& peer);

    // Followers of a kind of message that are not in a full load.
    List const& Settled(UID const& kind);
    // Those in a full load; ask Follows for each.
    std::vector<Peer*> const& Loading() const { return m_loading; }
    static bool Follows(Peer const& peer, UID const& kind);
    bool Anyone(UID const& kind) { return !m_loading.empty() || !Settled(kind)->empty(); }

private:
    void Changed();

    std::map<PeerId, Peer> m_peers;
    std::vector<Peer*> m_loading;
    std::unordered_map<UID, List> m_lists;
};

} // namespace farm
