#include "master/core/rows.h"

#include <corekit/stream.h>

namespace farm {

namespace {

// Of all rows so far. A later form that only adds fields at the end keeps it.
constexpr uint32_t k_Form = 1;
constexpr uint32_t k_MaxListLength = 10'000'000;

class Writer : public OutMemory {
public:
    Writer() { Write(k_Form); }
    void Count(size_t count) { Write(static_cast<uint32_t>(count)); }
};

class Reader : public InMemory {
public:
    explicit Reader(String const& body) : InMemory(body) {
        if (Get<uint32_t>() != k_Form)
            throw ParseException("A row of the store has a form that this version does not know.");
    }
    uint32_t Count() {
        auto const count = Get<uint32_t>();
        if (count > k_MaxListLength)
            throw ParseException("A row of the store has a list that is too long.");
        return count;
    }
};

void WriteMap(Writer& out, OptionMap const& options) {
    out.Count(options.size());
    for (auto const& [key, value] : options) {
        out.Write(key);
        out.Write(value);
    }
}

OptionMap ReadMap(Reader& in) {
    OptionMap options;
    for (uint32_t left = in.Count(); left > 0; --left) {
        auto key = in.Get<String>();
        options[key] = in.Get<String>();
    }
    return options;
}

void WriteGone(Writer& out, GoneWait const& gone) {
    out.Write(gone.name);
    out.Write(gone.succeeded);
    out.Write(gone.missing);
}

GoneWait ReadGone(Reader& in) {
    GoneWait gone;
    in.Read(gone.name);
    in.Read(gone.succeeded);
    in.Read(gone.missing);
    return gone;
}

void WriteStop(Writer& out, std::optional<PendingStop> const& stop) {
    out.Write(stop.has_value());
    if (!stop)
        return;
    out.Write(static_cast<int32_t>(stop->status));
    out.Write(stop->reason);
    out.Write(static_cast<int32_t>(stop->action));
}

} // namespace

String WriteRow(RunRow const& row) {
    Writer out;
    out.Write(row.work);
    out.Write(row.engine);
    out.Write(row.subRange);
    out.Write(row.cores);
    out.Write(static_cast<int32_t>(row.outcome));
    out.Count(row.elements.size());
    for (RunElement const& element : row.elements) {
        out.Write(static_cast<int32_t>(element.status));
        out.Write(element.time);
        out.Write(element.note);
    }
    WriteStop(out, row.stop);
    return out.TakeBytes();
}

RunRow ReadRunRow(String const& body) {
    Reader in(body);
    RunRow row;
    in.Read(row.work);
    in.Read(row.engine);
    in.Read(row.subRange);
    row.cores = in.Get<uint32_t>();
    row.outcome = static_cast<Outcome>(in.Get<int32_t>());
    for (uint32_t left = in.Count(); left > 0; --left) {
        RunElement element;
        element.status = in.Get<int32_t>();
        in.Read(element.time);
        in.Read(element.note);
        row.elements.push_back(std::move(element));
    }
    // Rows of old end here.
    if (!in.AtEnd() && in.Get<bool>()) {
        row.stop.emplace();
        row.stop->status = in.Get<int32_t>();
        in.Read(row.stop->reason);
        row.stop->action = static_cast<StopAction>(in.Get<int32_t>());
    }
    return row;
}

String WriteRow(JobStateRow const& row) {
    Writer out;
    out.Write(row.deleting);
    out.Write(row.redividedAt);
    out.Write(row.failuresResetAt);
    out.Count(row.engineOfUnit.size());
    for (UID const& engine : row.engineOfUnit)
        out.Write(engine);
    out.Count(row.goneWaits.size());
    for (auto const& [id, gone] : row.goneWaits) {
        out.Write(id);
        WriteGone(out, gone);
    }
    return out.TakeBytes();
}

JobStateRow ReadJobStateRow(String const& body) {
    Reader in(body);
    JobStateRow row;
    in.Read(row.deleting);
    in.Read(row.redividedAt);
    in.Read(row.failuresResetAt);
    for (uint32_t left = in.Count(); left > 0; --left)
        row.engineOfUnit.push_back(in.Get<UID>());
    // Rows of old end here.
    for (uint32_t left = in.AtEnd() ? 0 : in.Count(); left > 0; --left) {
        UID const id = in.Get<UID>();
        row.goneWaits[id] = ReadGone(in);
    }
    return row;
}

String WriteRow(EngineProductRow const& row) {
    Writer out;
    out.Write(row.engine);
    out.Write(row.product);
    WriteMap(out, row.options);
    return out.TakeBytes();
}

EngineProductRow ReadEngineProductRow(String const& body) {
    Reader in(body);
    EngineProductRow row;
    in.Read(row.engine);
    in.Read(row.product);
    row.options = ReadMap(in);
    return row;
}

String WriteRow(EngineHistoryRow const& row) {
    Writer out;
    out.Write(row.engine);
    out.Write(row.element.time);
    out.Write(row.element.message);
    return out.TakeBytes();
}

EngineHistoryRow ReadEngineHistoryRow(String const& body) {
    Reader in(body);
    EngineHistoryRow row;
    in.Read(row.engine);
    in.Read(row.element.time);
    in.Read(row.element.message);
    return row;
}

String WriteRow(FailureEntry const& entry) {
    vorlan::FailureItem const& item = entry.item;
    Writer out;
    out.Write(item.job);
    out.Write(item.engine);
    out.Write(item.product);
    out.Write(static_cast<uint32_t>(item.count));
    out.Write(item.time);
    out.Write(static_cast<uint32_t>(item.total));
    out.Write(entry.note);
    out.Write(entry.finishedElsewhere);
    out.Write(entry.cleared);
    return out.TakeBytes();
}

FailureEntry ReadFailureRow(Record const& record) {
    Reader in(record.body);
    FailureEntry entry;
    entry.number = record.number;
    vorlan::FailureItem& item = entry.item;
    in.Read(item.job);
    in.Read(item.engine);
    in.Read(item.product);
    item.count = in.Get<uint32_t>();
    in.Read(item.time);
    // Rows of old end here.
    item.total = in.AtEnd() ? item.count : in.Get<uint32_t>();
    if (in.AtEnd())
        return entry;
    in.Read(entry.note);
    in.Read(entry.finishedElsewhere);
    in.Read(entry.cleared);
    return entry;
}

String WriteRow(OptionMap const& options) {
    Writer out;
    WriteMap(out, options);
    return out.TakeBytes();
}

OptionMap ReadOptionRow(String const& body) {
    Reader in(body);
    return ReadMap(in);
}

String WriteRow(GoneWait const& gone) {
    Writer out;
    WriteGone(out, gone);
    return out.TakeBytes();
}

GoneWait ReadGoneWaitRow(String const& body) {
    Reader in(body);
    return ReadGone(in);
}

String WriteRow(StaggerRow const& row) {
    Writer out;
    out.Write(row.owner);
    out.Write(row.product);
    out.Count(row.starts.size());
    for (auto const& [engine, time] : row.starts) {
        out.Write(engine);
        out.Write(time);
    }
    return out.TakeBytes();
}

StaggerRow ReadStaggerRow(String const& body) {
    Reader in(body);
    StaggerRow row;
    in.Read(row.owner);
    in.Read(row.product);
    for (uint32_t left = in.Count(); left > 0; --left) {
        UID const engine = in.Get<UID>();
        row.starts.emplace_back(engine, in.Get<Time>());
    }
    return row;
}

String RowOf(Run const& run, Outcome outcome) {
    // Written without the detour of a RunRow: this runs several times for each unit.
    Writer out;
    out.Write(run.work);
    out.Write(run.engine->id);
    out.Write(run.subRange);
    out.Write(run.cores);
    out.Write(static_cast<int32_t>(outcome));
    out.Count(run.elements.size());
    for (RunElement const& element : run.elements) {
        out.Write(static_cast<int32_t>(element.status));
        out.Write(element.time);
        out.Write(element.note);
    }
    WriteStop(out, run.stop);
    return out.TakeBytes();
}

} // namespace farm
