#pragma once

// A small farm around a Core, for the tests of its decisions.

#include "domain.h"

#include "master/core/audit.h"
#include "master/core/core.h"

namespace farm {

// One client that follows everything, and Engines by name. Committing and sending are
// left out: what the Core wants sent is looked at.
class CoreFarm {
public:
    using Values = std::vector<std::pair<char const*, String>>;

    CoreFarm() {
        for (ProductClass const productClass :
             {ProductClass::Sequence, ProductClass::Single, ProductClass::OncePerEngine}) {
            auto product = Product::CreateDefault(productClass);
            product->SetType(UID::FromName(Product::ClassName(productClass)));
            m_config.products.push_back(product);
        }
        core = std::make_unique<Core>(m_config);
        core->RestoreDone(now);
        client = Connect(net::PeerKind::Client);
        Follow(client);
    }

    static UID TypeOf(ProductClass productClass) { return UID::FromName(Product::ClassName(productClass)); }

    PeerId Connect(net::PeerKind kind, UID const& instance = {}) {
        auto who = boost::make_shared<net::PeerInfo>();
        who->kind = kind;
        who->instance = instance;
        who->machineName = "test";
        Handle(PeerConnected{++m_lastPeer, who});
        return m_lastPeer;
    }

    void Handle(Event const& event) {
        effects.clear();
        core->Handle(now, event, effects);
        for (Effect const& effect : effects) {
            if (auto const* const record = std::get_if<Record>(&effect))
                Keep(*record);
        }
        for (String const& fault : Audit(core->State()))
            ADD_FAILURE() << fault;
    }
    void Send(PeerId peer, boost::shared_ptr<Message> const& message) { Handle(PeerMessage{peer, message}); }
    void Follow(PeerId peer) {
        auto message = NotifyOnEventMsg::New();
        message->AddAll();
        Send(peer, message);
    }
    void Pass(Time span) {
        now += span;
        Handle(Tick{});
    }

    // A new Core with what was stored.
    void Restart(std::map<uint64_t, String> const& setApart = {}) {
        m_config.setApart = setApart;
        core = std::make_unique<Core>(m_config);
        for (auto const& [key, record] : m_rows)
            core->Apply(record);
        core->RestoreDone(now);
    }

    // Connects an Engine, or one that was there before with what it runs now.
    UID AddEngine(String const& name, unsigned cores, std::vector<RunState> running = {},
                  std::vector<WorkEnded> ended = {}, UID const& instance = {}, Time const& clock = {}) {
        auto message = RegisterEngineMsg::New();
        message->engine.id = UID::FromName(name);
        message->engine.SetName(name);
        message->engine.SetMaxCores(cores);
        message->running = std::move(running);
        message->ended = std::move(ended);
        message->clock = clock;
        PeerId const peer = Connect(net::PeerKind::Engine, instance);
        engines[name] = peer;
        Send(peer, message);
        return message->engine.id;
    }

    void ChangeEngine(String const& name, std::function<void(Engine&)> const& change) {
        auto message = EngineMsg::New();
        message->engine = *FindEngine(name).engine;
        change(message->engine);
        Send(client, message);
    }

    UID Submit(String const& name, Values const& values, ProductClass productClass = ProductClass::Sequence) {
        auto job = boost::make_shared<Job>(UID::FromName(name));
        job->Set(p_Type, TypeOf(productClass).ToString());
        job->SetName(name);
        job->Set(p_Range, "1-10");
        for (auto const& [key, value] : values)
            job->Set(key, value);
        Send(client, JobMsg::Create(job));
        return job->id;
    }

    void SetOptions(char const* section, Values const& values) {
        auto message = SetMasterOptionsMsg::New();
        message->section = section;
        for (auto const& [key, value] : values)
            message->options[key] = value;
        Send(client, message);
    }
    void SetParameter(UID const& job, char const* name, String const& value) {
        auto message = JobParameterMsg::New();
        message->job = job;
        message->name = name;
        message->value = value;
        Send(client, message);
    }

    // The active units of an Engine as "Job:frames", in the order in which they were given.
    String UnitsOn(String const& name) const {
        String text;
        for (auto const& [number, run] : core->State().runs) {
            if (run->job && run->engine->engine->Name() == name)
                text += (text.Empty() ? "" : " ") + run->job->job->Name() + ":" + run->subRange;
        }
        return text;
    }

    Run const* FindUnit(String const& subRange, String const& job = {}) const {
        for (auto const& [number, run] : core->State().runs) {
            if (run->job && run->subRange == subRange && (job.Empty() || run->job->job->Name() == job))
                return run.get();
        }
        return nullptr;
    }

    void Begin(Run const* run) {
        auto message = WorkBegunMsg::New();
        message->work = run->work;
        message->time = now.wall;
        Send(run->engine->peer, message);
    }
    void End(Run const* run, int status = Finished, String const& note = "ended") {
        Report(run->engine->engine->Name(), {run->work, run->job->id, status, note, now.wall, 0});
    }
    // What an Engine says of work that may be known or not.
    void Report(String const& engine, WorkEnded const& ended) {
        auto message = WorkEndedMsg::New();
        message->ended = ended;
        Send(engines[engine], message);
    }
    void Delete(PeerId peer, UID const& job, bool immediately) {
        auto message = DeleteJobMsg::New();
        message->job = job;
        message->immediately = immediately;
        Send(peer, message);
    }
    void RunAgain(UID const& job, String const& frames) {
        auto message = RunAgainMsg::New();
        message->job = job;
        message->frames = frames;
        Send(client, message);
    }
    void Stop(Run const* run, int status, StopAction action) {
        auto message = StopWorkMsg::New();
        message->work = run->work;
        message->status = status;
        message->action = static_cast<int>(action);
        message->reason = "asked for";
        Send(client, message);
    }

    JobEntry const* FindJob(UID const& id) const {
        auto const at = core->State().jobsById.find(id);
        return at == core->State().jobsById.end() ? nullptr : at->second;
    }
    EngineEntry const& FindEngine(String const& name) const {
        return *core->State().enginesById.at(UID::FromName(name));
    }
    int StatusOf(UID const& job) const { return FindJob(job)->job->Status(); }

    // The messages of a kind that the last event sent to a peer, or to anybody for 0.
    template <class T>
    std::vector<boost::shared_ptr<T const>> Sent(PeerId peer = 0) const {
        std::vector<boost::shared_ptr<T const>> found;
        for (Effect const& effect : effects) {
            MessagePtr message;
            if (auto const* const send = std::get_if<SendTo>(&effect); send && (peer == 0 || send->peer == peer))
                message = send->message;
            else if (auto const* const all = std::get_if<SendAll>(&effect))
                message = all->message;
            if (message && message->Type() == T::s_Type)
                found.push_back(boost::static_pointer_cast<T const>(message));
        }
        return found;
    }

    std::unique_ptr<Core> core;
    Moment now{Time::FromUnixMs(1'800'000'000'000), Steady(Time::Hours(1))};
    PeerId client = 0;
    std::map<String, PeerId> engines;
    std::vector<Effect> effects; // of the last event

    void Keep(Record const& record) {
        int const kind = static_cast<int>(record.kind);
        if (record.op == Record::Op::Put)
            m_rows[{kind, record.number}] = record;
        else if (record.op == Record::Op::Erase)
            m_rows.erase({kind, record.number});
        else
            std::erase_if(m_rows,
                          [&](auto const& row) { return row.first.first == kind && row.second.job == record.job; });
    }

private:
    CoreConfig m_config;
    std::map<std::pair<int, uint64_t>, Record> m_rows;
    PeerId m_lastPeer = 0;
};

} // namespace farm
