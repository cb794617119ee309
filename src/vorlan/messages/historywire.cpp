#include <vorlan/enginehistory.h>
#include <vorlan/jobhistory.h>
#include <vorlan/wire.h>

namespace vorlan {

namespace {

void WriteRun(MessageWriter& writer, WorkRun const& run) {
    writer.Array(3);
    writer.Id(run.Work());
    writer.Id(run.Engine());
    writer.Array(run.ElementCount());
    for (size_t i = 0; i < run.ElementCount(); ++i) {
        writer.Array(3);
        writer.Int(run.ElementStatus(i));
        writer.Int(run.ElementTime(i).Milliseconds());
        writer.Text(run.ElementNote(i));
    }
}

// A list of which the first `wanted` items are known here; a newer program may
// send more.
template <class Read>
void ReadTuple(MessageReader& reader, size_t wanted, Read read) {
    size_t const count = reader.EnterArray();
    if (count < wanted)
        reader.Fail("has too few items");
    read();
    for (size_t i = wanted; i < count; ++i)
        reader.Skip();
    reader.Leave();
}

int ReadStatus(MessageReader& reader) {
    int64_t const status = reader.Int();
    if (status != static_cast<int>(status))
        reader.Fail("has a status that is too large");
    return static_cast<int>(status);
}

void ReadRun(MessageReader& reader, WorkHistoryElement& element, JobHistory& history) {
    ReadTuple(reader, 3, [&] {
        element.work = reader.Id();
        element.engine = reader.Id();
        size_t const count = reader.EnterArray();
        for (size_t i = 0; i < count; ++i) {
            ReadTuple(reader, 3, [&] {
                element.status = ReadStatus(reader);
                element.time = Time(reader.Int());
                element.note = String(reader.Text());
            });
            if (history.ElementCount() >= limits::k_MaxHistoryElements)
                reader.Fail("has too many items");
            history.Append(element);
        }
        reader.Leave();
    });
}

} // namespace

void WriteJobHistory(MessageWriter& writer, JobHistory const& history) {
    writer.Map(2);
    writer.Text("Job");
    writer.Id(history.JobID());
    writer.Text("Units");
    writer.Array(history.size());
    for (auto const& [key, unit] : history) {
        writer.Array(2);
        writer.Text(key);
        writer.Array(unit.Tries());
        for (unsigned i = 0; i < unit.Tries(); ++i)
            WriteRun(writer, unit[i]);
    }
}

void ReadJobHistory(MessageReader& reader, JobHistory& history) {
    history.Clear();
    WorkHistoryElement element;
    size_t const fields = reader.EnterMap();
    for (size_t field = 0; field < fields; ++field) {
        std::string_view const name = reader.Name();
        if (name == "Job") {
            element.job = reader.Id();
        } else if (name == "Units") {
            size_t const units = reader.EnterArray(limits::k_MaxHistoryElements);
            for (size_t i = 0; i < units; ++i) {
                ReadTuple(reader, 2, [&] {
                    element.subRange = String(reader.Text());
                    size_t const tries = reader.EnterArray();
                    for (size_t run = 0; run < tries; ++run)
                        ReadRun(reader, element, history);
                    reader.Leave();
                });
            }
            reader.Leave();
        } else {
            reader.Skip();
        }
    }
    reader.Leave();
}

void WriteEngineHistory(MessageWriter& writer, EngineHistory const& history) {
    writer.Array(history.size());
    for (EngineHistoryElement const& element : history) {
        writer.Array(2);
        writer.Int(element.time.Milliseconds());
        writer.Text(element.message);
    }
}

void ReadEngineHistory(MessageReader& reader, EngineHistory& history) {
    history.Clear();
    size_t const count = reader.EnterArray();
    for (size_t i = 0; i < count; ++i) {
        ReadTuple(reader, 2, [&] {
            EngineHistoryElement element;
            element.time = Time(reader.Int());
            element.message = String(reader.Text());
            history.Push(element, limits::k_MaxItems);
        });
    }
    reader.Leave();
}

} // namespace vorlan
