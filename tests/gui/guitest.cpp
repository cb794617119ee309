#include "guitest.h"

#include "core/options.h"
#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/worklist.h"

#include <corekit/sformat.h>
#include <vorlan/events.h>
#include <vorlan/messages.h>
#include <vorlan/version.h>
#include <wx/app.h>
#include <wx/event.h>
#include <wx/evtloop.h>
#include <wx/utils.h>
#include <wx/wxvcolors.h>
#include <wx/wxvorlanapp.h>

#include <algorithm>
#include <chrono>

namespace vorlan {

void FakeOutside::Note(String const& step) {
    std::lock_guard const lock(m_mutex);
    m_steps.push_back(step);
}

void FakeOutside::Send(boost::shared_ptr<Message> const& message) {
    Note(String("send ") + message->TypeName());
    std::lock_guard const lock(m_mutex);
    m_sent.push_back(message);
}

void FakeOutside::StopMessenger(bool flush, bool final, bool reconnect) {
    Note(SFormat("messenger stop %d %d %d", flush, final, reconnect));
}

void FakeOutside::StartComponent(int component) {
    started.insert(component);
    Note(String("start ") + Components::GetName(component));
}

void FakeOutside::StopComponent(int component) {
    started.erase(component);
    Note(String("stop ") + Components::GetName(component));
}

std::vector<String> FakeOutside::Steps() const {
    std::lock_guard const lock(m_mutex);
    return m_steps;
}

std::vector<String> FakeOutside::TakeSteps() {
    std::lock_guard const lock(m_mutex);
    return std::exchange(m_steps, {});
}

std::vector<boost::shared_ptr<Message>> FakeOutside::Sent() const {
    std::lock_guard const lock(m_mutex);
    return m_sent;
}

void GuiTester::Forget(VorlanGui& gui) {
    gui.m_commandLineInUse = nullptr;
    {
        CommonMutex::Lock const lock(gui.m_poolMutex);
        gui.m_pools.clear();
    }
    CommonMutex::Lock const lock(gui.m_startupMutex);
    gui.m_masterStartup.reset();
}

void GuiTester::Connected(VorlanGui& gui) {
    wxCommandEvent event(wxVORLAN_CONNECT_EVENT);
    gui.ProcessEvent(event);
}

void GuiTester::Disconnected(VorlanGui& gui) {
    wxCommandEvent event(wxVORLAN_DISCONNECT_EVENT);
    gui.ProcessEvent(event);
}

void GuiTester::Idle(MainWindow& window) {
    wxIdleEvent event;
    window.OnIdle(event);
}

void GuiTester::ExpireNow(MainWindow& window) { window.m_timeout->m_expires.store(1); }

void Pump() { wxYield(); }

bool PumpUntil(std::function<bool()> const& condition, int deadlineMs) {
    auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(deadlineMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        wxYield();
        wxMilliSleep(2);
    }
    return true;
}

GuiTest::GuiTest() {
    Outside::Set(&outside);
    GuiTester::GoOn();
    GuiTester::Forget(Gui());
    Options().Clear();
    Options().SetSection(String());
    wxvUseColorOptions(&Options());
    EngineList::Get().Clear();
    JobList::Get().Clear();
    WorkList::Get().Clear();
}

GuiTest::~GuiTest() {
    if (MainWindow* const window = MainWindow::Get()) {
        window->StopEngineModeShutdownPipe();
        window->Destroy();
        EXPECT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
    }
    Outside::Set(nullptr);
}

void GuiTest::HasRunBefore() { Options().SetValue(k_Configuration, k_OptionVersion, k_VorlanVersion); }

MainWindow& GuiTest::StartClient(CommandLine* line) {
    GuiTester::SetCommandLine(Gui(), line);
    VorlanAppStartupEvt event(true, line);
    Gui().OnVorlanAppStartupEvt(event);
    return Window();
}

void GuiTest::CloseWindow() {
    Window().Close();
    EXPECT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
}

size_t CountLines(corekit::LogLines& log, char const* part) {
    auto const lines = log.Get();
    return static_cast<size_t>(
        std::count_if(lines.begin(), lines.end(), [part](String const& line) { return line.Contains(part); }));
}

} // namespace vorlan
