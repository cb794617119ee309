#pragma once

#include <corekit/commonmutex.h>
#include <corekit/string.h>

#include <atomic>
#include <thread>

namespace corekit {

// Thread is a named thread whose body is called again and again until it has had
// enough or a stop is asked for.
// Owner: whoever starts it; it outlives its run.
// Works with: the log, the crash report (both know the thread by its name).
// Thread: Execute and OnThreadStopping on the thread itself, the rest on any.
// Always: an exception that leaves Execute is logged under the thread's name and
// ends this thread only.
class Thread {
public:
    explicit Thread(String name);
    // Stops and joins. A class with an Execute of its own calls Stop in its own
    // destructor already: here its fields are gone.
    virtual ~Thread();
    Thread(Thread const&) = delete;
    Thread& operator=(Thread const&) = delete;

    // Starts the thread; a thread that has ended and was joined can start again.
    // False when it runs already or the system refuses (logged).
    bool Start();
    // Asks the thread to end, and returns at once.
    void SignalStop();
    // Waits for the end. Does nothing on the thread itself or when never started.
    void Join();
    // SignalStop and Join.
    void Stop();

    bool IsStopping() const { return m_stopping.load(std::memory_order_acquire); }
    // True from Start until the thread has done its last call.
    bool IsRunning() const { return m_running.load(std::memory_order_acquire); }
    // True when the caller is this thread.
    bool IsCurrent() const;
    String const& ThreadName() const { return m_name; }

protected:
    // The body. True: call it again.
    virtual bool Execute() = 0;
    // Called by SignalStop, on the caller's thread: wake what Execute waits for.
    virtual void OnStopSignaled() {}
    // The thread's last call, also after an exception.
    virtual void OnThreadStopping() {}

    // Sleeps for so long or until a stop is asked for. True: go on, no stop yet.
    bool Sleep(int milliseconds);

private:
    void Run();
    void Guarded(void (Thread::*step)());
    void ExecuteLoop();

    // Constant after construction.
    String const m_name;

    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_running{false};
    std::atomic<std::thread::id> m_id{};

    CommonMutex m_guard;
    CommonCondition m_wake; // a stop was asked for
    std::thread m_thread CK_GUARDED_BY(m_guard);
};

} // namespace corekit
