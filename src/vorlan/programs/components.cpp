#include <vorlan/components.h>

#include <corekit/commonmutex.h>
#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/filelock.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <corekit/stringtokenizer.h>
#include <corekit/uniquefd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <poll.h>
#include <sys/syscall.h>
#include <thread>
#include <vector>

namespace vorlan {

namespace {

constexpr char const* k_Names[k_ComponentCount] = {"VorlanMaster", "VorlanEngine", "VorlanGui",
                                                   "Brakka",       "Merrow",       "Panvale"};

// The console file of a program is begun anew above this size.
constexpr int64_t k_MaxConsoleBytes = 1 << 20;
// Between two looks at a program that is to end.
constexpr int k_ProcessLookMs = 20;
// For the system to take a killed process away.
constexpr int k_AfterKillMs = 3'000;

using Clock = std::chrono::steady_clock;

// The programs that this process started. Never destroyed: a Process ends its child
// with itself, and some are meant to live on.
class Table {
public:
    CommonMutex guard;
    CommonCondition stopped;
    std::map<String, std::unique_ptr<Process>> started CK_GUARDED_BY(guard);
    std::map<String, std::optional<String>> stopping CK_GUARDED_BY(guard); // arguments: start it again
    size_t threads CK_GUARDED_BY(guard) = 0;

    static Table& Get() {
        static Table* const s_table = new Table;
        return *s_table;
    }
};

UniqueFd OpenConsole(String const& program) {
    Path const path = Components::Folder(program) / "Console.log";
    int const again = File::Size(path) > k_MaxConsoleBytes ? O_TRUNC : 0;
    return UniqueFd(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | again, corekit::k_LogMode));
}

std::vector<String> Words(String const& arguments) {
    std::vector<String> words;
    StringTokenizer tokenizer(arguments, " \t");
    String word;
    while (tokenizer.NextPlain(word))
        words.push_back(word);
    return words;
}

std::unique_ptr<Process> Spawn(String const& program, String const& arguments) {
    Path const path = File::s_AppDir / program;
    if (!path.Exists()) {
        LogError("Cannot start " + program + ": there is no " + path + ". Install it beside this program.");
        return nullptr;
    }
    try {
        File::MakeFolder(Components::Folder(program));
    } catch (FileException const& exception) {
        LogError("Cannot start " + program + ": " + exception.what());
        return nullptr;
    }
    UniqueFd const console = OpenConsole(program);
    ProcessOptions options;
    options.args = Words(arguments);
    options.group = ProcessGroup::Session;
    options.stdoutFd = options.stderrFd = console ? console.Get() : ProcessOptions::k_Null;
    String error;
    std::unique_ptr<Process> process = Process::Start(path, options, &error);
    if (process)
        LogInfo(SFormat("Started %s, process %d", program.c_str(), static_cast<int>(process->Pid())));
    else
        LogError("Cannot start " + program + ": " + error);
    return process;
}

// Asks a program that another process started to end, and sees that it does.
class Stranger {
public:
    explicit Stranger(String const& program) : m_program(program), m_lock(Components::LockFile(program)) {}

    // False when it could not be ended.
    bool End(int graceMs) {
        auto const until = Clock::now() + std::chrono::milliseconds(graceMs);
        for (int process = 0; FileLock::IsHeld(m_lock, nullptr, &process);) {
            if (process <= 1)
                return Failed("its lock file does not name its process");
            // The handle stays that of this process even when its number is given away.
            UniqueFd const handle(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
            int const failure = errno;
            int again = 0;
            if (!FileLock::IsHeld(m_lock, nullptr, &again))
                return true;
            if (again == process && handle) {
                if (!EndProcess(handle.Get(), graceMs))
                    return false;
                continue;
            }
            if (again == process && failure != ESRCH)
                return Failed(std::strerror(failure));
            // Another one has just taken its place, or a dying child still holds the file.
            if (Clock::now() > until)
                return Failed("its lock file is held by a process that it does not name");
            std::this_thread::sleep_for(std::chrono::milliseconds(k_ProcessLookMs));
        }
        return true;
    }

private:
    bool EndProcess(int handle, int graceMs) {
        if (!Signal(handle, SIGTERM))
            return Failed(std::strerror(errno));
        if (Gone(handle, graceMs))
            return true;
        LogWarning(m_program + " did not end when asked to, and is killed");
        Signal(handle, SIGKILL);
        return Gone(handle, k_AfterKillMs) || Failed("it does not end");
    }
    static bool Signal(int handle, int signal) {
        return ::syscall(SYS_pidfd_send_signal, handle, signal, nullptr, 0) == 0 || errno == ESRCH;
    }
    static bool Gone(int handle, int waitMs) {
        pollfd wait{handle, POLLIN, 0};
        auto const until = Clock::now() + std::chrono::milliseconds(waitMs);
        for (;;) {
            auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
            int const ready = ::poll(&wait, 1, static_cast<int>(std::max<int64_t>(0, left)));
            if (ready > 0)
                return true;
            if (ready == 0)
                return false;
        }
    }
    bool Failed(String const& reason) {
        LogError("Cannot stop " + m_program + ": " + reason + ". End it on this machine by hand.");
        return false;
    }

    String const m_program;
    Path const m_lock;
};

bool EndOwn(Process& process, String const& program, int graceMs) {
    // Asks the program alone: its children are its own business until it is killed.
    ::kill(process.Pid(), SIGTERM);
    auto const until = Clock::now() + std::chrono::milliseconds(graceMs);
    while (process.Running() && Clock::now() < until)
        process.Wait(k_ProcessLookMs);
    if (!process.Running())
        return true;
    LogWarning(program + " did not end when asked to, and is killed");
    process.Kill();
    process.Wait(k_AfterKillMs);
    return !process.Running();
}

} // namespace

char const* Components::GetName(int component) {
    return component >= 0 && component < k_ComponentCount ? k_Names[component] : "";
}

Path Components::Folder(String const& program) { return File::GetMachineDir() / program; }

Path Components::LockFile(String const& program) { return Folder(program) / (program + ".lock"); }

Path Components::LockFile(int component) { return LockFile(GetName(component)); }

Process* Components::Start(int component, String const& arguments) {
    if (component == k_ComponentGui || !*GetName(component)) {
        LogError(SFormat("There is no component %d to start", component));
        return nullptr;
    }
    return Start(GetName(component), true, arguments);
}

Process* Components::Start(String const& program, bool onlyOne, String const& arguments) {
    Table& table = Table::Get();
    CommonMutex::Lock lock(table.guard);
    if (auto const ending = table.stopping.find(program); ending != table.stopping.end()) {
        ending->second = arguments;
        return nullptr;
    }
    // The look and the start are one step, so that two threads do not start it twice.
    std::unique_ptr<Process>& own = table.started[program];
    String holder;
    if (onlyOne && ((own && own->Running()) || FileLock::IsHeld(LockFile(program), &holder))) {
        lock.unlock();
        LogDebug(program + " runs already");
        return nullptr;
    }
    std::unique_ptr<Process> former = std::exchange(own, Spawn(program, arguments));
    Process* const process = own.get();
    lock.unlock();
    // One of several: it lives on by itself.
    if (former)
        former->Detach();
    return process;
}

// Ends the program that is marked as stopping, and takes the mark away.
static bool EndMarked(String const& program, int graceMs) {
    Table& table = Table::Get();
    std::unique_ptr<Process> own;
    {
        CommonMutex::Lock const lock(table.guard);
        own = std::move(table.started[program]);
        table.started.erase(program);
    }
    bool ended = true;
    try {
        if (own && own->Running())
            ended = EndOwn(*own, program, graceMs);
        own.reset();
        ended = Stranger(program).End(graceMs) && ended;
    } catch (Exception const& exception) {
        LogError("Cannot stop " + program + ": " + exception.what());
        ended = false;
    }
    std::optional<String> again;
    {
        CommonMutex::Lock const lock(table.guard);
        again = table.stopping[program];
        table.stopping.erase(program);
    }
    table.stopped.notify_all();
    if (again)
        Components::Start(program, true, *again);
    return ended;
}

bool Components::StopAndWait(String const& program, int graceMs) {
    Table& table = Table::Get();
    {
        CommonMutex::Lock lock(table.guard);
        table.stopped.wait(lock, [&]() CK_REQUIRES(table.guard) { return !table.stopping.contains(program); });
        table.stopping[program];
    }
    return EndMarked(program, graceMs);
}

bool Components::StopAndWait(int component, int graceMs) {
    return *GetName(component) && StopAndWait(String(GetName(component)), graceMs);
}

void Components::Stop(int component) {
    if (component != k_ComponentGui && *GetName(component))
        Stop(String(GetName(component)));
}

void Components::Stop(String const& program) {
    if (!IsRunning(program))
        return;
    Table& table = Table::Get();
    {
        CommonMutex::Lock const lock(table.guard);
        if (auto const ending = table.stopping.find(program); ending != table.stopping.end()) {
            ending->second.reset();
            return;
        }
        table.stopping[program];
        ++table.threads;
    }
    std::thread([program, &table] {
        EndMarked(program, k_GraceMs);
        {
            CommonMutex::Lock const lock(table.guard);
            --table.threads;
        }
        table.stopped.notify_all();
    }).detach();
}

void Components::WaitForStops() {
    Table& table = Table::Get();
    CommonMutex::Lock lock(table.guard);
    table.stopped.wait(lock, [&]() CK_REQUIRES(table.guard) { return table.threads == 0; });
}

bool Components::DidStart(int component) {
    Table& table = Table::Get();
    CommonMutex::Lock const lock(table.guard);
    auto const found = table.started.find(GetName(component));
    return found != table.started.end() && found->second && found->second->Running();
}

bool Components::IsRunning(String const& program) {
    {
        Table& table = Table::Get();
        CommonMutex::Lock const lock(table.guard);
        auto const found = table.started.find(program);
        if ((found != table.started.end() && found->second && found->second->Running()) ||
            table.stopping.contains(program))
            return true;
    }
    return FileLock::IsHeld(LockFile(program));
}

bool Components::IsRunning(int component) { return *GetName(component) && IsRunning(String(GetName(component))); }

struct ComponentLock::Held {
    std::unique_ptr<FileLock> lock;
};

ComponentLock::ComponentLock(std::unique_ptr<Held> held) : m_held(std::move(held)) {}

ComponentLock::~ComponentLock() = default;

std::unique_ptr<ComponentLock> ComponentLock::TakeLock(int component, String* holder) {
    return TakeLock(String(Components::GetName(component)), holder);
}

std::unique_ptr<ComponentLock> ComponentLock::TakeLock(String const& program, String* holder) {
    File::MakeFolder(Components::Folder(program));
    auto held = std::make_unique<Held>();
    held->lock = FileLock::TryTake(Components::LockFile(program), program, holder);
    if (!held->lock)
        return nullptr;
    return std::unique_ptr<ComponentLock>(new ComponentLock(std::move(held)));
}

} // namespace vorlan
