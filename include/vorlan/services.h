#pragma once

// The services by which the programs of this machine run without a user.

#include <corekit/path.h>
#include <corekit/servicemanager.h>
#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <vector>

namespace vorlan {

enum class Service {
    Engine,
    EngineControl, // starts the Engine's service again after it has failed for good
    Master,
};

// How a service is set up.
struct ServiceSetup {
    ServiceScope scope = ServiceScope::User;
    String account; // it runs as this one; of use in the scope of the machine only
    Path programs;  // the folder of VorlanEngine and VorlanMaster
    Path home;      // the value of VORLAN_HOME; empty: none
};

// What a Service is called by people: "Engine", "Engine Control", "Master".
char const* ServiceName(Service service);
// The component that it runs; of the control service the one that it looks after.
int ServiceComponent(Service service);
// The unit that is enabled, started and stopped.
String ServiceUnitName(Service service);
// All units of it, that one included.
std::vector<String> ServiceUnitNames(Service service);

// The units made from the templates in `folder`. Throws FileException when one is
// missing, ArgumentException when the setup cannot be used.
std::vector<ServiceUnit> MakeServiceUnits(Service service, ServiceSetup const& setup, Path const& folder);

// Throws ArgumentException, which says what is wrong, unless there is such an account.
void CheckAccount(String const& account);

// A folder of the files that come with the programs, such as "services" and "submit":
// beside the program, in the share folder, or the source's. Empty when it is missing.
Path FindResourceFolder(String const& name);

} // namespace vorlan
