#include "master/net/shell.h"

#include "master/core/reporter.h"

#include <corekit/log.h>
#include <corekit/sformat.h>
#include <vorlan/messages.h>
#include <vorlan/version.h>

#include <thread>

namespace farm {

using corekit::LogError;
using corekit::LogStatus;
using corekit::SFormat;
namespace net = vorlan::net;

namespace {

// Events of one turn: enough to make one commit worth its wait, few enough that
// nobody waits long for an answer.
constexpr size_t k_EventsPerTurn = 4000;
constexpr std::chrono::milliseconds k_TurnTime{10};
constexpr size_t k_EventsPerLook = 16; // at the clock

// Bytes of a load that are asked for at a time, and that wait for a peer at most: so
// few that the processor's cache has them still when the network thread sends them.
constexpr size_t k_LoadPiece = 64 * 1024;
constexpr size_t k_LoadQueue = 256 * 1024;

// Lines of the log that wait for those who follow it; more are left to the file.
constexpr size_t k_LogLinesLimit = 1000;

constexpr std::chrono::milliseconds k_LongestWait{1000};
constexpr std::chrono::milliseconds k_FirstStorePause{250};
constexpr std::chrono::milliseconds k_LongestStorePause{5000};

Moment CurrentMoment() {
    using namespace std::chrono;
    auto const steady = duration_cast<milliseconds>(steady_clock::now().time_since_epoch());
    return {Time::CurrentTime(), Steady(Time(steady.count()))};
}

Record PositionRow(Position const& position) {
    Record row;
    row.kind = RecordKind::Counter;
    row.number = k_PositionRow;
    row.id = "position";
    row.body = String::From(position.term) + " " + String::From(position.index);
    return row;
}

// What the handshake proved of the other end, for as long as anybody holds it.
Identity IdentityOf(boost::shared_ptr<net::Connection> const& connection) {
    return Identity(connection, &connection->Peer());
}

} // namespace

Shell::Shell(Options options, std::unique_ptr<Store> store)
    : m_options(std::move(options)),
      m_store(std::move(store)),
      m_startTime(Time::CurrentTime()),
      m_logs(m_options.logFolder) {
    if (m_options.seed == 0) {
        UID const fresh(true);
        std::memcpy(&m_options.seed, fresh.Bytes(), sizeof m_options.seed);
    }
}

Shell::~Shell() {
    m_logSink = {};
    m_inbox.Close();
    m_responder.reset();
    m_server.reset();
    m_stateWriter.reset();
}

std::unique_ptr<Core> Shell::RestoredCore() {
    CoreConfig config;
    config.seed = m_options.seed++;
    config.machine = m_options.machine;
    config.machineName = m_options.machineName;
    config.port = m_server ? m_server->Port() : m_options.port;
    config.version = vorlan::k_VorlanVersion;
    config.releaseDate = m_options.releaseDate;
    config.startTime = m_startTime;
    config.products = m_options.products;
    config.setApart = m_jobsApart;
    config.historyLog = m_logs.History();
    config.dispatchLog = m_logs.Dispatch();
    auto core = std::make_unique<Core>(std::move(config));
    size_t lost = 0;
    m_store->LoadAll([&](Record const& record) {
        if (record.kind == RecordKind::Counter && record.number == k_PositionRow) {
            uint64_t const term = record.body.LeftFirst(" ").Uint();
            m_position = {std::max(m_position.term, term), record.body.RightFirst(" ").Uint()};
        }
        try {
            core->Apply(record);
        } catch (std::exception const& error) {
            ++lost;
            corekit::LogDebug(error.what());
        }
    });
    if (lost > 0) {
        LogError(SFormat("%zu rows of the store made no sense and were left out. Jobs that are missing must be "
                         "submitted again.",
                         lost));
    }
    core->RestoreDone(CurrentMoment());
    return core;
}

void Shell::OpenPort() {
    net::ServerOptions options;
    options.port = m_options.port;
    options.key = m_options.key;
    options.machineDir = m_options.machineDir;
    options.self.kind = net::PeerKind::Master;
    options.self.machine = m_options.machine;
    options.self.instance = UID(true);
    options.self.machineName = m_options.machineName;
    options.self.version = vorlan::k_VorlanVersion;
    options.self.program = "VorlanMaster";
    options.limits.lowWater = k_LoadQueue;

    net::Handlers handlers;
    handlers.onConnected = [this](ConnectionPtr const& connection) {
        {
            CommonMutex::Lock const lock(m_connectionsGuard);
            m_connections[connection->Number()] = connection;
        }
        m_inbox.Push(Event(PeerConnected{connection->Number(), IdentityOf(connection)}));
    };
    handlers.onMessage = [this](ConnectionPtr const& connection, boost::shared_ptr<vorlan::Message> const& message) {
        m_inbox.Push(Event(PeerMessage{connection->Number(), message, IdentityOf(connection)}));
    };
    handlers.onClosed = [this](ConnectionPtr const& connection, String const& reason) {
        corekit::LogInfo(SFormat("%s on %s has left: %s", connection->Peer().program.c_str(),
                                 connection->Peer().machineName.c_str(), reason.c_str()));
        {
            CommonMutex::Lock const lock(m_connectionsGuard);
            m_connections.erase(connection->Number());
        }
        m_inbox.Push(Event(PeerGone{connection->Number(), IdentityOf(connection)}));
    };
    handlers.onDrained = [this](ConnectionPtr const& connection) { m_inbox.Push(PeerDrained{connection->Number()}); };
    m_server = std::make_unique<net::Server>(std::move(options), std::move(handlers));
    m_server->Start();
}

void Shell::Start() {
    OpenPort();
    m_core = RestoredCore();
    ++m_position.term;
    if (!m_options.stateFile.Empty())
        m_stateWriter = std::make_unique<StateWriter>(m_options.stateFile);
    m_logSink = corekit::Log::AddSink([this](corekit::LogLevel level, String const& text) {
        CommonMutex::Lock const lock(m_logGuard);
        if (level != corekit::LogLevel::Debug && m_logLines.size() < k_LogLinesLimit) {
            m_logLines.push_back(SFormat("%s  %-8s %s", Time::CurrentTime().Format(corekit::k_DefaultDateTime).c_str(),
                                         corekit::LogLevelName(level), text.c_str()));
        }
    });
    if (m_options.answerMulticast) {
        m_responder = std::make_unique<vorlan::DiscoveryResponder>(m_options.key, m_server->Port(), m_options.machine);
        m_responder->Start();
    }
}

unsigned short Shell::Port() const { return m_server ? m_server->Port() : 0; }

void Shell::Stop() { m_inbox.Close(); }

std::chrono::steady_clock::time_point Shell::NextTurn() const {
    auto const now = std::chrono::steady_clock::now();
    if (m_feedsOn || m_untidy)
        return now;
    if (!m_loading.empty() || m_logs.IsFeeding())
        return now + std::chrono::milliseconds(20);
    int64_t const leftMs = (m_core->NextDeadline() - CurrentMoment().steady).Milliseconds();
    return now + std::min(k_LongestWait, std::chrono::milliseconds(std::max<int64_t>(leftMs, 0)));
}

void Shell::Run() {
    while (!m_stopping && !m_inbox.IsClosed()) {
        if (m_waiting.empty())
            m_waiting = m_inbox.TakeEvents(k_EventsPerTurn, NextTurn());
        Turn(m_waiting);
        m_untidy = m_store->Tidy();
        FeedLoads();
        m_logs.Feed(ToPeer());
        TellLog();
    }
}

// As many of the events as a turn has time for; the others stay.
void Shell::Turn(std::deque<Incoming>& events) {
    Moment const now = CurrentMoment();
    auto const end = std::chrono::steady_clock::now() + k_TurnTime;
    std::vector<Effect> effects;
    std::deque<Incoming> taken;
    bool handled = true;
    while (handled && !events.empty() &&
           (taken.size() % k_EventsPerLook != 0 || taken.empty() || std::chrono::steady_clock::now() < end)) {
        taken.push_back(std::move(events.front()));
        events.pop_front();
        auto const* event = std::get_if<Event>(&taken.back());
        if (event && !TakesLogRequest(*event))
            handled = HandleEvent(now, *event, effects);
    }
    if (handled && m_core->NextDeadline() <= now.steady)
        handled = HandleEvent(now, Tick{}, effects);
    String reason;
    if (!Commit(effects, reason)) {
        Forget(taken, reason);
        return;
    }
    Perform(effects);
    if (!handled)
        StartAnew();
}

// False when it cannot be handled: then there is no effect of it, and the Core is lost.
bool Shell::HandleEvent(Moment const& now, Event const& event, std::vector<Effect>& effects) {
    auto const* const told = std::get_if<PeerMessage>(&event);
    if (told && told->who && m_kindsApart.contains({told->who->instance, told->message->Type()})) {
        LogError(String("Passed over a ") + told->message->TypeName() + " of " + told->who->Text() +
                 ": one like it could not be handled.");
        return true;
    }
    size_t const before = effects.size();
    try {
        m_core->Handle(now, event, effects);
        return true;
    } catch (HandlingFailed const& problem) {
        effects.erase(effects.begin() + static_cast<std::ptrdiff_t>(before), effects.end());
        SetApart(event, problem);
        return false;
    }
}

void Shell::SetApart(Event const& event, HandlingFailed const& problem) {
    auto const* const told = std::get_if<PeerMessage>(&event);
    auto const job = m_core->State().jobs.find(problem.Job());
    if (job != m_core->State().jobs.end()) {
        m_jobsApart[problem.Job()] = problem.Message();
        LogError("The Job \"" + job->second->job->Name() + "\" {" + job->second->id.ToString() +
                 "} cannot be handled and is set apart: " + problem.Message());
    } else if (told && told->who) {
        m_kindsApart.insert({told->who->instance, told->message->Type()});
        LogError(String("A ") + told->message->TypeName() + " of " + told->who->Text() +
                 " cannot be handled and is passed over: " + problem.Message());
    } else {
        LogError("An event cannot be handled: " + problem.Message());
    }
    ConnectionPtr const connection = told ? Find(told->peer) : nullptr;
    if (connection) {
        auto refused = vorlan::RefusedMsg::New();
        refused->reason = "The Master could not handle this: " + problem.Message();
        connection->Send(refused);
    }
}

// The Core is lost. What was committed stands.
void Shell::StartAnew() {
    m_loading.clear();
    try {
        m_core = RestoredCore();
    } catch (StoreException const& error) {
        LogError(error.Message());
        WaitForStore();
        return;
    }
    CommonMutex::Lock const lock(m_connectionsGuard);
    for (auto const& [peer, connection] : m_connections)
        connection->Close("the Master has read its store anew");
}

bool Shell::Commit(std::vector<Effect> const& effects, String& reason) {
    m_records.clear();
    for (Effect const& effect : effects) {
        if (auto const* record = std::get_if<Record>(&effect))
            m_records.push_back(*record);
    }
    Position const position{m_position.term, m_position.index + 1};
    if (!m_records.empty())
        m_records.push_back(PositionRow(position));
    try {
        m_store->Commit(m_records);
        if (!m_records.empty())
            m_position = position;
        return true;
    } catch (StoreException const& error) {
        reason = error.Message();
        return false;
    }
}

// Takes the turn back: the Core is made anew from the store, and everybody who had a
// part in the turn comes back and asks again.
void Shell::Forget(std::deque<Incoming> const& events, String const& reason) {
    LogError(reason);
    for (Incoming const& incoming : events) {
        auto const* event = std::get_if<Event>(&incoming);
        auto const* told = event ? std::get_if<PeerMessage>(event) : nullptr;
        ConnectionPtr const connection = told && m_core->IsCommand(*told->message) ? Find(told->peer) : nullptr;
        if (!connection)
            continue;
        auto const job = boost::dynamic_pointer_cast<vorlan::JobMsg>(told->message);
        auto refused = vorlan::RefusedMsg::New();
        if (job && job->job)
            refused->id = job->job->id;
        refused->reason = (job ? "The Job was not accepted. " : "The command was not carried out. ") + reason;
        connection->Send(refused);
    }
    std::map<PeerId, ConnectionPtr> connections;
    {
        CommonMutex::Lock const lock(m_connectionsGuard);
        connections = m_connections;
    }
    for (auto const& [peer, connection] : connections)
        connection->Close("the Master's store could not be written");
    m_loading.clear();
    WaitForStore();
}

void Shell::WaitForStore() {
    auto pause = k_FirstStorePause;
    while (!m_inbox.IsClosed()) {
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, k_LongestStorePause);
        try {
            Record probe;
            probe.kind = RecordKind::Counter;
            probe.number = 0;
            probe.body = String(std::string(64 * 1024, 'p'));
            Record erase = probe;
            erase.op = Record::Op::Erase;
            m_store->Commit(std::vector<Record>{probe});
            m_store->Commit(std::vector<Record>{erase});
            m_core = RestoredCore();
            LogStatus("The store can be written again.");
            break;
        } catch (StoreException const&) {
            continue; // the line about it stands in the log already
        }
    }
    // Who connected to the old Core and is still here must be known to the new one.
    CommonMutex::Lock const lock(m_connectionsGuard);
    for (auto const& [peer, connection] : m_connections)
        connection->Close("the Master has read its store anew");
}

void Shell::Perform(std::vector<Effect> const& effects) {
    for (Effect const& effect : effects) {
        if (auto const* one = std::get_if<SendTo>(&effect)) {
            if (ConnectionPtr const connection = Find(one->peer))
                connection->Send(one->message);
        } else if (auto const* all = std::get_if<SendAll>(&effect)) {
            Send(*all);
        } else if (auto const* close = std::get_if<ClosePeer>(&effect)) {
            if (ConnectionPtr const connection = Find(close->peer))
                connection->Close(close->reason);
        } else if (auto const* load = std::get_if<LoadReady>(&effect)) {
            m_loading.insert(load->peer);
        } else if (auto const* line = std::get_if<LogLine>(&effect)) {
            corekit::Log::Write(line->level, line->text);
        } else if (auto const* dump = std::get_if<DumpState>(&effect)) {
            if (m_stateWriter)
                m_stateWriter->Write(dump->snapshot);
        } else if (auto const* text = std::get_if<DispatchText>(&effect)) {
            m_logs.Write(*text);
        } else if (std::holds_alternative<StopProgram>(effect)) {
            m_stopping = true;
        }
    }
}

void Shell::Send(SendAll const& effect) {
    auto const encoded = net::EncodedMessage::Encode(*effect.message);
    for (PeerId const peer : *effect.peers) {
        if (ConnectionPtr const connection = Find(peer))
            connection->SendEncoded(encoded);
    }
}

// One piece for each peer that has room, so that no load holds up what else there is
// to do.
void Shell::FeedLoads() {
    m_feedsOn = false;
    for (auto peer = m_loading.begin(); peer != m_loading.end();) {
        ConnectionPtr const connection = Find(*peer);
        bool more = connection != nullptr;
        if (more && connection->QueuedBytes() < k_LoadQueue) {
            std::vector<MessagePtr> messages;
            more = m_core->Pull(*peer, k_LoadPiece, messages);
            for (MessagePtr const& message : messages)
                connection->Send(message, net::Traffic::Load);
            m_feedsOn = m_feedsOn || (more && connection->QueuedBytes() < k_LoadQueue);
        }
        peer = more ? std::next(peer) : m_loading.erase(peer);
    }
}

MasterLogs::Send Shell::ToPeer() const {
    return [this](PeerId peer, MessagePtr const& message) {
        ConnectionPtr const connection = Find(peer);
        if (connection)
            connection->Send(message, net::Traffic::Load);
        return connection && connection->QueuedBytes() < k_LoadQueue;
    };
}

// The logs are files, which the Core knows nothing of.
bool Shell::TakesLogRequest(Event const& event) {
    if (auto const* gone = std::get_if<PeerGone>(&event)) {
        m_logs.PeerGone(gone->peer);
        return false;
    }
    auto const* told = std::get_if<PeerMessage>(&event);
    if (!told)
        return false;
    if (told->message->Type() == vorlan::CloseOutputMsg::s_Type)
        return m_logs.Close(told->peer, static_cast<vorlan::CloseOutputMsg const&>(*told->message).request);
    if (told->message->Type() != vorlan::GetOutputMsg::s_Type)
        return false;
    auto const& wanted = static_cast<vorlan::GetOutputMsg const&>(*told->message);
    if (!m_logs.Serves(wanted.work))
        return false;
    // The latest state stands at the end of it, also while nothing else is logged.
    if (wanted.work == m_logs.Dispatch())
        m_logs.Write({m_core->State().reporter->Round()});
    m_logs.Begin(told->peer, wanted, ToPeer());
    return true;
}

void Shell::TellLog() {
    auto message = vorlan::MasterLogsMsg::New();
    {
        CommonMutex::Lock const lock(m_logGuard);
        message->lines.swap(m_logLines);
    }
    if (message->lines.empty())
        return;
    auto peers = std::make_shared<std::vector<PeerId>>();
    for (auto const& [id, peer] : m_core->State().peers.All()) {
        if (peer.follows.contains(vorlan::MasterLogsMsg::s_Type))
            peers->push_back(id);
    }
    Send(SendAll{std::move(peers), std::move(message)});
}

Shell::ConnectionPtr Shell::Find(PeerId peer) const {
    CommonMutex::Lock const lock(m_connectionsGuard);
    auto const found = m_connections.find(peer);
    return found == m_connections.end() ? nullptr : found->second;
}

} // namespace farm
