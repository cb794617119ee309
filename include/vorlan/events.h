#pragma once

// What happens inside a program, for whoever wants to hear of it.

#include <corekit/commandline.h>
#include <corekit/path.h>
#include <corekit/uid.h>
#include <vorlan/engineevents.h>
#include <vorlan/jobevents.h>

namespace vorlan {

// The start-up of the program is through. A listener that cannot go on clears
// `success`.
struct VorlanAppStartupEvt : EventOf<VorlanAppStartupEvt> {
    VorlanAppStartupEvt() = default;
    VorlanAppStartupEvt(bool ok, CommandLine* line) : success(ok), commandLine(line) {}
    bool success = false;
    CommandLine* commandLine = nullptr;
};

struct VorlanClientAppCleanupEvt : EventOf<VorlanClientAppCleanupEvt> {};

// The Messenger has a Master, and all that comes before the first request is there.
struct MessengerConnectedEvt : EventOf<MessengerConnectedEvt> {};
struct MessengerDisconnectedEvt : EventOf<MessengerDisconnectedEvt> {};

// A file that was asked for has begun to arrive, has arrived, or cannot.
struct FileTransfer {
    UID request;
    Path path;    // the local copy
    String host;  // where it comes from
    String error; // not empty: it failed, and why
};
struct FileReceivingEvt : EventOf<FileReceivingEvt>, FileTransfer {
    FileReceivingEvt() = default;
    explicit FileReceivingEvt(FileTransfer transfer) : FileTransfer(std::move(transfer)) {}
};
struct FileReceivedEvt : EventOf<FileReceivedEvt>, FileTransfer {
    FileReceivedEvt() = default;
    explicit FileReceivedEvt(FileTransfer transfer) : FileTransfer(std::move(transfer)) {}
};

} // namespace vorlan
