#include <vorlan/messages_jobs.h>

#include "messagecodec.h"

namespace vorlan {

void AddJobMessages(MessageKinds& kinds) { AddTable<JobMessages>(kinds); }

} // namespace vorlan
