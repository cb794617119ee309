#include "optiontable.h"

#include "options.h"

#include <algorithm>
#include <charconv>
#include <vorlan/keys.h>

namespace vorlan {

namespace {

constexpr char k_Colors[] = "Colors";
constexpr char k_Confirm[] = "Confirm";

constexpr LocalOption k_Options[] = {
    {k_Configuration, k_OptionVersion, OptionType::Unsigned, "0", "the last version that has run; 0: none"},
    {k_Configuration, k_OptionInEngineMode, OptionType::Bool, "No", "the client only runs the Engine"},
    {k_Configuration, k_OptionWasTheMaster, OptionType::Bool, "No", "this machine served when it was last seen"},
    // The start asks for -1, the question at the end for 1.
    {k_Configuration, "StartEngine", OptionType::Int, nullptr,
     "-1 as the Master says, 0 no, 1 start and stop, 2 leave"},
    {k_Configuration, "StartMaster", OptionType::Int, nullptr, "the same"},
    {k_Configuration, "StartBrakka", OptionType::Int, "-1", "the same"},
    {k_Configuration, "StartMerrow", OptionType::Int, "-1", "the same"},
    {k_Configuration, "StartPanvale", OptionType::Int, "-1", "the same"},
    {k_Configuration, "OldStartEngine", OptionType::Int, nullptr, "StartEngine before the Engine became a service"},
    {k_Configuration, "OldStartMaster", OptionType::Int, nullptr, "StartMaster before the Master became a service"},
    {k_Configuration, "Creator", OptionType::Text, "", "the Creator of new Jobs; empty: the user"},
    {k_Configuration, "OvertimeKill", OptionType::Text, "15", "the overtime ratio of new Jobs"},
    {k_Configuration, "VNCCommand", OptionType::Text, "mstsc /v:$(Engine)", "shows the screen of an Engine"},
    {k_Configuration, "NewJobWindow", OptionType::Int, "1", "0 begins with the defaults, 1 with the last Job"},
    {k_Configuration, "LoadImmediate", OptionType::Bool, "No", "Jobs of a file are sent without a question"},
    // The options page shows no, a dropped file is taken for yes.
    {k_Configuration, k_OptionDropImmediate, OptionType::Bool, nullptr, "the same for a file that is dropped"},
    {k_Configuration, "RequeueImmediate", OptionType::Bool, "No", "the same for frames that are queued again"},
    {k_Configuration, "PauseOnStopAllWork", OptionType::Bool, nullptr, "stopping all work pauses the Job too"},
    {k_Configuration, "StopAndRequeueStatus", OptionType::Int, "0", "which status the command gives"},
    {k_Configuration, "StopPermanentlyStatus", OptionType::Int, "0", "the same"},
    {k_Configuration, k_OptionRepeatCount, OptionType::Unsigned, "20", "Jobs that are kept for repeating"},
    {k_Configuration, "JobDlgVersion", OptionType::Unsigned, "0", "of the Job dialog that last ran here"},
    {k_Configuration, o_IdleTimeout, OptionType::Int, "-1", "minutes; -1 as the Master says, 0 never"},
    {k_WindowSection, k_OptionToolbar, OptionType::Bool, "Yes", "the toolbar is shown"},
    {k_WindowSection, k_OptionStatusBar, OptionType::Bool, "Yes", "the status bar is shown"},
    {k_WindowSection, k_OptionInfoPane, OptionType::Bool, "Yes", "the information pane is shown"},
    {k_WindowSection, k_OptionSplitter, OptionType::Float, "0.75", "where its sash stands, of the width"},
    {k_WindowSection, "ToolbarGroup-*", OptionType::Bool, "Yes", "the group is open"},
    {k_WindowSection, k_OptionView, OptionType::Unsigned, "0", "the tab in front"},
    {k_WindowSection, "ViewCount", OptionType::Int, "0", "views that are kept"},
    {k_WindowSection, "DefaultDir", OptionType::Text, "", "the last folder of Job files"},
    {k_WindowSection, "InfoSelections", OptionType::Text, "", "the tabs of the information pane"},
    {k_WindowSection, "ENGINE", OptionType::Text, "", "its tab for Engines"},
    {k_WindowSection, "JOB", OptionType::Text, "", "its tab for Jobs"},
    {k_WindowSection, "WORK", OptionType::Text, "", "its tab for work"},
    {k_WindowSection, o_AutoComplete, OptionType::Bool, "Yes", "text fields complete what is typed"},
    // The place on the screen.
    {k_WindowSection, "Left", OptionType::Int, "0", "in pixels"},
    {k_WindowSection, "Top", OptionType::Int, "0", "in pixels"},
    {k_WindowSection, "Width", OptionType::Int, "0", "in pixels"},
    {k_WindowSection, "Height", OptionType::Int, "0", "in pixels"},
    {k_WindowSection, "Maximized", OptionType::Bool, "No", "it fills the screen"},
    {o_Setup, "AlwaysAdministrate", OptionType::Bool, "No", "this client starts in administrator mode"},
    {o_Setup, o_MaxEngineHistoryItems, OptionType::Unsigned, "1000", "lines of an Engine's log that are kept"},
    {k_Colors, "Scheme", OptionType::Unsigned, "2", "Lighter, Light, Dark, Darker, Custom, counted from 0"},
    // Of the scheme Custom.
    {k_Colors, "WindowBG*", OptionType::Color, nullptr, "behind everything"},
    {k_Colors, "Text*", OptionType::Color, nullptr, "of a text"},
    {k_Colors, "3D*", OptionType::Color, nullptr, "of an edge"},
    {k_Colors, "Button*", OptionType::Color, nullptr, "of a button and its text"},
    {k_Colors, "Selected", OptionType::Color, nullptr, "behind what is selected"},
    {k_Colors, "Header", OptionType::Color, nullptr, "of the heads of lists"},
    {k_Confirm, "*", OptionType::Bool, "No", "the question of that name is not asked any more"},
    {k_MasterDefaultStartup, "*", OptionType::Int, nullptr, "the Master's last word on that program"},
};

template <class T>
bool IsNumber(std::string_view text) {
    T value{};
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

// As the client writes it: "#26282B".
bool IsColor(std::string_view text) {
    constexpr size_t k_Length = 7;
    return text.size() == k_Length && text.front() == '#' &&
           text.find_first_not_of("0123456789ABCDEFabcdef", 1) == std::string_view::npos;
}

bool IsOf(OptionType type, String const& value) {
    switch (type) {
    case OptionType::Bool:
        return value.Bool(true) == value.Bool(false);
    case OptionType::Int:
        return IsNumber<int>(value);
    case OptionType::Unsigned:
        return IsNumber<unsigned>(value);
    case OptionType::Float:
        return IsNumber<double>(value);
    case OptionType::Color:
        return IsColor(value);
    case OptionType::Text:
        return true;
    }
    return false;
}

char const* Expected(OptionType type) {
    switch (type) {
    case OptionType::Bool:
        return "Yes or No";
    case OptionType::Int:
        return "a whole number";
    case OptionType::Unsigned:
        return "a whole number that is not below zero";
    case OptionType::Float:
        return "a number";
    case OptionType::Color:
        return "a colour such as #26282B";
    case OptionType::Text:
        break;
    }
    return "a text";
}

bool Matches(String const& pattern, String const& key) {
    if (pattern.EndsWith("*"))
        return key.Mid(0, pattern.size() - 1).CompareNoCase(pattern.Mid(0, pattern.size() - 1)) == 0;
    return pattern.CompareNoCase(key) == 0;
}

} // namespace

std::span<LocalOption const> LocalOptions() { return k_Options; }

LocalOption const* FindLocalOption(String const& section, String const& key) {
    auto const found = std::find_if(std::begin(k_Options), std::end(k_Options), [&](LocalOption const& option) {
        return section.CompareNoCase(option.section) == 0 && Matches(option.key, key);
    });
    return found == std::end(k_Options) ? nullptr : found;
}

std::vector<String> CheckLocalOptions(IniFile const& options) {
    std::vector<String> faults;
    for (char const* const section :
         {k_Configuration, k_WindowSection, o_Setup, k_Colors, k_Confirm, k_MasterDefaultStartup}) {
        for (String const& key : options.Keys(section)) {
            String const place = "Option \"" + key + "\" in section \"" + section + "\"";
            LocalOption const* const option = FindLocalOption(section, key);
            String const value = options.GetValue(section, key, "");
            if (!option)
                faults.push_back(place + " is not known: check its spelling.");
            else if (!value.empty() && !IsOf(option->type, value))
                faults.push_back(place + " is \"" + value + "\" and should be " + Expected(option->type) +
                                 ": it is not used.");
        }
    }
    return faults;
}

} // namespace vorlan
