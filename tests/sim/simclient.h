#pragma once

// A client of the simulation: what it was told, and what that adds up to.

#include "domain.h"

#include "master/core/event.h"

#include <vorlan/jobhistory.h>

namespace sim {

using namespace vorlan;

// Mirrors the farm from messages alone, by the rules of a real client.
class SimClient {
public:
    using Products = std::map<UID, boost::shared_ptr<Product const>>;
    explicit SimClient(Products const& products) : m_products(products) {}

    farm::PeerId peer = 0; // 0: not connected

    // Forgets everything; gives what it asks for on a new connection.
    std::vector<boost::shared_ptr<Message>> Refresh();

    // Takes a message; `answers` are to be sent.
    void Receive(Message const& message, std::vector<boost::shared_ptr<Message>>& answers);

    // The end of the Jobs of the last refresh has come.
    bool Loaded() const { return m_pendingLoads == 0; }

    std::vector<UID> Jobs() const;
    boost::shared_ptr<Job> FindJob(UID const& id) const;
    std::vector<UID> Works() const;
    std::vector<UID> Engines() const;
    boost::shared_ptr<Engine> FindEngine(UID const& id) const;

    // Asks for the history of a Job and follows it from then on.
    boost::shared_ptr<Message> AskHistory(UID const& job);

    // Where the two differ, a line each.
    static std::vector<String> Compare(SimClient const& mirror, SimClient const& fresh);

private:
    struct Work {
        boost::shared_ptr<Job> job;
        UID engine;
    };
    struct History {
        bool received = false;
        JobHistory history;
    };
    using FailureKey = std::pair<UID, UID>;
    struct FailureCounts {
        void AddOne() { ++count, ++total; }
        unsigned count = 0;
        unsigned total = 0;
    };

    void OnWork(boost::shared_ptr<Job> const& work, UID const& engine);
    void OnParameter(JobParameterMsg const& message, std::vector<boost::shared_ptr<Message>>& answers);
    void OnFinishedWork(FinishedWorkMsg const& message);
    void OnJob(boost::shared_ptr<Job> const& job, bool updatesWork);
    void OnGone(UID const& job);
    void OnSettings(Message const& message);
    void OnEngines(Message const& message);

    Products const& m_products;
    unsigned m_pendingLoads = 0;
    std::map<UID, boost::shared_ptr<Job>> m_jobs;
    std::map<UID, Work> m_works;
    std::map<UID, boost::shared_ptr<Engine>> m_engines;
    std::map<std::pair<UID, UID>, OptionMap> m_engineOptions;
    std::map<UID, String> m_pools;
    std::map<String, OptionMap> m_sections;
    std::map<UID, int> m_limits;
    std::map<FailureKey, FailureCounts> m_failures;
    std::map<UID, History> m_histories;
};

} // namespace sim
