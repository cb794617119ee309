#pragma once

// The client's own options, a line each: this is where an option's place, type and
// default are stated. optiontable.cpp lists them for the check of the file.

#include "componentcontrol.h"

#include <corekit/option.h>
#include <corekit/optionsfile.h>
#include <vorlan/keys.h>
#include <vorlan/vorlanapp.h>

namespace vorlan {

// An option of this program's own file. Any thread.
template <class T>
class LocalOption : public Option<T> {
public:
    using Option<T>::Option;

    // The same option for a place where another default holds.
    constexpr LocalOption WithDefault(typename Option<T>::Constant missing) const {
        return LocalOption(this->Section(), this->Key(), missing, this->About());
    }

    using Option<T>::Get;
    using Option<T>::Set;
    using OptionInfo::Clear;
    using OptionInfo::Has;
    T Get() const { return Option<T>::Get(VorlanApp::GetOptions()); }
    void Set(T const& value) const { Option<T>::Set(VorlanApp::GetOptions(), value); }
    void Clear() const { OptionInfo::Clear(VorlanApp::GetOptions()); }
    bool Has() const { return OptionInfo::Has(VorlanApp::GetOptions()); }
};

inline constexpr char k_Configuration[] = "Configuration";
inline constexpr char k_WindowSection[] = "Window";
inline constexpr char k_MasterDefaultStartup[] = "MasterDefaultStartup";

inline constexpr LocalOption<unsigned> k_OptionVersion{k_Configuration, "Version", 0,
                                                       "the last version that has run; 0: none"};
inline constexpr LocalOption<bool> k_OptionInEngineMode{k_Configuration, "InEngineMode", false,
                                                        "the client only runs the Engine"};
inline constexpr LocalOption<bool> k_OptionWasTheMaster{k_Configuration, "WasTheMaster", false,
                                                        "this machine served when it was last seen"};

// What starts with the client: a StartValue each.
inline constexpr LocalOption<int> k_OptionStartEngine{k_Configuration, "StartEngine", k_StartNotSet,
                                                      "-1 as the Master says, 0 no, 1 start and stop, 2 leave"};
inline constexpr LocalOption<int> k_OptionStartMaster{k_Configuration, "StartMaster", k_StartNotSet, "the same"};
inline constexpr LocalOption<int> k_OptionStartBrakka{k_Configuration, "StartBrakka", k_StartNotSet, "the same"};
inline constexpr LocalOption<int> k_OptionStartMerrow{k_Configuration, "StartMerrow", k_StartNotSet, "the same"};
inline constexpr LocalOption<int> k_OptionStartPanvale{k_Configuration, "StartPanvale", k_StartNotSet, "the same"};
// As the question at the client's end sees them.
inline constexpr auto k_OptionStartEngineAtClose = k_OptionStartEngine.WithDefault(k_StartAndStop);
inline constexpr auto k_OptionStartMasterAtClose = k_OptionStartMaster.WithDefault(k_StartAndStop);
inline constexpr LocalOption<int> k_OptionOldStartEngine{k_Configuration, "OldStartEngine", k_StartNotSet,
                                                         "StartEngine before the Engine became a service"};
inline constexpr LocalOption<int> k_OptionOldStartMaster{k_Configuration, "OldStartMaster", k_StartNotSet,
                                                         "StartMaster before the Master became a service"};
// The Master's last word on them, by their programs' names.
inline constexpr LocalOption<int> k_OptionMasterStartsEngine{k_MasterDefaultStartup, "VorlanEngine", k_StartAndStop,
                                                             "the Master's last word on that program"};
inline constexpr LocalOption<int> k_OptionMasterStartsMaster{k_MasterDefaultStartup, "VorlanMaster", k_StartAndStop,
                                                             "the same"};
inline constexpr LocalOption<int> k_OptionMasterStartsBrakka{k_MasterDefaultStartup, "Brakka", k_StartNot, "the same"};
inline constexpr LocalOption<int> k_OptionMasterStartsMerrow{k_MasterDefaultStartup, "Merrow", k_StartNot, "the same"};
inline constexpr LocalOption<int> k_OptionMasterStartsPanvale{k_MasterDefaultStartup, "Panvale", k_StartNot,
                                                              "the same"};

// New Jobs and what is done with work.
inline constexpr LocalOption<String> k_OptionCreator{k_Configuration, "Creator", "",
                                                     "the Creator of new Jobs; empty: the user"};
inline constexpr LocalOption<String> k_OptionOvertimeKill{k_Configuration, "OvertimeKill", "15",
                                                          "the overtime ratio of new Jobs"};
inline constexpr LocalOption<String> k_OptionVNCCommand{k_Configuration, "VNCCommand", "mstsc /v:$(Engine)",
                                                        "shows the screen of an Engine"};
inline constexpr LocalOption<int> k_OptionNewJobWindow{k_Configuration, "NewJobWindow", 1,
                                                       "0 begins with the defaults, 1 with the last Job"};
inline constexpr LocalOption<bool> k_OptionLoadImmediate{k_Configuration, "LoadImmediate", false,
                                                         "Jobs of a file are sent without a question"};
inline constexpr LocalOption<bool> k_OptionDropImmediate{k_Configuration, "DropImmediate", false,
                                                         "the same for a file that is dropped"};
// As it holds when a file is dropped.
inline constexpr auto k_OptionDropImmediateAtDrop = k_OptionDropImmediate.WithDefault(true);
inline constexpr LocalOption<bool> k_OptionRequeueImmediate{k_Configuration, "RequeueImmediate", false,
                                                            "the same for frames that are queued again"};
// As it holds when frames are queued again.
inline constexpr auto k_OptionRequeueImmediateAtRequeue = k_OptionRequeueImmediate.WithDefault(true);
inline constexpr LocalOption<bool> k_OptionPauseOnStopAllWork{k_Configuration, "PauseOnStopAllWork", true,
                                                              "stopping all work pauses the Job too"};
inline constexpr LocalOption<int> k_OptionStopAndRequeueStatus{k_Configuration, "StopAndRequeueStatus", 0,
                                                               "which status the command gives, from 0"};
inline constexpr LocalOption<int> k_OptionStopPermanentlyStatus{k_Configuration, "StopPermanentlyStatus", 0,
                                                                "the same"};
inline constexpr LocalOption<unsigned> k_OptionRepeatCount{k_Configuration, "RepeatCount", 20,
                                                           "Jobs that are kept for repeating"};
inline constexpr LocalOption<unsigned> k_OptionJobDlgVersion{k_Configuration, "JobDlgVersion", 0,
                                                             "of the Job dialog that last ran here"};
inline constexpr LocalOption<int> k_OptionIdleTimeout{k_Configuration, o_IdleTimeout, o_IdleTimeoutDefault,
                                                      "minutes; -1 as the Master says, 0 never"};

// The window.
inline constexpr LocalOption<bool> k_OptionToolbar{k_WindowSection, "Toolbar", true, "the toolbar is shown"};
inline constexpr LocalOption<bool> k_OptionStatusBar{k_WindowSection, "StatusBar", true, "the status bar is shown"};
inline constexpr LocalOption<bool> k_OptionInfoPane{k_WindowSection, "InfoPane", true, "the information pane is shown"};
inline constexpr LocalOption<double> k_OptionSplitter{k_WindowSection, "Splitter", 0.75,
                                                      "where its sash stands, of the width"};
inline constexpr OptionFamily<bool> k_OptionToolbarGroup{k_WindowSection, "ToolbarGroup-*", true,
                                                         "the group of that number is open"};
inline constexpr LocalOption<unsigned> k_OptionView{k_WindowSection, "View", 0, "the tab in front"};
inline constexpr LocalOption<int> k_OptionViewCount{k_WindowSection, "ViewCount", 0, "views that are kept"};
inline constexpr LocalOption<String> k_OptionDefaultDir{k_WindowSection, "DefaultDir", "",
                                                        "the last folder of Job files"};
inline constexpr LocalOption<String> k_OptionInfoSelections{k_WindowSection, "InfoSelections", "",
                                                            "the tabs of the information pane"};
inline constexpr LocalOption<String> k_OptionInfoEngine{k_WindowSection, "ENGINE", "", "its tab for Engines"};
inline constexpr LocalOption<String> k_OptionInfoJob{k_WindowSection, "JOB", "", "its tab for Jobs"};
inline constexpr LocalOption<String> k_OptionInfoWork{k_WindowSection, "WORK", "", "its tab for work"};
inline constexpr LocalOption<bool> k_OptionAutoComplete{k_WindowSection, o_AutoComplete, o_AutoCompleteDefault,
                                                        "text fields complete what is typed"};

// Of each list, in a section of its own.
inline constexpr SectionOption<String> k_OptionAllColumns{"AllColumns", "", "its columns; empty: those it begins with"};
inline constexpr SectionOption<int> k_OptionSortColumn{"SortCol", 0, "the column that sorts it"};
inline constexpr SectionOption<int> k_OptionSecondSortColumn{"Sort2Col", -1, "the one before that; -1: none"};

inline constexpr LocalOption<bool> k_OptionAlwaysAdministrate{o_Setup, "AlwaysAdministrate", false,
                                                              "this client starts in administrator mode"};
inline constexpr LocalOption<unsigned> k_OptionMaxEngineHistoryItems{
    o_Setup, o_MaxEngineHistoryItems, o_MaxEngineHistoryItemsDefault, "lines of an Engine's log that are kept"};

inline constexpr LocalOption<String> k_OptionMaster{o_Communication, o_Master, o_MasterDefault,
                                                    "hosts of the Master for this client; empty: it is looked for"};
inline constexpr LocalOption<unsigned short> k_OptionMasterPort{o_Communication, o_MasterPort, o_MasterPortDefault,
                                                                "its port"};

} // namespace vorlan
