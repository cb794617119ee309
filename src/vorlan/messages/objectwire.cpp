#include <vorlan/engine.h>
#include <vorlan/job.h>
#include <vorlan/wire.h>

#include "valuewire.h"

#include <boost/make_shared.hpp>

namespace vorlan {

namespace {

// Calls `take` for each field but "ID" and "Values", which every object has.
template <class Setter>
void ReadObject(MessageReader& reader, VorlanObject& object, Setter take) {
    // An object without an id would be a few bytes on the wire and a thousand here.
    bool hasID = false;
    size_t const count = reader.EnterMap();
    for (size_t i = 0; i < count; ++i) {
        std::string_view const name = reader.Name();
        if (name == "ID") {
            object.id = reader.Id();
            hasID = true;
        } else if (name == "Values") {
            object.SetSnapshot(ValueReader::OfThisThread().Read(reader));
        } else if (!take(name)) {
            reader.Skip();
        }
    }
    reader.Leave();
    if (!hasID)
        reader.Fail("has no id");
}

} // namespace

void WriteJob(MessageWriter& writer, Job const& job) {
    auto const values = job.Snapshot();
    bool const hasParent = !job.parentID.IsNull();
    writer.Map(hasParent ? 3 : 2);
    writer.Text("ID");
    writer.Id(job.id);
    if (hasParent) {
        writer.Text("Parent");
        writer.Id(job.parentID);
    }
    writer.Text("Values");
    ValueWriter::OfThisThread().Write(writer, *values);
}

boost::shared_ptr<Job> ReadJob(MessageReader& reader) {
    auto job = boost::make_shared<Job>();
    ReadObject(reader, *job, [&](std::string_view name) {
        if (name != "Parent")
            return false;
        job->parentID = reader.Id();
        return true;
    });
    return job;
}

void WriteEngine(MessageWriter& writer, Engine const& engine) {
    auto const values = engine.Snapshot();
    writer.Map(2);
    writer.Text("ID");
    writer.Id(engine.id);
    writer.Text("Values");
    ValueWriter::OfThisThread().Write(writer, *values);
}

void ReadEngine(MessageReader& reader, Engine& engine) {
    ReadObject(reader, engine, [](std::string_view) { return false; });
}

} // namespace vorlan
