#include "outside.h"

#include <atomic>
#include <corekit/platform.h>
#include <vorlan/components.h>
#include <vorlan/messages.h>
#include <vorlan/messenger.h>

namespace vorlan {

namespace {
std::atomic<Outside*> s_outside{nullptr};
}

void Outside::Send(boost::shared_ptr<Message> const& message) { Messenger::Send(message); }
bool Outside::IsConnected() { return Messenger::IsConnected(); }
void Outside::StopMessenger(bool flush, bool final, bool reconnect) { Messenger::Stop(flush, final, reconnect); }
void Outside::PurgeMessageQueues() { Messenger::PurgeMessageQueues(); }
UID Outside::MasterID() { return Messenger::MasterID(); }
String Outside::MasterMachineName() { return Messenger::MasterMachineName(); }
boost::shared_ptr<MasterInfoMsg> Outside::MasterInfo() { return Messenger::MasterInfo(); }
String Outside::LastFailure() { return Messenger::LastFailure(); }
UID Outside::MachineID() { return Platform::GetUniqueSystemID(); }
String Outside::ComputerName() { return Platform::GetComputerNameA(); }
void Outside::StartComponent(int component) { Components::Start(component, String::Null); }
void Outside::StopComponent(int component) { Components::Stop(component); }
bool Outside::DidStartComponent(int component) { return Components::DidStart(component); }
bool Outside::IsComponentRunning(int component) { return Components::IsRunning(component); }

Outside& Outside::Get() {
    static Outside s_real;
    Outside* const other = s_outside.load(std::memory_order_acquire);
    return other ? *other : s_real;
}

void Outside::Set(Outside* outside) { s_outside.store(outside, std::memory_order_release); }

} // namespace vorlan
