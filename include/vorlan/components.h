#pragma once

#include <corekit/path.h>
#include <corekit/process.h>
#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <memory>

namespace vorlan {

// The programs that may run beside a client on one machine.
enum ComponentNumber : int {
    k_ComponentMaster = 0,
    k_ComponentEngine = 1,
    k_ComponentGui = 2, // never started or stopped by others
    k_ComponentBrakka = 3,
    k_ComponentMerrow = 4,
    k_ComponentPanvale = 5,
    k_ComponentCount = 6
};

// Components starts and stops the other programs of this machine.
// Owner: none, static. Works with: Process, ComponentLock (by the lock files).
// Thread: any; nothing but StopAndWait waits.
// Always: at most one of each runs per machine folder, whoever started it.
class Components {
public:
    // "VorlanMaster" and so on; empty for a number that is none.
    static char const* GetName(int component);

    // Starts the program beside this one unless it runs. `arguments` are separated
    // by blanks, quotes keep them together. What it prints goes to "Console.log" in
    // its folder of the machine folder. While it is still being stopped it starts
    // right after. Null when it ran already, will start later, or could not be
    // started (one error in the log); the Process stays property of Components.
    static Process* Start(int component, String const& arguments);
    // `onlyOne`: not when its lock file is held.
    static Process* Start(String const& program, bool onlyOne, String const& arguments);

    // Asks it to end and kills it 10 seconds later, whoever started it; returns at
    // once, the waiting is done on a thread of its own.
    static void Stop(int component);
    static void Stop(String const& program);
    // The same, and returns when it has ended. False when it could not be ended.
    static bool StopAndWait(int component, int graceMs = k_GraceMs);
    static bool StopAndWait(String const& program, int graceMs = k_GraceMs);

    // This process started it and it still runs.
    static bool DidStart(int component);
    // It runs, whoever started it.
    static bool IsRunning(int component);
    static bool IsRunning(String const& program);

    // "VorlanMaster/VorlanMaster.lock" in the machine folder.
    static Path LockFile(int component);
    static Path LockFile(String const& program);
    // Its own folder in the machine folder.
    static Path Folder(String const& program);

    // Waits until every Stop has done its work; for the end of a program.
    static void WaitForStops();

    static constexpr int k_GraceMs = 10'000;
};

// ComponentLock is a component's claim to be the only one of its kind here.
// Owner: the program's main, for as long as it runs.
class ComponentLock {
public:
    // Null when another one runs; `holder` (may be null) names it. Throws
    // FileException when the file cannot be made.
    static std::unique_ptr<ComponentLock> TakeLock(int component, String* holder = nullptr);
    static std::unique_ptr<ComponentLock> TakeLock(String const& program, String* holder = nullptr);
    ~ComponentLock();
    ComponentLock(ComponentLock const&) = delete;
    ComponentLock& operator=(ComponentLock const&) = delete;

private:
    struct Held;
    explicit ComponentLock(std::unique_ptr<Held> held);
    std::unique_ptr<Held> m_held;
};

} // namespace vorlan
