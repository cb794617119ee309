#include "componentcontrol.h"

#include <array>

namespace vorlan {

namespace {

struct ComponentRow {
    char const* key;
    int hardCoded;
};

constexpr std::array<ComponentRow, k_ComponentCount> k_Components{{
    {"StartMaster", k_StartAndStop},
    {"StartEngine", k_StartAndStop},
    {nullptr, k_StartNot},
    {"StartBrakka", k_StartNot},
    {"StartMerrow", k_StartNot},
    {"StartPanvale", k_StartNot},
}};

bool IsComponent(int component) { return component >= 0 && component < k_ComponentCount; }

} // namespace

char const* StartKey(int component) { return IsComponent(component) ? k_Components[component].key : nullptr; }

int HardCodedStart(int component) { return IsComponent(component) ? k_Components[component].hardCoded : k_StartNot; }

char const* StartValueText(int value) {
    switch (value) {
    case k_StartNot:
        return "not start";
    case k_StartAndStop:
        return "start and stop with the GUI";
    case k_StartAndLeave:
        return "start and leave running";
    default:
        return "set to invalid control option";
    }
}

StartDecision DecideStart(StartSources const& sources) {
    StartDecision decision;
    if (sources.commandLine)
        decision.value = *sources.commandLine;
    else if (sources.firstRun)
        decision.writeNotSet = true;
    else
        decision.value = sources.localOption;
    if (decision.value >= 0) {
        decision.source = "Local option";
    } else if (sources.masterRequest != k_StartNotSet) {
        decision.value = sources.masterRequest;
        decision.source = "Master startup request";
    } else {
        decision.value = sources.storedDefault;
        decision.source = "Default";
    }
    return decision;
}

StopDecision DecideStop(int component, int localOption, std::optional<int> masterDefault) {
    if (localOption != k_StartNotSet)
        return {static_cast<unsigned>(localOption), "Local option"};
    if (masterDefault)
        return {static_cast<unsigned>(*masterDefault), "Master default"};
    return {static_cast<unsigned>(HardCodedStart(component)), "Hard coded default"};
}

} // namespace vorlan
