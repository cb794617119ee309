#include <vorlan/messages_jobs.h>

#include "messagecodec.h"

namespace vorlan {

template class MessageOf<JobMsg>;
template class MessageOf<JobParameterMsg>;
template class MessageOf<FinishedJobMsg>;
template class MessageOf<DeleteJobMsg>;
template class MessageOf<StartJobInfoMsg>;
template class MessageOf<EndJobInfoMsg>;
template class MessageOf<JobHistoryMsg>;
template class MessageOf<WorkHistoryElementMsg>;
template class MessageOf<AssignedWorkMsg>;
template class MessageOf<StartedWorkMsg>;
template class MessageOf<FinishedWorkMsg>;
template class MessageOf<WorkParameterChangedMsg>;
template class MessageOf<ResetJobFailuresMsg>;
template class MessageOf<ZjobsStartMsg>;
template class MessageOf<ZjobsMsg>;
template class MessageOf<ZjobsEndMsg>;

void AddJobMessages(MessageKinds& kinds) {
    AddKinds<JobMsg, JobParameterMsg, FinishedJobMsg, DeleteJobMsg, StartJobInfoMsg, EndJobInfoMsg, JobHistoryMsg,
             WorkHistoryElementMsg, AssignedWorkMsg, StartedWorkMsg, FinishedWorkMsg, WorkParameterChangedMsg,
             ResetJobFailuresMsg, ZjobsStartMsg, ZjobsMsg, ZjobsEndMsg>(kinds);
}

} // namespace vorlan
