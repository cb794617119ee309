#include <vorlan/valueblock.h>

#include "sharednames.h"
#include "shortbytes.h"

#include <boost/smart_ptr/make_shared_array.hpp>
#include <corekit/exception.h>
#include <corekit/sformat.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace vorlan {

// ---------------------------------------------------------------- ValueBlock

auto ValueBlock::NamesOf(uint32_t const* numbers, size_t count) -> NameList {
    if (count > k_MaxValues)
        throw ArgumentException(SFormat("More than %zu values do not fit into one object.", k_MaxValues));
    uint32_t const* const shared = SharedNames::Find({numbers, count});
    return {shared ? shared : numbers, static_cast<uint32_t>(count), shared != nullptr};
}

size_t ValueBlock::Bytes(NameList const& names, size_t textBytes) {
    return sizeof(ValueBlock) + (names.isShared ? 1 : 2) * sizeof(uint32_t) * names.count + textBytes;
}

boost::shared_ptr<ValueBlock const> ValueBlock::Allocate(NameList const& names, size_t textBytes, Space& space) {
    static_assert(std::is_trivially_destructible_v<ValueBlock> && alignof(ValueBlock) <= alignof(uint64_t));
    if (textBytes > k_MaxTextBytes)
        throw ArgumentException(SFormat("The values have %zu bytes together, and the limit is %zu. Keep large data "
                                        "in files and store their paths.",
                                        textBytes, k_MaxTextBytes));
    size_t const words = (Bytes(names, textBytes) + sizeof(uint64_t) - 1) / sizeof(uint64_t);
    auto const memory = boost::make_shared_noinit<uint64_t[]>(words);
    auto* const block = new (memory.get()) ValueBlock(names);
    space.ends = reinterpret_cast<uint32_t*>(block + 1);
    uint32_t* behind = space.ends + names.count;
    if (!names.isShared) {
        block->m_numbers = behind;
        behind = std::copy_n(names.numbers, names.count, behind);
    }
    space.texts = reinterpret_cast<char*>(behind);
    return boost::shared_ptr<ValueBlock const>(memory, block);
}

boost::shared_ptr<ValueBlock const> const& ValueBlock::Empty() {
    // Never destroyed: other statics hold objects to the very end.
    static auto const& s_empty = *new boost::shared_ptr<ValueBlock const>(ValueBlockBuilder().Build());
    return s_empty;
}

uint32_t ValueBlock::IndexOf(uint32_t number) const {
    uint32_t const* const end = m_numbers + m_count;
    uint32_t const* const at = std::find(m_numbers, end, number);
    return at == end ? NameTable::k_None : static_cast<uint32_t>(at - m_numbers);
}

std::string_view ValueBlock::Find(uint32_t number) const {
    uint32_t const index = IndexOf(number);
    return index == NameTable::k_None ? std::string_view() : Text(index);
}

std::string_view ValueBlock::Find(std::string_view name) const {
    uint32_t const number = NameTable::Lookup(name);
    return number == NameTable::k_None ? std::string_view() : Find(number);
}

bool ValueBlock::operator==(ValueBlock const& other) const {
    return m_count == other.m_count && TextBytes() == other.TextBytes() &&
           (m_numbers == other.m_numbers || std::equal(m_numbers, m_numbers + m_count, other.m_numbers)) &&
           std::equal(Ends(), Ends() + m_count, other.Ends()) && std::memcmp(Texts(), other.Texts(), TextBytes()) == 0;
}

boost::shared_ptr<ValueBlock const> ValueBlock::With(uint32_t number, std::string_view text) const {
    uint32_t const found = IndexOf(number);
    bool const isNew = found == NameTable::k_None;
    uint32_t const index = isNew ? m_count : found;
    uint32_t const count = m_count + (isNew ? 1 : 0);
    size_t const before = index == 0 ? 0 : Ends()[index - 1];
    size_t const after = isNew ? TextBytes() : Ends()[index];
    std::vector<uint32_t> numbers;
    if (isNew) {
        numbers.reserve(count);
        numbers.assign(m_numbers, m_numbers + m_count);
        numbers.push_back(number);
    }
    Space space;
    auto block =
        Allocate(isNew ? NamesOf(numbers.data(), count) : Names(), TextBytes() - (after - before) + text.size(), space);
    auto const [ends, texts] = space;
    std::copy_n(Ends(), index, ends);
    ends[index] = static_cast<uint32_t>(before + text.size());
    for (uint32_t i = index + 1; i < count; ++i)
        ends[i] = static_cast<uint32_t>(Ends()[i] - after + before + text.size());
    std::memcpy(texts, Texts(), before);
    if (!text.empty())
        std::memcpy(texts + before, text.data(), text.size());
    std::memcpy(texts + before + text.size(), Texts() + after, TextBytes() - after);
    return block;
}

boost::shared_ptr<ValueBlock const> ValueBlock::Without(uint32_t number) const {
    ValueBlockBuilder builder;
    builder.AddAll(*this);
    builder.Remove(number);
    return builder.Build();
}

// --------------------------------------------------------- ValueBlockBuilder

void ValueBlockBuilder::Reserve(size_t values) { m_values.reserve(std::min(values, ValueBlock::k_MaxValues)); }

size_t ValueBlockBuilder::Find(uint32_t number) const {
    auto const at = std::find_if(m_values.begin(), m_values.end(), [&](Item const& i) { return i.number == number; });
    return static_cast<size_t>(at - m_values.begin());
}

bool ValueBlockBuilder::Has(uint32_t number) const { return Find(number) < m_values.size(); }

void ValueBlockBuilder::Append(uint32_t number, std::string_view text) {
    if (m_values.size() >= ValueBlock::k_MaxValues)
        throw ArgumentException(SFormat("More than %zu values do not fit into one object.", ValueBlock::k_MaxValues));
    m_values.push_back({number, text});
}

void ValueBlockBuilder::Put(uint32_t number, std::string_view text) {
    size_t const at = Find(number);
    if (at < m_values.size())
        m_values[at].text = text;
    else
        Append(number, text);
}

bool ValueBlockBuilder::ShapeName::Is(std::string_view name) const {
    return name.size() == spelling.size() && SameShort(name.data(), spelling.data(), name.size());
}

void ValueBlockBuilder::Add(std::string_view name, std::string_view text) {
    // As long as the names come in the order of the last time none can be doubled.
    size_t const at = m_values.size();
    if (m_shapeUse == ShapeUse::Follows && at < m_shape.size() && m_shape[at].Is(name)) {
        Append(m_shape[at].number, text);
        return;
    }
    uint32_t const number = NameTable::Number(name);
    if (m_shapeUse == ShapeUse::Follows) {
        m_shape.resize(at);
        m_shapeUse = ShapeUse::Learns;
    }
    if (m_shapeUse == ShapeUse::Learns && !Has(number)) {
        Append(number, text);
        m_shape.push_back({std::string(name), number});
        return;
    }
    m_shapeUse = ShapeUse::None;
    Put(number, text);
}

void ValueBlockBuilder::Add(uint32_t number, std::string_view text) {
    m_shapeUse = ShapeUse::None;
    Put(number, text);
}

void ValueBlockBuilder::AddCopy(std::string_view name, std::string_view text) {
    Add(name, m_copies.emplace_back(text));
}

void ValueBlockBuilder::AddCopy(uint32_t number, std::string_view text) { Add(number, m_copies.emplace_back(text)); }

void ValueBlockBuilder::AddAll(ValueBlock const& block) {
    bool const isFirst = m_values.empty();
    m_shapeUse = ShapeUse::None;
    m_values.reserve(m_values.size() + block.Count());
    for (ValueBlock::Value const value : block) {
        if (isFirst)
            Append(value.number, value.text);
        else
            Put(value.number, value.text);
    }
}

void ValueBlockBuilder::Remove(uint32_t number) {
    m_shapeUse = ShapeUse::None;
    size_t const at = Find(number);
    if (at < m_values.size())
        m_values.erase(m_values.begin() + static_cast<ptrdiff_t>(at));
}

boost::shared_ptr<ValueBlock const> ValueBlockBuilder::Build() {
    size_t bytes = 0;
    for (Item const& item : m_values)
        bytes += item.text.size();
    m_numbers.clear();
    for (Item const& item : m_values)
        m_numbers.push_back(item.number);
    ValueBlock::Space space;
    boost::shared_ptr<ValueBlock const> block;
    try {
        block = ValueBlock::Allocate(ValueBlock::NamesOf(m_numbers.data(), m_numbers.size()), bytes, space);
    } catch (...) {
        Reset();
        throw;
    }
    uint32_t end = 0;
    for (Item const& item : m_values) {
        CopyShort(space.texts + end, item.text.data(), item.text.size());
        *space.ends++ = end += static_cast<uint32_t>(item.text.size());
    }
    Reset();
    return block;
}

void ValueBlockBuilder::Reset() {
    m_values.clear();
    m_copies.clear();
    m_shapeUse = ShapeUse::Follows;
}

} // namespace vorlan
