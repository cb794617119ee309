#pragma once

// The command line's connection to the Master.

#include <boost/shared_ptr.hpp>
#include <vorlan/farmkey.h>
#include <vorlan/fwd.h>

#include <chrono>
#include <memory>

namespace vorlan {
class Message;
}

namespace vorlan::cli {

using Clock = std::chrono::steady_clock;

// MasterLink is one proven connection to a Master, as a queue that one thread reads.
// Owner: Farm. Works with: net::Client behind NetLink; tests bring their own.
// Thread: the main thread.
class MasterLink {
public:
    virtual ~MasterLink() = default;
    virtual void Send(boost::shared_ptr<Message const> const& message) = 0;
    // The next message; null when there is none by the deadline. Throws
    // CommandException with ExitCode::NoMaster when the connection is gone.
    virtual boost::shared_ptr<Message> Receive(Clock::time_point deadline) = 0;
};

struct LinkRequest {
    String hosts; // with blanks between them; empty: where this machine is configured to look
    FarmKey key;  // null: the one of this machine
};

// Looks for a Master once. Throws CommandException with ExitCode::NoMaster that names the
// hosts tried and says what to do.
std::unique_ptr<MasterLink> ConnectToMaster(LinkRequest const& request);

} // namespace vorlan::cli
