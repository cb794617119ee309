#include <vorlan/valueblock.h>

#include "shortbytes.h"

#include <boost/smart_ptr/make_shared_array.hpp>
#include <corekit/exception.h>
#include <corekit/sformat.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace vorlan {

// ---------------------------------------------------------------- ValueBlock

boost::shared_ptr<ValueBlock const> ValueBlock::Allocate(uint32_t count, size_t textBytes, uint32_t*& numbers,
                                                         uint32_t*& ends, char*& texts) {
    static_assert(std::is_trivially_destructible_v<ValueBlock> && alignof(ValueBlock) <= alignof(uint64_t));
    if (count > k_MaxValues)
        throw ArgumentException(SFormat("More than %zu values do not fit into one object.", k_MaxValues));
    if (textBytes > k_MaxTextBytes)
        throw ArgumentException(SFormat("The values have %zu bytes together, and the limit is %zu. Keep large data "
                                        "in files and store their paths.",
                                        textBytes, k_MaxTextBytes));
    size_t const bytes = sizeof(ValueBlock) + size_t{count} * 2 * sizeof(uint32_t) + textBytes;
    auto const memory = boost::make_shared_noinit<uint64_t[]>((bytes + sizeof(uint64_t) - 1) / sizeof(uint64_t));
    auto* const block = new (memory.get()) ValueBlock(count);
    numbers = reinterpret_cast<uint32_t*>(block + 1);
    ends = numbers + count;
    texts = reinterpret_cast<char*>(ends + count);
    return boost::shared_ptr<ValueBlock const>(memory, block);
}

boost::shared_ptr<ValueBlock const> const& ValueBlock::Empty() {
    // Never destroyed: other statics hold objects to the very end.
    static auto const& s_empty = *new boost::shared_ptr<ValueBlock const>(ValueBlockBuilder().Build());
    return s_empty;
}

uint32_t ValueBlock::IndexOf(uint32_t number) const {
    uint32_t const* const end = Numbers() + m_count;
    uint32_t const* const at = std::find(Numbers(), end, number);
    return at == end ? NameTable::k_None : static_cast<uint32_t>(at - Numbers());
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
           std::equal(Numbers(), Numbers() + 2 * size_t{m_count}, other.Numbers()) &&
           std::memcmp(Texts(), other.Texts(), TextBytes()) == 0;
}

boost::shared_ptr<ValueBlock const> ValueBlock::With(uint32_t number, std::string_view text) const {
    uint32_t const found = IndexOf(number);
    bool const isNew = found == NameTable::k_None;
    uint32_t const index = isNew ? m_count : found;
    uint32_t const count = m_count + (isNew ? 1 : 0);
    size_t const before = index == 0 ? 0 : Ends()[index - 1];
    size_t const after = isNew ? TextBytes() : Ends()[index];
    uint32_t* numbers = nullptr;
    uint32_t* ends = nullptr;
    char* texts = nullptr;
    auto block = Allocate(count, TextBytes() - (after - before) + text.size(), numbers, ends, texts);
    std::copy_n(Numbers(), m_count, numbers);
    numbers[index] = number;
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
    uint32_t* numbers = nullptr;
    uint32_t* ends = nullptr;
    char* texts = nullptr;
    boost::shared_ptr<ValueBlock const> block;
    try {
        block = ValueBlock::Allocate(static_cast<uint32_t>(m_values.size()), bytes, numbers, ends, texts);
    } catch (...) {
        Reset();
        throw;
    }
    uint32_t end = 0;
    for (Item const& item : m_values) {
        *numbers++ = item.number;
        CopyShort(texts + end, item.text.data(), item.text.size());
        *ends++ = end += static_cast<uint32_t>(item.text.size());
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
