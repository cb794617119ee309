#pragma once

// Keys of the client's own options.

namespace vorlan {

inline constexpr char k_Configuration[] = "Configuration";
inline constexpr char k_OptionVersion[] = "Version";
inline constexpr char k_OptionInEngineMode[] = "InEngineMode";
inline constexpr char k_OptionWasTheMaster[] = "WasTheMaster";
inline constexpr char k_OptionDropImmediate[] = "DropImmediate"; // no question first
inline constexpr char k_OptionRepeatCount[] = "RepeatCount";
inline constexpr unsigned k_RepeatCountDefault = 20;

// The Master's last word on what starts, by the component's name.
inline constexpr char k_MasterDefaultStartup[] = "MasterDefaultStartup";

// The window's section and keys.
inline constexpr char k_WindowSection[] = "Window";
inline constexpr char k_OptionStatusBar[] = "StatusBar";
inline constexpr char k_OptionToolbar[] = "Toolbar";
inline constexpr char k_OptionInfoPane[] = "InfoPane";
inline constexpr char k_OptionSplitter[] = "Splitter"; // part of the width
inline constexpr char k_OptionView[] = "View";

} // namespace vorlan
