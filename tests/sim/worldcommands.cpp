// The commands that clients of the simulation give.
#include "sim/world.h"

namespace sim {

boost::shared_ptr<Message> World::SubmitCommand() {
    auto job = boost::make_shared<Job>(m_random.NextUID());
    auto const product = std::next(m_products.begin(), static_cast<ptrdiff_t>(Pick(m_products.size())));
    job->Set(p_Type, product->first.ToString());
    job->SetName(SFormat("job%zu", m_submitted.size()));
    m_submitted.insert(job->id);
    static char const* const s_ranges[] = {"1-10", "1-40",          "1-9,20,30-50x2", "-5-5", "100-1x3,1000",
                                           "7",    "1-20x2,2-20x2", "no range",       "10-1", "1-200x3"};
    job->Set(p_Range, s_ranges[Pick(std::size(s_ranges))]);
    job->Set(p_PacketSize, String::From(1 + Pick(6)));
    job->Set(p_Priority, String::From(Pick(5) * 25));
    job->Set(p_CPUs, String::From(Pick(4)));
    job->Set(p_FailureLimit, String::From(Pick(4)));
    if (Chance(20))
        job->Set(p_UsageLimit, String::From(static_cast<int>(Pick(7)) - 3));
    if (Chance(25))
        job->Set(p_Pool, OneOf(m_pools).ToString());
    if (Chance(10))
        job->Set(p_IncludeEngines, m_engines[Pick(m_engines.size())]->Id().ToString());
    if (Chance(10))
        job->SetStatus(Paused);
    if (Chance(15)) {
        job->Set(p_StaggerCount, String::From(1 + Pick(3)));
        job->Set(p_StaggerStart, String::From(Pick(5)));
        job->Set(p_StaggerMode, String::From(Pick(3)));
    }
    if (Chance(20)) {
        std::vector<UID> const jobs = m_clients.front()->Jobs();
        if (!jobs.empty()) {
            job->Set(p_WaitForJobID, OneOf(jobs).ToString());
            job->Set(p_WaitForWholeJob, Chance(50) ? k_Yes : k_No);
            job->Set(p_WaitForAnyEnd, Chance(30) ? k_Yes : k_No);
        }
    }
    if (Chance(20))
        job->Set(p_OvertimeKill, "2");
    if (Chance(20))
        job->Set(p_FinishDisposition, String::From(static_cast<int>(Pick(3)) - 1));
    Trace("submits " + job->Name());
    return JobMsg::Create(job);
}

boost::shared_ptr<Message> World::JobCommand(UID const& id) {
    auto const parameter = [&](char const* name, String const& value) -> boost::shared_ptr<Message> {
        Trace(String("sets ") + name + " to " + value);
        auto message = JobParameterMsg::New();
        message->job = id;
        message->name = name;
        message->value = value;
        return message;
    };
    auto job = boost::make_shared<Job>(id);
    for (auto const& client : m_clients) {
        if (auto const known = client->FindJob(id))
            job = boost::make_shared<Job>(*known);
    }
    switch (Pick(15)) {
    case 0:
        return parameter(p_Status, "-1");
    case 1:
    case 2:
        return parameter(p_Status, "0");
    case 3:
        return parameter(p_Priority, String::From(Pick(120)));
    case 4:
        return parameter(p_PacketSize, String::From(Pick(8)));
    case 5:
        return parameter(p_Range, Chance(20) ? "1-x" : OneOf<String>({"1-5", "1-30", "3-12x3", "20-40"}));
    case 6:
        return parameter(p_UsageLimit, String::From(static_cast<int>(Pick(7)) - 3));
    case 7:
        return parameter(p_Note, "a note");
    case 8: {
        auto message = DeleteJobMsg::New();
        message->job = id;
        message->immediately = Chance(50);
        Trace("deletes a Job");
        return message;
    }
    case 9: {
        auto message = ResetJobFailuresMsg::New();
        message->job = id;
        return message;
    }
    case 10:
        // Marks it as finished, or takes up again what has finished.
        job->SetStatus(job->IsFinished() ? Queued : UserCanceled);
        Trace("finishes or takes up a Job");
        return JobMsg::Create(job);
    case 11:
        job->Set(p_Range, OneOf<String>({"1-15", "5-25", "30-1"}));
        job->Set(p_Priority, String::From(Pick(100)));
        Trace("edits a Job");
        return JobMsg::Create(job);
    case 12:
        return parameter(p_ExcludeEngines, m_engines[Pick(m_engines.size())]->Id().ToString());
    case 13: {
        auto message = RunAgainMsg::New();
        message->job = id;
        message->frames = OneOf<String>({"", "1-5"});
        Trace("runs failed frames again");
        return message;
    }
    default:
        return parameter(p_CPUs, String::From(Pick(4)));
    }
}

boost::shared_ptr<Message> World::WorkCommand() {
    std::vector<UID> const works = m_clients[Pick(m_clients.size())]->Works();
    if (works.empty())
        return nullptr;
    static constexpr int s_statuses[] = {UserAborted, AdministratorAborted, Unsuccessful, UserCanceled, Failed};
    auto message = StopWorkMsg::New();
    message->work = OneOf(works);
    message->status = s_statuses[Pick(std::size(s_statuses))];
    message->action = static_cast<int>(Pick(3));
    message->reason = "somebody asked for it";
    Trace("stops {" + message->work.ToString() + "}");
    return message;
}

boost::shared_ptr<Message> World::EngineCommand() {
    SimClient const& client = *m_clients[Pick(m_clients.size())];
    std::vector<UID> const engines = client.Engines();
    if (engines.empty())
        return nullptr;
    UID const id = OneOf(engines);
    switch (Pick(8)) {
    case 0: {
        auto message = RemoveEngineMsg::New();
        message->engine = id;
        return message;
    }
    case 1: {
        auto message = ResetEngineFailuresMsg::New();
        message->engine = id;
        return message;
    }
    case 2: {
        auto message = EngineOptionsMsg::New();
        message->AddEngine(id);
        message->product = std::next(m_products.begin(), static_cast<ptrdiff_t>(Pick(m_products.size())))->first;
        message->AddOption(e_Limit, String::From(Pick(3)));
        return message;
    }
    default: {
        auto message = EngineMsg::New();
        message->engine = *client.FindEngine(id);
        message->engine.SetEnabled(Chance(75));
        message->engine.SetPriority(static_cast<signed char>(Pick(100)));
        message->engine.SetForceCores(static_cast<int>(Pick(4)) - 1);
        std::vector<UID> pools;
        for (UID const& pool : m_pools) {
            if (Chance(60))
                pools.push_back(pool);
        }
        message->engine.SetPools(pools);
        return message;
    }
    }
}

boost::shared_ptr<Message> World::OptionCommand() {
    if (Chance(20)) {
        auto message = SetMasterLimitsMsg::New();
        for (auto const& [type, product] : m_products)
            message->limits[type] = static_cast<int>(Pick(9)) - 3;
        return message;
    }
    if (Chance(20)) {
        auto message = PoolMsg::New();
        message->pools[OneOf(m_pools)] = SFormat("pool%d", static_cast<int>(Pick(10)));
        return message;
    }
    auto message = SetMasterOptionsMsg::New();
    message->section = o_Distribution;
    auto const yes = [this] { return Chance(50) ? k_Yes : k_No; };
    for (int left = 3; left > 0; --left) {
        switch (Pick(11)) {
        case 0:
            message->options[o_FIFO] = yes();
            break;
        case 1:
            message->options[o_IgnorePoolPriority] = yes();
            break;
        case 2:
            message->options[o_PackEngine] = yes();
            break;
        case 3:
            message->options[o_AllowFewerCPUs] = yes();
            break;
        case 4:
            message->options[o_OverloadEngine] = yes();
            break;
        case 5:
            message->options[o_AllowDynamicPackSize] = yes();
            break;
        case 6:
            message->options[o_AutoDelete] = String::From(Pick(3));
            break;
        case 7:
            message->options[o_UserLimits] = Chance(50) ? String(".*=" + String::From(Pick(9)) + ";") : String();
            break;
        case 8:
            message->options[o_GlobalStaggerCount] = String::From(Pick(4));
            message->options[o_GlobalStaggerDelay] = String::From(Pick(3));
            break;
        case 9:
            message->options[o_LostWorkTimeout] = String::From(20 + Pick(100));
            break;
        default:
            message->options[o_UseWholeSystem] = Chance(80) ? k_Yes : k_No;
            break;
        }
    }
    return message;
}

} // namespace sim
