#pragma once

#include "listcontents.h"
#include "model/listlist.h"
#include "rowcolumn.h"

#include <array>
#include <boost/shared_ptr.hpp>
#include <corekit/signal.h>
#include <functional>
#include <vector>

namespace vorlan {

// What of the former rows may be used again.
enum class Reuse : uint8_t {
    Nothing,
    // What has not changed since: keys and places. The rows come out as from scratch.
    Unchanged,
};

// What a filter looks at.
enum class FilterScope : uint8_t {
    // Anything: it is asked about every row each time.
    Anything,
    // The object's own values: it is asked about those that have changed.
    OwnValues,
};

// RowSet makes the rows of one list out of the objects of one kind: it takes those that
// there are, asks the filter, and sorts. Each object is resolved once for each rebuild: its
// sort key is put together beforehand, and no comparison looks anything up.
// Owner: a list control, shared with the rebuild that is under way.
// Works with: Kind, which says where the objects come from and what their columns are.
// Thread: any, one at a time. The objects are held by shared pointers, so no lock of their
// list is needed once they are collected.
// Always: the same objects and the same order give the same rows, whatever was reused.
template <class Kind>
class RowSet {
public:
    using Info = typename Kind::Info;
    using Pointer = boost::shared_ptr<Info>;
    // A slot that sets its bool to false leaves the row out.
    using FilterSignal = Signal2<Pointer const&, bool&>;

    struct Request {
        SortOrder order;
        Reuse reuse = Reuse::Nothing;
        FilterScope scope = FilterScope::Anything;
        // Null: all rows.
        boost::shared_ptr<FilterSignal const> filter;
        Time now;
    };

    // Takes the objects from their list, under its lock, and asks the filter.
    void Refill(Request const& request);
    // Sorts what the last Refill gave.
    void Sort(Request const& request);
    // Both. Each object is looked at once, so this is the quicker way.
    void Rebuild(Request const& request);

    // The rows in the order of the objects' list, and as sorted.
    ListContents Unsorted() const;
    ListContents Sorted() const;
    // The last Refill and Sort gave the same rows in the same order as those before.
    bool IsSame() const { return m_isSame; }
    // How many objects there are, those left out by the filter included.
    size_t ObjectCount() const { return m_entries.size(); }
    void Clear() { *this = RowSet(); }

private:
    struct Key {
        size_t offset = 0;
        uint32_t size = 0;
        uint32_t firstSize = 0; // of the part for the first column
    };
    struct Entry {
        UID id;
        Pointer object;
        Key key;
        // Where its values stood the last time, to call them into the cache. Never read.
        void const* values = nullptr;
        uint32_t changes = 0;
        uint8_t part = 0;        // the number of its map
        bool isNew = false;      // since the last time
        bool isRepeated = false; // the id stands in an earlier map, too
        bool isFresh = false;    // new or changed, and no key made since
        bool isIncluded = false;
        bool hasKey = false;
        bool isPlaced = false; // stands in m_order
        bool isMoved = false;  // is to be placed
    };
    using Column = RowColumn<Info>;
    using Order = std::vector<uint32_t>;

    // What is left to do with an entry.
    struct Steps {
        bool filters = false;
        bool makesKeys = false;
        bool anew = false;   // no key of the former ones is used
        bool isLive = false; // every key may be different
    };

    // The entries of the last time while objects are collected.
    struct Collecting {
        std::vector<Entry> entries;
        Order now; // where each of them is now
        size_t at = 0;
        size_t kept = 0;
    };

    // So many objects are read together.
    static constexpr size_t k_Group = 16;
    struct Group {
        size_t first = 0; // entries
        size_t last = 0;
        std::array<bool, k_Group> isDone{};
        // What is read of them, by the filter as by the columns.
        std::array<boost::shared_ptr<ValueBlock const>, k_Group> values;
    };

    void Collect();
    void TakeObjects(std::vector<ListedObject<Info>> const& objects, Collecting& former);
    void IndexByID();
    bool HasToStartAnew(Request const& request) const;
    void StartKeys(Request const& request, Steps& steps);
    void Walk(Request const& request, Steps const& steps);
    bool IsDone(Entry const& entry, Request const& request, Steps const& steps) const;
    void Begin(Group& group, Request const& request, Steps const& steps);
    void ReadValues(Group& group);
    void Filter(Group const& group, Request const& request);
    void MakeKey(Entry& entry, Request const& request, Steps const& steps);
    void TakeKey(Entry& entry, Key const& key);
    Key WriteKey(Entry const& entry, Request const& request);
    void AddPart(Entry const& entry, SortBy const& by, Time now);
    void Place(Request const& request, Steps const& steps);

    Order SortAll() const;
    Order SortMoved() const;
    Order SortLoose(SortOrder const& order) const;
    bool IsLoose(SortBy const& by, bool isFirst) const;
    void SortByKey(Order& order) const;
    bool IsLess(uint32_t a, uint32_t b) const;
    ListContents Contents(Order const& order) const;

    // In the order of the objects' list.
    std::vector<Entry> m_entries;
    // Entries by their number: all in the order of their ids, and the included ones as sorted.
    Order m_byID;
    Order m_order;
    KeyBytes m_keys;
    size_t m_keyBytesInUse = 0;
    SortOrder m_keyOrder;
    uint32_t m_names = 0; // what CountNameChanges gave for the keys
    size_t m_movedCount = 0;
    uint64_t m_moves = 0; // what Kind::Moves gave for the entries
    bool m_isSorted = false;
    bool m_isLoose = false;     // m_order is not the order of the keys
    bool m_areRowsSame = false; // since the last Refill, their order aside
    bool m_isSame = false;
};

} // namespace vorlan
