#pragma once

#include <boost/shared_ptr.hpp>
#include <corekit/optionmap.h>
#include <corekit/string.h>
#include <corekit/time.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>
#include <vorlan/net/client.h>

#include <map>
#include <vector>

namespace vorlan {

struct MasterInfoMsg;

// What a Messenger needs to start. The defaults are those of the graphical client.
struct MessengerOptions {
    net::ClientOptions client;

    MessengerOptions();
    // The same for another program, a tool such as the command line.
    MessengerOptions(net::PeerKind kind, String const& program);
};

// What the program itself is told, on the message thread. They may be called until the
// process ends.
struct MessengerCalls {
    // Nobody listens to this message.
    void (*onUnhandled)(boost::shared_ptr<Message> const& message) = nullptr;
    // The Master refused a command; `id` is what was refused.
    void (*onRefused)(UID const& id, String const& reason) = nullptr;
};

// Messenger is the one connection of a client program to its Master.
// Owner: none, static. Works with: net::Client, MessageFactory, JobFactory, Failures,
// CommonEngine's defaults, MessengerCalls.
// Thread: any. Received messages, MessengerConnectedEvt and MessengerDisconnectedEvt
// come one after the other on the message thread, a thread of its own.
// Always: connected means that the Products, the default Engine, the failures and the
// path translations have arrived; an exception of a handler is logged and the next
// message goes on.
class Messenger {
public:
    // Starts looking for a Master, and never gives up. Does nothing when it looks
    // or has one already.
    static void Start(MessengerOptions const& options);
    static void Start() { Start(MessengerOptions()); }

    // At the start of the program, before any message.
    static void SetCalls(MessengerCalls const& calls);

    // Tears the connection down.
    // `flush`: what was sent still goes out first, for two seconds at most. The call
    //     waits for that, so not on the GUI thread.
    // `forGood`: the end of the program: the message thread has ended when this
    //     returns, and what it had not dispatched is dropped. Otherwise it goes on
    //     for MessengerDisconnectedEvt and for messages to self.
    // `reconnect`: looks for a Master at once, as a user's forced connect does; also
    //     when it was stopped before.
    static void Stop(bool flush, bool forGood, bool reconnect);

    // Queues a message to the Master. Dropped with a line in the log when not
    // connected: nothing outlives a connection.
    static void Send(boost::shared_ptr<Message> const& message);
    // Hands a message to this program's own dispatch as if received, also when
    // stopped; after a stop for good it is dropped. Any thread.
    static void SSendMessageToSelf(boost::shared_ptr<Message> const& message);
    // Drops what came from a connection that is gone and was not dispatched yet.
    // Messages of a new connection, to self, and the two events stay.
    static void PurgeMessageQueues();

    static bool IsConnected();
    // True on the message thread.
    static bool IsMessageThread();

    // Of the Master; null, empty or zero while not connected.
    static UID MasterID();
    static String MasterMachineName();
    static unsigned short MasterPort();
    static unsigned MasterVersion();
    static Time MasterReleaseDate();
    static Time MasterStartTime();
    // When the connection stood.
    static Time ConnectedTime();
    // The message of the day.
    static String MasterMessage();
    static unsigned MasterAdministrate();
    // The last one; null before the first.
    static boost::shared_ptr<MasterInfoMsg> MasterInfo();
    // For each folder its path by platform, as the Master told last.
    static std::vector<std::map<String, String>> PathTranslations();
    // The options for a Product that a new Engine gets, as the Master told last.
    static OptionMap DefaultEngineOptions(UID const& product);

    // Why there is no connection, for people; empty when there is one or none is
    // looked for.
    static String LastFailure();
};

} // namespace vorlan
