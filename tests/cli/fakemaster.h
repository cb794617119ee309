#pragma once

// A Master in memory, for the commands to talk to.

#include "domain.h"

#include "cli/app.h"
#include "cli/exitcode.h"

#include <vorlan/jobtemplate.h>

namespace vorlan::cli {

// Answers as the real one does: in order, what it refuses before what comes next.
class FakeMaster {
public:
    // What it holds; a test fills it.
    std::map<UID, boost::shared_ptr<Job>> jobs;
    std::map<UID, JobHistory> histories;
    std::vector<Engine> engines;
    Rows<boost::shared_ptr<Job>, UID> units;    // and the Engine of each
    std::map<UID, String> refuses;              // ids of Jobs, null for new ones, and why
    std::map<UID, std::vector<String>> outputs; // pieces, by work
    std::function<void()> onCommand;            // after each
    std::vector<FailureItem> failures;
    std::map<UID, String> pools;
    // What happens one after the other while a command waits.
    std::deque<std::function<void(FakeMaster&)>> later;

    // What came in, loads left out.
    std::vector<boost::shared_ptr<Message const>> commands;
    int connections = 0;
    std::string input; // what a command reads
    FarmKey key;
    bool isThere = true;

    // A message with these first fields.
    template <class T, class... Values>
    T& Tell(Values const&... values) {
        auto message = T::New();
        if constexpr (sizeof...(values) > 0)
            message = T::Create(values...);
        m_queue.push_back(message);
        return *message;
    }
    void Drop() { m_dropped = true; }

    template <class T>
    std::vector<boost::shared_ptr<T const>> Got() const {
        std::vector<boost::shared_ptr<T const>> got;
        for (auto const& message : commands) {
            if (message->Type() == T::s_Type)
                got.push_back(boost::static_pointer_cast<T const>(message));
        }
        return got;
    }

    boost::shared_ptr<Job> AddJob(String const& name, int status = Queued, String const& range = "1-10") {
        auto job = boost::make_shared<Job>(UID(true));
        job->SetName(name);
        job->Set(p_Type, CommandProduct()->Type().ToString());
        job->Set(p_Range, range);
        job->SetStatus(status);
        job->SetCreated(Time::CurrentTime() + Time(static_cast<int64_t>(jobs.size())));
        jobs[job->id] = job;
        return job;
    }

    UID AddUnit(UID const& job, UID const& engine, String const& subRange) {
        auto work = boost::make_shared<Job>(UID(true));
        work->parentID = job;
        work->Set(p_SubRange, subRange);
        units.push_back({work, engine});
        return work->id;
    }

    UID AddEngine(String const& name) {
        Engine engine{UID(true)};
        engine.SetName(name);
        engine.SetOnline(true);
        engine.SetMaxCores(8);
        engines.push_back(engine);
        return engine.id;
    }

    void TellFinished(boost::shared_ptr<Job> const& job, int status) {
        auto ended = boost::make_shared<Job>(*job);
        ended->SetStatus(status);
        jobs[job->id] = ended;
        Tell<FinishedJobMsg>(ended);
    }

    static boost::shared_ptr<Product> ShippedProduct(char const* file) {
        return SLoadProductFile(Path(vorlan::k_SourceDir) / "products" / file);
    }
    static boost::shared_ptr<Product> CommandProduct() {
        static auto const s_product = ShippedProduct("command.json");
        return s_product;
    }

    struct Result {
        int code;
        std::string out;
        std::string err;
    };
    // Runs a command line as a person would type it behind the program's name.
    Result Run(String const& line) {
        std::vector<std::string> arguments;
        for (String const& word : SplitCommandLine(line))
            arguments.push_back(word.Str());
        std::ostringstream out;
        std::ostringstream err;
        std::istringstream in(input);
        Terminal terminal(out, err, in);
        int const code = Run(arguments, terminal);
        return {code, out.str(), err.str()};
    }
    int Run(std::vector<std::string> const& arguments, Terminal& terminal) {
        return RunCommandLine(arguments, terminal, [this](LinkRequest const& request) { return Connect(request.key); });
    }

private:
    class Link final : public MasterLink {
    public:
        explicit Link(FakeMaster& master) : m_master(master) {}
        void Send(boost::shared_ptr<Message const> const& message) override { m_master.Handle(message); }
        boost::shared_ptr<Message> Receive(Clock::time_point deadline) override { return m_master.Next(deadline); }

    private:
        FakeMaster& m_master;
    };

    std::unique_ptr<MasterLink> Connect(FarmKey const& proof) {
        if (!isThere || !(proof.IsNull() || proof == key))
            throw CommandException(ExitCode::NoMaster, "No Master can be reached (tried nowhere:1)");
        ++connections;
        m_queue.clear();
        m_dropped = false;
        for (char const* file : {"command.json", "povray.json"})
            Tell<ProductMsg>(ProductToText(*ShippedProduct(file)));
        Tell<LoadedMsg>();
        return std::make_unique<Link>(*this);
    }

    boost::shared_ptr<Message> Next(Clock::time_point deadline) {
        while (m_queue.empty() && !m_dropped && !later.empty()) {
            auto const step = later.front();
            later.pop_front();
            step(*this);
        }
        if (!m_queue.empty()) {
            auto message = m_queue.front();
            m_queue.pop_front();
            return message;
        }
        if (m_dropped)
            throw CommandException(ExitCode::NoMaster, "The connection to the Master has ended: test");
        std::this_thread::sleep_until(std::min(deadline, Clock::now() + std::chrono::milliseconds(20)));
        return nullptr;
    }

    void Handle(boost::shared_ptr<Message const> const& message) {
        if (m_dropped)
            return;
        if (message->Type() == GetJobInfoMsg::s_Type)
            return SendJobs(static_cast<GetJobInfoMsg const&>(*message));
        if (message->Type() == GetEngineInfoMsg::s_Type)
            return SendEngines();
        if (message->Type() == GetPoolsMsg::s_Type)
            return static_cast<void>(Tell<PoolMsg>(pools));
        if (message->Type() == GetFailureArchiveMsg::s_Type)
            return static_cast<void>(Tell<FailureArchiveMsg>(failures));
        if (message->Type() == ReportJobStatusMsg::s_Type || message->Type() == WatchJobDispatchMsg::s_Type)
            return static_cast<void>(Tell<DispatchResultMsg>("no Engine is online"));
        commands.push_back(message);
        if (message->Type() == JobMsg::s_Type)
            Submit(static_cast<JobMsg const&>(*message).job);
        else if (message->Type() == JobParameterMsg::s_Type)
            Refuses(static_cast<JobParameterMsg const&>(*message).job);
        else if (message->Type() == GetOutputMsg::s_Type)
            SendOutput(static_cast<GetOutputMsg const&>(*message));
        if (onCommand)
            onCommand();
    }

    void Submit(boost::shared_ptr<Job> const& job) {
        if (!Refuses(UID::Null, job->id))
            jobs[job->id] = boost::make_shared<Job>(*job);
    }

    bool Refuses(UID const& id) { return Refuses(id, id); }
    bool Refuses(UID const& id, UID const& told) {
        auto const at = refuses.find(id);
        if (at == refuses.end())
            return false;
        Tell<RefusedMsg>(told, at->second);
        return true;
    }

    void SendJobs(GetJobInfoMsg const& request) {
        Tell<StartJobInfoMsg>();
        for (auto const& [id, job] : jobs) {
            if (!request.all && !request.ids.contains(id))
                continue;
            if (request.wantJob)
                Tell<JobMsg>(boost::make_shared<Job>(*job));
            if (request.wantHistory)
                Tell<JobHistoryMsg>(id, histories[id]);
        }
        for (auto const& [work, engine] : units) {
            if (request.wantJob && (request.all || request.ids.contains(work->parentID)))
                Tell<StartedWorkMsg>(work, engine);
        }
        Tell<EndJobInfoMsg>();
    }

    void SendEngines() {
        Tell<StartEngineInfoMsg>();
        for (Engine const& engine : engines)
            Tell<EngineMsg>(engine);
        Tell<EndEngineInfoMsg>();
    }

    void SendOutput(GetOutputMsg const& request) {
        auto const at = outputs.find(request.work);
        bool const found = at != outputs.end();
        for (String const& piece : found ? at->second : std::vector<String>())
            Tell<OutputDataMsg>(request.request, 0, piece);
        Tell<OutputDataMsg>(request.request, 0, "", true, found ? "" : "The output is not there any more.");
    }

    std::deque<boost::shared_ptr<Message>> m_queue;
    bool m_dropped = false;
};

// A result with that code, with that text among what is said of failures, and that output.
inline testing::Matcher<FakeMaster::Result const&> Ends(int code, std::string const& says = "",
                                                        testing::Matcher<std::string const&> const& out = testing::_) {
    using Result = FakeMaster::Result;
    return testing::AllOf(testing::Field("code", &Result::code, code),
                          testing::Field("err", &Result::err, testing::HasSubstr(says)),
                          testing::Field("out", &Result::out, out));
}

} // namespace vorlan::cli
