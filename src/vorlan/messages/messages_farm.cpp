#include <vorlan/messages_farm.h>

#include "messagecodec.h"

namespace vorlan {

template class MessageOf<RegisterEngineMsg>;
template class MessageOf<HeartbeatMsg>;
template class MessageOf<RunWorkMsg>;
template class MessageOf<EndWorkMsg>;
template class MessageOf<WorkBegunMsg>;
template class MessageOf<WorkProgressMsg>;
template class MessageOf<WorkEndedMsg>;
template class MessageOf<WorkEndedAckMsg>;
template class MessageOf<EngineSettingsMsg>;
template class MessageOf<JobGoneMsg>;

void AddFarmMessages(MessageKinds& kinds) {
    AddKinds<RegisterEngineMsg, HeartbeatMsg, RunWorkMsg, EndWorkMsg, WorkBegunMsg, WorkProgressMsg, WorkEndedMsg,
             WorkEndedAckMsg, EngineSettingsMsg, JobGoneMsg>(kinds);
}

} // namespace vorlan
