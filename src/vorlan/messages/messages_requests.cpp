#include <vorlan/messages_requests.h>

#include "messagecodec.h"

#include <vorlan/status.h>

namespace vorlan {

template class MessageOf<NotifyOnEventMsg, FollowJobMsg>;
template class MessageOf<GetEngineInfoMsg, FollowJobMsg>;
template class MessageOf<GetJobInfoMsg, FollowJobMsg>;
template class MessageOf<GetMasterOptionsMsg>;
template class MessageOf<GetMasterLimitsMsg>;
template class MessageOf<GetMasterRestrictionsMsg>;
template class MessageOf<GetDefaultEngineMsg>;
template class MessageOf<GetFailureArchiveMsg>;
template class MessageOf<GetPoolsMsg>;
template class MessageOf<GetZjobsMsg>;
template class MessageOf<StopWorkMsg>;
template class MessageOf<ReportJobStatusMsg>;
template class MessageOf<WatchJobDispatchMsg>;
template class MessageOf<WatchEngineDispatchMsg>;
template class MessageOf<ReviveJobMsg>;
template class MessageOf<DeleteZjobMsg>;
template class MessageOf<MachineMsg>;
template class MessageOf<StopVorlanOnNodeMsg>;
template class MessageOf<ShutdownMsg>;
template class MessageOf<MasterResignMsg>;
template class MessageOf<LogDumpMsg>;
template class MessageOf<ExecuteCommandMsg>;

boost::shared_ptr<StopWorkMsg> StopWorkMsg::Create(UID const& work, int status, String const& reason) {
    auto message = New();
    message->work = work;
    message->status = status;
    message->reason = reason;
    message->action = static_cast<int>(IsFinishedStatus(status) ? StopAction::Cancel : StopAction::Requeue);
    return message;
}

void AddRequestMessages(MessageKinds& kinds) {
    AddKinds<NotifyOnEventMsg, GetEngineInfoMsg, GetJobInfoMsg, GetMasterOptionsMsg, GetMasterLimitsMsg,
             GetMasterRestrictionsMsg, GetDefaultEngineMsg, GetFailureArchiveMsg, GetPoolsMsg, GetZjobsMsg, StopWorkMsg,
             ReportJobStatusMsg, WatchJobDispatchMsg, WatchEngineDispatchMsg, ReviveJobMsg, DeleteZjobMsg, MachineMsg,
             StopVorlanOnNodeMsg, ShutdownMsg, MasterResignMsg, LogDumpMsg, ExecuteCommandMsg>(kinds);
}

} // namespace vorlan
