#include "guitest.h"

#include <wx/event.h>
#include <wx/evtloop.h>
#include <wx/wxvorlanapp.h>

namespace vorlan {

void GuiTest::Connected() {
    wxCommandEvent event(wxVORLAN_CONNECT_EVENT);
    Gui().ProcessEvent(event);
}

void GuiTest::Disconnected() {
    wxCommandEvent event(wxVORLAN_DISCONNECT_EVENT);
    Gui().ProcessEvent(event);
}

void GuiTest::Idle() {
    wxIdleEvent event;
    Window().HandleWindowEvent(event);
}

GuiTest::GuiTest() {
    Executable::SetRunning(true);
    Forget(Gui());
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
    Gui().SetCommandLine(line);
    VorlanAppStartupEvt event(true, line);
    Gui().OnVorlanAppStartupEvt(event);
    return Window();
}

MainWindow& GuiTest::StartConnected() {
    StartClient();
    outside.connected = true;
    Connected();
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
