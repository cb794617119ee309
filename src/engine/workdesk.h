#pragma once

// All work of this Engine: takes units, runs them, reports what became of them.

#include "engine/asidethreads.h"
#include "engine/engineclock.h"
#include "engine/historyreporter.h"
#include "engine/recentids.h"
#include "engine/report/messagesink.h"
#include "engine/report/outputservice.h"
#include "engine/report/resultjournal.h"
#include "engine/sidecommands.h"
#include "engine/unit.h"
#include "engine/workusers.h"

#include <vorlan/messages_engines.h>
#include <vorlan/messages_farm.h>
#include <vorlan/messages_master.h>
#include <vorlan/messages_requests.h>

#include <deque>
#include <functional>
#include <map>
#include <set>
#include <vector>

namespace vorlan {

// What a WorkDesk works with. All of it outlives the desk.
struct DeskSetup {
    UID engine;
    String host; // this Engine's name
    Path folder; // of the journal, the output and the Jobs' own folders
    EngineClock const* clock = nullptr;
    Runner* runner = nullptr;
    OutputFolder* output = nullptr;
    WorkUsers users;
    // Runs a function on another thread, since it may have to wait for a disk far away, and
    // what that gives back on the desk's own.
    std::function<void(AsideThreads::Work)> aside;
    // The Engine's record as it is now.
    std::function<Engine()> describe;
};

// Owns all units of the Engine. Owned by the Engine's main part.
//
// One thread: messages, what the Runner says and the tick all come on it. EndTurn must
// follow each batch of calls: it writes the journal, then the output, then sends. A unit
// is taken once and reported once; its result is kept until the Master acknowledges it,
// across a lost connection and across a crash of the Engine. Stage by stage:
// commands before, checks, process, checks of its files, commands after, report.
class WorkDesk : public Runner::Listener {
public:
    explicit WorkDesk(DeskSetup setup);
    ~WorkDesk() override;

    // There is a Master: tells it all that it must know first. Null: it is gone, and
    // everything goes on without it.
    void SetMaster(SinkPtr master);

    void OnRunWork(RunWorkMsg const& message);
    void OnEndWork(EndWorkMsg const& message);
    void OnAcknowledged(WorkEndedAckMsg const& message);
    void OnSettings(EngineSettingsMsg const& message);
    void OnTranslations(PathTranslationsMsg const& message) { m_translations = message.translations; }
    void OnJobCommand(RunJobCommandMsg const& message);
    void OnJobGone(JobGoneMsg const& message);
    void OnExecute(ExecuteCommandMsg const& message);

    void OnRunStarted(UID const& work, int pid) override;
    void OnRunOutput(UID const& work, std::string_view bytes) override;
    void OnRunEnded(UID const& work, RunEnd const& end) override;

    // Tells progress that has waited for its time.
    void Tick();
    // When a Tick is due, as EngineClock::SteadyMs; ProgressThrottle::k_Never for none.
    int64_t NextTickMs() const;
    void EndTurn();

    // Stops all units, for the end of the program. They are reported as Lost.
    void StopAll(String const& reason);
    RunOutput OutputOf(UID const& work) const;
    // Deletes the folders of Jobs that nobody has used since, and what an earlier Engine
    // has left of those it deleted.
    void CleanFolders(Time before);
    size_t UnitCount() const { return m_units.size(); }
    bool Idle() const { return m_units.empty() && m_side.Running() == 0; }

    HistoryReporter& History() { return m_history; }
    SideCommands& Side() { return m_side; }
    boost::shared_ptr<CommonEngine const> Settings() const { return m_settings; }

private:
    static constexpr int k_StopGraceMs = 5000;
    // An event command may take so long; while one holds a unit up, the Master is told every
    // so often that it is not late.
    static constexpr int64_t k_CommandLimitMs = 3'600'000;
    static constexpr int64_t k_PreparingMs = 10'000;
    static constexpr size_t k_KnownJobs = 5000;
    // A run that has been silent for so long gets its log all the same.
    static constexpr Time k_SilentTime = Time::Seconds(2);

    // A unit's way, in this order; unitsteps.cpp.
    void AcceptWork(boost::shared_ptr<Job> const& work, OptionMap const& options);
    void CallPathsAsHere(Job& work) const;
    void Plan(Unit& unit);
    void AddCommands(Unit& unit, char const* eventName);
    std::vector<SideCommand> SideCommandsFor(char const* eventName, Job const& work, Product const* product,
                                             OptionMap const& extra, Path const& folder);
    String ChooseUser(Job const& work, OptionMap const& options, RunSpec& spec) const;
    void Step(Unit& unit);
    void RunCommand(Unit& unit, EventCommand const& command);
    void CheckSurroundings(Unit& unit);
    void OnChecked(UID const& work, String const& error);
    void JudgeFiles(Unit& unit, RunEnd const& end);
    void OnJudged(UID const& work, RunEnd const& end, String const& missingFile);
    void EndCommand(Unit& unit, RunEnd const& end);
    void Report(Unit& unit, Verdict const& verdict);
    void OweFinishedCommands(Unit const& unit, Verdict const& verdict);

    void Fail(Unit& unit, String const& note);
    Unit* Find(UID const& work);
    void Send(boost::shared_ptr<Message const> message) { m_outbox.push_back(std::move(message)); }
    void SendResult(WorkEnded const& ended);
    void TakeFound(Unit& unit, OutputScanner::Found const& found);
    void TellProgress(Unit& unit, int64_t now);
    void TellPreparing(Unit& unit, int64_t now);
    Path JobFolder(UID const& job);
    void RemoveFolder(Path const& folder);
    bool IsBusyWith(UID const& job) const;
    void CleanUpBehind(UID const& job);
    void RunOwed(OwedCommand const& owed);
    void OnSettled(SideCommand const& command);
    bool IsKnownJob(Job const& work);
    String NameOf(Unit const& unit) const;

    DeskSetup const m_setup;
    SinkPtr m_master;
    boost::shared_ptr<CommonEngine const> m_settings;
    PathNames m_translations;
    ResultJournal m_journal;
    HistoryReporter m_history;
    SideCommands m_side;
    std::map<UID, Unit> m_units;
    std::vector<boost::shared_ptr<Message const>> m_outbox;
    std::map<UID, boost::shared_ptr<Job>> m_jobs; // one unit of each Job that was worked on
    std::deque<UID> m_jobOrder;
    std::set<UID> m_goneJobs; // that something here still needs the folder of
    RecentIds m_settled;      // acknowledged runs, so that a late order does not run them again
    RecentIds m_silent;       // those that left no log
};

} // namespace vorlan
