#include "engine/masterdispatch.h"

#include <corekit/exception.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>
#include <vorlan/productfile.h>

namespace vorlan {

String MachineScript(int operation) {
    switch (operation) {
    case 0:
        return "systemctl suspend 2>/dev/null || echo mem > /sys/power/state";
    case 1:
        return "systemctl reboot 2>/dev/null || shutdown -r now || reboot";
    case 2:
        return "systemctl poweroff 2>/dev/null || shutdown -h now || poweroff";
    default:
        return {};
    }
}

template <class T, class Function>
void MasterDispatch::On(Function function) {
    static_assert((T::k_Ways & ToEngines) != 0, "nobody sends this to an Engine");
    m_handlers[T::s_Type] = [function](SinkPtr const& master, Message const& message) {
        function(master, static_cast<T const&>(message));
    };
}

MasterDispatch::MasterDispatch(WorkDesk& desk, OutputService& output, Hooks hooks)
    : m_desk(desk), m_output(output), m_hooks(std::move(hooks)) {
    On<RunWorkMsg>([this](SinkPtr const&, auto const& message) { m_desk.OnRunWork(message); });
    On<EndWorkMsg>([this](SinkPtr const&, auto const& message) { m_desk.OnEndWork(message); });
    On<WorkEndedAckMsg>([this](SinkPtr const&, auto const& message) { m_desk.OnAcknowledged(message); });
    On<EngineSettingsMsg>([this](SinkPtr const&, auto const& message) { m_desk.OnSettings(message); });
    On<RunJobCommandMsg>([this](SinkPtr const&, auto const& message) { m_desk.OnJobCommand(message); });
    On<JobGoneMsg>([this](SinkPtr const&, auto const& message) { m_desk.OnJobGone(message); });
    On<ExecuteCommandMsg>([this](SinkPtr const&, auto const& message) {
        Command("to run a command", [&] { m_desk.OnExecute(message); });
    });
    On<GetOutputMsg>([this](SinkPtr const& master, auto const& message) { m_output.Request(master, message); });
    On<OutputTakenMsg>([this](SinkPtr const& master, auto const& message) {
        m_output.Taken(master, message.request, message.offset);
    });
    On<CloseOutputMsg>([this](SinkPtr const& master, auto const& message) { m_output.Close(master, message.request); });
    On<ProductMsg>([this](SinkPtr const&, auto const& message) { OnProduct(message); });
    On<RemoveProductMsg>(
        [](SinkPtr const&, auto const& message) { JobFactory::s_JobFactory->RemoveProduct(message.product); });
    On<MachineMsg>([this](SinkPtr const&, auto const& message) {
        Command("to stop or start its machine", [&] { OnMachine(message); });
    });
    On<StopVorlanOnNodeMsg>(
        [this](SinkPtr const&, auto const&) { Command("to end all programs", m_hooks.stopPrograms); });
    On<ShutdownMsg>([this](SinkPtr const&, auto const&) { Command("to end", m_hooks.stop); });
    On<PathTranslationsMsg>([this](SinkPtr const&, auto const& message) { m_desk.OnTranslations(message); });
    On<SetMasterOptionsMsg>([this](SinkPtr const&, auto const& message) {
        if (message.section.CompareNoCase(o_Setup) != 0)
            return;
        if (auto const days = message.options.find(o_OutputFileCleanup); days != message.options.end())
            m_hooks.keepOutputDays(static_cast<unsigned>(days->second.Uint(o_OutputFileCleanupDefault)));
    });
    On<RefusedMsg>([](SinkPtr const&, auto const& message) {
        LogWarning("The Master refused what this Engine sent: " + message.reason);
    });
}

void MasterDispatch::Handle(SinkPtr const& master, boost::shared_ptr<Message> const& message) {
    if (auto const handler = m_handlers.find(message->Type()); handler != m_handlers.end())
        handler->second(master, *message);
    else
        LogDebug("Passed over a " + String(message->TypeName()) + ".");
}

void MasterDispatch::Command(char const* what, std::function<void()> const& action) {
    if (m_hooks.takesCommands)
        return action();
    m_desk.History().Note(SFormat("Was told %s and did not: RemoteCommands is No in its VorlanEngine.ini", what));
}

void MasterDispatch::OnProduct(ProductMsg const& message) {
    try {
        JobFactory::s_JobFactory->SetProduct(ProductFromText(message.text));
    } catch (Exception const& error) {
        LogError("A Product of the Master cannot be used here: " + error.Message());
    }
}

void MasterDispatch::OnMachine(MachineMsg const& message) {
    String const script = MachineScript(message.operation);
    if (!script.Empty()) {
        m_desk.History().Note("The machine is told: " + script);
        m_desk.Side().Run(MakeSideCommand({"machine", {script, {}}}, Path("/")));
    }
}

} // namespace vorlan
