#include "optiontable.h"

#include "options.h"

namespace vorlan {

OptionTable const& LocalOptions() {
    static OptionTable const s_table{&k_OptionVersion,
                                     &k_OptionInEngineMode,
                                     &k_OptionWasTheMaster,
                                     &k_OptionStartEngine,
                                     &k_OptionStartMaster,
                                     &k_OptionStartBrakka,
                                     &k_OptionStartMerrow,
                                     &k_OptionStartPanvale,
                                     &k_OptionOldStartEngine,
                                     &k_OptionOldStartMaster,
                                     &k_OptionMasterStartsEngine,
                                     &k_OptionMasterStartsMaster,
                                     &k_OptionMasterStartsBrakka,
                                     &k_OptionMasterStartsMerrow,
                                     &k_OptionMasterStartsPanvale,
                                     &k_OptionCreator,
                                     &k_OptionOvertimeKill,
                                     &k_OptionVNCCommand,
                                     &k_OptionNewJobWindow,
                                     &k_OptionLoadImmediate,
                                     &k_OptionDropImmediate,
                                     &k_OptionRequeueImmediate,
                                     &k_OptionPauseOnStopAllWork,
                                     &k_OptionStopAndRequeueStatus,
                                     &k_OptionStopPermanentlyStatus,
                                     &k_OptionRepeatCount,
                                     &k_OptionJobDlgVersion,
                                     &k_OptionIdleTimeout,
                                     &k_OptionToolbar,
                                     &k_OptionStatusBar,
                                     &k_OptionInfoPane,
                                     &k_OptionSplitter,
                                     &k_OptionToolbarGroup,
                                     &k_OptionView,
                                     &k_OptionViewCount,
                                     &k_OptionDefaultDir,
                                     &k_OptionInfoSelections,
                                     &k_OptionInfoEngine,
                                     &k_OptionInfoJob,
                                     &k_OptionInfoWork,
                                     &k_OptionAutoComplete,
                                     &k_OptionAlwaysAdministrate,
                                     &k_OptionMaxEngineHistoryItems,
                                     &k_OptionMaster,
                                     &k_OptionMasterPort};
    return s_table;
}

} // namespace vorlan
