#pragma once

#include <corekit/commandline.h>
#include <corekit/path.h>
#include <corekit/string.h>

#include <functional>

namespace corekit {

class Exception;

// Application is the base of every program's one application object.
// Owner: the program's main. Works with: Log, CommandLine.
// Thread: the main thread.
// Always: one object per process; the_Application points to it while it lives.
class Application {
public:
    Application();
    // The order of the virtual operations is fixed: other code counts on it.
    virtual ~Application();
    // False: the program ends, after Cleanup, without Execute.
    virtual bool Startup(CommandLine& commandLine);
    // The program's work; returns its exit code.
    virtual int Execute();
    // Runs once after a Startup that was begun, whatever happened since.
    virtual void Cleanup();
    // An exception has reached the program's outermost frame. True: it was dealt
    // with. `exception` is null for one that is not of the Exception family.
    virtual bool OnException(Exception* exception);
    // Opens the program's log in that folder.
    virtual void SetLogDir(Path const& folder);
    // Called now and then by programs that run long, to log their figures.
    virtual void OnStatistics();

    Application(Application const&) = delete;
    Application& operator=(Application const&) = delete;

    // Startup, Execute, Cleanup. The exit code: Execute's, 1 when Startup refused
    // or an exception ended one of them.
    int Run(CommandLine& commandLine);

    static String GetMachineName();

    // From now on SIGTERM, SIGINT and SIGHUP call the function, on a thread of its
    // own, once per signal, and SIGPIPE is ignored. Call it once, at start.
    static void InstallStopSignals(std::function<void()> onStop);

    static Application* the_Application;
};

} // namespace corekit
