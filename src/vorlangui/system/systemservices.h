#pragma once

// What the client does with the services of this machine.

#include <memory>
#include <vorlan/services.h>

namespace vorlan {

// The manager of this machine's services; a test puts its own in its place, and null
// puts the real one back. Thread: any.
std::shared_ptr<ServiceManager> MachineServices();
void SetMachineServices(std::shared_ptr<ServiceManager> manager);

} // namespace vorlan
