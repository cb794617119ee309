#pragma once

// Sends the output of runs to those who ask for it.

#include "engine/report/messagesink.h"
#include "engine/report/outputlog.h"

#include <vorlan/messages_output.h>

#include <functional>
#include <list>

namespace vorlan {

// What there is of a run's output.
enum class RunOutput {
    Grows, // it runs
    None,  // it ended well without a word, and has no log
    Whole, // nothing more is written
};

// Answers requests for output, piece by piece as the receiver takes them.
//
// Owned by the Engine's main part; its thread. Works with the files of OutputFolder.
// A request that follows ends when its run has ended and all has been sent. Never more
// than k_QueueBytes wait for one receiver, and no more than a request's window between here
// and whoever reads it.
class OutputService {
public:
    static constexpr size_t k_PieceBytes = size_t{64} << 10;
    static constexpr size_t k_QueueBytes = size_t{512} << 10;
    static constexpr size_t k_Requests = 1000;
    // How long a pause is before it is tried again with a receiver that is slow.
    static constexpr int k_RetryMs = 20;

    OutputService(OutputFolder const& folder, std::function<RunOutput(UID const&)> outputOf);

    void Request(SinkPtr const& sink, GetOutputMsg const& message);
    // The receiver has taken what stands before `offset`.
    void Taken(SinkPtr const& sink, UID const& request, int64_t offset);
    void Close(SinkPtr const& sink, UID const& request);
    // The receiver is gone with all its requests.
    void Gone(SinkPtr const& sink);

    // Sends what there is to send. Milliseconds until it is to be called again even if
    // nothing was written, -1 when not at all.
    int Pump();

private:
    struct Reader {
        SinkPtr sink;
        UID request;
        UID work;
        int64_t offset;
        bool follow;
        UniqueFd file;
        int64_t window; // bytes that may be under way; 0: any number
        int64_t taken;  // the first byte that the receiver has not taken
    };

    enum class Result { Done, Waits, Slow };
    Result Send(Reader& reader);
    Result SendWithoutFile(Reader& reader, RunOutput output, int systemError);
    static void SendPiece(Reader const& reader, std::string_view data, bool end, String const& error);

    OutputFolder const& m_folder;
    std::function<RunOutput(UID const&)> const m_outputOf;
    std::list<Reader> m_readers;
};

} // namespace vorlan
