#pragma once

// The farm as a command sees it: a connection and what came over it.

#include "cli/exitcode.h"
#include "cli/farmview.h"
#include "cli/masterlink.h"

#include <functional>
#include <memory>
#include <set>
#include <vector>

namespace vorlan::cli {

// Farm asks the Master and waits for the answers.
// Owner: Context. Works with: MasterLink, FarmView.
// Thread: the main thread. All calls throw CommandException when the Master is gone or
// does not answer.
class Farm {
public:
    using Connector = std::function<std::unique_ptr<MasterLink>()>;

    // What the commands of a connection may do.
    enum class Rights { User, Administrator };

    // Connects, and waits for what the Master tells everybody first.
    explicit Farm(Connector connector, Rights rights = Rights::User);

    FarmView const& View() const { return m_view; }

    // Jobs and their active work; all of them if `ids` is empty. Those loaded before
    // are forgotten.
    void LoadJobs(std::set<UID> const& ids = {});
    void LoadHistories(std::set<UID> const& ids = {});
    void LoadEngines();
    void LoadPools();
    void LoadFailures();
    // From now on Next gives these kinds of messages, too.
    void Follow(std::set<UID> const& kinds);

    // Does a command and waits until the Master has stored it. Throws with the
    // Master's own words if it refuses.
    void Do(boost::shared_ptr<Message const> const& message);
    // The same for many, sent together. What is refused does not hold up the rest;
    // gives the refusals. When the connection ends before all was answered, the
    // exception tells of them, too.
    struct Refusal {
        UID id;
        String reason;
    };
    using MessageList = std::vector<boost::shared_ptr<Message const>>;
    std::vector<Refusal> DoAll(MessageList const& messages);
    // What `function` gives. It may be called again: a Master that goes away meanwhile is
    // waited for. `tell` hears of it.
    template <class Function>
    auto Surely(Function const& function, std::function<void(String const&)> const& tell) {
        auto const deadline = Clock::now() + k_Patience;
        for (;;) {
            try {
                return function();
            } catch (CommandException const& exception) {
                if (exception.Exit() != ExitCode::NoMaster || Clock::now() >= deadline)
                    throw;
                tell(exception.Message());
            }
            Reconnect(deadline);
        }
    }
    // Sends without waiting for anything.
    void Send(boost::shared_ptr<Message const> const& message) { m_link->Send(message); }

    // The text that answers a request for a report.
    String Report(boost::shared_ptr<Message const> const& request);

    // The next message, already taken into the view; null when there is none by the
    // deadline.
    boost::shared_ptr<Message> Next(Clock::time_point deadline);

    // A Master that restarts is waited for.
    static constexpr std::chrono::minutes k_Patience{5};
    // Connects again, trying until the deadline. What was followed and loaded is gone.
    void Reconnect(Clock::time_point deadline);

private:
    void Open();
    boost::shared_ptr<Message> WaitFor(std::set<UID> const& kinds);

    Connector const m_connector;
    Rights const m_rights;
    std::unique_ptr<MasterLink> m_link;
    FarmView m_view;
    std::vector<Refusal> m_refusals; // not asked for yet
};

} // namespace vorlan::cli
