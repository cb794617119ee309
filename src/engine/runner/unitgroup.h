#pragma once

// The control group of all that units start.

#include <corekit/path.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>

#include <sys/types.h>

namespace vorlan::runner {

// What the kernel knows of a helper and all that came from it, whatever they made of their
// session, their environment and their user. There is none on a machine without control
// groups of version 2, or where this user may make none below its own: then every call does
// nothing.
//
// Owned by the LocalRunner; its thread.
class UnitGroup {
public:
    // Finds the group of this name below the program's own, where an earlier Engine has
    // left one, too.
    explicit UnitGroup(UID const& machine);

    // Puts a process into it, and with it all that it will start.
    void Take(pid_t pid);
    void Kill();
    bool IsEmpty() const;
    // Nothing while it is not empty.
    void Remove();

private:
    Path m_folder; // empty: there is none
};

} // namespace vorlan::runner
