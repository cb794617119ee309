#pragma once

// Whether a component of this machine is started, and whether it is stopped when the
// client ends. Values in, decision out; the client asks its sources and acts.

#include <corekit/string.h>
#include <optional>
#include <vorlan/components.h>

namespace vorlan {

template <class T>
class LocalOption;

// What an option, a switch or the Master may say about a component.
enum StartValue : int {
    k_StartNotSet = -1,  // ask the next source
    k_StartNot = 0,      // and stop it if it runs
    k_StartAndStop = 1,  // stop it when the client ends
    k_StartAndLeave = 2, // leave it running
};

// The option of a component, and the Master's last word on it, which is the hard-coded
// value at first. Null for the client.
LocalOption<int> const* StartOption(int component);
LocalOption<int> const* MasterStartOption(int component);
// The key of its option, also its switch: "StartMaster". Null for the client.
char const* StartKey(int component);
// What holds where nobody says anything.
int HardCodedStart(int component);
// For the log: "start and stop with the GUI".
char const* StartValueText(int value);

// The components in the order in which they are started and stopped.
inline constexpr int k_StopOrder[] = {k_ComponentEngine, k_ComponentMaster, k_ComponentBrakka, k_ComponentMerrow,
                                      k_ComponentPanvale};

struct StartSources {
    std::optional<int> commandLine; // the switch was given
    bool firstRun = false;          // this program has never run here
    int localOption = k_StartNotSet;
    int masterRequest = k_StartNotSet;
    int storedDefault = k_StartNotSet; // the Master's last word, else the hard-coded value
};

struct StartDecision {
    int value = k_StartNotSet;
    String source;
    bool writeNotSet = false; // note in the options that this machine has no choice of its own

    bool Start() const { return value >= 1; }
    // Any other value below 1 stops nothing.
    bool Stop() const { return value == k_StartNot; }
    bool operator==(StartDecision const&) const = default;
};
StartDecision DecideStart(StartSources const& sources);

struct StopDecision {
    unsigned disposition = 0;
    String source;

    bool Stop() const { return disposition < k_StartAndLeave; }
    bool operator==(StopDecision const&) const = default;
};
// `masterDefault`: what the Master has said in this run, if anything.
StopDecision DecideStop(int component, int localOption, std::optional<int> masterDefault);

} // namespace vorlan
