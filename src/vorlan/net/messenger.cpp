#include <vorlan/messenger.h>

#include "librarymessages.h"
#include "messagequeue.h"

#include <corekit/commonmutex.h>
#include <corekit/exception.h>
#include <corekit/log.h>
#include <vorlan/events.h>
#include <vorlan/messages.h>

namespace vorlan {

namespace {

constexpr int k_FlushMs = 2'000;

// All that the static class keeps. Never destroyed: threads may send to the end.
class State {
public:
    void Start(MessengerOptions const& options);
    void Stop(bool flush, bool forGood, bool reconnect);
    void Send(boost::shared_ptr<Message> const& message);
    void ToSelf(boost::shared_ptr<Message> const& message);
    void Purge();

    // What people ask for, as it is now.
    struct Master {
        bool connected = false;
        Time connectedTime;
        boost::shared_ptr<MasterInfoMsg> info;
        String failure;
    };
    Master GetMaster() const {
        CommonMutex::Lock const lock(m_guard);
        return m_master;
    }
    bool IsConnected() const { return m_connected.load(std::memory_order_acquire); }
    LibraryMessages& Library() { return m_library; }
    void SetCalls(MessengerCalls const& calls) {
        m_onUnhandled = calls.onUnhandled;
        m_onRefused = calls.onRefused;
    }
    bool IsMessageThread() {
        std::shared_ptr<MessageThread> const thread = Thread();
        return thread && thread->IsCurrent();
    }

private:
    // On the network thread.
    void OnConnected(boost::shared_ptr<net::Connection> const& connection);
    void OnClosed(boost::shared_ptr<net::Connection> const& connection, String const& reason);
    void OnFailed(String const& reason);
    // On the message thread.
    void Handle(QueuedMessage const& item);
    void Dispatch(QueuedMessage const& item);
    void OnLoaded(uint64_t connection);
    void OnEnd(uint64_t connection);

    // Null once it has ended for good.
    std::shared_ptr<MessageThread> Thread();

    // Held through Start and Stop, which never come from a network thread.
    CommonMutex m_control;
    std::unique_ptr<net::Client> m_client CK_GUARDED_BY(m_control);
    MessengerOptions m_options CK_GUARDED_BY(m_control);

    mutable CommonMutex m_guard;
    std::shared_ptr<MessageThread> m_thread CK_GUARDED_BY(m_guard);
    bool m_ended CK_GUARDED_BY(m_guard) = false; // stopped for good
    boost::shared_ptr<net::Connection> m_connection CK_GUARDED_BY(m_guard);
    uint64_t m_lastConnection CK_GUARDED_BY(m_guard) = 0;
    Master m_master CK_GUARDED_BY(m_guard);
    std::atomic<bool> m_connected{false}; // the same as in m_master

    std::atomic<decltype(MessengerCalls::onUnhandled)> m_onUnhandled{nullptr};
    std::atomic<decltype(MessengerCalls::onRefused)> m_onRefused{nullptr};

    // The message thread only.
    LibraryMessages m_library;
    uint64_t m_loading = 0; // the connection whose load has begun
    uint64_t m_told = 0;    // the one of the last MessengerConnectedEvt without its end
};

State& TheState() {
    static State* const s_state = new State;
    return *s_state;
}

// What is asked for at every start and refresh is not worth a warning.
bool IsRequest(String const& name) { return name.StartsWith("Get") || name.StartsWith("NotifyOn"); }

} // namespace

std::shared_ptr<MessageThread> State::Thread() {
    CommonMutex::Lock const lock(m_guard);
    if (!m_thread && !m_ended) {
        m_thread = std::make_shared<MessageThread>([this](QueuedMessage const& item) { Handle(item); });
        m_thread->Start();
    }
    return m_thread;
}

void State::Start(MessengerOptions const& options) {
    CommonMutex::Lock const lock(m_control);
    if (m_client)
        return;
    m_options = options;
    {
        CommonMutex::Lock const guard(m_guard);
        m_ended = false;
    }
    Thread()->Release(false);
    net::Handlers handlers;
    handlers.onConnected = [this](auto const& connection) { OnConnected(connection); };
    handlers.onMessage = [this](auto const& connection, auto const& message) {
        Thread()->Push({QueuedMessage::Kind::Message, connection->Number(), message}, true);
    };
    handlers.onClosed = [this](auto const& connection, String const& reason) { OnClosed(connection, reason); };
    handlers.onFailed = [this](String const& reason) { OnFailed(reason); };
    m_client = std::make_unique<net::Client>(options.client, std::move(handlers));
    LogStatus("Looking for the Master");
    m_client->Start();
}

void State::Stop(bool flush, bool forGood, bool reconnect) {
    CommonMutex::Lock control(m_control);
    if (reconnect) {
        if (m_client)
            return m_client->Reconnect();
        MessengerOptions const options = m_options;
        control.unlock();
        return Start(options);
    }
    std::shared_ptr<MessageThread> const thread = Thread();
    if (!thread)
        return;
    thread->Release(true);
    if (std::unique_ptr<net::Client> const client = std::move(m_client))
        client->FlushAndStop(flush ? k_FlushMs : 0);
    {
        CommonMutex::Lock const lock(m_guard);
        m_master.failure.clear();
    }
    control.unlock();
    if (!forGood)
        return;
    // A handler that ends the program is the thread's last one.
    if (thread->IsCurrent())
        return thread->SignalStop();
    {
        CommonMutex::Lock const lock(m_guard);
        m_thread.reset();
        m_ended = true;
    }
    thread->Stop();
}

void State::OnConnected(boost::shared_ptr<net::Connection> const& connection) {
    LogInfo("Connected to " + connection->Peer().Text() + ", loading");
    CommonMutex::Lock const lock(m_guard);
    m_connection = connection;
    m_lastConnection = connection->Number();
    m_master = {};
}

void State::OnClosed(boost::shared_ptr<net::Connection> const& connection, String const& reason) {
    {
        CommonMutex::Lock const lock(m_guard);
        if (m_connection == connection)
            m_connection.reset();
        m_connected = false;
        m_master = {};
        m_master.failure = reason;
    }
    LogStatus("Disconnected from " + connection->Peer().Text() + ": " + reason);
    Thread()->Push({QueuedMessage::Kind::Closed, connection->Number(), {}}, false);
}

void State::OnFailed(String const& reason) {
    CommonMutex::Lock const lock(m_guard);
    m_master.failure = reason;
}

void State::Send(boost::shared_ptr<Message> const& message) {
    if (!message)
        return;
    boost::shared_ptr<net::Connection> connection;
    {
        CommonMutex::Lock const lock(m_guard);
        if (m_master.connected)
            connection = m_connection;
    }
    if (connection)
        return connection->Send(message);
    String const name = message->TypeName();
    String const text = "There is no connection to the Master: " + name + " was not sent";
    IsRequest(name) ? LogDebug(text) : LogWarning(text);
}

void State::ToSelf(boost::shared_ptr<Message> const& message) {
    std::shared_ptr<MessageThread> const thread = message ? Thread() : nullptr;
    if (thread)
        thread->Push({QueuedMessage::Kind::Message, QueuedMessage::k_Self, message}, false);
}

void State::Purge() {
    uint64_t dead = 0;
    std::shared_ptr<MessageThread> thread;
    {
        CommonMutex::Lock const lock(m_guard);
        // Numbers only grow, so that all before the standing one are dead.
        dead = m_connection ? m_connection->Number() - 1 : m_lastConnection;
        thread = m_thread;
    }
    if (thread)
        thread->Drop(dead);
}

void State::Handle(QueuedMessage const& item) {
    try {
        if (item.kind == QueuedMessage::Kind::Closed)
            OnEnd(item.connection);
        else
            Dispatch(item);
    } catch (std::exception const& exception) {
        LogError(String("Handling ") + (item.message ? item.message->TypeName() : "the end of the connection") +
                 " failed: " + exception.what());
    } catch (...) {
        LogError(String("Handling ") + (item.message ? item.message->TypeName() : "the end of the connection") +
                 " failed");
    }
}

void State::Dispatch(QueuedMessage const& item) {
    Message const& message = *item.message;
    if (item.connection != QueuedMessage::k_Self && item.connection != m_loading) {
        m_loading = item.connection;
        m_library.BeginLoad();
    }
    bool taken = m_library.TakeMessage(message);
    if (message.Type() == MasterInfoMsg::s_Type) {
        taken = true;
        CommonMutex::Lock const lock(m_guard);
        if (item.connection == QueuedMessage::k_Self || (m_connection && m_connection->Number() == item.connection))
            m_master.info = boost::static_pointer_cast<MasterInfoMsg>(item.message);
    } else if (message.Type() == RefusedMsg::s_Type) {
        taken = true;
        auto const& refused = static_cast<RefusedMsg const&>(message);
        LogWarning("The Master refused a command: " + refused.reason);
        if (auto const call = m_onRefused.load())
            call(refused.id, refused.reason);
    } else if (message.Type() == LoadedMsg::s_Type) {
        taken = true;
        m_library.EndLoad();
        OnLoaded(item.connection);
    }
    if (message.HasListeners()) {
        message.Emit(item.message);
    } else if (!taken) {
        if (auto const call = m_onUnhandled.load())
            call(item.message);
    }
}

void State::OnLoaded(uint64_t connection) {
    {
        CommonMutex::Lock const lock(m_guard);
        // It may have ended in the meantime.
        if (!m_connection || m_connection->Number() != connection || m_master.connected)
            return;
        m_master.connected = true;
        m_master.connectedTime = Time::CurrentTime();
        m_master.failure.clear();
        m_connected = true;
        m_told = connection;
    }
    LogStatus("Connected to " + Messenger::MasterMachineName());
    MessengerConnectedEvt().Trigger();
}

void State::OnEnd(uint64_t connection) {
    if (m_told != connection)
        return;
    m_told = 0;
    MessengerDisconnectedEvt().Trigger();
}

MessengerOptions::MessengerOptions() : MessengerOptions(net::PeerKind::Client, "VorlanGui") {}

MessengerOptions::MessengerOptions(net::PeerKind kind, String const& program) {
    client.self = net::PeerInfo::Self(kind, program);
}

void Messenger::SetCalls(MessengerCalls const& calls) { TheState().SetCalls(calls); }

void Messenger::Start(MessengerOptions const& options) { TheState().Start(options); }

void Messenger::Stop(bool flush, bool forGood, bool reconnect) { TheState().Stop(flush, forGood, reconnect); }

void Messenger::Send(boost::shared_ptr<Message> const& message) { TheState().Send(message); }

void Messenger::SSendMessageToSelf(boost::shared_ptr<Message> const& message) { TheState().ToSelf(message); }

void Messenger::PurgeMessageQueues() { TheState().Purge(); }

bool Messenger::IsConnected() { return TheState().IsConnected(); }

bool Messenger::IsMessageThread() { return TheState().IsMessageThread(); }

boost::shared_ptr<MasterInfoMsg> Messenger::MasterInfo() { return TheState().GetMaster().info; }

Time Messenger::ConnectedTime() { return TheState().GetMaster().connectedTime; }

String Messenger::LastFailure() { return TheState().GetMaster().failure; }

OptionMap Messenger::DefaultEngineOptions(UID const& product) {
    return TheState().Library().DefaultEngineOptions(product);
}

std::vector<std::map<String, String>> Messenger::PathTranslations() { return TheState().Library().PathTranslations(); }

// One value of the last MasterInfoMsg.
template <class Value>
static Value OfMaster(Value FieldsOf<MasterInfoMsg>::*member) {
    boost::shared_ptr<MasterInfoMsg> const info = Messenger::MasterInfo();
    return info ? (*info).*member : Value();
}

UID Messenger::MasterID() { return OfMaster(&MasterInfoMsg::machine); }

String Messenger::MasterMachineName() { return OfMaster(&MasterInfoMsg::machineName); }

unsigned short Messenger::MasterPort() { return OfMaster(&MasterInfoMsg::port); }

unsigned Messenger::MasterVersion() { return OfMaster(&MasterInfoMsg::version); }

Time Messenger::MasterReleaseDate() { return OfMaster(&MasterInfoMsg::releaseDate); }

Time Messenger::MasterStartTime() { return OfMaster(&MasterInfoMsg::startTime); }

String Messenger::MasterMessage() { return OfMaster(&MasterInfoMsg::message); }

unsigned Messenger::MasterAdministrate() { return OfMaster(&MasterInfoMsg::administrate); }

} // namespace vorlan
