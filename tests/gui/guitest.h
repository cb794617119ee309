// What the tests of the client share: an application object that starts nothing by
// itself, an outside that only takes notes, and a fixture with the client's window.
#pragma once

#include "core/outside.h"
#include "core/vorlangui.h"
#include "window/mainwindow.h"

#include "corekit/tempfolder.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <set>
#include <vector>
#include <vorlan/components.h>

class wxCheckBox;

namespace vorlan {

class MessagePane;

// FakeOutside notes what the client wants of the world, in order.
class FakeOutside : public Outside {
public:
    void Send(boost::shared_ptr<Message> const& message) override;
    bool IsConnected() override { return connected; }
    void StopMessenger(bool flush, bool final, bool reconnect) override;
    void PurgeMessageQueues() override { Note("purge"); }
    UID MasterID() override { return master; }
    String MasterMachineName() override { return "zeus"; }
    boost::shared_ptr<MasterInfoMsg> MasterInfo() override { return masterInfo; }
    String LastFailure() override { return failure; }
    UID MachineID() override { return UID::FromName("this machine"); }
    String ComputerName() override { return computerName; }
    void StartComponent(int component) override;
    void StopComponent(int component) override;
    bool DidStartComponent(int component) override { return started.contains(component); }

    std::vector<String> Steps() const;
    // The steps since the last call.
    std::vector<String> TakeSteps();
    std::vector<boost::shared_ptr<Message>> Sent() const;

    // Set before use.
    bool connected = false;
    UID master;
    boost::shared_ptr<MasterInfoMsg> masterInfo;
    String failure;
    String computerName = "artist";
    std::set<int> started;

private:
    void Note(String const& step);

    mutable std::mutex m_mutex;
    std::vector<String> m_steps;                    // guarded by m_mutex
    std::vector<boost::shared_ptr<Message>> m_sent; // guarded by m_mutex
};

// GuiTester reaches what the client keeps to itself.
class GuiTester {
public:
    static void Connect(VorlanGui& gui) { gui.ConnectMessages(); }
    // As it was before its start-up.
    static void Forget(VorlanGui& gui);
    static void SetCommandLine(VorlanGui& gui, CommandLine* line) { gui.m_commandLineInUse = line; }
    static void Hear(VorlanGui& gui, boost::shared_ptr<MasterDefaultStartupMsg> const& message) {
        gui.OnMasterDefaultStartupMsg(message);
    }
    static void Connected(VorlanGui& gui);
    static void Disconnected(VorlanGui& gui);
    static _EngineModeTimeout& Timeout(MainWindow& window) { return *window.m_timeout; }
    static MessagePane& EngineModePane(MainWindow& window) { return *window.m_engineMode; }
    static MessagePane& SearchingPane(MainWindow& window) { return *window.m_searching; }
    static void Idle(MainWindow& window);
    // Its idle time is over.
    static void ExpireNow(MainWindow& window);
    // The program goes on, whatever a former test has asked for.
    static void GoOn() { Executable::s_running.store(true); }
};

// Lets the window system work until the condition holds; false after the deadline.
bool PumpUntil(std::function<bool()> const& condition, int deadlineMs = 20'000);
// Everything that is waiting now.
void Pump();

// The client in a state of a first start: no options, no window, empty lists.
class GuiTest : public ::testing::Test {
protected:
    GuiTest();
    ~GuiTest() override;

    VorlanGui& Gui() { return *VorlanGui::Get(); }
    OptionsFile& Options() { return VorlanApp::GetOptions(); }
    // Not the first run of the program on this machine.
    void HasRunBefore();
    // What the end of the start-up does; the window is there then.
    MainWindow& StartClient(CommandLine* line = nullptr);
    MainWindow& Window() { return *MainWindow::Get(); }
    int Option(char const* key, int missing = -99) { return Options().GetValue("Configuration", key, missing); }
    // Closes it as the window manager does.
    void CloseWindow();

    FakeOutside outside;
};

// Records of the log that hold the text.
size_t CountLines(corekit::LogLines& log, char const* part);

} // namespace vorlan
