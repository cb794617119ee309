#pragma once

// The values of one Job or Engine as one block of memory, and the names they have.

#include <boost/shared_ptr.hpp>
#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace vorlan {

// The numbers of all value names of this process.
//
// Static. Any thread; looking up waits for nobody, a new name takes a lock. Names
// compare without regard to the case of ASCII letters; the spelling that came first
// is the one that is given back, and the names of k_Values (values.h) come before all others.
// Numbers differ from process to process and never travel.
class NameTable {
public:
    static constexpr uint32_t k_None = 0xFFFFFFFF;
    static constexpr size_t k_MaxNames = 1'000'000;
    static constexpr size_t k_MaxNameLength = 1024;

    // The number of a name, a new one if it has none yet. An empty or too long name,
    // or one name too many, throws ArgumentException.
    static uint32_t Number(std::string_view name);

    // The number of a name or k_None; adds nothing.
    static uint32_t Lookup(std::string_view name);

    // The spelling of a name. Valid as long as the process. `number` must be one.
    static std::string_view Name(uint32_t number);

    static size_t Count();
};

// A fixed set of named texts in one allocation. The list of their names is shared by all
// blocks that have the same names in the same order.
//
// Shared by pointer; nobody owns it alone. Built by ValueBlockBuilder. Any thread,
// since nothing in it ever changes. No name stands in it twice; values keep the
// order in which they were added.
class ValueBlock {
public:
    static constexpr size_t k_MaxValues = 20'000;
    static constexpr size_t k_MaxTextBytes = size_t{256} << 20;

    struct Value {
        uint32_t number;
        std::string_view text;
        std::string_view Name() const { return NameTable::Name(number); }
    };

    class Iterator {
    public:
        Iterator(ValueBlock const* block, uint32_t index) : m_block(block), m_index(index) {}
        Value operator*() const { return {m_block->NameNumber(m_index), m_block->Text(m_index)}; }
        Iterator& operator++() {
            ++m_index;
            return *this;
        }
        bool operator==(Iterator const& other) const = default;

    private:
        ValueBlock const* m_block;
        uint32_t m_index;
    };

    ValueBlock(ValueBlock const&) = delete;
    ValueBlock& operator=(ValueBlock const&) = delete;

    // The block without values; always the same one.
    static boost::shared_ptr<ValueBlock const> const& Empty();

    uint32_t Count() const { return m_count; }
    uint32_t NameNumber(uint32_t index) const { return m_numbers[index]; }
    std::string_view Text(uint32_t index) const {
        uint32_t const from = index == 0 ? 0 : Ends()[index - 1];
        return {Texts() + from, Ends()[index] - from};
    }

    // The position of a name, or NameTable::k_None.
    uint32_t IndexOf(uint32_t number) const;

    bool Has(uint32_t number) const { return IndexOf(number) != NameTable::k_None; }

    // The value of a name. Without one, a view whose data() is null; an empty value
    // has data().
    std::string_view Find(uint32_t number) const;
    std::string_view Find(std::string_view name) const;

    Iterator begin() const { return {this, 0}; }
    Iterator end() const { return {this, m_count}; }

    // Bytes of all values together.
    size_t TextBytes() const { return m_count == 0 ? 0 : Ends()[m_count - 1]; }

    // Bytes of the block itself, without names that it shares.
    size_t Bytes() const { return Bytes(Names(), TextBytes()); }

    // The same values in the same order.
    bool operator==(ValueBlock const& other) const;

    // This block with one value set or added, one taken away.
    boost::shared_ptr<ValueBlock const> With(uint32_t number, std::string_view text) const;
    boost::shared_ptr<ValueBlock const> Without(uint32_t number) const;

private:
    friend class ValueBlockBuilder;
    friend class ValueReader;

    struct NameList {
        uint32_t const* numbers;
        uint32_t count;
        bool isShared; // stays as long as the process
    };
    // Where a new block is to be written.
    struct Space {
        uint32_t* ends;
        char* texts;
    };

    explicit ValueBlock(NameList const& names)
        : m_numbers(names.numbers), m_count(names.count), m_sharesNames(names.isShared) {}
    // Shared if there is or can be a shared one. Throws ArgumentException beyond the limits.
    static NameList NamesOf(uint32_t const* numbers, size_t count);
    static boost::shared_ptr<ValueBlock const> Allocate(NameList const& names, size_t textBytes, Space& space);
    static size_t Bytes(NameList const& names, size_t textBytes);

    NameList Names() const { return {m_numbers, m_count, m_sharesNames}; }
    // Behind the header: the end of each text, the numbers of names that are not shared, the texts.
    uint32_t const* Ends() const { return reinterpret_cast<uint32_t const*>(this + 1); }
    char const* Texts() const { return reinterpret_cast<char const*>(Ends() + (m_sharesNames ? 1 : 2) * m_count); }

    uint32_t const* m_numbers;
    uint32_t m_count;
    bool m_sharesNames;
};

// Gathers values and makes a ValueBlock of them.
//
// One thread. Used again after Build or Reset; one that decodes many objects of a
// kind should be kept, since it remembers the names of the last block and their
// numbers: the same names in the same order cost a comparison, not a look-up.
class ValueBlockBuilder {
public:
    // Room for that many values, so that adding them allocates nothing.
    void Reserve(size_t values);

    // Adds a value or, if the name is there already, replaces it. The text must stay
    // where it is until Build. Bad names and too many values throw ArgumentException.
    void Add(std::string_view name, std::string_view text);
    void Add(uint32_t number, std::string_view text);

    // The same for a text that does not stay: keeps a copy until Build.
    void AddCopy(std::string_view name, std::string_view text);
    void AddCopy(uint32_t number, std::string_view text);

    // Adds all values of a block, which must live until Build.
    void AddAll(ValueBlock const& block);

    void Remove(uint32_t number);
    bool Has(uint32_t number) const;
    size_t Count() const { return m_values.size(); }

    // The block. Throws ArgumentException beyond k_MaxTextBytes. Starts anew in
    // either case.
    boost::shared_ptr<ValueBlock const> Build();

    void Reset();

private:
    struct Item {
        uint32_t number;
        std::string_view text;
    };
    struct ShapeName {
        std::string spelling;
        uint32_t number;
        bool Is(std::string_view name) const;
    };
    enum class ShapeUse {
        Follows, // all names so far are the first ones of m_shape
        Learns,  // they were until here; m_shape grows with each name
        None,    // values came otherwise, or twice
    };
    void Append(uint32_t number, std::string_view text);
    void Put(uint32_t number, std::string_view text);
    size_t Find(uint32_t number) const;

    std::vector<Item> m_values;
    std::vector<uint32_t> m_numbers; // of the names, while a block is built
    std::deque<std::string> m_copies;
    std::vector<ShapeName> m_shape; // the names last added by name, in order, none twice
    ShapeUse m_shapeUse = ShapeUse::Follows;
};

} // namespace vorlan
