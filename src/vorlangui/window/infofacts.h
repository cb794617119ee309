#pragma once

// What the info pane says of a thing: a heading, its state, and facts by their names.
// Pure but for the mirrored lists that the things themselves ask.

#include "model/engineinfo.h"
#include "model/jobinfo.h"
#include "model/worklist.h"

#include <corekit/string.h>
#include <wx/wxvcolors.h>

#include <vector>

namespace vorlan {

struct InfoFacts {
    struct Fact {
        char const* name; // untranslated
        String value;
        bool operator==(Fact const&) const = default;
    };

    String heading;
    String state;
    ColorName stateColor = ColorName::Text;
    std::vector<Fact> facts; // none has an empty value

    bool operator==(InfoFacts const&) const = default;
};

InfoFacts FactsOf(JobInfo const& info, Time const& now);
InfoFacts FactsOf(EngineInfo const& engine);
InfoFacts FactsOf(WorkInfo const& work, Time const& now);

} // namespace vorlan
