#pragma once

#include "client/farmclient.h"
#include "client/options.h"
#include "submit/repeatfile.h"

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <vector>
#include <vorlan/events.h>
#include <wx/wxvorlanapp.h>

class wxWindow;

namespace vorlan {

class MainWindow;
class JobInfo;

// VorlanGui is the application object of the client: a FarmClient with windows. It makes the
// MainWindow, answers the library's questions from the lists, and starts and stops the
// components.
// Owner: the toolkit. One exists.
// Works with: MainWindow, Outside.
// Thread: the GUI thread, but for what says otherwise.
class VorlanGui : public wxVorlanApp, public FarmClient {
public:
    explicit VorlanGui(Signals signals = Signals::Handle);
    ~VorlanGui() override;

    // Null before its construction and in programs without one. Any thread.
    static VorlanGui* Get() { return s_instance.load(std::memory_order_acquire); }

    bool Startup(CommandLine& commandLine) override;
    void Cleanup() override;
    // The handlers may stop at any moment then, so the lists are emptied.
    bool OnException(Exception* exception) override;

    boost::shared_ptr<Job> GetJobByID(UID const& id) override;
    // The reference holds until the calling thread has asked for some others.
    Engine const& GetEngineByID(UID const& id) override;
    std::vector<UID> GetAllJobs() override;
    size_t GetAllEngines(EngineSet& engines) override;
    // For people; a Pool, else an Engine, else the id as text. Any thread.
    String GetPoolName(UID const& pool) override;
    String GetClientName() override { return "VorlanGui"; }
    MasterHosts OwnHosts() override { return {k_OptionMaster.Get(), k_OptionMasterPort.Get()}; }
    // The user is told why.
    void RequestHasFailed(UID const& id, String const& reason) override;

    void UpdateStatusBar() override;

    vorlan::RepeatFile& RepeatJobs() { return m_repeatFile; }
    MainWindow* Window() const { return m_window; }

    void OnVorlanAppStartupEvt(VorlanAppStartupEvt& event);

private:
    // What the options file says that cannot be used.
    void TellOptionFaults();
    bool DecideEngineMode();
    void LoadRepeatFile();

    void OnWindowGone(wxWindowDestroyEvent& event);
    void OnMessengerNotify(wxCommandEvent& event);
    void OnMessengerDisconnectedEvt(wxCommandEvent& event);

    void ResetIdleTime() override;
    void OnRestrictionsChanged() override;
    void ShowReport(String const& title, String const& text) override;
    // To the window's commands, on the GUI thread. Any thread.
    void PostMenu(int id, String const& text = String());

    static std::atomic<VorlanGui*> s_instance;

    vorlan::RepeatFile m_repeatFile{k_OptionRepeatCount.Default()};

    // Set before the Messenger starts and cleared after it has ended.
    MainWindow* m_window = nullptr;
};

} // namespace vorlan
