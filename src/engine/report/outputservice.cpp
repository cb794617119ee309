#include "engine/report/outputservice.h"

#include <corekit/sformat.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vorlan {

namespace {

constexpr std::string_view k_NothingPrinted = "[VorlanEngine: the run ended well and printed nothing.]\n";

} // namespace

OutputService::OutputService(OutputFolder const& folder, std::function<RunOutput(UID const&)> outputOf)
    : m_folder(folder), m_outputOf(std::move(outputOf)) {}

void OutputService::Request(SinkPtr const& sink, GetOutputMsg const& message) {
    int64_t const offset = std::max<int64_t>(message.offset, 0);
    Reader reader{
        sink, message.request, message.work, offset, message.follow, {}, std::max<int64_t>(message.window, 0), offset};
    if (m_readers.size() >= k_Requests) {
        SendPiece(reader, {}, true, "The Engine sends too much output at the moment. Try again later.");
        return;
    }
    m_readers.push_back(std::move(reader));
}

void OutputService::Taken(SinkPtr const& sink, UID const& request, int64_t offset) {
    for (Reader& reader : m_readers) {
        if (reader.sink == sink && reader.request == request)
            reader.taken = std::max(reader.taken, std::min(offset, reader.offset));
    }
}

void OutputService::Close(SinkPtr const& sink, UID const& request) {
    m_readers.remove_if([&](Reader const& reader) { return reader.sink == sink && reader.request == request; });
}

void OutputService::Gone(SinkPtr const& sink) {
    m_readers.remove_if([&](Reader const& reader) { return reader.sink == sink; });
}

int OutputService::Pump() {
    int again = -1;
    for (auto reader = m_readers.begin(); reader != m_readers.end();) {
        Result const result = Send(*reader);
        if (result == Result::Slow)
            again = k_RetryMs;
        reader = result == Result::Done ? m_readers.erase(reader) : std::next(reader);
    }
    return again;
}

OutputService::Result OutputService::Send(Reader& reader) {
    RunOutput const output = m_outputOf(reader.work);
    bool const grows = output == RunOutput::Grows && reader.follow;
    if (!reader.file)
        reader.file.Reset(open(m_folder.PathOf(reader.work).c_str(), O_RDONLY | O_CLOEXEC));
    if (!reader.file)
        return grows ? Result::Waits : SendWithoutFile(reader, output, errno);
    char buffer[k_PieceBytes];
    for (;;) {
        if (reader.sink->QueuedBytes() > k_QueueBytes)
            return Result::Slow;
        if (reader.window > 0 && reader.offset - reader.taken >= reader.window)
            return Result::Waits; // until its receiver has taken some
        ssize_t const count = pread(reader.file.Get(), buffer, sizeof buffer, reader.offset);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            SendPiece(reader, {}, true, SFormat("The Engine cannot read this output: %s.", std::strerror(errno)));
            return Result::Done;
        }
        if (count > 0) {
            SendPiece(reader, std::string_view(buffer, static_cast<size_t>(count)), false, {});
            reader.offset += count;
            continue;
        }
        if (grows)
            return Result::Waits;
        SendPiece(reader, {}, true, {});
        return Result::Done;
    }
}

OutputService::Result OutputService::SendWithoutFile(Reader& reader, RunOutput output, int systemError) {
    String error;
    if (systemError != ENOENT) {
        error = SFormat("The Engine cannot read this output: %s.", std::strerror(systemError));
    } else if (output == RunOutput::Whole) {
        error = "The Engine has no output of this run: it wrote none, or its log was cleaned up.";
    } else if (output == RunOutput::None && reader.offset == 0) {
        SendPiece(reader, k_NothingPrinted, false, {});
        reader.offset += static_cast<int64_t>(k_NothingPrinted.size());
    }
    SendPiece(reader, {}, true, error);
    return Result::Done;
}

void OutputService::SendPiece(Reader const& reader, std::string_view data, bool end, String const& error) {
    auto message = OutputDataMsg::New();
    message->request = reader.request;
    message->offset = reader.offset;
    message->data = String(data);
    message->end = end;
    message->error = error;
    reader.sink->Send(message);
}

} // namespace vorlan
