// The commands that clients of the simulation give.
#include "sim/world.h"

namespace sim {

using Choice = std::function<boost::shared_ptr<Message>()>;

UID const& World::AnyProduct() { return Nth(m_products, Pick(m_products.size()))->first; }
String World::AnyNumber(uint64_t count, int lowest) { return String::From(static_cast<int>(Pick(count)) + lowest); }
UID const& World::AnyEngine() { return m_engines[Pick(m_engines.size())]->Id(); }

boost::shared_ptr<Message> World::SubmitCommand() {
    auto job = boost::make_shared<Job>(m_random.NextUID());
    job->SetName(SFormat("job%zu", m_submitted++));
    job->SetValues({{p_Type, AnyProduct().ToString()},
                    {p_Range, OneOf<String>({"1-10", "1-40", "1-9,20,30-50x2", "-5-5", "100-1x3,1000", "7",
                                             "1-20x2,2-20x2", "no range", "10-1", "1-200x3"})},
                    {p_PacketSize, AnyNumber(6, 1)},
                    {p_Priority, String::From(Pick(5) * 25)},
                    {p_CPUs, AnyNumber(4)},
                    {p_FailureLimit, AnyNumber(4)}});
    if (Chance(20))
        job->Set(p_UsageLimit, AnyNumber(7, -3));
    if (Chance(25))
        job->Set(p_Pool, OneOf(m_pools).ToString());
    if (Chance(10))
        job->Set(p_IncludeEngines, AnyEngine().ToString());
    if (Chance(10))
        job->SetStatus(Paused);
    if (Chance(15))
        job->SetValues(
            {{p_StaggerCount, AnyNumber(3, 1)}, {p_StaggerStart, AnyNumber(5)}, {p_StaggerMode, AnyNumber(3)}});
    if (Chance(20)) {
        std::vector<UID> const jobs = m_clients.front()->Jobs();
        if (!jobs.empty())
            job->SetValues({{p_WaitForJobID, OneOf(jobs).ToString()},
                            {p_WaitForWholeJob, Chance(50) ? k_Yes : k_No},
                            {p_WaitForAnyEnd, Chance(30) ? k_Yes : k_No}});
    }
    if (Chance(20))
        job->Set(p_OvertimeKill, "2");
    if (Chance(20))
        job->Set(p_FinishDisposition, AnyNumber(3, -1));
    Trace("submits " + job->Name());
    return JobMsg::Create(job);
}

boost::shared_ptr<Message> World::JobCommand(UID const& id) {
    auto const parameter = [&](char const* name, String const& value) {
        Trace(String("sets ") + name + " to " + value);
        return JobParameterMsg::Create(id, name, value);
    };
    auto job = boost::make_shared<Job>(id);
    for (auto const& client : m_clients) {
        if (auto const known = client->FindJob(id))
            job = boost::make_shared<Job>(*known);
    }
    return OneOf<Choice>({
        [&] { return parameter(p_Status, "-1"); },
        [&] { return parameter(p_Status, "0"); },
        [&] { return parameter(p_Status, "0"); },
        [&] { return parameter(p_Priority, AnyNumber(120)); },
        [&] { return parameter(p_PacketSize, AnyNumber(8)); },
        [&] {
            return parameter(p_Range, Chance(20) ? "1-x" : OneOf<String>({"1-5", "1-30", "3-12x3", "20-40"}));
        },
        [&] { return parameter(p_UsageLimit, AnyNumber(7, -3)); },
        [&] { return parameter(p_Note, "a note"); },
        [&] {
            Trace("deletes a Job");
            return DeleteJobMsg::Create(id, Chance(50));
        },
        [&] { return ResetJobFailuresMsg::Create(id); },
        [&] {
            Trace("finishes a Job, or takes up one that has finished");
            job->SetStatus(job->IsFinished() ? Queued : UserCanceled);
            return JobMsg::Create(job);
        },
        [&] {
            Trace("edits a Job");
            job->SetValues({{p_Range, OneOf<String>({"1-15", "5-25", "30-1"})}, {p_Priority, AnyNumber(100)}});
            return JobMsg::Create(job);
        },
        [&] { return parameter(p_ExcludeEngines, AnyEngine().ToString()); },
        [&] {
            Trace("runs failed frames again");
            return RunAgainMsg::Create(id, OneOf<String>({"", "1-5"}));
        },
        [&] { return parameter(p_CPUs, AnyNumber(4)); },
    })();
}

boost::shared_ptr<Message> World::WorkCommand() {
    std::vector<UID> const works = m_clients[Pick(m_clients.size())]->Works();
    if (works.empty())
        return nullptr;
    auto message = StopWorkMsg::New();
    message->work = OneOf(works);
    message->status = OneOf<int>({UserAborted, AdministratorAborted, Unsuccessful, UserCanceled, Failed});
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
    uint64_t const choice = Pick(8);
    if (choice == 0)
        return RemoveEngineMsg::Create(id);
    if (choice == 1)
        return ResetEngineFailuresMsg::Create(id);
    if (choice == 2) {
        UID const product = AnyProduct();
        return EngineOptionsMsg::Create(std::set<UID>{id}, product, OptionMap{{e_Limit, AnyNumber(3)}});
    }
    auto message = EngineMsg::Create(*client.FindEngine(id));
    message->engine.SetEnabled(Chance(75));
    message->engine.SetPriority(static_cast<signed char>(Pick(100)));
    message->engine.SetForceCores(static_cast<int>(Pick(4)) - 1);
    std::vector<UID> pools;
    std::copy_if(m_pools.begin(), m_pools.end(), std::back_inserter(pools), [this](UID const&) { return Chance(60); });
    message->engine.SetPools(pools);
    return message;
}

boost::shared_ptr<Message> World::OptionCommand() {
    if (Chance(20)) {
        auto message = SetMasterLimitsMsg::New();
        for (auto const& [type, product] : m_products)
            message->limits[type] = static_cast<int>(Pick(9)) - 3;
        return message;
    }
    if (Chance(20)) {
        UID const pool = OneOf(m_pools);
        return PoolMsg::Create(std::map<UID, String>{{pool, "pool" + AnyNumber(10)}});
    }
    OptionMap options;
    auto const toss = [&](char const* name) { options[name] = Chance(50) ? k_Yes : k_No; };
    auto const number = [&](char const* name, uint64_t count, int lowest = 0) {
        options[name] = AnyNumber(count, lowest);
    };
    for (int left = 3; left > 0; --left)
        OneOf<std::function<void()>>({
            [&] { toss(o_FIFO); },
            [&] { toss(o_IgnorePoolPriority); },
            [&] { toss(o_PackEngine); },
            [&] { toss(o_AllowFewerCPUs); },
            [&] { toss(o_OverloadEngine); },
            [&] { toss(o_AllowDynamicPackSize); },
            [&] { number(o_AutoDelete, 3); },
            [&] { options[o_UserLimits] = Chance(50) ? ".*=" + AnyNumber(9) + ";" : String(); },
            [&] {
                number(o_GlobalStaggerCount, 4);
                number(o_GlobalStaggerDelay, 3);
            },
            [&] { number(o_LostWorkTimeout, 100, 20); },
            [&] { options[o_UseWholeSystem] = Chance(80) ? k_Yes : k_No; },
        })();
    return SetMasterOptionsMsg::Create(o_Distribution, options);
}

} // namespace sim
