#pragma once

#include <corekit/option.h>

namespace corekit {
class OptionsFile;
}

// The options in which windows keep their places and dialogs their memory. Set once
// by the application, before the first window; null: nothing is kept. GUI thread.
void wxvSetOptions(corekit::OptionsFile* options);
corekit::OptionsFile* wxvOptions();

// The options that this library's windows keep, for CheckOptions.
corekit::OptionTable wxvOptionTable();

// The place of a window, in pixels, in the window's own section.
inline constexpr corekit::SectionOption<int> k_OptionLeft{"Left", 0, "in pixels"};
inline constexpr corekit::SectionOption<int> k_OptionTop{"Top", 0, "in pixels"};
inline constexpr corekit::SectionOption<int> k_OptionWidth{"Width", 0, "in pixels"};
inline constexpr corekit::SectionOption<int> k_OptionHeight{"Height", 0, "in pixels"};
inline constexpr corekit::SectionOption<bool> k_OptionMaximized{"Maximized", false, "it fills the screen"};

inline constexpr corekit::OptionFamily<corekit::String> k_OptionLayout{"Window", "* Layout", "",
                                                                       "the order of the tabs of that book"};
inline constexpr corekit::OptionFamily<bool> k_OptionConfirm{"Confirm", "*", false,
                                                             "the question of that name is not asked any more"};
