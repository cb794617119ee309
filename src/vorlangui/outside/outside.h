#pragma once

#include <boost/shared_ptr.hpp>
#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>

namespace vorlan {

struct MasterInfoMsg;

// Outside is what the client does beyond its own process: talk to the Master, start
// and stop the programs of this machine. A test puts a recording one in its place.
// Thread: any. Nothing here waits.
class Outside {
public:
    virtual ~Outside() = default;

    virtual void Send(boost::shared_ptr<Message> const& message);
    virtual bool IsConnected();
    // As Messenger::Stop.
    virtual void StopMessenger(bool flush, bool final, bool reconnect);
    virtual void PurgeMessageQueues();
    virtual UID MasterID();
    virtual String MasterMachineName();
    virtual boost::shared_ptr<MasterInfoMsg> MasterInfo();
    // Why there is no connection, for people; empty when there is one.
    virtual String LastFailure();
    virtual UID MachineID();
    // Its name, without a domain.
    virtual String ComputerName();

    virtual void StartComponent(int component);
    virtual void StopComponent(int component);
    virtual bool DidStartComponent(int component);
    // Whoever started it.
    virtual bool IsComponentRunning(int component);

    // This machine is the Master's.
    bool IsThisTheMaster() { return MasterID() == MachineID(); }

    // The one in use; never null.
    static Outside& Get();
    // Null puts the real one back.
    static void Set(Outside* outside);
};

inline void SendToMaster(boost::shared_ptr<Message> const& message) { Outside::Get().Send(message); }

} // namespace vorlan
