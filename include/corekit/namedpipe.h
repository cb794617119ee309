#pragma once

#include <corekit/string.h>
#include <corekit/thread.h>
#include <corekit/uniquefd.h>

namespace corekit {

// NamedPipeServerThread listens under a name for another process of the same
// user on this machine. A connection is the whole message.
// Owner: whoever wants to be reached. Works with: a socket of that name in
// $VORLAN_HOME, else in $XDG_RUNTIME_DIR, else in a private temporary folder.
// Thread: OnConnect on the thread of its own; the rest on the owner's.
// Always: one process at a time listens under a name; what a process that died
// has left behind is replaced.
class NamedPipeServerThread : public Thread {
public:
    // Takes the name; Start begins to listen to it. `name` is a plain file name
    // of at most k_MaxName characters.
    explicit NamedPipeServerThread(String name);
    // A class with an OnConnect of its own calls Stop in its own destructor.
    ~NamedPipeServerThread() override;

    // False when the name could not be taken; the log says why.
    bool IsListening() const { return static_cast<bool>(m_listener); }
    String const& PipeName() const { return m_pipeName; }

    // Connects to the name. True: somebody listens and will be told.
    static bool Signal(String const& name);

    static constexpr size_t k_MaxName = 64;

protected:
    // A process has connected.
    virtual void OnConnect() = 0;

    bool Execute() override;
    void OnStopSignaled() override;

private:
    bool Listen();

    // Constant after construction.
    String const m_pipeName;
    UniqueFd m_folder;
    UniqueFd m_lock; // held with flock while this process listens
    UniqueFd m_listener;
    UniqueFd m_wake; // an event descriptor: a stop was asked for
};

} // namespace corekit
