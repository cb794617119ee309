#include "componentcontrol.h"

#include "options.h"

#include <array>

namespace vorlan {

namespace {

struct ComponentRow {
    LocalOption<int> const* start;
    LocalOption<int> const* masterStarts;
};

constexpr std::array<ComponentRow, k_ComponentCount> k_Components{{
    {&k_OptionStartMaster, &k_OptionMasterStartsMaster},
    {&k_OptionStartEngine, &k_OptionMasterStartsEngine},
    {nullptr, nullptr},
    {&k_OptionStartBrakka, &k_OptionMasterStartsBrakka},
    {&k_OptionStartMerrow, &k_OptionMasterStartsMerrow},
    {&k_OptionStartPanvale, &k_OptionMasterStartsPanvale},
}};

ComponentRow RowOf(int component) {
    return component >= 0 && component < k_ComponentCount ? k_Components[component] : ComponentRow();
}

} // namespace

LocalOption<int> const* StartOption(int component) { return RowOf(component).start; }

LocalOption<int> const* MasterStartOption(int component) { return RowOf(component).masterStarts; }

char const* StartKey(int component) {
    LocalOption<int> const* const option = StartOption(component);
    return option ? option->Key() : nullptr;
}

int HardCodedStart(int component) {
    LocalOption<int> const* const option = MasterStartOption(component);
    return option ? option->Default() : int{k_StartNot};
}

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
