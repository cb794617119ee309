#include <corekit/threadpool.h>

#include <corekit/callentry.h>
#include <corekit/commonmutex.h>
#include <corekit/crashreport.h>
#include <corekit/log.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <exception>
#include <map>
#include <memory>
#include <pthread.h>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace corekit {

namespace {

using Function = std::function<void()>;

// The functions of one type name, and whether the pool works on them: then one
// entry of the common queue stands for all of them.
struct ThrottledType {
    std::deque<std::pair<UID, Function>> waiting;
    bool scheduled = false;
};

class Pool {
public:
    void Initialize(unsigned threads);
    bool IsReady();
    bool Queue(Function& function);
    bool ThrottleQueue(Function& function, String const& typeName, UID const& id);
    void Shutdown();

private:
    void Work(unsigned number);
    void RunThrottled(String const& typeName);
    static void RunGuarded(Function function);

    CommonMutex m_lifecycle; // one Initialize or Shutdown at a time; taken before m_guard
    std::vector<std::thread> m_threads CK_GUARDED_BY(m_lifecycle);

    CommonMutex m_guard;
    CommonCondition m_wake;
    bool m_ready CK_GUARDED_BY(m_guard) = false;
    std::deque<Function> m_queue CK_GUARDED_BY(m_guard);
    std::map<String, ThrottledType> m_throttled CK_GUARDED_BY(m_guard);
};

// Never destroyed: a detached thread may still ask IsReady at the very end.
Pool& ThePool() {
    static Pool* s_pool = new Pool;
    return *s_pool;
}

void Pool::Initialize(unsigned threads) {
    CommonMutex::Lock const lifecycle(m_lifecycle);
    {
        CommonMutex::Lock const lock(m_guard);
        if (m_ready)
            return;
        m_ready = true;
    }
    if (threads == 0)
        threads = std::max(2u, std::thread::hardware_concurrency());
    try {
        for (unsigned number = 1; number <= threads; ++number)
            m_threads.emplace_back(&Pool::Work, this, number);
    } catch (std::system_error const& error) {
        LogError(String("Cannot start all background threads: ") + error.what());
        CommonMutex::Lock const lock(m_guard);
        m_ready = !m_threads.empty();
    }
}

bool Pool::IsReady() {
    CommonMutex::Lock const lock(m_guard);
    return m_ready;
}

bool Pool::Queue(Function& function) {
    {
        CommonMutex::Lock const lock(m_guard);
        if (!m_ready)
            return false;
        m_queue.push_back(std::move(function));
    }
    m_wake.notify_one();
    return true;
}

bool Pool::ThrottleQueue(Function& function, String const& typeName, UID const& id) {
    {
        CommonMutex::Lock const lock(m_guard);
        if (!m_ready)
            return false;
        ThrottledType& type = m_throttled[typeName];
        auto known =
            std::find_if(type.waiting.begin(), type.waiting.end(), [&](auto const& item) { return item.first == id; });
        if (known != type.waiting.end()) {
            // The old one goes to the caller, to be freed without the lock.
            std::swap(known->second, function);
            return true;
        }
        type.waiting.emplace_back(id, std::move(function));
        if (type.scheduled)
            return true;
        type.scheduled = true;
        m_queue.push_back([this, typeName] { RunThrottled(typeName); });
    }
    m_wake.notify_one();
    return true;
}

void Pool::RunThrottled(String const& typeName) {
    Function function;
    {
        CommonMutex::Lock const lock(m_guard);
        auto& waiting = m_throttled[typeName].waiting;
        function = std::move(waiting.front().second);
        waiting.pop_front();
    }
    RunGuarded(std::move(function));

    CommonMutex::Lock const lock(m_guard);
    auto type = m_throttled.find(typeName);
    if (type->second.waiting.empty()) {
        m_throttled.erase(type);
        return;
    }
    // To the end of the queue, so that other work gets its turn.
    m_queue.push_back([this, typeName] { RunThrottled(typeName); });
    m_wake.notify_one();
}

void Pool::RunGuarded(Function function) {
    try {
        function();
    } catch (std::exception const& error) {
        LogError(String("A background function was ended by an exception: ") + error.what());
    } catch (...) {
        LogError("A background function was ended by an exception of an unknown kind");
    }
}

void Pool::Work(unsigned number) {
    String name = "Pool " + String::From(number);
    CallStack::SetThreadName(name.c_str());
    pthread_setname_np(pthread_self(), name.c_str());
    CrashReport::PrepareThread();
    CommonMutex::Lock lock(m_guard);
    for (;;) {
        m_wake.wait(lock, [this]() CK_REQUIRES(m_guard) { return !m_queue.empty() || !m_ready; });
        if (m_queue.empty())
            return;
        Function function = std::move(m_queue.front());
        m_queue.pop_front();
        lock.unlock();
        RunGuarded(std::move(function));
        lock.lock();
    }
}

void Pool::Shutdown() {
    CommonMutex::Lock const lifecycle(m_lifecycle);
    {
        CommonMutex::Lock const lock(m_guard);
        m_ready = false;
    }
    m_wake.notify_all();
    for (auto& thread : m_threads)
        thread.join();
    m_threads.clear();
}

} // namespace

void ThreadPool::Initialize(unsigned threads) { ThePool().Initialize(threads); }
bool ThreadPool::IsReady() { return ThePool().IsReady(); }
bool ThreadPool::Queue(std::function<void()> function) { return ThePool().Queue(function); }
bool ThreadPool::ThrottleQueue(std::function<void()> function, String const& typeName, UID const& id) {
    return ThePool().ThrottleQueue(function, typeName, id);
}
void ThreadPool::RunBoth(std::function<void()> const& here, std::function<void()> const& there) {
    // Whoever comes first takes it. A queued one that comes too late finds nothing to do.
    struct Offer {
        std::atomic_flag isTaken;
        std::atomic_flag isDone;
    };
    auto const offer = std::make_shared<Offer>();
    Queue([offer, &there] {
        if (offer->isTaken.test_and_set())
            return;
        there();
        offer->isDone.test_and_set(std::memory_order_release);
        offer->isDone.notify_one();
    });
    here();
    if (!offer->isTaken.test_and_set())
        there();
    else
        offer->isDone.wait(false, std::memory_order_acquire);
}

void ThreadPool::Shutdown() { ThePool().Shutdown(); }

} // namespace corekit
