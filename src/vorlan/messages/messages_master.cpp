#include <vorlan/messages_master.h>

#include "messagecodec.h"

namespace vorlan {

void AddMasterMessages(MessageKinds& kinds) { AddTable<MasterMessages>(kinds); }

} // namespace vorlan
