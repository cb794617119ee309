#include "master/core/peers.h"

#include <algorithm>

namespace farm {

LoadTask const* Peer::FullLoad() const {
    for (auto at = loads.rbegin(); at != loads.rend(); ++at) {
        if (at->what == LoadTask::What::Jobs && at->all && at->wantObject)
            return &*at;
    }
    return nullptr;
}

bool Peer::JobReached(uint64_t number) const {
    LoadTask const* const load = FullLoad();
    if (!load)
        return true;
    switch (load->phase) {
    case LoadTask::Phase::Begin:
        return false;
    case LoadTask::Phase::Items:
        return number <= load->cursor;
    default:
        return true;
    }
}

bool Peer::RunReached(uint64_t number) const {
    LoadTask const* const load = FullLoad();
    if (!load)
        return true;
    switch (load->phase) {
    case LoadTask::Phase::Begin:
    case LoadTask::Phase::Items:
        return false;
    case LoadTask::Phase::Runs:
        return number <= load->cursor;
    default:
        return true;
    }
}

Peer& Peers::Add(PeerConnected const& event) {
    Peer& peer = m_peers[event.peer];
    peer = Peer();
    peer.id = event.peer;
    peer.who = event.who;
    Changed();
    return peer;
}

void Peers::Remove(PeerId peer) {
    m_peers.erase(peer);
    Changed();
}

Peer* Peers::Find(PeerId peer) {
    auto const at = m_peers.find(peer);
    return at == m_peers.end() ? nullptr : &at->second;
}

void Peers::Follow(Peer& peer, bool all, std::set<UID> const& kinds) {
    peer.followsAll = peer.followsAll || all;
    peer.follows.insert(kinds.begin(), kinds.end());
    Changed();
}

void Peers::AddLoad(Peer& peer, LoadTask task) {
    if (task.what == LoadTask::What::Jobs && task.all && task.wantObject) {
        // A new full load makes an unfinished one useless.
        for (LoadTask& old : peer.loads) {
            if (old.what == LoadTask::What::Jobs && old.all && old.wantObject)
                old.phase = LoadTask::Phase::End;
        }
    }
    peer.loads.push_back(std::move(task));
    Changed();
}

void Peers::EndLoad(Peer& peer) {
    peer.loads.pop_front();
    Changed();
}

bool Peers::Follows(Peer const& peer, UID const& kind) {
    // These two are told to those alone who name them.
    bool const onlyIfNamed = kind == MasterLogsMsg::s_Type || kind == EngineHistoryElementMsg::s_Type;
    return (peer.followsAll && !onlyIfNamed) || peer.follows.contains(kind);
}

Peers::List const& Peers::Settled(UID const& kind) {
    List& list = m_lists[kind];
    if (!list) {
        auto peers = std::make_shared<std::vector<PeerId>>();
        for (auto const& [id, peer] : m_peers) {
            if (!peer.FullLoad() && Follows(peer, kind))
                peers->push_back(id);
        }
        list = std::move(peers);
    }
    return list;
}

void Peers::Changed() {
    m_lists.clear();
    m_loading.clear();
    for (auto& [id, peer] : m_peers) {
        if (peer.FullLoad())
            m_loading.push_back(&peer);
    }
}

} // namespace farm
