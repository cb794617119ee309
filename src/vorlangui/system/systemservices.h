#pragma once

// What the client does with the services of this machine.

#include <corekit/optionsfile.h>
#include <memory>
#include <vorlan/services.h>

namespace vorlan {

// The manager of this machine's services; a test puts its own in its place, and null
// puts the real one back. Thread: any.
std::shared_ptr<ServiceManager> MachineServices();
void SetMachineServices(std::shared_ptr<ServiceManager> manager);

// A component that a service runs is neither started nor stopped by clients: its start
// option becomes "start and leave running", and what it was is kept ("OldStartEngine").
void KeepStartOption(OptionsFile& options, int component);
// Puts back what was kept; nothing without it.
void RestoreStartOption(OptionsFile& options, int component);

} // namespace vorlan
