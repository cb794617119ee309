#include "engine/runner/runnerhelper.h"

#include "engine/runner/leftovers.h"
#include "engine/runner/runnerprotocol.h"
#include "engine/runner/spawnpool.h"

#include <corekit/exception.h>
#include <corekit/uniquefd.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

namespace vorlan::runner {

namespace {

using Clock = std::chrono::steady_clock;

// How long units have to end by themselves when the Engine is gone.
constexpr int k_OrphanGraceMs = 200;
constexpr int k_SweepMs = 5000;
// A process that cannot be killed yet waits for a disk or a device.
constexpr int k_KillAgainMs = 1000;
constexpr int k_KillWaitMs = 100;

class Helper {
public:
    explicit Helper(UID const& machine) : m_machine(machine) {}
    void Run();

private:
    struct Unit {
        pid_t pid = 0;             // 0: it is being started
        std::optional<int> stopMs; // it is to be stopped as soon as it is there
        Clock::time_point killAt = Clock::time_point::max();
        std::optional<Frame> ended; // its process has, while others of its group still have time
    };

    bool ReadFrames();
    void TakeDescriptors(msghdr const& header);
    void Handle(Frame const& frame);
    void StartUnit(Frame const& frame);
    void TakeStarted();
    void StopUnit(Unit& unit, int graceMs);
    void CollectChildren();
    void Collect(siginfo_t const& info);
    void FinishUnit(UID const& work, Frame const& ended);
    void FinishStopped();
    static bool IsStray(pid_t pid);
    void EndStrays();
    bool BelongsToRunningUnit(pid_t pid) const;
    void KillOverdue();
    int PollTimeoutMs() const;
    void Flush();
    void Report(Frame const& frame) { AppendFrame(frame, m_out); }
    void EndEverything();

    UID const m_machine;
    std::optional<SpawnPool> m_pool; // its threads begin when the signals are set up
    UniqueFd m_childSignals;
    std::string m_in;
    std::string m_out;
    std::deque<UniqueFd> m_outputs; // write ends that came, in the order of their Start frames
    std::map<UID, Unit> m_units;
    std::unordered_map<pid_t, UID> m_byPid;
};

void Helper::Run() {
    prctl(PR_SET_NAME, "vorlan-runner");
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    setsid();
    for (int const ignored : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
        signal(ignored, SIG_IGN);
    sigset_t childSignal;
    sigemptyset(&childSignal);
    sigaddset(&childSignal, SIGCHLD);
    sigprocmask(SIG_BLOCK, &childSignal, nullptr);
    m_childSignals.Reset(signalfd(-1, &childSignal, SFD_CLOEXEC | SFD_NONBLOCK));
    fcntl(k_HelperSocket, F_SETFL, fcntl(k_HelperSocket, F_GETFL) | O_NONBLOCK);
    fcntl(k_HelperSocket, F_SETFD, FD_CLOEXEC);

    m_pool.emplace();

    for (bool open = true; open;) {
        pollfd waited[3] = {
            {k_HelperSocket, static_cast<short>(POLLIN | (m_out.empty() ? 0 : POLLOUT)), 0},
            {m_childSignals.Get(), POLLIN, 0},
            {m_pool->Descriptor(), POLLIN, 0},
        };
        int const tendMs = m_pool->Tend();
        int const waitMs = PollTimeoutMs();
        poll(waited, 3, tendMs < 0 ? waitMs : waitMs < 0 ? tendMs : std::min(waitMs, tendMs));
        bool const started = (waited[2].revents & POLLIN) != 0;
        if (started)
            TakeStarted();
        if (started || (waited[1].revents & POLLIN)) {
            signalfd_siginfo info;
            while (read(m_childSignals.Get(), &info, sizeof info) > 0) {
            }
            CollectChildren();
        }
        if (waited[0].revents & (POLLIN | POLLHUP | POLLERR))
            open = ReadFrames();
        KillOverdue();
        Flush();
    }
    EndEverything();
}

bool Helper::ReadFrames() {
    char buffer[65536];
    alignas(cmsghdr) char control[CMSG_SPACE(64 * sizeof(int))];
    for (;;) {
        iovec part{buffer, sizeof buffer};
        msghdr header{};
        header.msg_iov = &part;
        header.msg_iovlen = 1;
        header.msg_control = control;
        header.msg_controllen = sizeof control;
        ssize_t const count = recvmsg(k_HelperSocket, &header, MSG_CMSG_CLOEXEC);
        if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR))
            return false;
        if (count < 0)
            break;
        TakeDescriptors(header);
        m_in.append(buffer, static_cast<size_t>(count));
    }
    size_t from = 0;
    try {
        while (auto frame = TakeFrame(m_in, from))
            Handle(*frame);
    } catch (Exception const&) {
        return false;
    }
    m_in.erase(0, from);
    return true;
}

void Helper::TakeDescriptors(msghdr const& header) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr;
         part = CMSG_NXTHDR(const_cast<msghdr*>(&header), part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS)
            continue;
        size_t const count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t i = 0; i < count; ++i) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof descriptor, sizeof descriptor);
            m_outputs.emplace_back(descriptor);
        }
    }
}

void Helper::Handle(Frame const& frame) {
    switch (frame.kind) {
    case FrameKind::Start:
        StartUnit(frame);
        break;
    case FrameKind::Stop:
        if (auto const unit = m_units.find(frame.work); unit != m_units.end())
            StopUnit(unit->second, frame.graceMs);
        break;
    case FrameKind::Started:
    case FrameKind::Ended:
        break;
    }
}

void Helper::StartUnit(Frame const& frame) {
    UniqueFd output;
    if (!m_outputs.empty()) {
        output = std::move(m_outputs.front());
        m_outputs.pop_front();
    }
    m_units[frame.work] = Unit();
    m_pool->Start(frame.spec, MarkOf(m_machine, frame.work), std::move(output));
}

void Helper::TakeStarted() {
    for (SpawnPool::Done const& done : m_pool->TakeDone()) {
        Frame answer;
        answer.work = done.work;
        if (done.result.pid <= 0) {
            answer.kind = FrameKind::Ended;
            answer.end = done.result.failure;
            FinishUnit(done.work, answer);
            continue;
        }
        answer.kind = FrameKind::Started;
        answer.pid = done.result.pid;
        Report(answer);
        Unit& unit = m_units[done.work];
        unit.pid = done.result.pid;
        m_byPid[unit.pid] = done.work;
        if (unit.stopMs)
            StopUnit(unit, *unit.stopMs);
    }
}

void Helper::StopUnit(Unit& unit, int graceMs) {
    if (unit.pid == 0)
        unit.stopMs = graceMs;
    else
        kill(-unit.pid, SIGTERM);
    unit.killAt = std::min(unit.killAt, Clock::now() + std::chrono::milliseconds(graceMs));
}

void Helper::CollectChildren() {
    for (;;) {
        // Looked at before it is collected, so that its number is still its own.
        siginfo_t info{};
        if (waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid == 0)
            break;
        if (!m_byPid.contains(info.si_pid) && m_pool->InFlight() > 0 && !IsStray(info.si_pid)) {
            break; // a unit that was quicker than the word of its start, which comes next
        }
        Collect(info);
    }
    FinishStopped();
    EndStrays();
}

void Helper::Collect(siginfo_t const& info) {
    auto const known = m_byPid.find(info.si_pid);
    if (known == m_byPid.end()) {
        waitpid(info.si_pid, nullptr, 0);
        return;
    }
    Frame ended;
    ended.kind = FrameKind::Ended;
    ended.work = known->second;
    ended.end.kind = info.si_code == CLD_EXITED ? RunEnd::Kind::Exited : RunEnd::Kind::Signaled;
    ended.end.code = info.si_status;
    m_byPid.erase(known);
    Unit& unit = m_units[ended.work];
    bool const stopping = unit.killAt != Clock::time_point::max();
    if (!stopping) {
        kill(-unit.pid, SIGKILL); // what its group left behind ends with it
    }
    waitpid(info.si_pid, nullptr, 0);
    if (stopping && kill(-unit.pid, 0) == 0) {
        unit.ended = ended; // a group that was asked to end has its grace, each process of it
        return;
    }
    FinishUnit(ended.work, ended);
}

void Helper::FinishUnit(UID const& work, Frame const& ended) {
    Report(ended);
    m_units.erase(UID(work));
}

// Units that were stopped and whose last process of the group has ended now.
void Helper::FinishStopped() {
    std::vector<Frame> gone;
    for (auto const& [work, unit] : m_units) {
        if (unit.ended && kill(-unit.pid, 0) != 0)
            gone.push_back(*unit.ended);
    }
    for (Frame const& ended : gone)
        FinishUnit(ended.work, ended);
}

bool Helper::IsStray(pid_t pid) {
    auto const children = ChildrenOfThread(getpid());
    return std::find(children.begin(), children.end(), pid) != children.end();
}

// Children of this thread, which starts none, were left behind by a unit and came to
// their reaper. Those whose unit has ended end too.
void Helper::EndStrays() {
    for (pid_t const pid : ChildrenOfThread(getpid())) {
        if (!BelongsToRunningUnit(pid))
            kill(pid, SIGKILL);
    }
}

// One without a mark may be anybody's: it stays as long as any unit runs.
bool Helper::BelongsToRunningUnit(pid_t pid) const {
    if (m_units.empty())
        return false;
    std::optional<UID> const work = MarkedWork(pid, m_machine);
    return !work || m_units.contains(*work);
}

void Helper::KillOverdue() {
    auto const now = Clock::now();
    std::vector<UID> unstarted;
    for (auto& [work, unit] : m_units) {
        if (unit.killAt > now)
            continue;
        unit.killAt = now + std::chrono::milliseconds(k_KillAgainMs);
        if (unit.pid == 0) {
            if (m_pool->Kill(work, [this](pid_t pid) { return m_byPid.contains(pid); }))
                unstarted.push_back(work);
            continue;
        }
        kill(-unit.pid, SIGKILL);
        EndMarkedProcesses(MarkOf(m_machine, work), k_KillWaitMs);
    }
    for (UID const& work : unstarted) {
        Frame ended;
        ended.kind = FrameKind::Ended;
        ended.work = work;
        ended.end = {RunEnd::Kind::NotStarted, 0, "It was stopped before it could start."};
        FinishUnit(work, ended);
    }
    FinishStopped();
}

int Helper::PollTimeoutMs() const {
    auto next = Clock::time_point::max();
    for (auto const& [work, unit] : m_units)
        next = std::min(next, unit.killAt);
    if (next == Clock::time_point::max())
        return -1;
    auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(next - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left + 1, 0, 60000));
}

void Helper::Flush() {
    while (!m_out.empty()) {
        ssize_t const count = send(k_HelperSocket, m_out.data(), m_out.size(), MSG_NOSIGNAL);
        if (count <= 0)
            break;
        m_out.erase(0, static_cast<size_t>(count));
    }
}

void Helper::EndEverything() {
    m_pool->Abandon([this](pid_t pid) { return m_byPid.contains(pid); });
    TakeStarted();
    for (auto const& [pid, work] : m_byPid)
        kill(-pid, SIGTERM);
    auto const until = Clock::now() + std::chrono::milliseconds(k_OrphanGraceMs);
    while (!m_byPid.empty() && Clock::now() < until) {
        pollfd waited{m_childSignals.Get(), POLLIN, 0};
        poll(&waited, 1, 10);
        signalfd_siginfo info;
        while (read(m_childSignals.Get(), &info, sizeof info) > 0) {
        }
        TakeStarted();
        CollectChildren();
    }
    for (auto const& [pid, work] : m_byPid)
        kill(-pid, SIGKILL);
    m_units.clear(); // from here on every child is a stray, with or without a mark
    m_byPid.clear();
    auto const giveUp = Clock::now() + std::chrono::milliseconds(k_SweepMs);
    pid_t collected = 0;
    do {
        for (pid_t const pid : ChildrenOfAllThreads())
            kill(pid, SIGKILL);
        for (pid_t const pid : MarkedProcesses(MarkPrefix(m_machine)))
            kill(pid, SIGKILL);
        do {
            collected = waitpid(-1, nullptr, WNOHANG);
        } while (collected > 0);
    } while (collected == 0 && Clock::now() < giveUp && poll(nullptr, 0, 2) == 0);
}

} // namespace

void HelperMain(UID const& machine) {
    Helper helper(machine);
    helper.Run();
    _exit(0); // a thread may hang in a share
}

} // namespace vorlan::runner
