#include <corekit/application.h>

#include <corekit/exception.h>
#include <corekit/log.h>
#include <corekit/platform.h>
#include <corekit/thread.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace corekit {

Application* Application::the_Application = nullptr;

namespace {

constexpr int k_FailureCode = 1;
constexpr int k_StopSignals[] = {SIGTERM, SIGINT, SIGHUP};

// The pipe from the handler to the thread; constant once the handler is set.
int s_stopPipe[2] = {-1, -1};

void OnStopSignal(int signal) {
    int saved = errno;
    auto number = static_cast<unsigned char>(signal);
    [[maybe_unused]] ssize_t written = ::write(s_stopPipe[1], &number, 1);
    errno = saved;
}

// Calls the program's stop function, away from the handler. Lives for ever.
class StopThread : public Thread {
public:
    explicit StopThread(std::function<void()> onStop) : Thread("Stop signals"), m_onStop(std::move(onStop)) {}

protected:
    bool Execute() override {
        unsigned char number = 0;
        ssize_t bytes = ::read(s_stopPipe[0], &number, 1);
        if (bytes <= 0)
            return bytes < 0 && errno == EINTR;
        LogSystem(String("Asked to stop by signal ") + String::From(int{number}));
        m_onStop();
        return true;
    }

private:
    std::function<void()> const m_onStop;
};

} // namespace

Application::Application() { the_Application = this; }

Application::~Application() {
    if (the_Application == this)
        the_Application = nullptr;
}

bool Application::Startup(CommandLine&) { return true; }
int Application::Execute() { return 0; }
void Application::Cleanup() {}
void Application::OnStatistics() {}

bool Application::OnException(Exception* exception) {
    String const text = exception ? "The program met an error that it cannot go on from: " + exception->Message()
                                  : String("The program met an error of an unknown kind that it cannot go on from");
    LogError(text);
    // Whoever started it looks at the terminal, not for a log. Without one it stands there already.
    if (!Log::FileName().Empty() && !Log::IsConsole())
        std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, text.c_str());
    return true;
}

void Application::SetLogDir(Path const& folder) { Log::Open(folder, program_invocation_short_name); }

int Application::Run(CommandLine& commandLine) {
    auto guarded = [this](auto&& step) {
        try {
            return step();
        } catch (Exception& exception) {
            OnException(&exception);
        } catch (std::exception const& other) {
            Exception exception{String(other.what())};
            OnException(&exception);
        } catch (...) {
            OnException(nullptr);
        }
        return k_FailureCode;
    };
    int code = guarded([&] { return Startup(commandLine) ? Execute() : k_FailureCode; });
    int cleanupCode = guarded([&] {
        Cleanup();
        return 0;
    });
    return code != 0 ? code : cleanupCode;
}

String Application::GetMachineName() { return Platform::GetComputerNameA(); }

void Application::InstallStopSignals(std::function<void()> onStop) {
    ::signal(SIGPIPE, SIG_IGN);
    if (s_stopPipe[0] >= 0 || ::pipe2(s_stopPipe, O_CLOEXEC) != 0)
        return;
    // The handler must never wait, not even for a pipe full of signals.
    ::fcntl(s_stopPipe[1], F_SETFL, O_NONBLOCK);
    static StopThread* s_thread = new StopThread(std::move(onStop));
    s_thread->Start();
    for (int signal : k_StopSignals) {
        struct sigaction action {};
        action.sa_handler = &OnStopSignal;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        ::sigaction(signal, &action, nullptr);
    }
}

} // namespace corekit
