#pragma once

// A client of the simulation: what it was told, and what that adds up to.

#include "domain.h"

#include "sim/simengine.h"

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
    Messages Refresh();

    // Takes a message; `answers` are to be sent.
    void Receive(Message const& message, Messages& answers);

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
    struct FailureCounts {
        unsigned count = 0;
        unsigned total = 0;
    };
    struct Farm {
        std::map<UID, boost::shared_ptr<Job>> jobs;
        std::map<UID, Work> works;
        std::map<UID, boost::shared_ptr<Engine>> engines;
        std::map<std::pair<UID, UID>, OptionMap> engineOptions; // by Engine and Product
        std::map<UID, String> pools;
        std::map<String, OptionMap> sections;
        std::map<UID, int> limits;
        std::map<std::pair<UID, UID>, FailureCounts> failures; // by Job and Engine
        std::map<UID, History> histories;
    };

    void OnWork(boost::shared_ptr<Job> const& work, UID const& engine);
    void OnParameter(JobParameterMsg const& message, Messages& answers);
    void OnFinishedWork(FinishedWorkMsg const& message);
    void OnJob(boost::shared_ptr<Job> const& job, bool updatesWork);
    void OnJobGone(UID const& job);
    void OnEngineGone(UID const& engine);
    void OnEngineReset(UID const& engine);
    static String Text(String const& text) { return text; }
    static String Text(int number) { return String::From(number); }
    static String Text(UID const& id) { return id.ToString(); }
    static String Text(std::pair<UID, UID> const& ids) { return Text(ids.first) + " " + Text(ids.second); }
    static String Text(OptionMap const& options) { return OptionsToString(options); }
    static String Text(Work const& work) { return "on " + Text(work.engine) + " " + Text(work.job); }
    static String Text(FailureCounts const& counts) { return SFormat("%u of %u", counts.count, counts.total); }
    static String Text(boost::shared_ptr<VorlanObject const> const& object);
    template <class Map>
    static void CompareMaps(Map const& mirror, Map const& fresh, char const* what, std::vector<String>& faults);

    Products const& m_products;
    Farm m_farm;
};

} // namespace sim
