#pragma once

#include <corekit/stablesort.h>
#include <corekit/uid.h>
#include <cstdint>
#include <limits>
#include <set>
#include <vector>
#include <vorlan/fwd.h>

namespace vorlan {

// ListContents is the rows of one list: which id stands in which row, and in which row an
// id stands. An id stands in one row at most; what it is the name of is fetched when needed.
// Owner: a ListCtrlBase, and whoever builds its next rows.
// Thread: one at a time; also the reading ones, which may bring the index up to date.
class ListContents {
public:
    // The row of an id that is not there.
    static constexpr unsigned k_NoRow = std::numeric_limits<unsigned>::max();

    ListContents() = default;
    // `rowsByID`: all row numbers, in the order of the ids that stand in them; no id twice.
    ListContents(std::vector<UID> rows, std::vector<uint32_t> rowsByID);

    size_t size() const;
    bool empty() const { return size() == 0; }
    // Null at and past the end.
    UID operator[](size_t index) const;
    // k_NoRow when it is absent. One ordered search.
    unsigned operator[](UID const& id) const;

    // Takes out those that have no row. Many are done in one walk.
    void Retain(std::set<UID>& ids) const;

    // Behind the last row. An id that is there already stays where it is.
    void Insert(UID const& id);
    void swap(ListContents& other) noexcept;
    void clear();

    // Stable; `less` compares ids.
    template <class Less>
    void Sort(Less less) {
        Settle();
        StableSort(m_rows, less);
        m_rowsByID.clear();
    }

private:
    using Index = std::vector<uint32_t>;

    Index::const_iterator find_iterator(UID const& id) const;
    unsigned index_from_iterator(Index::const_iterator at) const;
    void Settle() const;
    void DropRepeated() const;

    mutable std::vector<UID> m_rows;
    // The rows in the order of their ids; behind m_rows while rows are new.
    mutable Index m_rowsByID;
};

} // namespace vorlan
