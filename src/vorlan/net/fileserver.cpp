#include <vorlan/fileserver.h>

#include <corekit/commonmutex.h>
#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/signal.h>
#include <corekit/uniquefd.h>
#include <vorlan/events.h>
#include <vorlan/messages.h>
#include <vorlan/messenger.h>

#include <cerrno>
#include <cstring>
#include <deque>
#include <fcntl.h>

namespace vorlan {

namespace {

// So much may be under way from the Engine, by way of the Master.
constexpr int64_t k_Window = 4 << 20;

// One request: takes the pieces on the message thread, writes them on its own.
class FileRequest final : public Thread, private HasSlots<ThreadPolicy::LocalThreaded> {
public:
    FileRequest(UID const& request, UID const& work, UID const& engine, bool follow)
        : Thread("File request"), m_request(request), m_path(FileServer::LocalPath(request)) {
        OutputDataMsg::s_Signal.Connect(static_cast<HasSlots*>(this),
                                        [this](boost::shared_ptr<OutputDataMsg> const& message) { OnData(message); });
        MessengerDisconnectedEvt::Signal().Connect(static_cast<HasSlots*>(this),
                                                   [this](MessengerDisconnectedEvt&) { OnDisconnected(); });
        m_ask = GetOutputMsg::Create(request, work, engine);
        m_ask->follow = follow;
        m_ask->window = k_Window;
    }
    ~FileRequest() override {
        Disconnect();
        Stop();
    }

    void Release() {
        m_released = true;
        SignalStop();
    }
    bool IsReleased() const { return m_released; }

protected:
    bool Execute() override;
    void OnStopSignaled() override {
        { CommonMutex::Lock const lock(m_guard); }
        m_some.notify_all();
    }
    void OnThreadStopping() override;

private:
    void Disconnect() {
        OutputDataMsg::s_Signal.Disconnect(static_cast<HasSlots*>(this));
        MessengerDisconnectedEvt::Signal().Disconnect(static_cast<HasSlots*>(this));
    }
    void OnData(boost::shared_ptr<OutputDataMsg> const& message) {
        if (message->request != m_request)
            return;
        {
            CommonMutex::Lock const lock(m_guard);
            if (m_isOver)
                return;
            m_isOver = m_queuedBytes + SizeOf(*message) > FileServer::k_MaxQueuedBytes;
            m_pieces.push_back(m_isOver ? Failed("it comes faster than this machine can write it") : message);
            m_queuedBytes += SizeOf(*m_pieces.back());
        }
        m_some.notify_one();
    }
    // In memory: one without data counts, too.
    static size_t SizeOf(OutputDataMsg const& piece) { return sizeof(piece) + piece.data.size() + piece.error.size(); }
    void OnDisconnected() { OnData(Failed("the connection to the Master was lost")); }
    boost::shared_ptr<OutputDataMsg> Failed(char const* reason) const {
        auto const end = OutputDataMsg::Create(m_request);
        end->error = reason;
        return end;
    }
    boost::shared_ptr<OutputDataMsg> NextPiece();
    void Write(OutputDataMsg const& piece);
    void TellTaken();
    FileTransfer Transfer(String const& error = {}) const {
        return {m_request, m_path, Messenger::MasterMachineName(), error};
    }

    // Constant after construction.
    UID const m_request;
    Path const m_path;
    boost::shared_ptr<GetOutputMsg> m_ask;

    std::atomic<bool> m_released{false};
    CommonMutex m_guard;
    CommonCondition m_some;
    std::deque<boost::shared_ptr<OutputDataMsg>> m_pieces CK_GUARDED_BY(m_guard);
    size_t m_queuedBytes CK_GUARDED_BY(m_guard) = 0;
    bool m_isOver CK_GUARDED_BY(m_guard) = false; // too much was queued; nothing more is taken

    // The own thread only.
    UniqueFd m_file;
    int64_t m_written = 0;
    int64_t m_told = 0; // of that, what the Engine knows of
    bool m_ended = false;
};

boost::shared_ptr<OutputDataMsg> FileRequest::NextPiece() {
    CommonMutex::Lock lock(m_guard);
    auto const ready = [this]() CK_REQUIRES(m_guard) { return !m_pieces.empty() || IsStopping(); };
    // Only the first answer has a time: what is followed may be silent for long.
    if (m_file)
        m_some.wait(lock, ready);
    else if (!m_some.wait_for(lock, std::chrono::milliseconds(FileServer::k_AnswerMs), ready))
        throw NetException("the Engine did not answer");
    if (m_pieces.empty())
        return {};
    boost::shared_ptr<OutputDataMsg> const piece = m_pieces.front();
    m_pieces.pop_front();
    m_queuedBytes -= SizeOf(*piece);
    return piece;
}

void FileRequest::Write(OutputDataMsg const& piece) {
    if (!m_file) {
        File::MakeFolder(m_path.Branch());
        m_file.Reset(::open(m_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!m_file)
            throw File::Failure("write", m_path, errno);
    }
    if (piece.offset != m_written)
        throw NetException("a piece of the output is missing");
    if (m_written + static_cast<int64_t>(piece.data.size()) > FileServer::k_MaxBytes)
        throw NetException("the output is too large to be shown");
    for (size_t at = 0; at < piece.data.size();) {
        ssize_t const done = ::write(m_file.Get(), piece.data.data() + at, piece.data.size() - at);
        if (done < 0 && errno != EINTR)
            throw File::Failure("write", m_path, errno);
        at += done > 0 ? static_cast<size_t>(done) : 0;
    }
    m_written += static_cast<int64_t>(piece.data.size());
}

// Lets the Engine go on: a slow line, a slow disk or a slow reader slows it down, and
// nothing gathers on the way.
void FileRequest::TellTaken() {
    if (m_written - m_told < k_Window / 4)
        return;
    auto const taken = OutputTakenMsg::New();
    taken->request = m_request;
    taken->offset = m_told = m_written;
    Messenger::Send(taken);
}

bool FileRequest::Execute() {
    String error;
    bool more = true;
    try {
        if (m_ask) {
            if (!Messenger::IsConnected())
                throw NetException("there is no connection to the Master");
            Messenger::Send(std::exchange(m_ask, nullptr));
        }
        boost::shared_ptr<OutputDataMsg> const piece = NextPiece();
        if (!piece)
            return false;
        if (!piece->error.Empty())
            throw NetException(piece->error);
        bool const first = !m_file;
        Write(*piece);
        TellTaken();
        if (first && !m_released)
            FileReceivingEvt(Transfer()).Trigger();
        more = !piece->end;
    } catch (Exception const& exception) {
        error = exception.what();
        more = false;
    }
    if (!more) {
        m_ended = true;
        m_file.Reset();
        if (!m_released)
            FileReceivedEvt(Transfer(error)).Trigger();
    }
    return more;
}

void FileRequest::OnThreadStopping() {
    m_file.Reset();
    if (!m_released)
        return;
    if (!m_ended && !m_ask && Messenger::IsConnected()) {
        auto const close = boost::make_shared<CloseOutputMsg>();
        close->request = m_request;
        Messenger::Send(close);
    }
    try {
        File::Delete(m_path);
    } catch (Exception const& exception) {
        LogWarning(exception.what());
    }
}

// The requests under way, and those that have ended and wait to be joined.
class Requests {
public:
    Thread* Begin(UID const& request, UID const& work, UID const& engine, bool follow) {
        Sweep();
        CommonMutex::Lock const lock(m_guard);
        if (m_requests.contains(request))
            return nullptr;
        auto& entry = m_requests[request];
        entry = std::make_unique<FileRequest>(request, work, engine, follow);
        entry->Start();
        return entry.get();
    }
    void Release(UID const& request) {
        {
            CommonMutex::Lock const lock(m_guard);
            if (auto const found = m_requests.find(request); found != m_requests.end()) {
                found->second->Release();
                m_released.push_back(std::move(found->second));
                m_requests.erase(found);
            }
        }
        Sweep();
    }
    void Clear() {
        std::vector<std::unique_ptr<FileRequest>> all;
        {
            CommonMutex::Lock const lock(m_guard);
            all = std::move(m_released);
            m_released.clear();
            for (auto& entry : m_requests) {
                entry.second->Release();
                all.push_back(std::move(entry.second));
            }
            m_requests.clear();
        }
    }

private:
    void Sweep() {
        std::vector<std::unique_ptr<FileRequest>> ended;
        {
            CommonMutex::Lock const lock(m_guard);
            for (auto entry = m_requests.begin(); entry != m_requests.end();) {
                if (entry->second->IsRunning() || entry->second->IsCurrent()) {
                    ++entry;
                    continue;
                }
                ended.push_back(std::move(entry->second));
                entry = m_requests.erase(entry);
            }
            std::erase_if(m_released, [&](std::unique_ptr<FileRequest>& entry) {
                if (entry->IsRunning() || entry->IsCurrent())
                    return false;
                ended.push_back(std::move(entry));
                return true;
            });
        }
    }

    CommonMutex m_guard;
    std::map<UID, std::unique_ptr<FileRequest>> m_requests CK_GUARDED_BY(m_guard);
    std::vector<std::unique_ptr<FileRequest>> m_released CK_GUARDED_BY(m_guard);
};

Requests& TheRequests() {
    static Requests* const s_requests = new Requests;
    return *s_requests;
}

} // namespace

Thread* FileServer::Request(UID const& request, UID const& work, bool follow) {
    return Request(request, work, UID::Null, follow);
}

Thread* FileServer::Request(UID const& request, UID const& work, UID const& engine, bool follow) {
    return TheRequests().Begin(request, work, engine, follow);
}

void FileServer::Release(UID const& request) { TheRequests().Release(request); }

Path FileServer::LocalPath(UID const& request) { return File::GetTempDir() / "output" / (request.ToString() + ".log"); }

void FileServer::Shutdown() { TheRequests().Clear(); }

} // namespace vorlan
