#pragma once

// What the Engine does with each message of the Master.

#include "engine/report/outputservice.h"
#include "engine/workdesk.h"

#include <vorlan/messages.h>

#include <functional>
#include <unordered_map>

namespace vorlan {

// Gives each message to the part that deals with it.
//
// Owned by the Engine's main part; its thread. A message that the Engine has no use
// for is passed over.
class MasterDispatch {
public:
    struct Hooks {
        bool takesCommands = true;          // of people, run with the Engine's own rights; and its end
        std::function<void()> stop;         // the Engine is to end
        std::function<void()> stopPrograms; // all programs of this machine are to end
        std::function<void(unsigned)> keepOutputDays;
    };

    MasterDispatch(WorkDesk& desk, OutputService& output, Hooks hooks);

    void Handle(SinkPtr const& master, boost::shared_ptr<Message> const& message);

private:
    template <class T, class Function>
    void On(Function function);
    void OnProduct(ProductMsg const& message);
    void OnMachine(MachineMsg const& message);
    // Does it, unless the machine's options keep people from it.
    void Command(char const* what, std::function<void()> const& action);

    WorkDesk& m_desk;
    OutputService& m_output;
    Hooks const m_hooks;
    std::unordered_map<UID, std::function<void(SinkPtr const&, Message const&)>> m_handlers;
};

// The command line that does a MachineMsg operation, with systemd and without it; empty
// for a number that is none.
String MachineScript(int operation);

} // namespace vorlan
