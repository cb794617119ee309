#include "farm/windowlessclient.h"

#include "farm/farmpeer.h"
#include "vorlangui/model/enginelist.h"
#include "vorlangui/model/joblist.h"
#include "vorlangui/model/worklist.h"

#include <corekit/threadpool.h>
#include <corekit/tick.h>
#include <vorlan/messenger.h>

namespace vorlan::farmtest {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds k_Pause{5};

} // namespace

// Shows the values of one Job and the length of its history.
class WindowlessClient::JobDisplay final : public JobWatcher {
public:
    explicit JobDisplay(UID const& id) : m_id(id) { Follow(); }
    ~JobDisplay() override { DisconnectAll(); }

    // A load makes a new object of the Job.
    void Follow() {
        boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(m_id);
        if (!info || info == Watched())
            return;
        info->RequestHistory(true);
        SetDirty();
        SetJobA(info);
    }

    String Stale() const {
        boost::shared_ptr<JobInfo> const info = Watched();
        // What has left the list is told of no more.
        if (!info || Jobs::FindJobInfo(info->job->id) != info)
            return {};
        RWLock::Reader const reader(info->lock);
        if (m_values != info->job->Values())
            return "the display of Job " + info->job->Name() + " shows old values";
        if (m_elements != info->history.ElementCount())
            return SFormat("the display of Job %s shows %zu of %zu elements", info->job->Name().c_str(), m_elements,
                           info->history.ElementCount());
        return {};
    }

private:
    void Update() override {
        m_values = Watched()->job->Values();
        m_elements = Watched()->history.ElementCount();
        for (auto const& [key, unit] : Watched()->history)
            m_tries += unit.Tries();
    }

    UID const m_id;
    OptionMap m_values;
    size_t m_elements = 0;
    size_t m_tries = 0; // for reading them all
};

class WindowlessClient::EngineDisplay final : public EngineWatcher {
public:
    explicit EngineDisplay(UID const& id) : m_id(id) { Follow(); }
    ~EngineDisplay() override { DisconnectAll(); }

    void Follow() {
        boost::shared_ptr<EngineInfo> const info = EngineList::Get().FindEngine(m_id);
        if (!info || info == Watched())
            return;
        SetDirty();
        SetToEngine(info);
    }

    String Stale() const {
        boost::shared_ptr<EngineInfo> const info = Watched();
        if (!info || EngineList::Get().FindEngine(info->id) != info)
            return {};
        return m_values == info->Values() ? String() : "the display of " + info->Name() + " shows old values";
    }

private:
    void Update() override {
        m_values = Watched()->Values();
        m_status = Watched()->StatusString();
    }

    UID const m_id;
    OptionMap m_values;
    String m_status;
};

// Shows all Jobs with their status.
class WindowlessClient::JobView final : public ListView {
public:
    JobView() { JobList::Get().Lists().Add(this); }
    ~JobView() override { JobList::Get().Lists().Remove(this); }

    void OnListCleared() override { m_rows.clear(); }
    void OnTick() {
        if (TakeDirty())
            m_rows = Rows();
    }
    String Stale() const {
        return m_rows == Rows() ? String() : String("the view of all Jobs is not what the list holds");
    }

private:
    static std::map<UID, String> Rows() {
        std::map<UID, String> rows;
        for (UID const& id : Jobs::GetAllJobs()) {
            if (boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(id))
                rows[id] = info->Status();
        }
        return rows;
    }

    std::map<UID, String> m_rows;
};

WindowlessClient::WindowlessClient() : m_view(std::make_unique<JobView>()), m_nextTick(Clock::now()) {
    ThreadPool::Initialize();
    m_mirror.ConnectMessages();
    MessengerConnectedEvt::Signal().Connect(this, &WindowlessClient::OnConnected);
    MessengerDisconnectedEvt::Signal().Connect(this, &WindowlessClient::OnDisconnected);
    EndJobInfoMsg::s_Signal.Connect(this, &WindowlessClient::OnEndJobInfo);
    RefusedMsg::s_Signal.Connect(this, &WindowlessClient::OnRefused);
}

WindowlessClient::~WindowlessClient() {
    Messenger::Stop(false, true, false);
    DisconnectAll();
    m_jobs.clear();
    m_engines.clear();
    m_view.reset();
    m_mirror.ClearLists();
    ThreadPool::Shutdown();
}

void WindowlessClient::Connect() { Messenger::Start(MessengerOptions(net::PeerKind::Client, "test")); }

void WindowlessClient::LoseConnection(int awayMs) {
    Messenger::Stop(false, false, false);
    RunFor(awayMs);
    Messenger::Stop(false, false, true);
}

void WindowlessClient::OnRefused(boost::shared_ptr<RefusedMsg> const& message) {
    std::lock_guard const lock(m_guard);
    m_answer = message->id;
}

void WindowlessClient::Turn() {
    if (m_disconnected.exchange(false)) {
        m_mirror.ClearLists();
        Messenger::PurgeMessageQueues();
    }
    if (m_connected.exchange(false)) {
        m_loads = 0;
        m_mirror.Reload();
    }
    if (auto const now = Clock::now(); now >= m_nextTick) {
        m_nextTick = now + milliseconds(Tick::k_PeriodMs);
        Tick::s_Timer0250.Emit();
        m_view->OnTick();
        for (auto const& display : m_jobs)
            display->Follow();
        for (auto const& display : m_engines)
            display->Follow();
        ++m_ticks;
    }
}

bool WindowlessClient::Run(std::function<bool()> const& until, int timeoutMs) {
    auto const end = Clock::now() + milliseconds(timeoutMs);
    for (;;) {
        auto const begin = Clock::now();
        Turn();
        if (until())
            return true;
        if (Clock::now() > end)
            return false;
        std::this_thread::sleep_for(k_Pause);
        auto const turn = std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
        m_longestTurnMs = std::max(m_longestTurnMs, static_cast<int>(turn.count()));
    }
}

void WindowlessClient::RunFor(int timeMs) {
    Run([] { return false; }, timeMs);
}

void WindowlessClient::RunOneTick() {
    unsigned const before = m_ticks;
    Run([&] { return m_ticks > before; }, 10 * Tick::k_PeriodMs);
}

bool WindowlessClient::Settle(int timeoutMs) {
    auto const end = Clock::now() + milliseconds(timeoutMs);
    while (Clock::now() < end) {
        if (!Run([this] { return Messenger::IsConnected() && !m_connected && m_loads > 0; }, timeoutMs))
            return false;
        UID const id(true);
        Messenger::Send(QuestionOfOrder(id));
        // A connection that is lost takes the question with it.
        auto const answered = [&] {
            std::lock_guard const lock(m_guard);
            return m_answer == id;
        };
        if (Run(answered, 2'000))
            return true;
    }
    return false;
}

void WindowlessClient::WatchSome(size_t jobs, size_t engines) {
    auto const ids = Jobs::GetAllJobs();
    for (size_t i = 0; i < jobs && i < ids.size(); ++i)
        m_jobs.push_back(std::make_unique<JobDisplay>(ids[i * ids.size() / jobs]));
    for (auto const& [id, info] : EngineList::Get().Snapshot()) {
        if (m_engines.size() < engines)
            m_engines.push_back(std::make_unique<EngineDisplay>(id));
    }
}

std::vector<boost::shared_ptr<JobInfo>> WindowlessClient::HeldHistories() const {
    std::vector<boost::shared_ptr<JobInfo>> held;
    for (auto const& display : m_jobs) {
        boost::shared_ptr<JobInfo> const& info = display->Watched();
        if (info && Jobs::FindJobInfo(info->job->id) == info)
            held.push_back(info);
    }
    return held;
}

std::vector<String> WindowlessClient::StaleDisplays() const {
    std::vector<String> stale;
    auto const add = [&stale](String const& what) {
        if (!what.Empty())
            stale.push_back(what);
    };
    add(m_view->Stale());
    for (auto const& display : m_jobs)
        add(display->Stale());
    for (auto const& display : m_engines)
        add(display->Stale());
    return stale;
}

} // namespace vorlan::farmtest
