#pragma once

#include "master/core/record.h"

#include <corekit/exception.h>
#include <corekit/string.h>

#include <functional>
#include <map>
#include <span>
#include <vector>

namespace farm {

// What goes wrong with the store: the text says what happened and what to do.
class StoreException : public corekit::Exception {
public:
    enum class Cause {
        Surroundings, // anything that is neither of the next
        Full,         // its disk has no room left
        Damage,       // its own bytes are wrong
    };

    explicit StoreException(corekit::String const& message, Cause cause = Cause::Surroundings)
        : corekit::Exception(message), m_cause(cause) {}

    Cause What() const { return m_cause; }

private:
    Cause m_cause;
};

// Where the Master keeps what must survive it.
//
// Owned by the Master's shell, and used on its one working thread only. A store
// knows records and nothing of what they mean.
class Store {
public:
    virtual ~Store() = default;

    // Hands every record to `take`, by kind and then by running number, both
    // ascending. Throws StoreException.
    virtual void LoadAll(std::function<void(Record const&)> const& take) = 0;

    // Writes all records, in their order, in one transaction: when it returns they
    // survive a power cut, when it throws StoreException none of them is there.
    virtual void Commit(std::span<Record const> records) = 0;

    // Does a piece, of some milliseconds, of what may be done at any time: what was deleted
    // gives its room back. True while there is more to do. It does not throw.
    virtual bool Tidy() { return false; }
};

// A store in memory, for tests and the simulator. `FailNext` makes the next commit
// fail as a full disk would.
class MemoryStore : public Store {
public:
    void LoadAll(std::function<void(Record const&)> const& take) override;
    void Commit(std::span<Record const> records) override;

    void FailNext(unsigned commits = 1) { m_failures = commits; }
    size_t Size() const { return m_records.size(); }

private:
    using Key = std::pair<int, uint64_t>;
    std::map<Key, Record> m_records;
    unsigned m_failures = 0;
};

} // namespace farm
