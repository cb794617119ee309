#pragma once

// Writes the state of the farm to a file.

#include "master/core/dump.h"

#include <atomic>
#include <corekit/path.h>
#include <corekit/thread.h>

namespace farm {

// Writes one snapshot at a time to a file on a thread of its own, in place of the one
// before.
//
// Owned by the Shell. Write on the working thread; the end of the program waits for
// nothing: a file that is half written then is dropped. Always: under the file's name
// there is a whole dump or none.
class StateWriter final : corekit::Thread {
public:
    explicit StateWriter(corekit::Path file);
    ~StateWriter() override;

    // Returns at once; the log tells the end. While another one is being written it is
    // left out, with a line in the log.
    void Write(std::shared_ptr<StateSnapshot const> snapshot);

private:
    bool Execute() override;
    void WriteFile(corekit::Path const& path, StateSnapshot const& snapshot) const;

    corekit::Path const m_file;
    std::atomic<bool> m_isWriting{false};            // ends before the log tells the end
    std::shared_ptr<StateSnapshot const> m_snapshot; // the thread's while it runs, else the working thread's
};

} // namespace farm
