// The start and the stop of the components: the sources are asked here, the decision
// is componentcontrol's.
#include "componentcontrol.h"
#include "farmclient.h"
#include "options.h"
#include "outside/outside.h"
#include "serviceoptions.h"

#include <corekit/callentry.h>
#include <corekit/log.h>
#include <vorlan/vorlanapp.h>

namespace vorlan {

void FarmClient::_StartComponent(int component, int masterRequest) {
    CALL_ENTRY();
    LocalOption<int> const* const option = StartOption(component);
    if (!option)
        return;
    char const* const key = option->Key();
    String const name = Components::GetName(component);
    if (IsRunByService(component)) {
        LogStatus(name + " is a service of this machine: it is neither started nor stopped here");
        return;
    }
    StartSources sources;
    if (m_commandLineInUse && m_commandLineInUse->HasSwitch(key))
        sources.commandLine = m_commandLineInUse->GetArgument(key, 0, k_StartAndStop);
    sources.firstRun = k_OptionVersion.Get() == 0;
    sources.localOption = option->Get();
    sources.masterRequest = masterRequest;
    sources.storedDefault = MasterStartOption(component)->Get();

    StartDecision const decision = DecideStart(sources);
    if (decision.writeNotSet)
        option->Set(k_StartNotSet);
    if (decision.Start()) {
        LogStatus(decision.source + " requesting to start component: " + name);
        Outside::Get().StartComponent(component);
        return;
    }
    LogStatus(decision.source + " requesting not to start component: " + name +
              " (start = " + String::From(decision.value) + ")");
    bool const isServing = component == k_ComponentMaster && Outside::Get().IsThisTheMaster();
    if (decision.Stop() && !isServing)
        Outside::Get().StopComponent(component);
}

void FarmClient::_StopComponent(int component) {
    CALL_ENTRY();
    LocalOption<int> const* const option = StartOption(component);
    if (!option || IsRunByService(component))
        return;
    std::optional<int> masterDefault;
    if (boost::shared_ptr<MasterDefaultStartupMsg> const message = MasterDefaultStartup()) {
        if (auto const found = message->components.find(component); found != message->components.end())
            masterDefault = found->second;
    }
    StopDecision const decision = DecideStop(component, option->Get(), masterDefault);
    String const name = Components::GetName(component);
    if (decision.Stop()) {
        LogStatus(decision.source + " set to stop component: " + name);
        Outside::Get().StopComponent(component);
    } else {
        LogStatus(decision.source + " set not to stop component: " + name +
                  " (disposition = " + String::From(decision.disposition) + ")");
    }
}

boost::shared_ptr<MasterDefaultStartupMsg> FarmClient::MasterDefaultStartup() const {
    CommonMutex::Lock const lock(m_startupMutex);
    return m_masterStartup;
}

void FarmClient::ForgetMasterDefaultStartup() {
    CommonMutex::Lock const lock(m_startupMutex);
    m_masterStartup.reset();
}

void FarmClient::TakeDefaultStartup(MasterDefaultStartupMsg const& message) {
    LogSystem("----- Processing MasterDefaultStartupMsg: -----");
    OptionsFile::PauseAutoWrite const pause(VorlanApp::GetOptions());
    {
        CommonMutex::Lock const lock(m_startupMutex);
        m_masterStartup = boost::make_shared<MasterDefaultStartupMsg>(message);
    }
    for (auto const& [component, value] : message.components) {
        if (!StartKey(component))
            continue;
        String const name = Components::GetName(component);
        if (value == k_StartNot && component == k_ComponentMaster && Outside::Get().IsThisTheMaster()) {
            LogSystem("... Ignoring Master no-start request because this machine is the Master");
            continue;
        }
        LogInfo("..." + name + " set to " + StartValueText(value));
        _StartComponent(component, value);
        MasterStartOption(component)->Set(value);
    }
    ResetIdleTime();
}

} // namespace vorlan
