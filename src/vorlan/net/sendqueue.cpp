#include "sendqueue.h"

#include "frame.h"

namespace vorlan::net {

std::string& SendQueue::Room(size_t bytes, Traffic traffic) {
    if (m_pieces.empty() || m_pieces.back().shared || m_pieces.back().own.size() + bytes > k_Gather) {
        m_pieces.emplace_back();
        m_pieces.back().own = std::move(m_spare);
        m_pieces.back().own.clear();
        m_spare = {};
    }
    Piece& piece = m_pieces.back();
    (traffic == Traffic::Live ? piece.live : piece.load) += bytes;
    (traffic == Traffic::Live ? m_live : m_load) += bytes;
    return piece.own;
}

void SendQueue::Push(UID const& type, std::string_view body, Traffic traffic) {
    std::string& to = Room(k_FrameHeader + body.size(), traffic);
    AppendFrameHeader(to, type, body.size());
    to.append(body);
}

void SendQueue::Push(boost::shared_ptr<EncodedMessage const> const& message, Traffic traffic) {
    size_t const size = message->Size();
    if (size < k_Gather / 4) {
        Room(size, traffic).append(message->Bytes().Str());
        return;
    }
    m_pieces.emplace_back();
    Piece& piece = m_pieces.back();
    piece.shared = message;
    (traffic == Traffic::Live ? piece.live : piece.load) += size;
    (traffic == Traffic::Live ? m_live : m_load) += size;
}

bool SendQueue::TakePiece(Piece& piece) {
    if (m_pieces.empty())
        return false;
    piece = std::move(m_pieces.front());
    m_pieces.pop_front();
    return true;
}

void SendQueue::Written(Piece& piece) {
    m_live -= std::min(m_live, piece.live);
    m_load -= std::min(m_load, piece.load);
    if (!piece.shared && piece.own.capacity() > m_spare.capacity() && piece.own.capacity() <= 2 * k_Gather)
        m_spare = std::move(piece.own);
    piece = {};
}

void SendQueue::Clear() {
    m_pieces.clear();
    m_live = m_load = 0;
    m_spare = {};
}

} // namespace vorlan::net
