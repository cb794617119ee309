// How late the 250 ms tick of a client is done while 20,000 changes a second come for
// 100,000 Jobs, for 30 seconds in all: it takes the dirty bytes of the views, serves the
// watchers and counts for the status bar. From the moment at which the tick is due to the
// one at which all of that is done; the latest of each six seconds counts. Against the
// same tick of the same client while nothing comes.

#include "bench.h"
#include "samplejob.h"

#include "vorlangui/client/farmclient.h"
#include "vorlangui/model/joblist.h"
#include "vorlangui/model/jobwatcher.h"

#include <corekit/tick.h>
#include <vorlan/messenger.h>

#include <atomic>
#include <random>
#include <thread>

using namespace bench;
using namespace vorlan;
using Clock = std::chrono::steady_clock;

namespace {

constexpr unsigned k_Jobs = 100'000;
constexpr unsigned k_PerSecond = 20'000;
constexpr size_t k_Runs = 5;
constexpr auto k_Window = std::chrono::seconds(6);
constexpr auto k_Period = std::chrono::milliseconds(corekit::Tick::k_PeriodMs);
constexpr unsigned k_Watchers = 100;
constexpr unsigned k_Views = 4;
// Every so many changes comes a whole Job.
constexpr unsigned k_WholeJobEvery = 20;
constexpr double k_TargetMs = 10;

// A view of all Jobs, as far as the tick knows it.
struct View : ListView {
    void OnListCleared() override {}
};

// A window that shows one Job.
class Display : public JobWatcher {
public:
    explicit Display(boost::shared_ptr<JobInfo> const& info) : JobWatcher(info) {}
    ~Display() override { DisconnectAll(); }
    unsigned Updates() const { return m_updates; }

private:
    void Update() override {
        Job const& job = *Watched()->job;
        VorlanObject::ReadingScope const reading(job);
        m_text = job.Name() + Watched()->Status() + job.Get(p_PercentDone, false) + job.Get(p_Note, false);
        ++m_updates;
    }

    String m_text;
    unsigned m_updates = 0;
};

// The changes, one after the other, evenly through the time, as the network thread hands
// them on: decoded, one by one.
class Storm : public corekit::HasSlots<> {
public:
    explicit Storm(std::vector<UID> ids) : m_ids(std::move(ids)) {
        JobParameterMsg::s_Signal.Connect(this, &Storm::OnParameter);
        JobMsg::s_Signal.Connect(this, &Storm::OnJob);
    }
    ~Storm() override { DisconnectAll(); }

    void Start() {
        m_stopping = false;
        m_sent = 0;
        m_handled = 0;
        m_thread = std::thread([this] { Blow(); });
    }
    void Stop() {
        m_stopping = true;
        m_thread.join();
    }
    unsigned Sent() const { return m_sent; }
    unsigned Handled() const { return m_handled; }

private:
    void OnParameter(boost::shared_ptr<JobParameterMsg> const&) { ++m_handled; }
    void OnJob(boost::shared_ptr<JobMsg> const&) { ++m_handled; }

    void Blow() {
        constexpr auto k_Step = std::chrono::milliseconds(1);
        auto const start = Clock::now();
        while (!m_stopping) {
            double const seconds = std::chrono::duration<double>(Clock::now() - start).count();
            for (auto const due = static_cast<unsigned>(seconds * k_PerSecond); m_sent < due; ++m_sent)
                Messenger::SSendMessageToSelf(Next());
            std::this_thread::sleep_for(k_Step);
        }
    }

    boost::shared_ptr<Message> Next() {
        size_t const index = m_random() % m_ids.size();
        if (++m_number % k_WholeJobEvery == 0) {
            auto const job = SampleJob(static_cast<unsigned>(index));
            job->id = m_ids[index];
            job->Set(p_PercentDone, String::From(m_number));
            return JobMsg::Create(job);
        }
        auto message = JobParameterMsg::New();
        message->job = m_ids[index];
        message->name = m_number % 2 ? p_PercentDone : p_Note;
        message->value = String::From(m_number);
        return message;
    }

    std::vector<UID> const m_ids;
    std::mt19937 m_random{20'26};
    unsigned m_number = 0;
    std::thread m_thread;
    std::atomic<bool> m_stopping{false};
    std::atomic<unsigned> m_sent{0};
    std::atomic<unsigned> m_handled{0};
};

// The main thread of a client for one window of time: the longest lateness.
double LongestLatenessMs(View (&views)[k_Views]) {
    double longest = 0;
    auto const end = Clock::now() + k_Window;
    for (auto due = Clock::now() + k_Period; due < end; due += k_Period) {
        std::this_thread::sleep_until(due);
        corekit::Tick::s_Timer0250.Emit();
        for (View& view : views)
            DoNotOptimize(view.TakeDirty());
        longest = std::max(longest, std::chrono::duration<double, std::milli>(Clock::now() - due).count());
    }
    return longest;
}

double StormMs(Benchmark& benchmark, Storm& storm, View (&views)[k_Views]) {
    storm.Start();
    double const longest = LongestLatenessMs(views);
    unsigned const handled = storm.Handled();
    unsigned const sent = storm.Sent();
    storm.Stop();
    auto const wanted = static_cast<unsigned>(k_PerSecond * k_Window.count());
    if (sent < wanted / 100 * 95)
        benchmark.Fail("only " + std::to_string(sent) + " changes came in a window");
    if (handled + k_PerSecond / 4 < sent)
        benchmark.Fail("the message thread is " + std::to_string(sent - handled) + " changes behind");
    return longest;
}

int Measure(Benchmark& benchmark) {
    vorlan::FarmClient mirror;
    mirror.ConnectMessages();
    View views[k_Views];
    for (View& view : views)
        JobList::Get().Lists().Add(&view);
    std::vector<UID> ids;
    for (unsigned number = 0; number < k_Jobs; ++number) {
        auto const job = SampleJob(number);
        ids.push_back(job->id);
        JobList::Get().InsertJob(job);
    }
    std::vector<std::unique_ptr<Display>> displays;
    for (unsigned i = 0; i < k_Watchers; ++i)
        displays.push_back(std::make_unique<Display>(Jobs::FindJobInfo(ids[i * 500])));
    {
        Storm storm(ids);
        benchmark.Run(
            k_Runs, [&] { return StormMs(benchmark, storm, views); }, [&] { return LongestLatenessMs(views); });
        Messenger::Stop(false, true, false);
    }
    if (std::ranges::none_of(displays, [](auto const& display) { return display->Updates() > 0; }))
        benchmark.Fail("no watcher was served");
    displays.clear();
    for (View& view : views)
        JobList::Get().Lists().Remove(&view);
    return benchmark.Report();
}

} // namespace

int main(int argc, char** argv) {
    Benchmark benchmark({"storm", "ms", "the latest tick while nothing comes", Judge::ValueAtMost, k_TargetMs}, argc,
                        argv);
    return benchmark.HeaderOnly() ? benchmark.Report() : Measure(benchmark);
}
