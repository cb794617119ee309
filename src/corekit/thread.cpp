#include <corekit/thread.h>

#include <corekit/callentry.h>
#include <corekit/crashreport.h>
#include <corekit/log.h>

#include <chrono>
#include <exception>
#include <pthread.h>
#include <system_error>
#include <utility>

namespace corekit {

namespace {
// The system cuts names at 15 characters and refuses longer ones.
constexpr size_t k_MaxSystemName = 15;

void NameCurrentThread(String const& name) {
    CallStack::SetThreadName(name.c_str());
    pthread_setname_np(pthread_self(), name.Mid(0, k_MaxSystemName).c_str());
}
} // namespace

Thread::Thread(String name) : m_name(std::move(name)) {}

Thread::~Thread() {
    SignalStop();
    Join();
}

bool Thread::Start() {
    CommonMutex::Lock const lock(m_guard);
    if (m_running)
        return false;
    if (m_thread.joinable())
        m_thread.join();
    m_stopping = false;
    m_running = true;
    try {
        m_thread = std::thread(&Thread::Run, this);
    } catch (std::system_error const& error) {
        m_running = false;
        LogError("Cannot start thread \"" + m_name + "\": " + error.what());
    }
    return m_running;
}

void Thread::SignalStop() {
    {
        CommonMutex::Lock const lock(m_guard);
        m_stopping = true;
    }
    m_wake.notify_all();
    OnStopSignaled();
}

void Thread::Join() {
    if (IsCurrent())
        return;
    CommonMutex::Lock lock(m_guard);
    m_wake.wait(lock, [this] { return !m_running.load(); });
    if (m_thread.joinable())
        m_thread.join();
}

void Thread::Stop() {
    SignalStop();
    Join();
}

bool Thread::IsCurrent() const { return m_id.load(std::memory_order_acquire) == std::this_thread::get_id(); }

bool Thread::Sleep(int milliseconds) {
    CommonMutex::Lock lock(m_guard);
    return !m_wake.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return m_stopping.load(); });
}

void Thread::Run() {
    m_id = std::this_thread::get_id();
    NameCurrentThread(m_name);
    CrashReport::PrepareThread();
    Guarded(&Thread::ExecuteLoop);
    Guarded(&Thread::OnThreadStopping);
    m_id = std::thread::id();
    // The last touch of this object; Join waits for the system's thread as well.
    CommonMutex::Lock const lock(m_guard);
    m_running = false;
    m_wake.notify_all();
}

void Thread::ExecuteLoop() {
    while (!IsStopping() && Execute()) {
    }
}

void Thread::Guarded(void (Thread::*step)()) {
    try {
        (this->*step)();
    } catch (std::exception const& error) {
        LogError("Thread \"" + m_name + "\" was ended by an exception: " + error.what());
    } catch (...) {
        LogError("Thread \"" + m_name + "\" was ended by an exception of an unknown kind");
    }
}

} // namespace corekit
