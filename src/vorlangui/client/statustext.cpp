#include "statustext.h"

namespace vorlan {

using corekit::String;

String EngineStatusText(size_t all, size_t available, size_t active) {
    return String::From(all) + " Engines (" + String::From(available) + " Available, " + String::From(active) +
           " Active)";
}

String JobStatusText(size_t all, size_t active, size_t finished) {
    return String::From(all) + " Jobs (" + String::From(active) + " Active, " + String::From(finished) + " Finished)";
}

String WorkStatusText(size_t all) { return String::From(all) + " Work"; }

String JoinedStatus(String const& engines, String const& jobs, String const& work) {
    constexpr char k_Separator[] = "   |   ";
    String text = engines;
    for (String const* part : {&jobs, &work}) {
        if (!text.Empty())
            text += k_Separator;
        text += *part;
    }
    return text;
}

} // namespace vorlan
