#pragma once

// The client's lists against the state that the Master has written.

#include "farm/windowlessclient.h"

namespace vorlan::farmtest {

// What differs, for people: the first lines, and how many there are.
class Differences {
public:
    static constexpr size_t k_ShownLines = 40;

    void Add(String const& what, String const& field, String const& here, String const& there);
    size_t Count() const { return m_count; }
    // Empty when there is none.
    String Text() const;

private:
    size_t m_count = 0;
    std::vector<String> m_lines;
};

// MasterState is "State.jsonl", read.
// A plain value. Always: each line of it is in one of its fields.
class MasterState {
public:
    using Json = nlohmann::json;

    // Throws an exception of the JSON library for a file that is none.
    explicit MasterState(corekit::Path const& file);

    Json master;
    Json limits;
    Json restrictions;
    Json translations;
    Json startup;
    Json defaultEngine;
    std::map<String, Json, String::ciless> sections;
    std::map<UID, Json> pools;
    std::map<UID, Json> products;
    std::map<UID, Json> engines;
    std::map<UID, Json> jobs;
    std::map<UID, Json> work;
    std::vector<Json> failures;
};

// Compares all lists of the client, field by field.
void CompareLists(FarmClient& mirror, MasterState const& state, Differences& differences);

// Compares what two Masters that follow each other know of the Jobs, the Engines'
// settings, the failures, the Pools and the options. Whether an Engine is online, and what
// it runs, is not theirs to keep.
void CompareStates(MasterState const& before, MasterState const& after, Differences& differences);

// A history and a log as text, each event a line, in an order of its own.
String TextOf(JobHistory const& history);
String TextOf(EngineHistory const& history);

} // namespace vorlan::farmtest
