#include <corekit/optionsfile.h>
#include <wx/wxvcolors.h>
#include <wx/wxvoptions.h>

namespace {
corekit::OptionsFile* s_options = nullptr;
}

void wxvSetOptions(corekit::OptionsFile* options) { s_options = options; }
corekit::OptionsFile* wxvOptions() { return s_options; }

corekit::OptionTable wxvOptionTable() {
    corekit::OptionTable table = wxvColorOptions();
    table.insert(table.end(), {&k_OptionLeft, &k_OptionTop, &k_OptionWidth, &k_OptionHeight, &k_OptionMaximized,
                               &k_OptionLayout, &k_OptionConfirm});
    return table;
}
