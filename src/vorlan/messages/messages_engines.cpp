#include <vorlan/messages_engines.h>

#include "messagecodec.h"

namespace vorlan {

template class MessageOf<EngineMsg>;
template class MessageOf<EngineOptionsMsg>;
template class MessageOf<RemoveEngineMsg>;
template class MessageOf<StartEngineInfoMsg>;
template class MessageOf<EndEngineInfoMsg>;
template class MessageOf<EngineHistoryMsg>;
template class MessageOf<EngineHistoryElementMsg>;
template class MessageOf<DefaultEngineMsg>;
template class MessageOf<DefaultEngineOptionsMsg>;
template class MessageOf<PoolMsg>;
template class MessageOf<DeletePoolMsg>;
template class MessageOf<ResetEngineFailuresMsg>;

void AddEngineMessages(MessageKinds& kinds) {
    AddKinds<EngineMsg, EngineOptionsMsg, RemoveEngineMsg, StartEngineInfoMsg, EndEngineInfoMsg, EngineHistoryMsg,
             EngineHistoryElementMsg, DefaultEngineMsg, DefaultEngineOptionsMsg, PoolMsg, DeletePoolMsg,
             ResetEngineFailuresMsg>(kinds);
}

} // namespace vorlan
