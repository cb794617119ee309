#pragma once

// What the tests of the client share: an application object that starts nothing by
// itself, an outside that only takes notes, and a fixture with the client's window.

#include "core/vorlangui.h"
#include "outside/outside.h"
#include "window/mainwindow.h"
#include <wx/wxtoolbarbutton.h>

#include "client/clienttest.h"
#include "corekit/tempfolder.h"
#include "wxtools.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

class wxCheckBox;
class wxSplitterWindow;

namespace vorlan {

class MessagePane;

// GuiTester reaches what the client keeps to itself.
class GuiTester {
public:
    static void Connect(VorlanGui& gui) { gui.ConnectMessages(); }
    // As it was before its start-up.
    static void Forget(VorlanGui& gui) { FarmClientTester::Forget(gui); }
    static void SetCommandLine(VorlanGui& gui, CommandLine* line) { gui.SetCommandLine(line); }
    static void Connected(VorlanGui& gui);
    static void Disconnected(VorlanGui& gui);
    static _EngineModeTimeout& Timeout(MainWindow& window) { return *window.m_timeout; }
    static MessagePane& EngineModePane(MainWindow& window) { return *window.m_engineMode; }
    static MessagePane& SearchingPane(MainWindow& window) { return *window.m_searching; }
    static wxVorlanToolbar& Toolbar(MainWindow& window) { return *window.m_toolbar; }
    static wxSplitterWindow& Splitter(MainWindow& window);
    static wxBitmapBundle const& Picture(wxToolbarButton& button, ToolButtonLook look) { return button.BitmapOf(look); }
    static void Idle(MainWindow& window);
    // Its idle time is over.
    static void ExpireNow(MainWindow& window);
    // The program goes on, whatever a former test has asked for.
    static void GoOn() { Executable::s_running.store(true); }
};

// The client in a state of a first start: no options, no window, empty lists.
class GuiTest : public FarmTest {
protected:
    GuiTest();
    ~GuiTest() override;

    VorlanGui& Gui() { return *VorlanGui::Get(); }
    // What the end of the start-up does; the window is there then.
    MainWindow& StartClient(CommandLine* line = nullptr);
    // The same, and there is a Master.
    MainWindow& StartConnected();
    MainWindow& Window() { return *MainWindow::Get(); }
    // Closes it as the window manager does.
    void CloseWindow();
    // A menu item, or a tool. `checked`: what a box of a menu has become.
    void Command(int id, bool checked = false);
};

} // namespace vorlan
