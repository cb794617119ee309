#include "rowset.h"

#include "rowkinds.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <optional>

namespace vorlan {

namespace {

constexpr uint32_t k_Gone = 0xFFFFFFFF;
// So many objects ahead the next ones are called into the cache.
constexpr size_t k_Ahead = 16;
// With more rows than one in so many to be placed anew, all are sorted.
constexpr size_t k_MovedPart = 8;
// Below so much unused key memory nothing is tidied up.
constexpr size_t k_KeySlack = size_t{1} << 20;

constexpr std::ptrdiff_t k_CacheLine = 64;

// The head of a block of values: the count of those who hold it, the ends of the values and
// the first texts.
void FetchValues(void const* values) {
    constexpr std::ptrdiff_t k_Lines = 7;
    for (std::ptrdiff_t line = -1; line < k_Lines; ++line)
        __builtin_prefetch(static_cast<char const*>(values) + line * k_CacheLine);
}

// What points to its values may stand in the second line.
void FetchObject(VorlanObject const& object) {
    __builtin_prefetch(&object);
    __builtin_prefetch(reinterpret_cast<char const*>(&object) + sizeof object - 1);
}

unsigned char MaskOf(SortBy const& by) { return by.ascending ? 0 : 0xFF; }

template <class Kind>
bool Needs(SortBy const& by, KeyNeeds needs) {
    auto const* const column = Kind::Find(by.type);
    return by.type != SortBy::k_ByID && column && column->needs == needs;
}

template <class Kind>
bool Needs(SortOrder const& order, KeyNeeds needs) {
    return Needs<Kind>(order.first, needs) || Needs<Kind>(order.second, needs);
}

} // namespace

template <class Kind>
void RowSet<Kind>::Refill(Request const& request) {
    m_areRowsSame = request.reuse == Reuse::Unchanged && m_isSorted;
    Collect();
    Walk(request, {.filters = true});
}

template <class Kind>
void RowSet<Kind>::Sort(Request const& request) {
    Steps steps{.makesKeys = true};
    StartKeys(request, steps);
    Walk(request, steps);
    Place(request, steps);
}

template <class Kind>
void RowSet<Kind>::Rebuild(Request const& request) {
    m_areRowsSame = request.reuse == Reuse::Unchanged && m_isSorted;
    Collect();
    Steps steps{.filters = true, .makesKeys = true};
    StartKeys(request, steps);
    Walk(request, steps);
    Place(request, steps);
}

template <class Kind>
void RowSet<Kind>::Collect() {
    uint64_t const moves = Kind::Moves();
    if (moves != 0 && moves == m_moves)
        return;
    m_moves = moves;
    Collecting former;
    former.entries.swap(m_entries);
    former.now.assign(former.entries.size(), k_Gone);
    m_entries.reserve(former.entries.size() + former.entries.size() / 8);
    Kind::Visit([&](std::vector<ListedObject<Info>> const& objects) { TakeObjects(objects, former); });
    if (former.kept == former.entries.size() && former.kept == m_entries.size())
        return;
    m_areRowsSame = false;
    std::erase_if(m_order, [&](uint32_t& entry) { return (entry = former.now[entry]) == k_Gone; });
    IndexByID();
}

// What stands where it stood keeps its entry. Both sides are ordered by map and id.
template <class Kind>
void RowSet<Kind>::TakeObjects(std::vector<ListedObject<Info>> const& objects, Collecting& former) {
    std::vector<Entry>& entries = former.entries;
    size_t& at = former.at;
    for (size_t i = 0; i < objects.size(); ++i) {
        auto const& [id, object, part] = objects[i];
        while (at < entries.size() && (entries[at].part < part || (entries[at].part == part && entries[at].id < *id)))
            ++at;
        if (at < entries.size() && entries[at].object == *object && entries[at].part == part) {
            former.now[at] = static_cast<uint32_t>(m_entries.size());
            m_entries.push_back(std::move(entries[at++]));
            ++former.kept;
            continue;
        }
        if (i + k_Ahead < objects.size())
            __builtin_prefetch(objects[i + k_Ahead].object->get());
        if (!*object || !Kind::Values(**object))
            continue;
        Entry& entry = m_entries.emplace_back();
        entry.id = *id;
        entry.object = *object;
        entry.part = part;
        entry.isNew = true;
    }
}

// An id that stands in two maps is shown once, as the one that comes first.
template <class Kind>
void RowSet<Kind>::IndexByID() {
    m_byID.resize(m_entries.size());
    std::iota(m_byID.begin(), m_byID.end(), 0U);
    auto const before = [this](uint32_t a, uint32_t b) { return m_entries[a].id < m_entries[b].id; };
    for (auto first = m_byID.begin(); first != m_byID.end();) {
        auto const last =
            std::find_if(first, m_byID.end(), [&](uint32_t i) { return m_entries[i].part != m_entries[*first].part; });
        std::inplace_merge(m_byID.begin(), first, last, before);
        first = last;
    }
    for (size_t i = 0; i < m_byID.size(); ++i) {
        Entry& entry = m_entries[m_byID[i]];
        bool const isRepeated = i > 0 && m_entries[m_byID[i - 1]].id == entry.id;
        entry.isNew = entry.isNew || isRepeated != entry.isRepeated;
        entry.isRepeated = isRepeated;
    }
}

template <class Kind>
bool RowSet<Kind>::HasToStartAnew(Request const& request) const {
    return request.reuse == Reuse::Nothing || !m_isSorted || request.order != m_keyOrder ||
           m_keys.Size() > 2 * m_keyBytesInUse + k_KeySlack;
}

template <class Kind>
void RowSet<Kind>::StartKeys(Request const& request, Steps& steps) {
    uint32_t const names = CountNameChanges();
    steps.anew = HasToStartAnew(request);
    steps.isLive =
        Needs<Kind>(request.order, KeyNeeds::Live) || (names != m_names && Needs<Kind>(request.order, KeyNeeds::Names));
    m_names = names;
    m_keyOrder = request.order;
    m_movedCount = 0;
    if (!steps.anew)
        return;
    m_keys.Clear();
    m_keyBytesInUse = 0;
}

// Nothing is to be done with it but to see that it stays.
template <class Kind>
bool RowSet<Kind>::IsDone(Entry const& entry, Request const& request, Steps const& steps) const {
    if (entry.isFresh || (steps.filters && request.filter && request.scope == FilterScope::Anything))
        return false;
    if (steps.filters && !request.filter && entry.isIncluded == entry.isRepeated)
        return false;
    bool const hasWhatItNeeds = entry.hasKey || !entry.isIncluded;
    return !steps.makesKeys || (hasWhatItNeeds && !steps.anew && !steps.isLive);
}

// The objects lie anywhere in memory: each group's are called into the cache while the
// group before it is worked on.
template <class Kind>
void RowSet<Kind>::Walk(Request const& request, Steps const& steps) {
    auto const behind = [this](size_t first) { return std::min(first + k_Group, m_entries.size()); };
    auto const fetchObjects = [&](size_t first) {
        for (size_t i = first; i < behind(first); ++i)
            __builtin_prefetch(m_entries[i].object.get());
    };
    Group group;
    fetchObjects(0);
    for (; group.first < m_entries.size(); group.first = group.last) {
        group.last = behind(group.first);
        fetchObjects(group.last);
        Begin(group, request, steps);
        ReadValues(group);
        if (steps.filters)
            Filter(group, request);
        for (size_t i = group.first; i < group.last; ++i) {
            Entry& entry = m_entries[i];
            entry.isMoved = false;
            if (!steps.makesKeys || group.isDone[i - group.first])
                continue;
            VorlanObject::ReadingScope const reading(*Kind::Values(*entry.object), group.values[i - group.first]);
            MakeKey(entry, request, steps);
        }
    }
}

template <class Kind>
void RowSet<Kind>::Begin(Group& group, Request const& request, Steps const& steps) {
    bool const allFresh = request.reuse == Reuse::Nothing || !Kind::k_CountsChanges;
    for (size_t i = group.first; i < group.last; ++i) {
        Entry& entry = m_entries[i];
        // Counted before its values are read: what changes in between is seen next time.
        if (steps.filters) {
            uint32_t const changes = Kind::Changes(*entry.object);
            entry.isFresh = entry.isFresh || allFresh || entry.isNew || changes != entry.changes;
            entry.changes = changes;
            entry.isNew = false;
        }
        bool const isDone = IsDone(entry, request, steps);
        group.isDone[i - group.first] = isDone;
        if (isDone)
            continue;
        FetchObject(*Kind::Values(*entry.object));
        if (entry.values)
            FetchValues(entry.values);
    }
}

template <class Kind>
void RowSet<Kind>::ReadValues(Group& group) {
    for (size_t i = group.first; i < group.last; ++i) {
        if (group.isDone[i - group.first])
            continue;
        auto& values = group.values[i - group.first];
        values = Kind::Values(*m_entries[i].object)->Snapshot();
        if (values.get() != std::exchange(m_entries[i].values, values.get()))
            FetchValues(values.get());
    }
}

template <class Kind>
void RowSet<Kind>::Filter(Group const& group, Request const& request) {
    auto const take = [this](Entry& entry, bool isIncluded) {
        m_areRowsSame = m_areRowsSame && isIncluded == entry.isIncluded;
        entry.isIncluded = isIncluded;
    };
    std::array<Entry*, k_Group> asked{};
    std::array<bool, k_Group> answers{};
    size_t count = 0;
    for (size_t i = group.first; i < group.last; ++i) {
        Entry& entry = m_entries[i];
        bool const isKnown = request.filter && request.scope == FilterScope::OwnValues && !entry.isFresh;
        if (isKnown || group.isDone[i - group.first])
            continue;
        if (entry.isRepeated || !request.filter)
            take(entry, !entry.isRepeated);
        else
            asked[count++] = &entry;
    }
    if (count == 0)
        return;
    answers.fill(true);
    request.filter->EmitMany(count, [&](size_t i, auto const& ask) {
        auto const& values = group.values[static_cast<size_t>(asked[i] - &m_entries[group.first])];
        VorlanObject::ReadingScope const reading(*Kind::Values(*asked[i]->object), values);
        ask(asked[i]->object, answers[i]);
    });
    for (size_t i = 0; i < count; ++i)
        take(*asked[i], answers[i]);
}

template <class Kind>
void RowSet<Kind>::MakeKey(Entry& entry, Request const& request, Steps const& steps) {
    bool const isStale = steps.anew || steps.isLive || entry.isFresh || !entry.hasKey;
    entry.isFresh = false;
    if (steps.anew)
        entry.hasKey = false;
    if (!entry.isIncluded) {
        if (isStale && entry.hasKey)
            m_keyBytesInUse -= entry.key.size;
        entry.hasKey = entry.hasKey && !isStale;
        return;
    }
    if (isStale)
        TakeKey(entry, WriteKey(entry, request));
    entry.isMoved = entry.isMoved || !entry.isPlaced;
    m_movedCount += entry.isMoved;
}

// A key that is as it was leaves its row in its place.
template <class Kind>
void RowSet<Kind>::TakeKey(Entry& entry, Key const& key) {
    bool const hasSameSize = entry.hasKey && entry.key.size == key.size;
    if (hasSameSize && std::memcmp(m_keys.At(entry.key.offset), m_keys.At(key.offset), key.size) == 0) {
        m_keys.Shrink(key.offset);
        return;
    }
    entry.isMoved = true;
    if (hasSameSize) {
        m_keys.Overwrite(entry.key.offset, key.offset, key.size);
        m_keys.Shrink(key.offset);
        entry.key.firstSize = key.firstSize;
        return;
    }
    m_keyBytesInUse += key.size;
    m_keyBytesInUse -= entry.hasKey ? entry.key.size : 0;
    entry.key = key;
    entry.hasKey = true;
}

// The two columns, then the id, which goes the way of the first column.
template <class Kind>
auto RowSet<Kind>::WriteKey(Entry const& entry, Request const& request) -> Key {
    Key key;
    key.offset = m_keys.Size();
    AddPart(entry, request.order.first, request.now);
    key.firstSize = static_cast<uint32_t>(m_keys.Size() - key.offset);
    AddPart(entry, request.order.second, request.now);
    m_keys.AddBytes(entry.id.Bytes(), UID::k_Size, MaskOf(request.order.first));
    key.size = static_cast<uint32_t>(m_keys.Size() - key.offset);
    return key;
}

template <class Kind>
void RowSet<Kind>::Place(Request const& request, Steps const& steps) {
    bool const isLoose = IsLoose(request.order.first, true) || IsLoose(request.order.second, false);
    Order order;
    if (isLoose)
        order = SortLoose(request.order);
    else if (steps.anew || m_isLoose || m_movedCount > m_entries.size() / k_MovedPart)
        order = SortAll();
    else if (m_movedCount == 0 && m_areRowsSame)
        order = m_order;
    else
        order = SortMoved();
    m_isSame = m_areRowsSame && order == m_order;
    m_order = std::move(order);
    m_isLoose = isLoose;
    for (Entry& entry : m_entries)
        entry.isPlaced = entry.isIncluded;
    m_isSorted = true;
}

template <class Kind>
void RowSet<Kind>::AddPart(Entry const& entry, SortBy const& by, Time now) {
    unsigned char const mask = MaskOf(by);
    if (by.type == SortBy::k_ByID) {
        m_keys.AddBytes(entry.id.Bytes(), UID::k_Size, mask);
        return;
    }
    Info const& info = *entry.object;
    Column const* column = Kind::Find(by.type);
    if (!column)
        column = Kind::Find(0);
    if (column->keyOf == KeyOf::Number) {
        SortCode const code = column->code(info, now);
        m_keys.AddNumber(code.high, mask);
        m_keys.AddNumber(code.low, mask);
        return;
    }
    boost::shared_ptr<ValueBlock const> values;
    String text;
    std::string_view view;
    if (column->stored) {
        values = Kind::Values(info)->Snapshot();
        view = column->stored(*values);
    } else {
        text = column->text(info, by.custom, now);
        view = text;
    }
    if (column->keyOf == KeyOf::TextNoCase)
        m_keys.AddFolded(view, mask);
    else
        m_keys.AddText(view, mask);
}

template <class Kind>
auto RowSet<Kind>::SortAll() const -> Order {
    Order order;
    order.reserve(m_entries.size());
    for (uint32_t i = 0; i < m_entries.size(); ++i) {
        if (m_entries[i].isIncluded)
            order.push_back(i);
    }
    SortByKey(order);
    return order;
}

// The rows that stay are in order; the others are sorted and put between them.
template <class Kind>
auto RowSet<Kind>::SortMoved() const -> Order {
    Order moved;
    moved.reserve(m_movedCount);
    for (uint32_t i = 0; i < m_entries.size(); ++i) {
        if (m_entries[i].isMoved)
            moved.push_back(i);
    }
    SortByKey(moved);
    Order staying;
    staying.reserve(m_order.size());
    for (uint32_t const i : m_order) {
        if (m_entries[i].isIncluded && !m_entries[i].isMoved)
            staying.push_back(i);
    }
    Order order;
    order.reserve(staying.size() + moved.size());
    auto at = staying.cbegin();
    for (uint32_t const i : moved) {
        auto const next =
            std::lower_bound(at, staying.cend(), i, [this](uint32_t a, uint32_t b) { return IsLess(a, b); });
        order.insert(order.end(), at, next);
        order.push_back(i);
        at = next;
    }
    order.insert(order.end(), at, staying.cend());
    return order;
}

// Rows of two classes that both go before the other: no key can say that.
template <class Kind>
auto RowSet<Kind>::SortLoose(SortOrder const& by) const -> Order {
    auto const compare = [this](Entry const& a, Entry const& b, SortBy const& sortBy, size_t from, size_t size) {
        unsigned char const* const x = m_keys.At(a.key.offset + from);
        unsigned char const* const y = m_keys.At(b.key.offset + from);
        Column const* const column = Kind::Find(sortBy.type);
        if (sortBy.type != SortBy::k_ByID && column && column->looseClass >= 0) {
            int const mask = MaskOf(sortBy);
            int const classOfA = *x ^ mask;
            int const classOfB = *y ^ mask;
            if ((classOfA == column->looseClass && classOfB == column->otherLooseClass) ||
                (classOfB == column->looseClass && classOfA == column->otherLooseClass))
                return sortBy.ascending ? -1 : 1;
        }
        return std::memcmp(x, y, size);
    };
    Order order;
    for (uint32_t i = 0; i < m_entries.size(); ++i) {
        if (m_entries[i].isIncluded)
            order.push_back(i);
    }
    StableSort(order, [&](uint32_t left, uint32_t right) {
        Entry const& a = m_entries[left];
        Entry const& b = m_entries[right];
        size_t const first = std::min(a.key.firstSize, b.key.firstSize);
        if (int const result = compare(a, b, by.first, 0, first); result != 0)
            return result < 0;
        // Equal first parts are equally long.
        size_t const rest = std::min(a.key.size, b.key.size) - first;
        return compare(a, b, by.second, first, rest) < 0;
    });
    return order;
}

template <class Kind>
bool RowSet<Kind>::IsLoose(SortBy const& by, bool isFirst) const {
    Column const* const column = by.type == SortBy::k_ByID ? nullptr : Kind::Find(by.type);
    if (!column || column->looseClass < 0)
        return false;
    bool hasOne = false;
    bool hasOther = false;
    for (Entry const& entry : m_entries) {
        if (!entry.isIncluded)
            continue;
        int const ofEntry = *m_keys.At(entry.key.offset + (isFirst ? 0 : entry.key.firstSize)) ^ MaskOf(by);
        hasOne = hasOne || ofEntry == column->looseClass;
        hasOther = hasOther || ofEntry == column->otherLooseClass;
    }
    return hasOne && hasOther;
}

template <class Kind>
void RowSet<Kind>::SortByKey(Order& order) const {
    std::vector<KeyedRow> rows;
    rows.reserve(order.size());
    for (uint32_t const i : order)
        rows.push_back({0, m_keys.At(m_entries[i].key.offset), m_entries[i].key.size, i});
    SortKeys(rows);
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = rows[i].row;
}

template <class Kind>
bool RowSet<Kind>::IsLess(uint32_t a, uint32_t b) const {
    Key const& keyOfA = m_entries[a].key;
    Key const& keyOfB = m_entries[b].key;
    return IsKeyLess(m_keys.At(keyOfA.offset), keyOfA.size, m_keys.At(keyOfB.offset), keyOfB.size);
}

template <class Kind>
ListContents RowSet<Kind>::Unsorted() const {
    Order order;
    for (uint32_t i = 0; i < m_entries.size(); ++i) {
        if (m_entries[i].isIncluded)
            order.push_back(i);
    }
    return Contents(order);
}

template <class Kind>
ListContents RowSet<Kind>::Sorted() const {
    return Contents(m_order);
}

template <class Kind>
ListContents RowSet<Kind>::Contents(Order const& order) const {
    std::vector<UID> rows;
    rows.reserve(order.size());
    Order rowOf(m_entries.size());
    for (uint32_t const i : order) {
        rowOf[i] = static_cast<uint32_t>(rows.size());
        rows.push_back(m_entries[i].id);
    }
    Order rowsByID;
    rowsByID.reserve(order.size());
    for (uint32_t const i : m_byID) {
        if (m_entries[i].isIncluded)
            rowsByID.push_back(rowOf[i]);
    }
    return ListContents(std::move(rows), std::move(rowsByID));
}

template class RowSet<JobRows>;
template class RowSet<EngineRows>;
template class RowSet<WorkRows>;

} // namespace vorlan
