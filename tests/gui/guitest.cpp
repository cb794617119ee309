#include "guitest.h"

#include "window/mainsplitter.h"

#include <vorlan/events.h>
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
    GuiTester::GoOn();
    GuiTester::Forget(Gui());
    wxvUseColorOptions(&Options());
}

GuiTest::~GuiTest() {
    if (MainWindow* const window = MainWindow::Get()) {
        window->StopEngineModeShutdownPipe();
        window->Destroy();
        EXPECT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
    }
}

MainWindow& GuiTest::StartClient(CommandLine* line) {
    GuiTester::SetCommandLine(Gui(), line);
    VorlanAppStartupEvt event(true, line);
    Gui().OnVorlanAppStartupEvt(event);
    return Window();
}

MainWindow& GuiTest::StartConnected() {
    StartClient();
    outside.connected = true;
    GuiTester::Connected(Gui());
    return Window();
}

void GuiTest::CloseWindow() {
    Window().Close();
    EXPECT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
}

void GuiTest::Command(int id, bool checked) {
    wxCommandEvent event(wxEVT_MENU, id);
    event.SetInt(checked);
    Window().GetEventHandler()->ProcessEvent(event);
    Pump();
}

} // namespace vorlan
