#pragma once

#include <corekit/string.h>
#include <corekit/uid.h>
#include <map>
#include <optional>
#include <vorlan/fwd.h>

namespace vorlan {

class MainWindow;

// A command of a Product that stands in a menu at the moment.
struct CustomCommand {
    UID command; // of the Product
    String text;
    String parameter;
    // Sends it for what is selected: as a Job's command, or as one of work.
    void (*send)(MainWindow& window, CustomCommand const& command) = nullptr;
};

// CustomCommands gives numbers to the commands of Products and knows them by these.
// Owner: the MainWindow. Thread: the GUI thread.
class CustomCommands {
public:
    // Nothing when all numbers are taken.
    std::optional<int> Add(CustomCommand command);
    // Null for a number that was not given out, or not since Clear.
    CustomCommand const* Find(int id) const;
    // Their menus are made anew.
    void Clear() { m_commands.clear(); }

private:
    std::map<int, CustomCommand> m_commands;
};

} // namespace vorlan
