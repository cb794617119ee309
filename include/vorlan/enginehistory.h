#pragma once

#include <vorlan/field.h>
#include <vorlan/fwd.h>

#include <corekit/string.h>
#include <corekit/time.h>

#include <deque>
#include <tuple>

namespace vorlan {

// One line of an Engine's log. A value without an owner.
struct EngineHistoryElement {
    static constexpr char const* k_Name = "EngineHistoryElement";

    Time time;
    String message;

    static constexpr auto Fields() {
        return std::tuple{Field{"Time", &EngineHistoryElement::time, "the moment"},
                          Field{"Message", &EngineHistoryElement::message, "what happened"}};
    }

    bool operator==(EngineHistoryElement const&) const = default;
};

// The last lines of an Engine's log, the oldest first. Owned by the Master's
// Engine record or the client's log view; guarded by its owner.
class EngineHistory {
public:
    using const_iterator = std::deque<EngineHistoryElement>::const_iterator;

    // Puts the element at the end and drops the oldest ones beyond `maxItems`.
    void Push(EngineHistoryElement const& element, size_t maxItems);
    size_t size() const noexcept { return m_items.size(); }
    bool Empty() const noexcept { return m_items.empty(); }
    EngineHistoryElement const& operator[](size_t index) const { return m_items[index]; }
    const_iterator begin() const noexcept { return m_items.begin(); }
    const_iterator end() const noexcept { return m_items.end(); }
    void Clear() noexcept { m_items.clear(); }

    bool operator==(EngineHistory const&) const = default;

private:
    std::deque<EngineHistoryElement> m_items;
};

} // namespace vorlan
