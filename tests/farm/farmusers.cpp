#include "domain.h"

#include "farm/farmusers.h"

#include "vorlangui/model/enginelist.h"
#include "vorlangui/model/joblist.h"
#include "vorlangui/model/worklist.h"

namespace vorlan::farmtest {

namespace {

constexpr int k_StepMs = 20;
constexpr int k_SettleMs = 120'000;
constexpr unsigned k_MostPools = 40;
// Of the shipped Product "Command".
constexpr char k_Command[] = "8f30e646-6c31-40f7-9fdd-68ee9dca1054";

} // namespace

FarmUsers::FarmUsers(double commandsPerSecond, uint64_t seed)
    : Thread("Users"), m_perSecond(commandsPerSecond), m_random(seed) {}

FarmUsers::~FarmUsers() { Stop(); }

std::vector<FarmUsers::Action> const& FarmUsers::Actions() {
    static std::vector<Action> const s_actions{
        {300, &FarmUsers::SubmitJob},          {320, &FarmUsers::SetParameter},
        {60, &FarmUsers::PauseOrGoOn},         {60, &FarmUsers::EditJob},
        {100, &FarmUsers::DeleteJob},          {10, &FarmUsers::FinishJob},
        {10, &FarmUsers::ReopenJob},           {60, &FarmUsers::StopUnit},
        {20, &FarmUsers::ResetFailures},       {15, &FarmUsers::ChangePools},
        {4, &FarmUsers::ChangeOptions},        {4, &FarmUsers::ChangeProductOptions},
        {4, &FarmUsers::ChangeLimits},         {20, &FarmUsers::ChangeEngine},
        {10, &FarmUsers::ChangeEngineOptions}, {1, &FarmUsers::ChangeDefaultEngine},
        {2, &FarmUsers::RemoveEngine},
    };
    return s_actions;
}

bool FarmUsers::Fill(unsigned jobs) {
    if (!m_peer.Settle(k_SettleMs))
        return false;
    auto options = SetMasterOptionsMsg::New();
    options->section = o_Distribution;
    for (char const* const key : {o_MaxJobFailures, o_MaxTypeFailures, o_MaxTotalJobFailures})
        options->options[key] = "0";
    Send(options);
    for (unsigned i = 0; i < 10; ++i)
        ChangePools();
    for (unsigned i = 0; i < jobs; ++i)
        SubmitJob();
    return m_peer.Settle(k_SettleMs);
}

bool FarmUsers::Hold() {
    Stop();
    return m_peer.Settle(k_SettleMs);
}

void FarmUsers::GoOn() { Start(); }

bool FarmUsers::Execute() {
    using Clock = std::chrono::steady_clock;
    double credit = 0;
    for (auto last = Clock::now(); Sleep(k_StepMs);) {
        auto const now = Clock::now();
        credit += std::min(std::chrono::duration<double>(now - last).count(), 0.2) * m_perSecond;
        auto const due = static_cast<size_t>(credit);
        credit -= static_cast<double>(due);
        for (size_t i = 0; i < due; ++i)
            ActOnce();
        last = now;
    }
    return false;
}

void FarmUsers::ActOnce() {
    static unsigned const s_weights = [] {
        unsigned sum = 0;
        for (Action const& action : Actions())
            sum += action.weight;
        return sum;
    }();
    unsigned choice = Random(s_weights);
    for (Action const& action : Actions()) {
        if (choice < action.weight) {
            (this->*action.act)();
            ++m_commands;
            return;
        }
        choice -= action.weight;
    }
}

UID FarmUsers::AnyPool() {
    return m_pools.empty() || Random(3) == 0 ? UID::Null : m_pools[Random(static_cast<unsigned>(m_pools.size()))];
}

boost::shared_ptr<Job> FarmUsers::NewJob() {
    auto job = boost::make_shared<Job>(UID(true));
    unsigned const number = ++m_number;
    job->Set(p_Type, k_Command);
    job->SetName(SFormat("Shot %u", number));
    job->SetCreator(SFormat("artist%u", number % 50));
    job->Set("CommandLine", SFormat("render --shot %u --first $(First)", number));
    job->Set(p_Range, "1-" + String::From(1 + Random(3)));
    job->Set(p_Priority, String::From(Random(101)));
    job->Set(p_Note, std::string(Random(60), 'n'));
    job->Set(p_FailureLimit, String::From(Random(4)));
    job->Set(SFormat("Custom%u", Random(8)), String::From(number));
    if (Random(10) == 0)
        job->Set(p_Pool, AnyPool().ToString());
    if (Random(10) == 0)
        job->SetStatus(Paused);
    if (Random(20) == 0)
        job->Set(p_FinishDisposition, "1");
    return job;
}

void FarmUsers::SubmitJob() {
    auto const job = NewJob();
    m_jobs.push_back(job->id);
    Send(JobMsg::Create(job));
}

void FarmUsers::SetJobParameter(UID const& job, char const* name, String const& value) {
    auto message = JobParameterMsg::New();
    message->job = job;
    message->name = name;
    message->value = value;
    Send(message);
}

void FarmUsers::SetParameter() {
    switch (Random(6)) {
    case 0:
        return SetJobParameter(AnyJob(), p_Priority, String::From(Random(101)));
    case 1:
        return SetJobParameter(AnyJob(), p_Pool, AnyPool().ToString());
    case 2:
        return SetJobParameter(AnyJob(), p_Range, "1-" + String::From(1 + Random(4)));
    case 3:
        return SetJobParameter(AnyJob(), "CommandLine", SFormat("changed %u", Random(1'000)));
    case 4:
        return SetJobParameter(AnyJob(), SFormat("Custom%u", Random(8)).c_str(), String::From(Random(1'000'000)));
    default:
        return SetJobParameter(AnyJob(), p_Note, SFormat("Note %u", Random(1'000'000)));
    }
}

void FarmUsers::PauseOrGoOn() {
    int const status = Random(2) ? static_cast<int>(Paused) : static_cast<int>(Queued);
    SetJobParameter(AnyJob(), p_Status, String::From(status));
}

void FarmUsers::EditJob() {
    boost::shared_ptr<Job> const mirrored = Jobs::GetJobA(AnyJob());
    if (!mirrored || mirrored->IsFinished())
        return;
    boost::shared_ptr<Job> const job = SDuplicateJob(*mirrored, false);
    job->SetName(job->Name() + "'");
    job->Clear(SFormat("Custom%u", Random(8)));
    job->Set(SFormat("Custom%u", Random(8)), "edited");
    Send(JobMsg::Create(job));
}

void FarmUsers::DeleteJob() {
    if (m_jobs.empty())
        return;
    UID& place = m_jobs[Random(static_cast<unsigned>(m_jobs.size()))];
    auto message = DeleteJobMsg::New();
    message->job = std::exchange(place, m_jobs.back());
    message->immediately = Random(2) == 0;
    m_jobs.pop_back();
    Send(message);
}

void FarmUsers::FinishJob() {
    int const status = Random(2) ? static_cast<int>(UserCanceled) : static_cast<int>(AdministratorCanceled);
    SetJobParameter(AnyJob(), p_Status, String::From(status));
}

void FarmUsers::ReopenJob() {
    auto const finished = Jobs::GetFinishedIDs();
    if (finished.empty())
        return;
    boost::shared_ptr<Job> const mirrored = Jobs::GetJobA(finished[Random(static_cast<unsigned>(finished.size()))]);
    if (!mirrored)
        return;
    boost::shared_ptr<Job> const job = SDuplicateJob(*mirrored, false);
    job->SetStatus(Queued);
    Send(JobMsg::Create(job));
}

void FarmUsers::StopUnit() {
    auto const units = WorkList::Get().WorkUnderPriority(101);
    if (units.empty())
        return;
    auto const message =
        StopWorkMsg::Create(units[Random(static_cast<unsigned>(units.size()))], UserAborted, "Stopped by a test");
    message->action = static_cast<int>(Random(3));
    Send(message);
}

void FarmUsers::ResetFailures() {
    if (Random(3) > 0) {
        auto message = ResetJobFailuresMsg::New();
        message->job = AnyJob();
        return Send(message);
    }
    auto message = ResetEngineFailuresMsg::New();
    message->engine = UID::FromName(SFormat("simulated engine %u", Random(500)));
    Send(message);
}

void FarmUsers::ChangePools() {
    if (m_pools.size() > k_MostPools || (m_pools.size() > 5 && Random(3) == 0)) {
        UID& place = m_pools[Random(static_cast<unsigned>(m_pools.size()))];
        auto message = DeletePoolMsg::New();
        message->pool = std::exchange(place, m_pools.back());
        m_pools.pop_back();
        return Send(message);
    }
    auto message = PoolMsg::New();
    UID const known = AnyPool();
    UID const pool = known.IsNull() || Random(2) ? UID(true) : known;
    if (pool != known)
        m_pools.push_back(pool);
    message->pools[pool] = SFormat("Pool %u", Random(1'000'000));
    Send(message);
}

void FarmUsers::ChangeOptions() {
    auto message = SetMasterOptionsMsg::New();
    message->section = o_Distribution;
    message->options[o_FIFO] = Random(2) ? "1" : "0";
    message->options[o_GlobalPriorityBoost] = String::From(Random(3));
    message->options[SFormat("Test%u", Random(20))] = String::From(Random(1'000));
    Send(message);
}

void FarmUsers::ChangeProductOptions() {
    auto message = SetMasterOptionsMsg::New();
    message->section = Random(2) ? String(k_Command) : UID::FromName("another product").ToString();
    message->options[o_PriorityBoost] = String::From(Random(3));
    message->options[SFormat("Test%u", Random(20))] = String::From(Random(1'000));
    Send(message);
}

void FarmUsers::ChangeLimits() {
    if (Random(2)) {
        auto message = SetMasterLimitsMsg::New();
        for (unsigned i = Random(4); i > 0; --i)
            message->limits[UID::FromName(SFormat("product %u", i))] = static_cast<int>(Random(100));
        return Send(message);
    }
    auto message = SetMasterRestrictionsMsg::New();
    for (unsigned i = Random(4); i > 0; --i)
        message->restrictions[SFormat("Action %u", Random(5))] = Random(2) == 0;
    Send(message);
}

void FarmUsers::ChangeEngine() {
    auto const engine = EngineList::Get().FindEngine(UID::FromName(SFormat("simulated engine %u", Random(500))));
    if (!engine)
        return;
    auto message = EngineMsg::New();
    message->engine = *engine;
    message->engine.SetEnabled(Random(10) > 0);
    message->engine.SetNote(SFormat("Note %u", Random(1'000)));
    message->engine.SetPriority(static_cast<signed char>(Random(101)));
    if (Random(3) == 0)
        message->engine.SetPools({AnyPool(), AnyPool()});
    Send(message);
}

void FarmUsers::ChangeEngineOptions() {
    auto message = EngineOptionsMsg::New();
    UID type;
    UID::FromString(k_Command, type);
    for (unsigned i = Random(4); i > 0; --i)
        message->AddEngine(UID::FromName(SFormat("simulated engine %u", Random(500))));
    message->AddOptions(type, {{SFormat("Option%u", Random(10)), String::From(Random(1'000))}});
    Send(message);
}

void FarmUsers::ChangeDefaultEngine() {
    auto message = DefaultEngineMsg::New();
    message->engine.SetPriority(static_cast<signed char>(Random(101)));
    Send(message);
}

void FarmUsers::RemoveEngine() {
    for (auto const& [id, engine] : EngineList::Get().Snapshot()) {
        if (engine->Online())
            continue;
        auto message = RemoveEngineMsg::New();
        message->engine = id;
        return Send(message);
    }
}

} // namespace vorlan::farmtest
