#pragma once

// What the Core asks the store to keep.

#include <corekit/string.h>
#include <corekit/uid.h>

#include <cstdint>

namespace farm {

// The kinds of rows. The numbers are stored.
enum class RecordKind : int {
    Job = 1,           // a Job's values
    JobState = 2,      // what a Job is that neither its values nor its runs tell
    History = 3,       // one run of a work unit, written again as it goes on
    Engine = 4,        // an Engine's settings and what was last known of it
    EngineOptions = 5, // the options of one Product on one Engine, or on the default one
    Pool = 6,
    Product = 7,
    Option = 8,  // a section of the options, the limits, restrictions and the like
    Failure = 9, // failures of one Job on one Engine
    Counter = 10,
    EngineHistory = 11, // one line of an Engine's history
    DeletedJob = 12,    // a Job that was deleted of late
    Stagger = 13,       // the latest starts under the stagger of the farm, a Pool, or a Product on an Engine
    JobCommand = 14,    // a command of a Job's own event that no Engine has taken yet
};

// One row to write or to take away. Its key is (kind, number): an ascending number
// that the Core hands out.
struct Record {
    enum class Op {
        Put,      // adds the row or takes the place of the one with its key
        Erase,    // takes the row away
        EraseJob, // takes all rows of `kind` away whose `job` is this one's
    };

    RecordKind kind = RecordKind::Job;
    uint64_t number = 0;
    corekit::String id; // 16 bytes or text, for whoever reads the store; may be empty
    corekit::String body;
    Op op = Op::Put;
    uint64_t job = 0; // the number of the Job that a Job, JobState or History row is part of
};

// Where a transaction stands among all: the term of the Master that made it, which grows
// with each that takes over, and its number, which only grows.
struct Position {
    uint64_t term = 0;
    uint64_t index = 0;
};

// The rows of the kind Counter.
inline constexpr uint64_t k_NumbersRow = 1;  // up to where numbers of rows may be in use
inline constexpr uint64_t k_PositionRow = 2; // the Position of the last transaction, a part of it

// The id of a row that has one of 16 bytes.
inline corekit::UID UIDOfRecord(Record const& record) {
    return corekit::UID::FromBytes({reinterpret_cast<uint8_t const*>(record.id.data()), record.id.size()});
}

} // namespace farm
