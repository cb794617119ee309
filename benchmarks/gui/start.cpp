// How long VorlanGui takes from its start to its first painted window, its Engine and
// Master included, against a program that shows an empty wxWidgets window.

#include "bench.h"
#include "farmprocess.h"
#include "testpaths.h"

#include <poll.h>
#include <wx/app.h>
#include <wx/frame.h>
#include <wx/settings.h>

#include <X11/extensions/Xdamage.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

// Xlib's macros of these names are in the way of the domain's own.
#undef None
#undef Status

using namespace bench;

namespace {

constexpr size_t k_Runs = 7;
constexpr int k_WindowMs = 60'000;
constexpr char k_EmptyWindow[] = "--empty-window";

class EmptyApp : public wxApp {
public:
    bool OnInit() override {
        wxSize const size(wxSystemSettings::GetMetric(wxSYS_SCREEN_X) * 2 / 3,
                          wxSystemSettings::GetMetric(wxSYS_SCREEN_Y) * 2 / 3);
        (new wxFrame(nullptr, wxID_ANY, "Empty", wxPoint(0, 0), size))->Show();
        return true;
    }
};

// Sees from outside when a program's window has been painted.
class Screen {
public:
    Screen() : m_display(XOpenDisplay(nullptr)) {
        int firstError = 0;
        if (!m_display || !XDamageQueryExtension(m_display, &m_firstEvent, &firstError))
            throw FarmFailure("There is no X display with the DAMAGE extension.");
        // A window may be gone when it is asked about.
        XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
        m_pidAtom = XInternAtom(m_display, "_NET_WM_PID", False);
        XSelectInput(m_display, DefaultRootWindow(m_display), SubstructureNotifyMask);
        XSync(m_display, False);
    }
    ~Screen() { XCloseDisplay(m_display); }
    Screen(Screen const&) = delete;
    Screen& operator=(Screen const&) = delete;

    // Forgets what happened so far.
    void Clear() {
        XSync(m_display, True);
        m_damaged.clear();
    }

    // False when the program shows nothing in time.
    bool WaitForPaint(pid_t program, int timeoutMs) {
        auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        while (std::chrono::steady_clock::now() < until) {
            TakeEvents();
            for (Window const window : m_damaged) {
                if (IsPainted(window, program))
                    return true;
            }
            pollfd connection{ConnectionNumber(m_display), POLLIN, 0};
            ::poll(&connection, 1, k_LookMs);
        }
        return false;
    }

private:
    static constexpr int k_LookMs = 2;
    static constexpr int k_Smallest = 200; // pixels; toolkits make small windows of their own, too

    void TakeEvents() {
        while (XPending(m_display) > 0) {
            XEvent event;
            XNextEvent(m_display, &event);
            if (event.type == CreateNotify) {
                XDamageCreate(m_display, event.xcreatewindow.window, XDamageReportRawRectangles);
            } else if (event.type == m_firstEvent + XDamageNotify) {
                Window const window = reinterpret_cast<XDamageNotifyEvent const&>(event).drawable;
                if (std::ranges::find(m_damaged, window) == m_damaged.end())
                    m_damaged.push_back(window);
            }
        }
    }

    bool Belongs(Window window, pid_t program) const {
        Atom type = 0;
        int format = 0;
        unsigned long count = 0;
        unsigned long left = 0;
        unsigned char* data = nullptr;
        XGetWindowProperty(m_display, window, m_pidAtom, 0, 1, False, AnyPropertyType, &type, &format, &count, &left,
                           &data);
        bool const belongs = data && format == 32 && count == 1 && *reinterpret_cast<long*>(data) == program;
        if (data)
            XFree(data);
        return belongs;
    }

    // The server fills a new window with black; what a program paints is not all black.
    bool IsPainted(Window window, pid_t program) const {
        XWindowAttributes at{};
        if (!Belongs(window, program) || !XGetWindowAttributes(m_display, window, &at) || at.map_state != IsViewable ||
            at.width < k_Smallest || at.height < k_Smallest)
            return false;
        int painted = 0;
        for (int i = 1; i <= 3; ++i) {
            XImage* const row = XGetImage(m_display, window, 0, at.height * i / 4, static_cast<unsigned>(at.width), 1,
                                          AllPlanes, ZPixmap);
            if (!row)
                return false;
            for (int k = 1; k <= 3; ++k)
                painted += (XGetPixel(row, at.width * k / 4, 0) & 0xffffffU) != 0;
            XDestroyImage(row);
        }
        return painted >= 7;
    }

    Display* const m_display;
    int m_firstEvent = 0;
    Atom m_pidAtom = 0;
    std::vector<Window> m_damaged;
};

double StartMs(Screen& screen, Path const& program, std::vector<String> const& arguments) {
    corekit::ProcessOptions options;
    options.args = arguments;
    options.stdoutFd = options.stderrFd = corekit::ProcessOptions::k_Null;
    screen.Clear();
    String error;
    std::unique_ptr<corekit::Process> process;
    bool painted = false;
    double const seconds = Seconds([&] {
        process = corekit::Process::Start(program, options, &error);
        painted = process && screen.WaitForPaint(process->Pid(), k_WindowMs);
    });
    if (!process)
        throw FarmFailure(error.Str());
    process->Terminate();
    if (!painted)
        throw FarmFailure(program.Str() + " has shown no window.");
    return seconds * 1000;
}

double ClientMs(Screen& screen) {
    double const ms = StartMs(screen, corekit::Path(vorlan::k_BinDir) / "VorlanGui", {});
    Components::StopAndWait(k_ComponentEngine);
    Components::StopAndWait(k_ComponentMaster);
    return ms;
}

double EmptyMs(Screen& screen) { return StartMs(screen, Path("/proc/self/exe"), {k_EmptyWindow}); }

int Measure(Benchmark& benchmark) {
    FarmHome const home;
    Screen screen;
    ClientMs(screen); // a user's first start makes the folders
    EmptyMs(screen);
    benchmark.Run(
        k_Runs, [&] { return ClientMs(screen); }, [&] { return EmptyMs(screen); });
    return benchmark.Report();
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], k_EmptyWindow) == 0) {
        wxApp::SetInstance(new EmptyApp);
        int count = 1;
        return wxEntry(count, argv);
    }
    Benchmark benchmark({"start", "ms", "an empty wxWidgets window", Judge::RatioAtMost, 1.9}, argc, argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    try {
        return Measure(benchmark);
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "start: %s\n", failure.what());
        return 1;
    }
}
