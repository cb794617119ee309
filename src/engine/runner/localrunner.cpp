#include "engine/runner/localrunner.h"

#include "engine/runner/leftovers.h"
#include "engine/runner/runnerhelper.h"

#include <corekit/exception.h>
#include <corekit/log.h>
#include <corekit/sformat.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

extern char** environ;

namespace vorlan {

using runner::Frame;
using runner::FrameKind;

namespace {

constexpr uint64_t k_WakeTag = 1;
constexpr uint64_t k_HelperTag = 2;
constexpr int k_EndAgainMs = 5;
constexpr std::chrono::seconds k_EndPatience{10}; // then it is told what does not end
constexpr int k_HelperRetryMs = 500;
constexpr int k_HelperEndMs = 8000;
constexpr size_t k_Reserve = 64;
// How long output is waited for after the end: somebody else may hold the pipe.
constexpr std::chrono::milliseconds k_OutputGrace{300};
// Read from one unit at a time, so that a loud one does not starve the others.
constexpr size_t k_ReadBytes = 65536;
constexpr int k_ReadsAtOnce = 4;

} // namespace

LocalRunner::LocalRunner(Path program, UID const& machine, Listener& listener, std::function<void()> onClean)
    : Thread("Runner"),
      m_program(std::move(program)),
      m_machine(machine),
      m_listener(listener),
      m_onClean(std::move(onClean)),
      m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_poll(epoll_create1(EPOLL_CLOEXEC)),
      m_group(machine) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    FillReserve();
    Watch(m_wake.Get(), k_WakeTag, EPOLLIN);
    Thread::Start();
}

LocalRunner::~LocalRunner() {
    Thread::Stop();
    m_socket.Reset();
    WaitForHelper();
    m_group.Kill();
    m_group.Remove();
}

// It ends every unit before itself; but a thread of it may hang in a share.
void LocalRunner::WaitForHelper() {
    int const pid = m_helperPid;
    if (pid <= 0)
        return;
    UniqueFd const process(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    pollfd waited{process.Get(), POLLIN, 0};
    if (!process || poll(&waited, 1, k_HelperEndMs) == 0) {
        LogWarning("The runner's helper does not end. It is left behind.");
        kill(pid, SIGKILL);
    }
    waitpid(pid, nullptr, WNOHANG);
}

void LocalRunner::Start(RunSpec const& spec) {
    Frame frame;
    frame.kind = FrameKind::Start;
    frame.work = spec.work;
    frame.spec = spec;
    {
        CommonMutex::Lock const lock(m_guard);
        m_commands.push_back(std::move(frame));
    }
    eventfd_write(m_wake.Get(), 1);
}

void LocalRunner::Stop(UID const& work, int graceMs) {
    Frame frame;
    frame.kind = FrameKind::Stop;
    frame.work = work;
    frame.graceMs = graceMs;
    {
        CommonMutex::Lock const lock(m_guard);
        m_commands.push_back(std::move(frame));
    }
    eventfd_write(m_wake.Get(), 1);
}

void LocalRunner::OnStopSignaled() { eventfd_write(m_wake.Get(), 1); }

void LocalRunner::Watch(int descriptor, uint64_t tag, uint32_t events) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = tag;
    if (epoll_ctl(m_poll.Get(), EPOLL_CTL_ADD, descriptor, &event) != 0)
        epoll_ctl(m_poll.Get(), EPOLL_CTL_MOD, descriptor, &event);
}

bool LocalRunner::Execute() {
    if (!m_clean && !EndRest()) {
        Sleep(k_EndAgainMs);
        return true;
    }
    if (!m_socket && !StartHelper()) {
        Sleep(k_HelperRetryMs);
        return true;
    }
    epoll_event events[64];
    int const count = epoll_wait(m_poll.Get(), events, 64, WaitMs());
    for (int i = 0; i < count; ++i) {
        uint64_t const tag = events[i].data.u64;
        if (tag == k_WakeTag) {
            eventfd_t ignored = 0;
            eventfd_read(m_wake.Get(), &ignored);
        } else if (tag == k_HelperTag) {
            ReadHelper();
        } else if (auto const unit = m_tags.find(tag); unit != m_tags.end()) {
            ReadOutput(UID(unit->second));
        }
    }
    TakeCommands();
    FinishOverdue();
    Flush();
    return true;
}

bool LocalRunner::StartHelper() {
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
        LogError(SFormat("The runner cannot start its helper: %s.", std::strerror(errno)));
        return false;
    }
    UniqueFd mine(pair[0]);
    UniqueFd theirs(pair[1]);
    fcntl(mine.Get(), F_SETFL, O_NONBLOCK);

    String const file = m_program.Text();
    String const machine = m_machine.ToString();
    std::string texts[] = {"VorlanEngine", "--runner", machine.Str()};
    char* arguments[] = {texts[0].data(), texts[1].data(), texts[2].data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, theirs.Get(), runner::k_HelperSocket);
    posix_spawn_file_actions_addclosefrom_np(&actions, runner::k_HelperSocket + 1);
    pid_t pid = 0;
    int const error = posix_spawn(&pid, file.c_str(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        LogError(SFormat("The runner's helper \"%s\" cannot be started: %s. No work can run until it can.",
                         file.c_str(), std::strerror(error)));
        return false;
    }
    m_group.Take(pid);
    m_helperPid = pid;
    m_socket = std::move(mine);
    Watch(m_socket.Get(), k_HelperTag, EPOLLIN);
    return true;
}

void LocalRunner::LoseHelper() {
    m_lostHelper = m_helperPid.exchange(0);
    m_socket.Reset();
    kill(m_lostHelper, SIGKILL);
    m_in.clear();
    m_out.clear();
    m_clean = false;
    m_dirtySince = Clock::now();
    LogError(SFormat("The runner's helper ended unexpectedly; its %zu units are ended with it.", m_units.size()));
}

// Ends what an earlier Engine or helper has left: what stands in its control group, what
// carries the mark, and what the helper's end made children of this program. True when
// nothing is left.
bool LocalRunner::EndRest() {
    std::vector<pid_t> rest = runner::MarkedProcesses(runner::MarkPrefix(m_machine));
    if (m_lostHelper > 0) {
        auto const left = runner::ChildrenOfAllThreads();
        rest.insert(rest.end(), left.begin(), left.end());
    }
    m_group.Kill();
    for (pid_t const pid : rest) {
        kill(pid, SIGKILL);
        if (m_lostHelper > 0)
            waitpid(pid, nullptr, WNOHANG);
    }
    if (!rest.empty() || !m_group.IsEmpty()) {
        if (Clock::now() - m_dirtySince > k_EndPatience) {
            m_dirtySince = Clock::now();
            LogError(SFormat("Processes of earlier work do not end, such as number %d. No work can run until they do.",
                             rest.empty() ? 0 : rest.front()));
        }
        return false;
    }
    m_clean = true;
    m_lostHelper = 0;
    FinishLost();
    if (auto const onClean = std::exchange(m_onClean, {}))
        onClean();
    return true;
}

void LocalRunner::FinishLost() {
    std::vector<UID> works;
    for (auto& [work, unit] : m_units) {
        if (!unit.ended) {
            unit.ended = true;
            unit.end = RunEnd{RunEnd::Kind::Lost, 0, "The process that starts work on this machine was ended."};
        }
        works.push_back(work);
    }
    for (UID const& work : works) {
        DrainOutput(work, m_units[work]);
        FinishUnit(work);
    }
}

bool LocalRunner::MakePipe(int (&ends)[2]) {
    while (pipe2(ends, O_CLOEXEC) != 0) {
        if ((errno != EMFILE && errno != ENFILE) || m_reserve.empty())
            return false;
        m_reserve.pop_back();
    }
    return true;
}

void LocalRunner::FillReserve() {
    while (m_reserve.size() < k_Reserve) {
        UniqueFd one(open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (!one)
            return;
        m_reserve.push_back(std::move(one));
    }
}

void LocalRunner::TakeCommands() {
    std::deque<Frame> commands;
    {
        CommonMutex::Lock const lock(m_guard);
        commands.swap(m_commands);
    }
    for (Frame& command : commands) {
        if (command.kind == FrameKind::Start)
            BeginUnit(std::move(command));
        else
            runner::AppendFrame(command, m_out.emplace_back().bytes);
    }
}

void LocalRunner::BeginUnit(Frame frame) {
    Unit& unit = m_units[frame.work];
    Packet packet;
    runner::AppendFrame(frame, packet.bytes);
    if (packet.bytes.size() > runner::k_FrameLimit) {
        unit.end = RunEnd{RunEnd::Kind::NotStarted, 0,
                          SFormat("Its command line and variables have %zu bytes; at most %zu can be passed.",
                                  packet.bytes.size(), runner::k_FrameLimit)};
        unit.ended = true;
        FinishUnit(frame.work);
        return;
    }
    int ends[2];
    if (!MakePipe(ends)) {
        unit.end = RunEnd{RunEnd::Kind::Lost, 0, SFormat("No pipe for its output: %s.", std::strerror(errno))};
        unit.ended = true;
        FinishUnit(frame.work);
        return;
    }
    unit.output.Reset(ends[0]);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    uint64_t const tag = m_nextTag++;
    m_tags[tag] = frame.work;
    Watch(ends[0], tag, EPOLLIN);
    packet.descriptor.Reset(ends[1]);
    m_out.push_back(std::move(packet));
}

void LocalRunner::Flush() {
    while (m_socket && !m_out.empty()) {
        Packet& packet = m_out.front();
        iovec part{packet.bytes.data(), packet.bytes.size()};
        msghdr header{};
        header.msg_iov = &part;
        header.msg_iovlen = 1;
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
        if (packet.descriptor) {
            header.msg_control = control;
            header.msg_controllen = sizeof control;
            cmsghdr* const rights = CMSG_FIRSTHDR(&header);
            rights->cmsg_level = SOL_SOCKET;
            rights->cmsg_type = SCM_RIGHTS;
            rights->cmsg_len = CMSG_LEN(sizeof(int));
            int const descriptor = packet.descriptor.Get();
            std::memcpy(CMSG_DATA(rights), &descriptor, sizeof descriptor);
        }
        ssize_t const count = sendmsg(m_socket.Get(), &header, MSG_NOSIGNAL);
        if (count < 0) {
            bool const full = errno == EAGAIN || errno == EINTR;
            if (full)
                Watch(m_socket.Get(), k_HelperTag, EPOLLIN | EPOLLOUT);
            return; // a helper that is gone shows itself when it is read
        }
        packet.descriptor.Reset();
        packet.bytes.erase(0, static_cast<size_t>(count));
        if (packet.bytes.empty())
            m_out.pop_front();
        if (m_out.empty())
            Watch(m_socket.Get(), k_HelperTag, EPOLLIN);
    }
}

void LocalRunner::ReadHelper() {
    char buffer[k_ReadBytes];
    for (;;) {
        ssize_t const count = recv(m_socket.Get(), buffer, sizeof buffer, 0);
        if (count > 0) {
            m_in.append(buffer, static_cast<size_t>(count));
            continue;
        }
        if (count < 0 && errno == EINTR)
            continue;
        if (count == 0 || errno != EAGAIN) {
            LoseHelper();
            return;
        }
        break;
    }
    size_t from = 0;
    try {
        while (auto const frame = runner::TakeFrame(m_in, from))
            HandleFrame(*frame);
    } catch (Exception const& error) {
        LogError(error.Message());
        LoseHelper();
        return;
    }
    m_in.erase(0, from);
}

void LocalRunner::HandleFrame(Frame const& frame) {
    auto const unit = m_units.find(frame.work);
    if (unit == m_units.end())
        return;
    if (frame.kind == FrameKind::Started) {
        m_listener.OnRunStarted(frame.work, frame.pid);
    } else if (frame.kind == FrameKind::Ended) {
        unit->second.ended = true;
        unit->second.end = frame.end;
        unit->second.closeAt = Clock::now() + k_OutputGrace;
        ReadOutput(frame.work);
    }
}

void LocalRunner::ReadOutput(UID const& work) {
    auto const unit = m_units.find(work);
    if (unit == m_units.end())
        return;
    if (DrainOutput(work, unit->second)) {
        unit->second.output.Reset();
        if (unit->second.ended)
            FinishUnit(work);
    }
}

// Tells the listener what is there to read. True at the end of the output.
bool LocalRunner::DrainOutput(UID const& work, Unit& unit) {
    char buffer[k_ReadBytes];
    for (int reads = 0; unit.output && (reads < k_ReadsAtOnce || unit.ended); ++reads) {
        ssize_t const count = read(unit.output.Get(), buffer, sizeof buffer);
        if (count > 0)
            m_listener.OnRunOutput(work, std::string_view(buffer, static_cast<size_t>(count)));
        else if (count < 0 && errno == EAGAIN)
            return false;
        else if (count == 0 || errno != EINTR)
            return true;
    }
    return !unit.output;
}

void LocalRunner::FinishUnit(UID const& work) {
    auto unit = m_units.extract(work);
    std::erase_if(m_tags, [&](auto const& entry) { return entry.second == work; });
    if (unit.empty())
        return;
    unit.mapped().output.Reset();
    FillReserve();
    m_listener.OnRunEnded(work, unit.mapped().end);
}

void LocalRunner::FinishOverdue() {
    auto const now = Clock::now();
    std::vector<UID> overdue;
    for (auto const& [work, unit] : m_units) {
        if (unit.closeAt <= now)
            overdue.push_back(work);
    }
    for (UID const& work : overdue) {
        DrainOutput(work, m_units[work]);
        FinishUnit(work);
    }
}

int LocalRunner::WaitMs() const {
    auto next = Clock::time_point::max();
    for (auto const& [work, unit] : m_units)
        next = std::min(next, unit.closeAt);
    if (next == Clock::time_point::max())
        return 1000;
    auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(next - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left + 1, 0, 1000));
}

} // namespace vorlan
