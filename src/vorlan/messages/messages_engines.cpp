#include <vorlan/messages_engines.h>

#include "messagecodec.h"

namespace vorlan {

void AddEngineMessages(MessageKinds& kinds) { AddTable<EngineMessages>(kinds); }

} // namespace vorlan
