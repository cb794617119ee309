#include "guitest.h"

#include "window/mainsplitter.h"

#include <vorlan/events.h>
#include <vorlan/version.h>
#include <wx/app.h>
#include <wx/event.h>
#include <wx/evtloop.h>
#include <wx/wxvcolors.h>
#include <wx/wxvorlanapp.h>

namespace vorlan {

void GuiTester::Connected(VorlanGui& gui) {
    wxCommandEvent event(wxVORLAN_CONNECT_EVENT);
    gui.ProcessEvent(event);
}

void GuiTester::Disconnected(VorlanGui& gui) {
    wxCommandEvent event(wxVORLAN_DISCONNECT_EVENT);
    gui.ProcessEvent(event);
}

wxSplitterWindow& GuiTester::Splitter(MainWindow& window) { return *window.m_main; }

void GuiTester::Idle(MainWindow& window) {
    wxIdleEvent event;
    window.OnIdle(event);
}

void GuiTester::ExpireNow(MainWindow& window) { window.m_timeout->m_expires.store(1); }

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

} // namespace vorlan
