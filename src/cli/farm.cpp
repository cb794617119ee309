#include "cli/farm.h"

#include "cli/exitcode.h"

#include <corekit/log.h>
#include <vorlan/messages.h>

#include <algorithm>
#include <thread>

namespace vorlan::cli {

namespace {

// A Master that says nothing for so long is taken for dead.
constexpr std::chrono::seconds k_Silence{60};
constexpr std::chrono::milliseconds k_FirstPause{100};
constexpr std::chrono::milliseconds k_LongestPause{2'000};

} // namespace

Farm::Farm(Connector connector, Rights rights) : m_connector(std::move(connector)), m_rights(rights) { Open(); }

void Farm::Open() {
    m_link = m_connector();
    m_refusals.clear();
    if (m_rights == Rights::Administrator)
        Send(AdministrateMsg::Create(true));
    WaitFor({LoadedMsg::s_Type});
}

void Farm::Reconnect(Clock::time_point deadline) {
    for (auto pause = k_FirstPause;; pause = std::min(2 * pause, k_LongestPause)) {
        try {
            m_view.ClearJobs();
            return Open();
        } catch (CommandException const& exception) {
            if (exception.Exit() != ExitCode::NoMaster || Clock::now() + pause >= deadline)
                throw;
            LogInfo("Not connected again yet: " + exception.Message());
        }
        std::this_thread::sleep_for(pause);
    }
}

boost::shared_ptr<Message> Farm::Next(Clock::time_point deadline) {
    boost::shared_ptr<Message> message = m_link->Receive(deadline);
    if (!message)
        return nullptr;
    m_view.TakeMessage(*message);
    if (message->Type() == RefusedMsg::s_Type) {
        auto const& refused = static_cast<RefusedMsg const&>(*message);
        m_refusals.push_back({refused.id, refused.reason});
    }
    return message;
}

boost::shared_ptr<Message> Farm::WaitFor(std::set<UID> const& kinds) {
    for (;;) {
        boost::shared_ptr<Message> message = Next(Clock::now() + k_Silence);
        if (!message)
            throw CommandException(ExitCode::NoMaster, "The Master does not answer. Look into its log, and start it "
                                                       "anew if need be.");
        if (kinds.contains(message->Type()))
            return message;
    }
}

void Farm::LoadJobs(std::set<UID> const& ids) {
    m_view.ClearJobs();
    auto request = GetJobInfoMsg::New();
    request->all = ids.empty();
    request->ids = ids;
    request->wantJob = true;
    Send(request);
    WaitFor({EndJobInfoMsg::s_Type});
}

void Farm::LoadHistories(std::set<UID> const& ids) {
    auto request = GetJobInfoMsg::New();
    request->all = ids.empty();
    request->ids = ids;
    request->wantHistory = true;
    Send(request);
    WaitFor({EndJobInfoMsg::s_Type});
}

void Farm::LoadEngines() {
    auto request = GetEngineInfoMsg::New();
    request->AddAll();
    request->wantEngine = true;
    request->wantState = true;
    Send(request);
    WaitFor({EndEngineInfoMsg::s_Type});
}

void Farm::LoadPools() {
    Send(GetPoolsMsg::New());
    WaitFor({PoolMsg::s_Type});
}

void Farm::LoadFailures() {
    Send(GetFailureArchiveMsg::New());
    WaitFor({FailureArchiveMsg::s_Type});
}

void Farm::Follow(std::set<UID> const& kinds) {
    auto request = NotifyOnEventMsg::New();
    request->ids = kinds;
    Send(request);
}

void Farm::Do(boost::shared_ptr<Message const> const& message) {
    auto const refusals = DoAll({message});
    if (!refusals.empty())
        throw CommandException(ExitCode::Failed, "The Master refused: " + refusals.front().reason);
}

std::vector<Farm::Refusal> Farm::DoAll(MessageList const& messages) {
    m_refusals.clear();
    for (auto const& message : messages)
        Send(message);
    // The Master answers in order and after it has stored: what comes before the
    // Pools belongs to the commands.
    try {
        LoadPools();
    } catch (CommandException const& exception) {
        if (m_refusals.empty())
            throw;
        // With all of them refused there is nothing left to hear.
        if (m_refusals.size() < messages.size()) {
            String text;
            for (Refusal const& refusal : m_refusals)
                text += "The Master refused: " + refusal.reason + "\n";
            throw CommandException(exception.Exit(), text + exception.Message());
        }
    }
    return std::exchange(m_refusals, {});
}

String Farm::Report(boost::shared_ptr<Message const> const& request) {
    m_refusals.clear();
    Send(request);
    auto const answer = WaitFor({DispatchResultMsg::s_Type, RefusedMsg::s_Type});
    if (answer->Type() == RefusedMsg::s_Type)
        throw CommandException(ExitCode::Failed, static_cast<RefusedMsg const&>(*answer).reason);
    return static_cast<DispatchResultMsg const&>(*answer).report;
}

} // namespace vorlan::cli
