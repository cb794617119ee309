// How long a window with a list of 100,000 Jobs in front leaves events unserved while the
// Jobs change 20,000 times a second for a minute: the longest gap of each second, and of
// these the one that 99 in 100 do not exceed. The reference is the same window without
// changes, half a minute before and half a minute after.

#include "rowsbench.h"

#include "vorlangui/lists/joblistctrl.h"

#include <corekit/threadpool.h>
#include <thread>
#include <wx/app.h>
#include <wx/evtloop.h>
#include <wx/frame.h>
#include <wx/timer.h>
#include <wx/wxtimed.h>

using namespace bench;

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t k_Seconds = 60;
constexpr unsigned k_ChangesPerSecond = 20'000;
constexpr auto k_ProbePeriod = std::chrono::milliseconds(2);
constexpr int k_ScrollMs = 100;
constexpr double k_RateKept = 0.95;

double MsBetween(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double, std::milli>(to - from).count();
}

// Changes Jobs as messages do, on a thread of its own: progress, priorities, states, and
// one in a hundred comes or goes.
class Storm {
public:
    explicit Storm(std::vector<UID> ids) : m_ids(std::move(ids)), m_thread([this] { Run(); }) {}
    ~Storm() {
        m_stop = true;
        m_thread.join();
    }
    uint64_t Done() const { return m_done; }

private:
    void Run() {
        constexpr auto k_Step = std::chrono::milliseconds(5);
        constexpr unsigned k_PerStep = k_ChangesPerSecond / 200;
        auto next = Clock::now();
        while (!m_stop) {
            for (unsigned i = 0; i < k_PerStep; ++i)
                Change();
            m_done += k_PerStep;
            next += k_Step;
            std::this_thread::sleep_until(next);
        }
    }

    void Change() {
        UID& id = m_ids[m_random() % m_ids.size()];
        auto const number = static_cast<unsigned>(m_random());
        JobList& list = JobList::Get();
        switch (number % 100) {
        case 0: {
            auto const job = SampleJob(number);
            list.RemoveJob(id);
            list.InsertJob(job);
            id = job->id;
            break;
        }
        case 1:
        case 2:
        case 3:
            list.UpdateJob(id, p_Priority, String::From(number % 101));
            break;
        case 4:
            list.UpdateJob(id, p_Status, number % 8 < 4 ? "-1" : "0");
            break;
        default:
            list.UpdateJob(id, p_PercentDone, corekit::SFormat("%u.%u", number % 100, number % 7));
        }
    }

    std::vector<UID> m_ids;
    std::mt19937 m_random{1};
    std::atomic<uint64_t> m_done{0};
    std::atomic<bool> m_stop{false};
    std::thread m_thread; // the last: it uses the others
};

// A window event every two milliseconds, and when each was served.
class Probe : public wxEvtHandler {
public:
    Probe() : m_thread([this] { Run(); }) {}
    ~Probe() override {
        m_stop = true;
        m_thread.join();
    }

    // The longest gap of each of the next seconds. Lets the window live meanwhile.
    std::vector<double> GapsOf(size_t seconds) {
        m_gaps.clear();
        m_seconds = seconds;
        m_longest = 0;
        wxGUIEventLoop loop;
        m_loop = &loop;
        m_last = m_second = Clock::now();
        loop.Run();
        m_loop = nullptr;
        return m_gaps;
    }

private:
    void Run() {
        while (!m_stop) {
            std::this_thread::sleep_for(k_ProbePeriod);
            // One at a time: what matters is when it is served, not how many wait.
            if (!m_isWaiting.exchange(true))
                CallAfter([this] { Serve(); });
        }
    }

    void Serve() {
        m_isWaiting = false;
        if (!m_loop)
            return;
        auto const now = Clock::now();
        m_longest = std::max(m_longest, MsBetween(m_last, now));
        m_last = now;
        if (MsBetween(m_second, now) < 1000)
            return;
        m_gaps.push_back(m_longest);
        m_longest = 0;
        m_second = now;
        if (m_gaps.size() == m_seconds)
            m_loop->Exit();
    }

    wxGUIEventLoop* m_loop = nullptr; // null: nobody measures
    size_t m_seconds = 0;
    Clock::time_point m_last;
    Clock::time_point m_second;
    double m_longest = 0;
    std::vector<double> m_gaps;
    std::atomic<bool> m_isWaiting{false};
    std::atomic<bool> m_stop{false};
    std::thread m_thread; // the last: it uses the others
};

class StallApp : public wxApp {
public:
    explicit StallApp(Benchmark& benchmark) : m_benchmark(benchmark) {}

    bool OnInit() override {
        ThreadPool::Initialize();
        auto* const frame = new wxFrame(nullptr, wxID_ANY, "Jobs", wxPoint(0, 0), wxSize(1300, 900));
        auto const ids = FillJobList();
        auto* const list = new _JobListCtrl(frame, 0);
        list->SetSortColImage(list->FindColumnByType(JobColumns::Progress));
        frame->Show();
        wxTimed::StartTicks();
        CallAfter([this, list, ids] { Measure(*list, ids); });
        return true;
    }

private:
    void Measure(_JobListCtrl& list, std::vector<UID> const& ids) {
        while (list.IsRebuilding() || list.GetItemCount() == 0)
            wxYield();
        Probe probe;
        // Somebody reads on meanwhile.
        wxTimer scroll(this);
        Bind(wxEVT_TIMER, [&](wxTimerEvent&) {
            list.SetScrollPos(wxVERTICAL, (list.GetScrollPos(wxVERTICAL) + 7) % list.GetItemCount(), true);
        });
        scroll.Start(k_ScrollMs);
        MeasureQuiet(probe);
        MeasureStorm(probe, ids);
        MeasureQuiet(probe);
        wxTimed::StopTicks();
        GetTopWindow()->Destroy();
        ExitMainLoop();
    }

    void MeasureQuiet(Probe& probe) {
        for (double const gap : probe.GapsOf(k_Seconds / 2))
            m_benchmark.AddReference(gap);
    }

    void MeasureStorm(Probe& probe, std::vector<UID> const& ids) {
        Storm storm(ids);
        auto const start = Clock::now();
        auto const gaps = probe.GapsOf(k_Seconds);
        double const seconds = MsBetween(start, Clock::now()) / 1000;
        double const rate = static_cast<double>(storm.Done()) / seconds;
        std::fprintf(stderr, "stall: %.0f changes a second; in a usual second the longest gap is %.0f ms\n", rate,
                     Median(gaps));
        if (rate < k_RateKept * k_ChangesPerSecond)
            m_benchmark.Fail("The Jobs did not change as often as they should have.");
        for (double const gap : gaps)
            m_benchmark.AddValue(gap);
    }

    Benchmark& m_benchmark;
};

} // namespace

int main(int argc, char** argv) {
    Benchmark benchmark({"stall", "ms", "the same window without changes", Judge::ValueAtMost, 60, 0.99, 3.0}, argc,
                        argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    wxApp::SetInstance(new StallApp(benchmark));
    int argumentCount = 1;
    wxEntry(argumentCount, argv);
    ThreadPool::Shutdown();
    return benchmark.Report();
}
