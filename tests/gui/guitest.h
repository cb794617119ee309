#pragma once

// What the tests of the client share: an application object that starts nothing by
// itself, an outside that only takes notes, and a fixture with the client's window.

#include "commands/ids.h"
#include "core/vorlangui.h"
#include "lists/enginelistctrl.h"
#include "lists/joblistctrl.h"
#include "lists/worklistctrl.h"
#include "menus/menus.h"
#include "outside/outside.h"
#include "window/enginemode.h"
#include "window/infopane.h"
#include "window/mainwindow.h"
#include <wx/wxtoolbarbutton.h>

#include "client/clienttest.h"
#include "modalanswers.h"
#include "wxtools.h"

namespace vorlan {

// The part of the window that has this name.
template <class T>
T& FindPart(MainWindow& window, char const* name) {
    return dynamic_cast<T&>(*wxWindow::FindWindowByName(name, &window));
}

// The client in a state of a first start: no options, no window, empty lists.
struct GuiTest : FarmTest {
    GuiTest();
    ~GuiTest() override;

    VorlanGui& Gui() { return *VorlanGui::Get(); }
    // What the end of the start-up does; the window is there then.
    MainWindow& StartClient(CommandLine* line = nullptr);
    // The same, and there is a Master.
    MainWindow& StartConnected();
    MainWindow& Window() { return *MainWindow::Get(); }
    ListCtrlBase& List(int id) { return dynamic_cast<ListCtrlBase&>(*Window().FindWindow(id)); }
    // What the Messenger tells of its connection.
    void Connected();
    void Disconnected();
    // The toolkit is idle.
    void Idle();
    // Closes it as the window manager does.
    void CloseWindow();
    // A menu item, or a tool. `checked`: what a box of a menu has become.
    void Command(int id, bool checked = false);
};

} // namespace vorlan
