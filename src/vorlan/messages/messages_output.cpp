#include <vorlan/messages_output.h>

#include "messagecodec.h"

namespace vorlan {

template class MessageOf<GetOutputMsg>;
template class MessageOf<OutputDataMsg>;
template class MessageOf<CloseOutputMsg>;
template class MessageOf<GetHardwareMsg>;
template class MessageOf<HardwareMsg>;

void AddOutputMessages(MessageKinds& kinds) {
    AddKinds<GetOutputMsg, OutputDataMsg, CloseOutputMsg, GetHardwareMsg, HardwareMsg>(kinds);
}

} // namespace vorlan
