// What may happen in each step, and the quiet end.
#include "sim/world.h"

namespace sim {

void World::Run() {
    for (size_t step = 0; step < m_options.steps && m_fault.Empty(); ++step) {
        Step();
        if (m_fault.Empty() && Pick(400) == 0)
            CompareClients();
    }
    if (m_fault.Empty())
        CompareClients();
    if (m_fault.Empty())
        Quiet();
}

void World::Step() {
    uint64_t const choice = Pick(1000);
    if (choice < 330)
        DeliverUp();
    else if (choice < 530)
        DeliverDown(false);
    else if (choice < 600)
        PullLoads(false);
    else if (choice < 800)
        EngineActs();
    else if (choice < 900)
        Command();
    else if (choice < 960)
        AdvanceClock();
    else if (choice < 990 || !m_options.faults)
        ConnectSomebody();
    else if (choice < 998)
        BreakConnection();
    else if (Chance(50)) {
        Trace("the Master restarts");
        Restart();
    }
}

void World::DeliverUp() {
    if (!m_gone.empty() && Chance(30))
        return NoticeGone();
    // A turn takes what is there from some connections, in each one's order.
    std::vector<Event> events;
    for (auto& [peer, link] : m_links) {
        for (uint64_t left = Chance(40) ? Pick(4) : 0; left > 0 && !link.up.empty(); --left) {
            auto const message = link.up.front();
            link.up.pop_front();
            Trace("up " + String::From(peer) + " " + message->Text());
            events.push_back(PeerMessage{peer, message});
            // Some arrive twice.
            if (m_options.faults && link.engine && Chance(3))
                link.up.push_back(message);
        }
    }
    if (events.empty())
        return;
    Fate fate = Fate::Normal;
    if (m_options.faults && Pick(600) == 0)
        fate = Chance(50) ? Fate::LostBeforeCommit : Fate::LostAfterCommit;
    Turn(events, fate);
}

void World::DeliverDown(bool all) {
    for (auto& [peer, link] : m_links) {
        uint64_t left = all ? link.down.size() : (Chance(50) ? Pick(20) : 0);
        Messages answers;
        for (; left > 0 && !link.down.empty(); --left) {
            MessagePtr const message = link.down.front();
            link.down.pop_front();
            if (link.client)
                link.client->Receive(*message, answers);
            else if (String const fault = link.engine->Receive(*message, EngineNow(), answers); !fault.Empty())
                Fail(fault);
        }
        SendUp(peer, answers);
    }
}

void World::PullLoads(bool all) {
    for (auto& [peer, link] : m_links) {
        if (!link.wantsPull || (!all && Chance(50)))
            continue;
        std::vector<MessagePtr> messages;
        do
            link.wantsPull = m_core->Pull(peer, 300 + Pick(5000), messages);
        while (all && link.wantsPull);
        for (MessagePtr const& message : messages)
            link.down.push_back(OverTheWire(message));
    }
}

void World::EngineActs() {
    for (uint64_t left = 1 + Pick(8); left > 0; --left) {
        SimEngine& engine = *m_engines[Pick(m_engines.size())];
        boost::shared_ptr<Message> message;
        uint64_t const choice = Pick(100);
        if (choice < 40)
            message = engine.Begin(Pick(1000), EngineNow());
        else if (choice < 50)
            message = engine.Progress(Pick(1000), static_cast<int>(Pick(101)));
        else if (choice < 95)
            message = engine.End(Pick(1000), Chance(85) ? Finished : Unsuccessful, EngineNow());
        else
            message = engine.RepeatEnded(Pick(1000));
        if (message)
            SendUp(engine.peer, {message});
    }
}

void World::ConnectSomebody() {
    for (auto const& engine : m_engines) {
        if (engine->peer == 0 && Chance(50))
            return Connect(engine.get(), nullptr);
    }
    for (auto const& client : m_clients) {
        if (client->peer == 0)
            return Connect(nullptr, client.get());
    }
    // Somebody presses Refresh.
    if (Chance(20)) {
        SimClient& client = *OneOf(m_clients);
        SendUp(client.peer, client.Refresh());
    }
}

void World::BreakConnection() {
    if (m_links.empty())
        return;
    auto const at = Nth(m_links, Pick(m_links.size()));
    SimEngine* const engine = at->second.engine;
    Drop(at->first);
    if (engine && Chance(40)) {
        Trace(engine->Name() + " crashes");
        engine->Crash(Chance(50), EngineNow());
    }
}

void World::AdvanceClock() {
    auto left = static_cast<int64_t>(Pick(OneOf<uint64_t>({10, 200, 1000, 1000, 5000, 30'000, 130'000}) + 1));
    // Somebody sets the clock of the Master.
    if (m_options.faults && Pick(40) == 0) {
        Time const jump = SomeSkew();
        Trace("the clock jumps by " + jump.FormatSpan());
        m_now.wall += jump;
    }
    // Engines that live say so; now and then one is silent for too long.
    int64_t const beat = m_options.faults && Pick(200) == 0 ? 100'000 : 20'000;
    while (left > 0 && m_fault.Empty()) {
        int64_t const part = std::min(left, beat);
        left -= part;
        Pass(Time(part));
        std::vector<Event> events;
        for (auto const& engine : m_engines) {
            if (engine->peer != 0 && part <= 20'000)
                events.push_back(PeerMessage{engine->peer, HeartbeatMsg::New()});
        }
        events.push_back(Tick{});
        Turn(events);
    }
}

void World::SendCommand(boost::shared_ptr<Message> const& message) { SendUp(OneOf(m_clients)->peer, {message}); }

void World::Command() {
    SimClient& client = *OneOf(m_clients);
    if (client.peer == 0)
        return;
    std::vector<UID> const jobs = client.Jobs();
    uint64_t const choice = Pick(100);
    if (choice < 25 || jobs.empty()) {
        if (jobs.size() < 40)
            SendCommand(SubmitCommand());
    } else if (choice < 60)
        SendCommand(JobCommand(OneOf(jobs)));
    else if (choice < 75)
        SendCommand(WorkCommand());
    else if (choice < 85)
        SendCommand(EngineCommand());
    else if (choice < 92)
        SendCommand(OptionCommand());
    else
        SendUp(client.peer, {client.AskHistory(OneOf(jobs))});
}

// No more commands and faults: all Jobs come to their end.
void World::Quiet() {
    Trace("quiet");
    m_fault.clear();
    Settle();
    SimClient& client = *m_clients.front();
    Messages commands{SetMasterOptionsMsg::Create(o_Distribution, OptionMap{{o_GlobalStaggerCount, "0"},
                                                                            {o_UserLimits, ""},
                                                                            {o_AllowFewerCPUs, k_Yes},
                                                                            {o_UseWholeSystem, k_Yes},
                                                                            {o_MaxTotalJobFailures, "0"},
                                                                            {o_MaxJobFailures, "0"},
                                                                            {o_MaxTypeFailures, "0"},
                                                                            {o_PriorityZeroIsPaused, k_No}}),
                      SetMasterLimitsMsg::New()};
    for (UID const& id : client.Engines()) {
        auto message = EngineMsg::Create(*client.FindEngine(id));
        message->engine.SetEnabled(true);
        message->engine.SetPools(m_pools);
        commands.push_back(message);
        for (auto const& [type, product] : m_products)
            commands.push_back(EngineOptionsMsg::Create(std::set<UID>{id}, type));
    }
    Rows<char const*, char const*> const values = {
        {p_Status, "0"}, {p_IncludeEngines, ""}, {p_ExcludeEngines, ""}, {p_WaitForJobID, ""}, {p_StaggerStart, "0"}};
    for (UID const& id : client.Jobs()) {
        for (auto const& [name, value] : values)
            commands.push_back(JobParameterMsg::Create(id, name, value));
    }
    SendUp(client.peer, commands);
    for (int round = 0; round < 2000 && m_fault.Empty(); ++round) {
        Settle();
        auto const& jobs = m_core->State().jobs;
        if (std::all_of(jobs.begin(), jobs.end(), [](auto const& job) { return job.second->settings.IsFinished(); }))
            break;
        for (auto const& engine : m_engines) {
            while (auto message = engine->Begin(0, EngineNow()))
                SendUp(engine->peer, {message});
            Settle();
            Pass(Time(500));
            while (auto message = engine->End(0, Finished, EngineNow()))
                SendUp(engine->peer, {message});
        }
        AdvanceClock();
    }
    for (auto const& [number, job] : m_core->State().jobs) {
        if (!job->settings.IsFinished() && m_fault.Empty())
            Fail("the Job " + job->job->Name() +
                 " never finishes: " + OptionsToString(job->job->Values(), OptionsToStringMode::OneLine));
    }
}

} // namespace sim
