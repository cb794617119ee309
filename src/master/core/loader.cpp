#include "master/core/loader.h"

#include "master/core/rows.h"
#include "master/core/settings.h"

#include <vorlan/status.h>

#include <algorithm>

namespace farm {

namespace {

// What a message is counted as beside its values.
constexpr size_t k_MessageOverhead = 200;
constexpr size_t k_ElementBytes = 80;
constexpr size_t k_MaxAskedAtOnce = 100'000;

void Spend(size_t& bytesLeft, size_t bytes) { bytesLeft -= std::min(bytesLeft, bytes + k_MessageOverhead); }

// The next one that the task asks for, null when it has come to its end. Those asked for
// that are not there are passed over.
template <class Entry, class Find>
Entry const* Next(LoadTask& task, std::map<uint64_t, std::unique_ptr<Entry>> const& all, Find find) {
    if (task.all) {
        auto const at = all.upper_bound(task.cursor);
        if (at == all.end())
            return nullptr;
        task.cursor = at->first;
        return at->second.get();
    }
    while (task.cursor < task.ids.size()) {
        if (Entry const* const entry = find(task.ids[task.cursor++]))
            return entry;
    }
    return nullptr;
}

} // namespace

void Loader::SendInitial(Peer& peer) {
    Settings& settings = *m_farm.settings;
    settings.SendProducts(peer.id);
    settings.SendDefaultEngine(peer.id);
    settings.SendFailures(peer.id);
    settings.SendTranslations(peer.id);
    settings.SendMasterInfo(peer.id);
    m_farm.out.To(peer.id, LoadedMsg::New());
    // Once more, for those who listen to it from the connection on.
    settings.SendMasterInfo(peer.id);
    if (!m_farm.startup.empty())
        settings.SendStartup(peer.id);
}

void Loader::OnGetJobs(Peer& peer, GetJobInfoMsg const& message) {
    LoadTask task;
    task.what = LoadTask::What::Jobs;
    task.wantObject = message.wantJob;
    task.wantHistory = message.wantHistory;
    AddTask(peer, std::move(task), message);
}

void Loader::OnGetEngines(Peer& peer, GetEngineInfoMsg const& message) {
    LoadTask task;
    task.what = LoadTask::What::Engines;
    task.wantObject = message.wantEngine || message.wantState;
    task.wantHistory = message.wantHistory;
    task.wantOptions = message.wantOptions;
    AddTask(peer, std::move(task), message);
}

void Loader::AddTask(Peer& peer, LoadTask task, FollowJobMsg const& objects) {
    task.all = objects.all;
    if (!task.all)
        task.ids.assign(objects.ids.begin(), objects.ids.end());
    if (peer.loads.size() > k_MaxAskedAtOnce)
        return;
    m_farm.peers.AddLoad(peer, std::move(task));
    m_farm.out.TellLoadReady(peer.id);
}

bool Loader::Pull(Peer& peer, size_t maxBytes, std::vector<MessagePtr>& out) {
    size_t bytesLeft = std::max<size_t>(maxBytes, 1);
    while (!peer.loads.empty() && bytesLeft > 0) {
        if (Go(peer.loads.front(), bytesLeft, out))
            m_farm.peers.EndLoad(peer);
    }
    return !peer.loads.empty();
}

bool Loader::Go(LoadTask& task, size_t& bytesLeft, std::vector<MessagePtr>& out) {
    bool const jobs = task.what == LoadTask::What::Jobs;
    while (bytesLeft > 0) {
        switch (task.phase) {
        case LoadTask::Phase::Begin:
            out.push_back(jobs ? MessagePtr(StartJobInfoMsg::New()) : MessagePtr(StartEngineInfoMsg::New()));
            task.phase = LoadTask::Phase::Items;
            break;
        case LoadTask::Phase::Items:
            if (jobs ? NextJob(task, bytesLeft, out) : NextEngine(task, bytesLeft, out))
                break;
            task.phase = jobs && task.all && task.wantObject ? LoadTask::Phase::Runs : LoadTask::Phase::End;
            task.cursor = 0;
            break;
        case LoadTask::Phase::Runs:
            if (!NextRun(task, bytesLeft, out))
                task.phase = LoadTask::Phase::End;
            break;
        case LoadTask::Phase::End:
            if (jobs && task.all && task.wantObject) {
                // Failures of units that the peer was not told of while it loaded.
                auto failures = FailureArchiveMsg::New();
                failures->items = m_farm.failures.Items();
                Spend(bytesLeft, failures->items.size() * k_ElementBytes);
                out.push_back(failures);
            }
            out.push_back(jobs ? MessagePtr(EndJobInfoMsg::New()) : MessagePtr(EndEngineInfoMsg::New()));
            return true;
        }
    }
    return false;
}

bool Loader::NextJob(LoadTask& task, size_t& bytesLeft, std::vector<MessagePtr>& out) {
    JobEntry const* const job = Next(task, m_farm.jobs, [this](UID const& id) { return m_farm.FindJob(id); });
    if (!job)
        return false;
    AddJob(*job, task, bytesLeft, out);
    // All units come behind all Jobs.
    if (task.wantObject && !task.all) {
        for (Run const* const run : job->runs) {
            out.push_back(UnitMessage(*run));
            Spend(bytesLeft, run->unit->Snapshot()->Bytes());
        }
    }
    return true;
}

void Loader::AddJob(JobEntry const& job, LoadTask const& task, size_t& bytesLeft, std::vector<MessagePtr>& out) {
    if (task.wantObject) {
        out.push_back(JobMsg::Create(job.job));
        Spend(bytesLeft, job.job->Snapshot()->Bytes());
    }
    if (task.wantHistory) {
        size_t bytes = 0;
        for (PastRun const& past : job.past)
            bytes += past.row.size() + k_ElementBytes;
        out.push_back(HistoryOf(job));
        Spend(bytesLeft, bytes);
    }
}

MessagePtr Loader::UnitMessage(Run const& run) {
    if (run.HasStarted()) {
        auto message = StartedWorkMsg::New();
        message->work = run.unit;
        message->engine = run.engine->id;
        return message;
    }
    auto message = AssignedWorkMsg::New();
    message->work = run.unit;
    message->engine = run.engine->id;
    return message;
}

bool Loader::NextRun(LoadTask& task, size_t& bytesLeft, std::vector<MessagePtr>& out) {
    auto const at = m_farm.runs.upper_bound(task.cursor);
    if (at == m_farm.runs.end())
        return false;
    task.cursor = at->first;
    Run const& run = *at->second;
    if (run.job) {
        out.push_back(UnitMessage(run));
        Spend(bytesLeft, run.unit->Snapshot()->Bytes());
    }
    return true;
}

bool Loader::NextEngine(LoadTask& task, size_t& bytesLeft, std::vector<MessagePtr>& out) {
    EngineEntry const* const engine =
        Next(task, m_farm.engines, [this](UID const& id) { return m_farm.FindEngine(id); });
    if (engine)
        AddEngine(*engine, task, bytesLeft, out);
    return engine != nullptr;
}

void Loader::AddEngine(EngineEntry const& engine, LoadTask const& task, size_t& bytesLeft,
                       std::vector<MessagePtr>& out) {
    if (task.wantObject) {
        auto message = EngineMsg::New();
        message->engine = *engine.engine;
        out.push_back(message);
        Spend(bytesLeft, engine.engine->Snapshot()->Bytes());
    }
    if (task.wantOptions) {
        for (auto const& [type, product] : engine.products) {
            auto message = EngineOptionsMsg::New();
            message->AddEngine(engine.id);
            message->AddOptions(type, product.options);
            out.push_back(message);
            Spend(bytesLeft, product.options.size() * k_ElementBytes);
        }
    }
    if (task.wantHistory) {
        auto message = EngineHistoryMsg::New();
        message->engine = engine.id;
        for (auto const& [number, element] : engine.history)
            message->history.Push(element, engine.history.size());
        out.push_back(message);
        Spend(bytesLeft, engine.history.size() * k_ElementBytes);
    }
}

MessagePtr Loader::HistoryOf(JobEntry const& job) {
    auto message = JobHistoryMsg::New();
    message->job = job.id;
    auto const add = [&](UID const& work, UID const& engine, String const& subRange, RunElement const& element) {
        message->history.Append({element.status, element.time, element.note, subRange, work, job.id, engine});
    };
    for (PastRun const& past : job.past) {
        RunRow const row = ReadRunRow(past.row);
        for (RunElement const& element : row.elements)
            add(row.work, row.engine, row.subRange, element);
    }
    for (Run const* const run : job.runs) {
        for (RunElement const& element : run->elements)
            add(run->work, run->engine->id, run->subRange, element);
    }
    return message;
}

} // namespace farm
