#include "serviceoptions.h"

#include "options.h"

namespace vorlan {

namespace {

// Null for a component that no service runs.
LocalOption<int> const* OldStartOption(int component) {
    switch (component) {
    case k_ComponentEngine:
        return &k_OptionOldStartEngine;
    case k_ComponentMaster:
        return &k_OptionOldStartMaster;
    default:
        return nullptr;
    }
}

// One without a value is moved as "not set": the key itself says that it was moved.
void MoveOption(LocalOption<int> const& from, LocalOption<int> const& to) {
    OptionsFile::PauseAutoWrite const pause(VorlanApp::GetOptions());
    to.Set(from.Get());
    from.Clear();
}

} // namespace

bool IsRunByService(int component) {
    LocalOption<int> const* const old = OldStartOption(component);
    return old && old->Has();
}

void MoveStartOptionAway(int component) {
    if (OldStartOption(component) && !IsRunByService(component))
        MoveOption(*StartOption(component), *OldStartOption(component));
}

void BringStartOptionBack(int component) {
    if (IsRunByService(component))
        MoveOption(*OldStartOption(component), *StartOption(component));
}

} // namespace vorlan
