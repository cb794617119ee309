#include <vorlan/messages_farm.h>

#include "messagecodec.h"

namespace vorlan {

void AddFarmMessages(MessageKinds& kinds) { AddTable<FarmMessages>(kinds); }

} // namespace vorlan
