#pragma once

// Folds frames that a person picked back to a range text.

#include <vorlan/range.h>

#include <map>

namespace vorlan {

// Gathers frame numbers. Only names a set and a function; nobody makes an object of it.
class SequenceDistributor {
public:
    // A set of frame numbers, in ascending order. A plain value, one thread.
    class Items {
    public:
        // Adds all numbers from one to the other, both included, in either order.
        // Gives how many were new. Beyond FrameRange::k_MaxFrames in all nothing is
        // added.
        unsigned insert(int from, int to);

        bool empty() const { return m_spans.empty(); }
        size_t size() const { return m_size; }
        void clear();
        std::map<int, int> const& Spans() const { return m_spans; }

    private:
        std::map<int, int> m_spans; // first to last, apart from each other
        size_t m_size = 0;
    };

    // The numbers as range text, "1-10,12,20-30x2".
    static String CalculateRange(Items const& items);
};

} // namespace vorlan
