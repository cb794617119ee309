#pragma once

#include <boost/shared_ptr.hpp>
#include <vorlan/net/connection.h>

#include <deque>
#include <string>
#include <string_view>

namespace vorlan::net {

// SendQueue is what waits to go out on one connection, gathered into pieces that
// each make one write.
// Owner: a connection, which guards it. Thread: whoever holds that guard.
// Always: bytes leave in the order they came; the counts cover what waits and what
// was taken and not yet written.
class SendQueue {
public:
    // One write.
    struct Piece {
        std::string own;
        boost::shared_ptr<EncodedMessage const> shared; // instead of `own`
        size_t live = 0;                                // bytes of each kind of traffic
        size_t load = 0;
        std::string_view Bytes() const { return shared ? std::string_view(shared->Bytes()) : std::string_view(own); }
    };

    void Push(UID const& type, std::string_view body, Traffic traffic);
    void Push(boost::shared_ptr<EncodedMessage const> const& message, Traffic traffic);
    // False when nothing waits.
    bool TakePiece(Piece& piece);
    // That piece has been written; its memory is used again.
    void Written(Piece& piece);
    void Clear();

    bool Empty() const { return m_pieces.empty(); }
    size_t LiveBytes() const { return m_live; }
    size_t Bytes() const { return m_live + m_load; }

private:
    // Small messages are gathered up to here. A write this long costs little more
    // than its encryption.
    static constexpr size_t k_Gather = 64 * 1024;

    std::string& Room(size_t bytes, Traffic traffic);

    std::deque<Piece> m_pieces;
    size_t m_live = 0;
    size_t m_load = 0;
    std::string m_spare;
};

} // namespace vorlan::net
