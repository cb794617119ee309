#pragma once

// Where the Engine's messages go: the Master, or whoever asked at the information port.

#include <vorlan/message.h>
#include <vorlan/net/connection.h>

namespace vorlan {

// One receiver of messages. Shared by whoever sends to it; the connection behind it
// may end at any time, and what is sent then is dropped. Sending never waits.
class MessageSink {
public:
    virtual ~MessageSink() = default;
    virtual void Send(boost::shared_ptr<Message const> const& message) = 0;
    // Bytes that wait to go out.
    virtual size_t QueuedBytes() const = 0;
};

using SinkPtr = boost::shared_ptr<MessageSink>;

// The receiver at the other end of a connection.
class ConnectionSink final : public MessageSink {
public:
    explicit ConnectionSink(boost::shared_ptr<net::Connection> connection) : m_connection(std::move(connection)) {}
    void Send(boost::shared_ptr<Message const> const& message) override { m_connection->Send(message); }
    size_t QueuedBytes() const override { return m_connection->QueuedBytes(); }

private:
    boost::shared_ptr<net::Connection> const m_connection;
};

} // namespace vorlan
