// The System menu: what stands in it for whom, and its commands.
#include "guitest.h"

#include "output/logframe.h"
#include "system/submitscripts.h"
#include "system/systemfolders.h"

#include <corekit/filelock.h>
#include <vorlan/administrator.h>
#include <wx/wxconfirmdlg.h>
#include <wx/wxtextlinectrl.h>

namespace vorlan {

using corekit::File;
using corekit::FileLock;
using corekit::TempFolder;

struct SystemMenuTest : GuiTest {
    SystemMenuTest() {
        HasRunBefore();
        outside.masterInfo = MasterInfoMsg::New();
    }
    MainWindow& Start(bool connected) {
        outside.connected = connected;
        MainWindow& window = StartClient();
        outside.TakeSteps();
        return window;
    }
    bool Has(int id) { return Window().GetMenuBar()->FindItem(id) != nullptr; }
    wxString LabelOf(int id) { return Window().GetMenuBar()->FindItem(id)->GetItemLabelText(); }
    template <class T>
    T* FindFrame() {
        for (wxWindow* const window : wxTopLevelWindows) {
            if (auto* const frame = dynamic_cast<T*>(window); frame && !frame->IsBeingDeleted())
                return frame;
        }
        return nullptr;
    }
    // And the other button says what it does.
    static void ExpectCancelIsDefault(wxDialog& dialog) {
        EXPECT_EQ(dialog.GetDefaultItem(), dialog.FindWindow(wxID_CANCEL));
        EXPECT_NE(dialog.FindWindow(wxID_OK)->GetLabel(), "OK");
    }
    static String TextOf(wxWindow& window) {
        String text;
        for (wxWindow* const child : window.GetChildren()) {
            auto* const lines = dynamic_cast<wxTextLineCtrl*>(child);
            for (int row = 0; lines && row < lines->GetLineCount(); ++row)
                text += lines->GetText(row) + "\n";
        }
        return text;
    }
};

TEST_F(SystemMenuTest, HoldsWhatThisUserMayDo) {
    constexpr int k_Always[] = {k_IdConnect,    k_IdEngineMode,  k_IdDark, k_IdResetConfirmations, k_IdAppFolder,
                                k_IdTempFolder, k_IdInstallNuke, k_IdExit, k_IdGuiHistoryLog};
    constexpr int k_Components[] = {k_IdStartEngine,   k_IdStopMaster,         k_IdRemoveEngineLock,
                                    k_IdEngineService, k_IdControlService + 3, k_IdMasterService + 3};
    constexpr int k_Administrators[] = {k_IdMasterHistoryLog, k_IdDispatchLog, k_IdLogDispatch, k_IdLogDump,
                                        k_IdSuperExit};
    MainWindow& window = Start(true);
    Rows<bool, bool, bool, bool> const cases = {
        {false, false, false, true}, {true, false, false, true}, {true, false, true, false}, {true, true, true, true}};
    for (auto const& [connected, administrator, restricted, components] : cases) {
        window.Master().SetRestrictions({{"Core Process Control", restricted}});
        outside.connected = connected;
        window.SetAdministrator(administrator);
        for (int const id : k_Always)
            EXPECT_TRUE(Has(id)) << id;
        for (int const id : k_Components)
            EXPECT_EQ(Has(id), components) << id;
        for (int const id : k_Administrators)
            EXPECT_EQ(Has(id), connected && administrator) << id;
        EXPECT_EQ(Has(k_IdAdministrator), connected);
        EXPECT_FALSE(Has(k_IdStartBrakka)) << "its program is not there";
        EXPECT_EQ(LabelOf(k_IdConnect), connected ? "Reconnect" : "Connect");
        if (connected) {
            EXPECT_EQ(LabelOf(k_IdAdministrator), administrator ? "Normal Mode" : "Administrator Mode");
        }
    }
}

TEST_F(SystemMenuTest, ColorsAreChosenAndMarked) {
    Start(true);
    EXPECT_FALSE(Has(10014)) << "nobody can edit the custom ones yet";
    for (auto const& [id, scheme] : Rows<int, int>{{k_IdLighter, 0}, {k_IdLight, 1}, {k_IdDarker, 3}, {k_IdDark, 2}}) {
        Command(id);
        EXPECT_EQ(static_cast<int>(wxvGetColorScheme()), scheme);
        Window().BuildMenus(true);
        EXPECT_TRUE(Window().GetMenuBar()->IsChecked(id)) << id;
    }
}

TEST_F(SystemMenuTest, AdministratorModeAsksForThePasswordThatThereIs) {
    String const asks = "Administrator: Enter administrator password";
    String const wrong = "Administrator: Incorrect password";
    Rows<char const*, unsigned, char const*, std::vector<String>, bool> const cases = {
        {"no password", 0, "", {}, true},
        {"the right one", PasswordValue("render\xC3\xA9"), "render\xC3\xA9", {asks}, true},
        {"a wrong one", PasswordValue("render"), "rendes", {asks, wrong}, false},
        {"nothing typed", 97, "", {asks, wrong}, false},
        {"one character", 97, "a", {asks}, true}};
    MainWindow& window = Start(true);
    for (auto const& [what, master, typed, dialogs, enters] : cases) {
        outside.masterInfo->administrate = master;
        ModalAnswers answers(wxID_OK);
        answers.typed = wxvText(typed);
        Command(k_IdAdministrator);
        EXPECT_EQ(answers.Take(), dialogs) << what;
        EXPECT_EQ(window.IsAdministrator(), enters) << what;
        EXPECT_EQ(window.GetTitle().EndsWith(" [ Administrator Mode ]"), enters) << what;
        EXPECT_EQ(window.GetStatusBar()->GetStatusText(1), enters ? "Administrator Mode" : "") << what;
        if (enters)
            Command(k_IdAdministrator);
        EXPECT_FALSE(window.IsAdministrator()) << what;
        EXPECT_FALSE(answers.Any()) << "leaving needs no password";
    }
}

TEST_F(SystemMenuTest, ComponentsAreStartedAndStoppedNow) {
    Start(false);
    for (auto const& [id, step] : Rows<int, char const*>{{k_IdStartEngine, "start VorlanEngine"},
                                                         {k_IdStopEngine, "stop VorlanEngine"},
                                                         {k_IdStartMaster, "start VorlanMaster"},
                                                         {k_IdStopMaster, "stop VorlanMaster"}}) {
        Command(id);
        EXPECT_EQ(outside.TakeSteps(), std::vector<String>{step});
    }
    // The client has an Engine of its own from then on.
    Command(k_IdStopEngine);
    outside.masterInfo->idleTimeout = 10;
    Command(k_IdStartEngine);
    EXPECT_FALSE(Window().IdleTimeout()->Expires().IsZero());
    Command(k_IdStopEngine);
    EXPECT_TRUE(Window().IdleTimeout()->Expires().IsZero());
}

TEST_F(SystemMenuTest, WhatWorksHereIsNotEndedWithoutAQuestion) {
    Start(true);
    Engine engine(outside.MachineID());
    engine.SetName("this");
    EngineList::Get().InsertEngine(engine);
    auto const job = AddJob("beauty");
    Assign(Unit("beauty", UID::FromName("beauty")), engine.id);
    outside.master = outside.MachineID();
    for (auto const& [id, step] :
         Rows<int, char const*>{{k_IdStopEngine, "stop VorlanEngine"}, {k_IdStopMaster, "stop VorlanMaster"}}) {
        ModalAnswers no(wxID_CANCEL);
        wxString told;
        no.look = [&told](wxDialog& dialog) {
            ExpectCancelIsDefault(dialog);
            for (wxWindow const* child : dialog.GetChildren())
                told += child->GetLabel() + "\n";
        };
        Command(id);
        EXPECT_EQ(no.Take().size(), 1u);
        EXPECT_EQ(told.Contains("\nbeauty: beauty"), id == k_IdStopEngine) << told;
        Window().Close();
        EXPECT_EQ(no.Take().size(), 1u) << "its end would end the Engine";
        EXPECT_TRUE(outside.TakeSteps().empty());
        ModalAnswers yes(wxID_OK);
        Command(id);
        EXPECT_EQ(outside.TakeSteps(), std::vector<String>{step});
    }
    // Another Master serves the farm: the end of this one ends nothing.
    outside.master = UID::FromName("another");
    ModalAnswers no(wxID_CANCEL);
    Command(k_IdStopMaster);
    EXPECT_FALSE(no.Any());
}

TEST_F(SystemMenuTest, WhatWouldHaveNoEffectIsGrey) {
    Start(false);
    auto const isEnabled = [this](int id) {
        Window().DoMenuUpdates();
        return Window().GetMenuBar()->IsEnabled(id);
    };
    for (bool const runs : {false, true}) {
        outside.started = runs ? std::set<int>{k_ComponentEngine} : std::set<int>();
        EXPECT_EQ(isEnabled(k_IdStartEngine), !runs);
        EXPECT_EQ(isEnabled(k_IdStopEngine), runs);
    }
    EXPECT_FALSE(isEnabled(k_IdRemoveEngineLock)) << "there is none";
    EXPECT_TRUE(isEnabled(k_IdEngineService));
    EXPECT_FALSE(isEnabled(k_IdEngineService + 1)) << "it is not installed";
    EXPECT_FALSE(isEnabled(k_IdControlService)) << "there is no Engine service to look after";
}

TEST_F(SystemMenuTest, ALockFileGoesUnlessItIsHeld) {
    Start(false);
    ModalAnswers answers(wxID_OK);
    Path const path = Components::LockFile(k_ComponentEngine);
    File::MakeFolder(path.Branch());
    Command(k_IdRemoveEngineLock);
    EXPECT_TRUE(answers.Take().front().Contains("There is no lock file"));
    File::WriteWhole(path, "left behind");
    Command(k_IdRemoveEngineLock);
    EXPECT_EQ(answers.Take(), std::vector<String>{"Remove Lock File"}) << "the confirmation";
    EXPECT_FALSE(File::Exists(path));
    {
        auto const held = FileLock::TryTake(path, "VorlanEngine");
        Command(k_IdRemoveEngineLock);
        EXPECT_TRUE(answers.Take().front().Contains("VorlanEngine")) << "who holds it";
        EXPECT_TRUE(File::Exists(path));
    }
    LogLines log(LogLevel::Warning);
    wxCommandEvent unknown(wxEVT_MENU, 1);
    FindCommand(SystemCommands(), Window(), k_IdRemoveEngineLock)->run(Window(), unknown);
    EXPECT_EQ(CountLines(log, "Asked to remove lock file for unknown component"), 1u);
}

TEST_F(SystemMenuTest, FoldersAreShownByTheDesktopOrTheirNameIs) {
    Start(false);
    for (int const id : {k_IdAppFolder, k_IdModulesFolder, k_IdUtilitiesFolder, k_IdLogFolder, k_IdUserFolder,
                         k_IdMachineFolder, k_IdTempFolder})
        EXPECT_TRUE(SystemFolder(id).IsFolder()) << id << " " << SystemFolder(id);
    std::vector<String> tried;
    TempFolder const folder;
    ShowFolder(folder.Folder(), [&](Path const& program, std::vector<String> const& args) {
        tried.push_back(program + " " + args.front());
        if (program == "xdg-open")
            throw Exception("not installed");
    });
    EXPECT_EQ(tried, (std::vector<String>{"xdg-open " + folder.Folder(), "gio open"}));
    // A machine without any such program.
    corekit::EnvironmentValue const path("PATH", folder.Folder().c_str());
    ModalAnswers answers(wxID_OK);
    Command(k_IdTempFolder);
    ASSERT_TRUE(PumpUntil([&] { return answers.Any(); }));
    EXPECT_TRUE(answers.Take().front().Contains(File::GetTempDir()));
}

TEST_F(SystemMenuTest, ALogShowsItsEndAndWhatBecomesOfIt) {
    TempFolder const folder;
    Path const path = folder / "History.log";
    File::WriteWhole(path, "one\ntwo\nthree\n");
    auto* const frame = new LogFrame(&Start(false), "Log", path);
    frame->Show();
    EXPECT_TRUE(PumpUntil([&] { return TextOf(*frame).EndsWith("three\n"); }));
    auto const says = [&](char const* status) {
        return PumpUntil([&] { return frame->Text().GetStatus().text.Contains(status); });
    };
    EXPECT_TRUE(says("3 lines, 14 B"));
    File::WriteWhole(path, "four\n");
    EXPECT_TRUE(PumpUntil([&] { return TextOf(*frame) == "four\n"; }));
    EXPECT_TRUE(says("Another file took its place"));
    File::Delete(path);
    EXPECT_TRUE(says("The file is gone"));
    EXPECT_EQ(TextOf(*frame), "four\n");
    // The first Escape closes the find bar, the next one the window.
    frame->Text().ShowFindBar();
    auto const escape = [&] {
        wxKeyEvent event(wxEVT_CHAR_HOOK);
        event.m_keyCode = WXK_ESCAPE;
        event.SetEventObject(frame);
        frame->ProcessWindowEvent(event);
    };
    escape();
    Pump();
    EXPECT_TRUE(FindFrame<LogFrame>());
    escape();
    EXPECT_TRUE(PumpUntil([&] { return !FindFrame<LogFrame>(); }));
    // Closed while it opens what is not there.
    auto* const next = new LogFrame(&Window(), "Log", path);
    EXPECT_TRUE(PumpUntil([&] { return next->Text().GetStatus().text.Contains("Cannot read"); }));
    next->Close();
    EXPECT_TRUE(PumpUntil([&] { return !FindFrame<LogFrame>(); }));
}

TEST_F(SystemMenuTest, TheMastersLogsNeedTheirIds) {
    Start(true).SetAdministrator(true);
    ModalAnswers answers(wxID_OK);
    Command(k_IdMasterHistoryLog);
    Command(k_IdDispatchLog);
    EXPECT_EQ(
        answers.Take(),
        (std::vector<String>{"Log Files: The Master has not shared the ID for accessing VorlanMaster History.log",
                             "Log Files: The Master has not shared the ID for accessing VorlanMaster Dispatch.log"}));
    // The test has no connection: the window says so.
    outside.masterInfo->historyLog = UID::FromName("history");
    Command(k_IdMasterHistoryLog);
    auto* const frame = FindFrame<LogFrame>();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->GetTitle(), "VorlanMaster History.log");
    EXPECT_TRUE(PumpUntil([&] { return TextOf(*frame).Contains("there is no connection to the Master"); }));
    frame->Close();
    EXPECT_TRUE(PumpUntil([&] { return !FindFrame<LogFrame>(); }));
}

TEST_F(SystemMenuTest, CommandsToTheMasterAreSent) {
    Start(true).SetAdministrator(true);
    EXPECT_EQ(outside.TakeSteps().back(), "send AdministrateMsg");
    LogLines log(LogLevel::Status);
    Command(k_IdLogDump);
    EXPECT_EQ(CountLines(log, "Sending Log Dump Message to the network"), 1u);
    EXPECT_EQ(outside.TakeSteps(), std::vector<String>{"send LogDumpMsg"});
    Command(k_IdLogDispatch);
    EXPECT_EQ(CountLines(log, "Asking Master to create a dispatch log"), 1u);
    auto const options = boost::dynamic_pointer_cast<SetMasterOptionsMsg>(outside.Sent().back());
    ASSERT_TRUE(options);
    EXPECT_EQ(options->section, o_Distribution);
    EXPECT_EQ(options->options, (OptionMap{{o_LogDispatch, "Yes"}}));
    outside.TakeSteps();
    {
        ModalAnswers no(wxID_CANCEL);
        no.look = &ExpectCancelIsDefault;
        Command(k_IdSuperExit);
        EXPECT_TRUE(no.Any() && outside.TakeSteps().empty());
    }
    ModalAnswers yes(wxID_OK);
    Command(k_IdSuperExit);
    EXPECT_EQ(outside.TakeSteps(), std::vector<String>{"send ShutdownMsg"});
}

TEST_F(SystemMenuTest, SubmitScriptsAreInstalledAndNothingIsLost) {
    TempFolder const home;
    corekit::EnvironmentValue const variable("HOME", home.Folder().c_str());
    corekit::EnvironmentValue const maya("MAYA_APP_DIR", nullptr);
    Start(false);
    ModalAnswers answers(wxID_CANCEL);
    // Not installed here: the user is asked, and gives up.
    Command(k_IdInstallNuke);
    EXPECT_EQ(answers.Take().size(), 1u);
    EXPECT_FALSE((home / ".nuke").Exists());
    File::MakeFolder(home / ".nuke");
    File::WriteWhole(home / ".nuke/menu.py", "print(1)");
    File::WriteWhole(home / ".nuke/vorlan_nuke.py", "my own changes");
    for (int time = 0; time < 2; ++time) {
        Command(k_IdInstallNuke);
        ASSERT_TRUE(PumpUntil([&] { return answers.Any(); }));
        EXPECT_EQ(answers.Take(), std::vector<String>{"Install Nuke Submit Script"}) << "the confirmation";
        EXPECT_EQ(File::Read(home / ".nuke/menu.py"), "print(1)\nimport vorlan_nuke\n");
        EXPECT_EQ(File::Read(home / ".nuke/menu.py.bak"), "print(1)");
        EXPECT_EQ(File::Read(home / ".nuke/vorlan_nuke.py.bak"), "my own changes");
    }
    EXPECT_TRUE(
        File::Read(home / ".nuke/vorlan_nuke.py").Contains("PROGRAM = \"" + (File::s_AppDir / "vorlan") + "\""));
    File::MakeFolder(home / "maya");
    Command(k_IdInstallMaya);
    ASSERT_TRUE(PumpUntil([&] { return answers.Any(); }));
    EXPECT_TRUE(File::Exists(home / "maya/scripts/vorlanSubmit.mel"));
    for (char const* version : {"c4d_2024_1", "c4d_2025_1", "c4d_2023_1"})
        File::MakeFolder(home / ".config/Maxon" / version);
    EXPECT_EQ(FindScriptFolder(*FindSubmitScript(k_IdInstallCinema4D)),
              home / ".config/Maxon/c4d_2025_1/library/scripts");
}

} // namespace vorlan
