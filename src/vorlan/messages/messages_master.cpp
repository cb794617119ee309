#include <vorlan/messages_master.h>

#include "messagecodec.h"

namespace vorlan {

template class MessageOf<SetMasterOptionsMsg>;
template class MessageOf<SetMasterLimitsMsg>;
template class MessageOf<SetMasterRestrictionsMsg>;
template class MessageOf<MasterInfoMsg>;
template class MessageOf<MasterDefaultStartupMsg>;
template class MessageOf<DispatchResultMsg>;
template class MessageOf<MasterLogsMsg>;
template class MessageOf<PathTranslationsMsg>;
template class MessageOf<ProductMsg>;
template class MessageOf<RemoveProductMsg>;
template class MessageOf<FailureArchiveMsg>;
template class MessageOf<LoadedMsg>;
template class MessageOf<RefusedMsg>;
template class MessageOf<PingMsg>;
template class MessageOf<PongMsg>;

void AddMasterMessages(MessageKinds& kinds) {
    AddKinds<SetMasterOptionsMsg, SetMasterLimitsMsg, SetMasterRestrictionsMsg, MasterInfoMsg, MasterDefaultStartupMsg,
             DispatchResultMsg, MasterLogsMsg, PathTranslationsMsg, ProductMsg, RemoveProductMsg, FailureArchiveMsg,
             LoadedMsg, RefusedMsg, PingMsg, PongMsg>(kinds);
}

} // namespace vorlan
