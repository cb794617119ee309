// The services by the System menu, with a manager that only takes notes.
#include "guitest.h"

#include "system/installservicedlg.h"
#include "system/systemservices.h"

#include <corekit/filelock.h>
#include <wx/radiobut.h>

namespace vorlan::test_systemservices {

class FakeServices : public corekit::ServiceManager {
public:
    void Install(ServiceScope scope, std::vector<ServiceUnit> const& units, String const& enable) override {
        Note("install", scope, enable);
        if (!failure.Empty())
            throw ServiceException(failure);
        std::lock_guard const lock(m_guard);
        for (ServiceUnit const& unit : units)
            m_installed[unit.name] = scope;
    }
    void Start(ServiceScope scope, String const& unit) override { Note("start", scope, unit); }
    void Stop(ServiceScope scope, String const& unit) override { Note("stop", scope, unit); }
    void Remove(ServiceScope scope, std::vector<String> const& units, String const& enabled) override {
        Note("remove", scope, enabled);
        std::lock_guard const lock(m_guard);
        for (String const& unit : units)
            m_installed.erase(unit);
    }
    std::optional<ServiceScope> FindScope(String const& unit) override {
        std::lock_guard const lock(m_guard);
        auto const found = m_installed.find(unit);
        return found == m_installed.end() ? std::nullopt : std::optional(found->second);
    }
    std::vector<String> Take() {
        std::lock_guard const lock(m_guard);
        return std::exchange(m_notes, {});
    }
    String failure; // set before use

private:
    void Note(char const* what, ServiceScope scope, String const& unit) {
        std::lock_guard const lock(m_guard);
        m_notes.push_back(String(what) + (scope == ServiceScope::User ? " user " : " system ") + unit);
    }
    std::mutex m_guard;
    std::vector<String> m_notes;                // guarded by m_guard
    std::map<String, ServiceScope> m_installed; // guarded by m_guard
};

struct SystemServicesTest : GuiTest {
    SystemServicesTest() {
        HasRunBefore();
        SetMachineServices(services);
        StartClient();
        outside.TakeSteps();
    }
    ~SystemServicesTest() override { SetMachineServices(nullptr); }

    // What the manager was asked to do, once the work on the pool is done.
    std::vector<String> Choose(int id) {
        corekit::LogLines log(corekit::LogLevel::Status);
        Command(id);
        EXPECT_TRUE(PumpUntil([&] { return CountLines(log, "as a service is done") > 0 || Told(); })) << id;
        Pump();
        return services->Take();
    }
    bool Told() {
        for (String const& text : answers.Take())
            told = text.Contains(": ") ? text : told;
        return !told.Empty();
    }
    std::shared_ptr<FakeServices> services = std::make_shared<FakeServices>();
    ModalAnswers answers{wxID_OK};
    String told; // by the last message box
};

TEST_F(SystemServicesTest, AnEngineServiceTakesTheEngineFromTheClient) {
    Options().SetValue("Configuration", "StartEngine", 1);
    outside.started.erase(k_ComponentEngine);
    EXPECT_EQ(Choose(k_IdEngineService), std::vector<String>{"install user vorlan-engine.service"});
    EXPECT_EQ(outside.TakeSteps(), std::vector<String>{"stop VorlanEngine"});
    // The client neither starts nor stops what the service runs.
    EXPECT_FALSE(Options().HasKey("Configuration", "StartEngine"));
    Gui()._StartComponent(k_ComponentEngine, 1);
    Gui()._StopComponent(k_ComponentEngine);
    EXPECT_TRUE(outside.TakeSteps().empty());
    EXPECT_EQ(Option("OldStartEngine"), 1);
    Choose(k_IdEngineService);
    EXPECT_EQ(Option("OldStartEngine"), 1) << "installed twice";
    EXPECT_EQ(Choose(k_IdEngineService + 1), std::vector<String>{"start user vorlan-engine.service"});
    EXPECT_EQ(Choose(k_IdEngineService + 2), std::vector<String>{"stop user vorlan-engine.service"});
    {
        // The service's own one would end at once, and that would count as a success.
        corekit::File::MakeFolder(Components::Folder("VorlanEngine"));
        auto const held = corekit::FileLock::TryTake(Components::LockFile(k_ComponentEngine), "VorlanEngine");
        EXPECT_TRUE(Choose(k_IdEngineService + 1).empty());
        EXPECT_TRUE(told.Contains("The Engine service was not started: VorlanEngine runs")) << told;
        told = {};
    }
    // Its control stands where it stands, and asks nobody.
    answers.look = [](wxDialog& dialog) { EXPECT_FALSE(dynamic_cast<InstallServiceDlg*>(&dialog)); };
    EXPECT_EQ(Choose(k_IdControlService), std::vector<String>{"install user vorlan-engine-control.timer"});
    EXPECT_EQ(Choose(k_IdControlService + 3), std::vector<String>{"remove user vorlan-engine-control.timer"});
    EXPECT_EQ(Choose(k_IdEngineService + 3), std::vector<String>{"remove user vorlan-engine.service"});
    EXPECT_EQ(Option("StartEngine"), 1);
    EXPECT_FALSE(Options().HasKey("Configuration", "OldStartEngine"));
    EXPECT_EQ(told, "");
}

TEST_F(SystemServicesTest, WhatGoesWrongChangesNothing) {
    for (auto const& [id, name] : Rows<int, char const*>{
             {k_IdMasterService + 1, "Master"}, {k_IdEngineService + 3, "Engine"}, {k_IdControlService, "Engine"}}) {
        told = {};
        EXPECT_TRUE(Choose(id).empty());
        EXPECT_TRUE(told.Contains(SFormat("The %s service is not installed on this machine", name))) << told;
    }
    told = {};
    services->failure = "There is no systemctl on this machine";
    Choose(k_IdMasterService);
    EXPECT_TRUE(told.Contains("There is no systemctl")) << told;
    EXPECT_TRUE(outside.TakeSteps().empty()) << "the Master goes on";
    EXPECT_FALSE(Options().HasKey("Configuration", "OldStartMaster"));
}

TEST_F(SystemServicesTest, TheAccountIsAskedForAndChecked) {
    wxString account = "no-such-account";
    std::vector<wxString> dialogs;
    answers.look = [&](wxDialog& dialog) {
        if (!dynamic_cast<InstallServiceDlg*>(&dialog))
            return;
        dialogs.push_back(dialog.GetTitle());
        for (wxWindow* const child : dialog.GetChildren()) {
            if (auto* const choice = dynamic_cast<wxRadioButton*>(child))
                choice->SetValue(choice->GetLabel().StartsWith("Another"));
            if (auto* const field = dynamic_cast<wxTextCtrl*>(child))
                field->SetValue(account);
        }
    };
    EXPECT_TRUE(Choose(k_IdMasterService).empty());
    EXPECT_EQ(dialogs, std::vector<wxString>{"Install Service"});
    EXPECT_TRUE(told.Contains("There is no account \"no-such-account\"")) << told;
    told = {};
    account = wxvText(Platform::GetCurrentUserName());
    EXPECT_EQ(Choose(k_IdMasterService), std::vector<String>{"install system vorlan-master.service"});
    EXPECT_EQ(Option("OldStartMaster"), -1);
    EXPECT_FALSE(Options().HasKey("Configuration", "StartMaster"));
}

} // namespace vorlan::test_systemservices
