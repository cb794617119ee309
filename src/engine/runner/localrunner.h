#pragma once

// The runner that starts processes on this machine, through the helper process.

#include "engine/runner/runner.h"
#include "engine/runner/runnerprotocol.h"
#include "engine/runner/unitgroup.h"

#include <corekit/commonmutex.h>
#include <corekit/thread.h>
#include <corekit/uniquefd.h>

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace vorlan {

// Starts units through `VorlanEngine --runner`, reads their output, and starts the
// helper anew when it dies.
//
// Owned by the Engine; `listener` must outlive it. Start and Stop from any thread.
// All work is done, and the listener called, on the runner's own thread. Every unit
// that was started gets its end reported once, also when the helper dies, and then not
// before everything of it has ended; when the runner itself is destroyed the helper ends
// all units, and nothing is reported. The program becomes the parent of what the helper
// leaves behind: whatever it starts besides must be ended by itself by then.
class LocalRunner final : public Runner, private Thread {
public:
    // `program` is the file of VorlanEngine itself, `machine` the id that marks its
    // units' processes. Leftovers with that mark, of an Engine that was killed, are
    // ended before anything starts; then `onClean` is called, on the runner's thread.
    LocalRunner(Path program, UID const& machine, Listener& listener, std::function<void()> onClean = {});
    ~LocalRunner() override;

    void Start(RunSpec const& spec) override;
    void Stop(UID const& work, int graceMs) override;

    // The process id of the helper, 0 while there is none. For tests and the log.
    int HelperPid() const { return m_helperPid; }

private:
    using Clock = std::chrono::steady_clock;

    struct Unit {
        UniqueFd output;
        bool ended = false;
        RunEnd end;
        Clock::time_point closeAt = Clock::time_point::max();
    };

    struct Packet {
        std::string bytes;
        UniqueFd descriptor;
    };

    bool Execute() override;
    void OnStopSignaled() override;

    bool StartHelper();
    void LoseHelper();
    bool EndRest();
    void FinishLost();
    bool MakePipe(int (&ends)[2]);
    void FillReserve();
    void WaitForHelper();
    void TakeCommands();
    void BeginUnit(runner::Frame frame);
    void Flush();
    void ReadHelper();
    void HandleFrame(runner::Frame const& frame);
    void ReadOutput(UID const& work);
    bool DrainOutput(UID const& work, Unit& unit);
    void FinishUnit(UID const& work);
    void FinishOverdue();
    void Watch(int descriptor, uint64_t tag, uint32_t events);
    int WaitMs() const;

    // Constant after construction.
    Path const m_program;
    UID const m_machine;
    Listener& m_listener;
    std::function<void()> m_onClean;
    UniqueFd m_wake;
    UniqueFd m_poll;

    CommonMutex m_guard;
    std::deque<runner::Frame> m_commands CK_GUARDED_BY(m_guard);

    // The runner's thread only.
    UniqueFd m_socket;
    std::string m_in;
    std::deque<Packet> m_out;
    std::map<UID, Unit> m_units;
    std::map<uint64_t, UID> m_tags; // what the numbers given to the poll mean
    uint64_t m_nextTag = 16;
    bool m_clean = false; // nothing of an earlier Engine or helper is left
    Clock::time_point m_dirtySince = Clock::now();
    pid_t m_lostHelper = 0;
    runner::UnitGroup m_group;
    std::vector<UniqueFd> m_reserve; // given up for units when the program has no other descriptor

    std::atomic<int> m_helperPid{0};
};

} // namespace vorlan
