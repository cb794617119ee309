#include <vorlan/messages_output.h>

#include "messagecodec.h"

namespace vorlan {

void AddOutputMessages(MessageKinds& kinds) { AddTable<OutputMessages>(kinds); }

} // namespace vorlan
