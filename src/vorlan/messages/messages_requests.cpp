#include <vorlan/messages_requests.h>

#include "messagecodec.h"

#include <vorlan/status.h>

namespace vorlan {

boost::shared_ptr<StopWorkMsg> StopWorkMsg::Create(UID const& work, int status, String const& reason) {
    auto const action = IsFinishedStatus(status) ? StopAction::Cancel : StopAction::Requeue;
    return MessageOf::Create(work, status, reason, static_cast<int>(action));
}

StopAction StopWorkMsg::Action() const {
    auto const known = static_cast<StopAction>(action);
    return known == StopAction::Cancel || known == StopAction::SubmitAsNew ? known : StopAction::Requeue;
}

void AddRequestMessages(MessageKinds& kinds) { AddTable<RequestMessages>(kinds); }

} // namespace vorlan
