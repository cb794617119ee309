#include "domain.h"

#include "farm/simengines.h"

#include "sim/simengine.h"
#include "vorlan/net/channel.h"

namespace vorlan::farmtest {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

farm::Moment CurrentMoment() {
    auto const steady = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch());
    return {corekit::Time::CurrentTime(), farm::Steady(corekit::Time(steady.count()))};
}

constexpr milliseconds k_Step{20};
constexpr milliseconds k_Heartbeat{15'000};
// A step that came late does not make up for more than this.
constexpr double k_LongestStepSeconds = 0.2;

} // namespace

// The thread of all Engines, and what happens to them. Everything but the counts, the
// faults and the switch happens on the loop's thread.
class SimEngines::Group : public std::enable_shared_from_this<Group> {
public:
    explicit Group(SimEnginesOptions const& options);
    void Start();
    void Stop();

    void Hold(bool on) { m_hold = on; }
    Counts Count() const {
        std::lock_guard const lock(m_guard);
        return m_counts;
    }
    std::vector<String> Faults() const {
        std::lock_guard const lock(m_guard);
        return m_faults;
    }
    SimEnginesOptions const& Options() const { return m_options; }

private:
    class Node;
    friend class Node;

    void NextStep();
    void Step();
    void EndOne();
    void ProgressOne();
    void NoteOne();
    void LoseOne();
    Node* AnyNode(bool withUnits);
    unsigned Random(unsigned end) { return static_cast<unsigned>(m_random() % end); }
    template <class Function>
    void AtRate(double& credit, double perSecond, double seconds, Function function);
    void CountAll();
    void Fault(String const& text);

    SimEnginesOptions const m_options;
    std::atomic<bool> m_hold{false};
    mutable std::mutex m_guard;
    Counts m_counts;              // guarded by m_guard
    std::vector<String> m_faults; // guarded by m_guard

    net::Loop m_loop{"Engines"};
    net::asio::ssl::context m_tls{net::asio::ssl::context::tls_client};
    net::Timer m_timer{m_loop.GetExecutor()};
    FarmKey m_key;
    std::mt19937_64 m_random;
    std::vector<std::shared_ptr<Node>> m_nodes;
    Clock::time_point m_lastStep;
    Counts m_sums; // the part of the counts that only grows
    double m_ends = 0;
    double m_progress = 0;
    double m_notes = 0;
    double m_losses = 0;
};

// One Engine and its connection.
class SimEngines::Group::Node final : public net::ChannelHost, public std::enable_shared_from_this<Node> {
public:
    Node(Group& group, unsigned number)
        : m_group(group),
          m_number(number),
          m_sim(UID::FromName(SFormat("simulated engine %u", number)), SFormat("sim%04u", number),
                group.m_options.cores, corekit::Time()) {}

    sim::SimEngine& Sim() { return m_sim; }
    bool Registered() const { return m_registered; }

    void Step(Clock::time_point now) {
        if (!m_channel && !m_connecting && now >= m_connectAt)
            Connect();
        if (m_registered && now >= m_heartbeatAt) {
            m_heartbeatAt = now + k_Heartbeat;
            Send(HeartbeatMsg::New());
        }
    }
    void Send(boost::shared_ptr<Message> const& message) {
        if (m_channel && message)
            m_channel->Send(message, net::Traffic::Live);
    }
    // The connection breaks; it comes back after a while.
    void Lose(milliseconds away) {
        m_connectAt = Clock::now() + away;
        if (m_channel)
            m_channel->Drop("lost");
    }
    void End() {
        if (m_channel)
            m_channel->DropHere("the test ends");
        m_channel.reset();
    }

    void OnProved(net::ChannelPtr const& channel) override {
        auto const message = boost::static_pointer_cast<RegisterEngineMsg>(m_sim.Register(CurrentMoment()));
        message->engine.SetHostname(m_sim.Name() + ".local");
        message->engine.SetOperatingSystem("Simulated 1.0");
        message->engine.SetPlatform(3);
        message->engine.SetMemoryMB(16'384);
        message->engine.SetMACAddresses({SFormat("02:00:00:00:%02x:%02x", m_number / 256, m_number % 256)});
        message->engine.SetLastKnownIP(IPPeer("127.0.0.1", static_cast<unsigned short>(10'000 + m_number)));
        channel->Send(message, net::Traffic::Live);
    }
    void OnMessage(net::ChannelPtr const&, boost::shared_ptr<Message> const& message) override {
        if (message->Type() == EngineSettingsMsg::s_Type)
            m_registered = true;
        std::vector<boost::shared_ptr<Message>> answers;
        m_group.Fault(m_sim.Receive(*message, CurrentMoment(), answers));
        for (auto const& answer : answers)
            Send(answer);
    }
    void OnDrained(net::ChannelPtr const&) override {}
    void OnEnded(net::ChannelPtr const& channel, bool, String const&) override {
        if (channel != m_channel)
            return;
        m_channel.reset();
        m_registered = false;
        m_connectAt = std::max(m_connectAt, Clock::now() + milliseconds(100 + m_group.Random(400)));
    }

private:
    void Connect() {
        m_connecting = true;
        auto socket = std::make_shared<net::Socket>(m_group.m_loop.GetExecutor());
        net::Endpoint const endpoint(net::asio::ip::address_v4::loopback(), MasterFinder::LocalPort());
        socket->async_connect(endpoint, [self = shared_from_this(), socket, endpoint](net::error_code error) {
            self->m_connecting = false;
            if (error) {
                self->m_connectAt = Clock::now() + milliseconds(100 + self->m_group.Random(400));
                return;
            }
            net::ChannelOptions options{net::Handshake::Role::Caller,
                                        self->m_group.m_key,
                                        net::PeerInfo::Self(net::PeerKind::Engine, "VorlanEngine"),
                                        {},
                                        net::AddressOf(endpoint),
                                        "127.0.0.1"};
            options.self.machine = self->m_sim.Id();
            options.self.machineName = self->m_sim.Name();
            self->m_channel = boost::make_shared<net::Channel>(std::move(*socket), self->m_group.m_loop,
                                                               self->m_group.m_tls, std::move(options), self);
            self->m_channel->Start();
        });
    }

    Group& m_group;
    unsigned const m_number;
    sim::SimEngine m_sim;
    net::ChannelPtr m_channel;
    bool m_connecting = false;
    bool m_registered = false;
    Clock::time_point m_connectAt;
    Clock::time_point m_heartbeatAt;
};

SimEngines::Group::Group(SimEnginesOptions const& options) : m_options(options), m_random(options.seed) {
    net::SetUpTls(m_tls);
    m_key = FarmKey::Load(corekit::File::GetMachineDir());
    for (unsigned number = 0; number < options.engines; ++number)
        m_nodes.push_back(std::make_shared<Node>(*this, number));
}

void SimEngines::Group::Start() {
    m_lastStep = Clock::now();
    m_loop.Post([this] { Step(); });
    m_loop.Start();
}

void SimEngines::Group::Stop() {
    m_loop.Stop();
    m_timer.cancel();
    for (auto const& node : m_nodes)
        node->End();
    m_loop.Drain();
    m_nodes.clear();
}

void SimEngines::Group::NextStep() {
    m_timer.expires_after(k_Step);
    m_timer.async_wait([this](net::error_code error) {
        if (!error)
            Step();
    });
}

template <class Function>
void SimEngines::Group::AtRate(double& credit, double perSecond, double seconds, Function function) {
    credit += perSecond * seconds;
    auto const due = static_cast<size_t>(credit);
    credit -= static_cast<double>(due);
    for (size_t i = 0; i < due; ++i)
        function();
}

void SimEngines::Group::Step() {
    auto const now = Clock::now();
    double const seconds = std::min(std::chrono::duration<double>(now - m_lastStep).count(), k_LongestStepSeconds);
    m_lastStep = now;
    for (auto const& node : m_nodes)
        node->Step(now);
    if (!m_hold) {
        for (auto const& node : m_nodes) {
            if (!node->Registered())
                continue;
            while (auto const begun = node->Sim().Begin(0, CurrentMoment())) {
                node->Send(begun);
                ++m_sums.begun;
            }
        }
        AtRate(m_ends, m_options.endsPerSecond, seconds, [this] { EndOne(); });
        AtRate(m_progress, m_options.progressPerSecond, seconds, [this] { ProgressOne(); });
        AtRate(m_notes, m_options.notesPerSecond, seconds, [this] { NoteOne(); });
        AtRate(m_losses, m_options.lossesPerSecond, seconds, [this] { LoseOne(); });
    }
    CountAll();
    NextStep();
}

// Null when a few tries found none.
SimEngines::Group::Node* SimEngines::Group::AnyNode(bool withUnits) {
    for (int tries = 0; tries < 10; ++tries) {
        Node& node = *m_nodes[Random(m_options.engines)];
        if (node.Registered() && (!withUnits || !node.Sim().Runs().empty()))
            return &node;
    }
    return nullptr;
}

void SimEngines::Group::EndOne() {
    Node* const node = AnyNode(true);
    if (!node)
        return;
    bool const fails = Random(10'000) < static_cast<unsigned>(m_options.failedShare * 10'000);
    node->Send(node->Sim().End(Random(1'000), fails ? static_cast<int>(Unsuccessful) : static_cast<int>(Finished),
                               CurrentMoment()));
    ++m_sums.ended;
    m_sums.failed += fails ? 1 : 0;
    // As after an answer that did not come in time.
    if (Random(50) == 0)
        node->Send(node->Sim().RepeatEnded(Random(1'000)));
}

void SimEngines::Group::ProgressOne() {
    if (Node* const node = AnyNode(true))
        node->Send(node->Sim().Progress(Random(1'000), static_cast<int>(Random(100))));
}

void SimEngines::Group::NoteOne() {
    Node* const node = AnyNode(false);
    if (!node)
        return;
    auto line = EngineHistoryElementMsg::New();
    line->engine = node->Sim().Id();
    line->element.message = SFormat("Line %u", Random(1'000'000));
    node->Send(line);
}

void SimEngines::Group::LoseOne() {
    Node* const node = AnyNode(false);
    if (!node)
        return;
    ++m_sums.losses;
    // The cable; the program, which knows afterwards what it ran; the machine, which does not.
    unsigned const kind = Random(3);
    if (kind > 0)
        node->Sim().Crash(kind == 1, CurrentMoment());
    node->Lose(milliseconds(100 + Random(4'000)));
}

void SimEngines::Group::CountAll() {
    Counts counts = m_sums;
    for (auto const& node : m_nodes) {
        counts.registered += node->Registered() ? 1 : 0;
        counts.units += node->Sim().Runs().size();
        counts.unacknowledged += node->Sim().Unacknowledged().size();
    }
    std::lock_guard const lock(m_guard);
    m_counts = counts;
}

void SimEngines::Group::Fault(String const& text) {
    if (text.Empty())
        return;
    std::lock_guard const lock(m_guard);
    m_faults.push_back(text);
}

SimEngines::SimEngines(SimEnginesOptions const& options) : m_group(std::make_shared<Group>(options)) {
    m_group->Start();
}

SimEngines::~SimEngines() { m_group->Stop(); }

void SimEngines::Hold() { m_group->Hold(true); }

void SimEngines::GoOn() { m_group->Hold(false); }

bool SimEngines::AllThere() const {
    Counts const counts = Count();
    return counts.registered == m_group->Options().engines && counts.unacknowledged == 0;
}

SimEngines::Counts SimEngines::Count() const { return m_group->Count(); }

std::vector<String> SimEngines::Faults() const { return m_group->Faults(); }

} // namespace vorlan::farmtest
