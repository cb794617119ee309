#include <vorlan/engine.h>
#include <vorlan/job.h>
#include <vorlan/wire.h>

#include <corekit/exception.h>

#include <boost/make_shared.hpp>

namespace vorlan {

namespace {

static_assert(limits::k_MaxValues <= ValueBlock::k_MaxValues);

void WriteValues(MessageWriter& writer, ValueBlock const& values) {
    // Names, headers and all in one step.
    writer.Reserve(values.TextBytes() + values.Count() * 40u + 8);
    writer.Text("Values");
    writer.Map(values.Count());
    for (uint32_t i = 0; i < values.Count(); ++i) {
        writer.Text(NameTable::Name(values.NameNumber(i)));
        writer.Text(values.Text(i));
    }
}

// The one of this thread remembers the names of the last object.
ValueBlockBuilder& Builder() {
    static thread_local ValueBlockBuilder t_builder;
    return t_builder;
}

boost::shared_ptr<ValueBlock const> ReadValues(MessageReader& reader) {
    ValueBlockBuilder& builder = Builder();
    builder.Reset();
    try {
        size_t const count = reader.EnterMap(limits::k_MaxValues);
        builder.Reserve(count);
        for (size_t i = 0; i < count; ++i) {
            std::string_view const name = reader.Name();
            builder.Add(name, reader.Text());
        }
        reader.Leave();
        return builder.Build();
    } catch (ArgumentException const& exception) {
        builder.Reset();
        reader.Fail((String("has values that are none: ") + exception.Message()).c_str());
    }
}

// Calls `take` for each field but "ID" and "Values", which every object has.
template <class Take>
void ReadObject(MessageReader& reader, VorlanObject& object, Take take) {
    // An object without an id would be a few bytes on the wire and a thousand here.
    bool hasID = false;
    size_t const count = reader.EnterMap();
    for (size_t i = 0; i < count; ++i) {
        std::string_view const name = reader.Name();
        if (name == "ID") {
            object.id = reader.Id();
            hasID = true;
        } else if (name == "Values") {
            object.SetSnapshot(ReadValues(reader));
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
    WriteValues(writer, *values);
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
    WriteValues(writer, *values);
}

void ReadEngine(MessageReader& reader, Engine& engine) {
    ReadObject(reader, engine, [](std::string_view) { return false; });
}

} // namespace vorlan
