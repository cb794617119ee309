#pragma once

#include <corekit/path.h>
#include <corekit/thread.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>

namespace vorlan {

// FileServer brings the output of a run from its Engine, by way of the Master, into
// a local file. FileReceivingEvt tells that the local file is there and grows,
// FileReceivedEvt that it is whole or, with an error text, that nothing more comes.
// Both come on the request's own thread.
// Owner: none, static. Works with: Messenger, FileReceivingEvt, FileReceivedEvt.
// Thread: any; nothing here waits.
// Always: each request ends with exactly one FileReceivedEvt, unless it is released.
class FileServer {
public:
    // `request` is an id of the caller's own, which the events carry. `work` names
    // the run. `follow`: what is written from now on comes too, until the run ends.
    // The thread belongs to FileServer and is valid until Release or the received
    // event has returned; null when a request of that id is under way.
    static Thread* Request(UID const& request, UID const& work, bool follow);
    // The same when it is known which Engine ran it.
    static Thread* Request(UID const& request, UID const& work, UID const& engine, bool follow);
    // Ends a request that is under way, and deletes its local file. No event of
    // it begins afterwards.
    static void Release(UID const& request);

    // Where the local file of a request lies.
    static Path LocalPath(UID const& request);
    // Ends all requests; for the end of the program.
    static void Shutdown();

    // The largest output that is brought.
    static constexpr int64_t k_MaxBytes = int64_t(1) << 30;
    // What may wait to be written. An output that comes faster than this machine writes
    // ends with an error that says so: the Engine does not wait for its readers.
    static constexpr size_t k_MaxQueuedBytes = size_t(64) << 20;
    // Without an answer for so long a request fails.
    static constexpr int k_AnswerMs = 30'000;
};

} // namespace vorlan
