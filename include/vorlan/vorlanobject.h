#pragma once

// What Jobs and Engines have in common: an identity and named values.

#include <boost/smart_ptr/atomic_shared_ptr.hpp>
#include <corekit/optionmap.h>
#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/optionstext.h>
#include <vorlan/valueblock.h>
#include <vorlan/values.h>

#include <functional>
#include <vector>

namespace vorlan {

// A bag of named texts with an identity, the root of Job and CommonEngine.
//
// Held by boost::shared_ptr once more than one place knows it. Values may be read
// and changed on any thread at any time: a reader works on a snapshot and never
// waits, a change makes a new block and no change is lost. The public `id` is the
// exception: it is constant once the object is shared. p_ID is read as a value but
// not set as one.
class VorlanObject {
public:
    UID id;

    static constexpr size_t k_MaxSentValues = ValueBlock::k_MaxValues;
    static constexpr size_t k_MaxSentText = size_t{64} << 20;

    VorlanObject();
    explicit VorlanObject(UID const& objectID);
    VorlanObject(VorlanObject const& other);
    VorlanObject& operator=(VorlanObject const& other);

    virtual ~VorlanObject();

    // Becomes a full copy, id included.
    virtual void Clone(VorlanObject const& other);

    // Takes over what the other holds and keeps the rest; the id stays.
    virtual void Merge(VorlanObject const& other);

    // The value of a name. `useDefault`: without a value, what counts in its place.
    // Empty if there is neither.
    virtual String Get(String const& name, bool useDefault) const;

    // True when the stored value changed. A name that cannot be one is refused with
    // a warning in the log.
    virtual bool Set(String const& name, String const& value);

    // True when there was a value.
    virtual bool Clear(String const& name);

    virtual void Send(OutStream& stream) const;

    // Replaces everything by what the stream holds. Throws ParseException, and is
    // unchanged then, if the stream holds no object or one beyond the limits.
    virtual void Read(InStream& stream);

    // Appends an options text of the named values that there are.
    virtual void Save(String& text, std::vector<String> const& names, OptionsToStringMode mode) const;

    // Appends an options text of all values.
    virtual void Save(String& text, OptionsToStringMode mode) const;

    // Writes all values into the current section.
    virtual void Save(IniFile& file) const;

    // Takes one options text off the front of `text` and sets its values. The text's
    // id is taken over by an object that has none. Throws ParseException, with both
    // unchanged, if there is no options text at the front.
    virtual void Load(String& text);

    // Sets the values of the current section.
    virtual void Load(IniFile& file);

    String Name() const;
    void SetName(String const& name);
    String Note() const;
    void SetNote(String const& note);

    // Replaces a text by another in every value.
    void Replace(String const& from, String const& to, bool caseSensitive);

    // All values as they stand now. Never null.
    boost::shared_ptr<ValueBlock const> Snapshot() const;

    // Puts a block in place of all values.
    void SetSnapshot(boost::shared_ptr<ValueBlock const> const& values);

    // Sets many values in one change. True when any changed.
    bool SetValues(OptionMap const& values);

    // All values under their names.
    OptionMap Values() const;

    bool Has(String const& name) const;

    // Keeps one snapshot of an object for the calling thread: as long as it lives,
    // whatever this thread reads of the object belongs together, even while others
    // change it. A scope object; several may nest.
    class ReadingScope {
    public:
        explicit ReadingScope(VorlanObject const& object);
        // With a snapshot of it that was taken before and stays as long as the scope.
        ReadingScope(VorlanObject const& object, boost::shared_ptr<ValueBlock const> const& values);
        ~ReadingScope();
        ReadingScope(ReadingScope const&) = delete;
        ReadingScope& operator=(ReadingScope const&) = delete;

    private:
        friend class VorlanObject;
        VorlanObject const* m_object;
        boost::shared_ptr<ValueBlock const> m_own;
        boost::shared_ptr<ValueBlock const> const* m_values; // m_own, or the one given
        ReadingScope const* m_outer;
    };

protected:
    // Stores without asking the virtual Set. True when the value changed.
    bool Store(uint32_t number, std::string_view value);
    bool Remove(uint32_t number);

    // Makes `change` of the values now there, again if somebody was faster. It gets
    // the block and gives the new one, or the same for no change.
    using Changer = std::function<boost::shared_ptr<ValueBlock const>(boost::shared_ptr<ValueBlock const> const&)>;
    bool Change(Changer const& change);

    // The names that are fields of the object and no values: p_ID here.
    virtual bool IsOwnField(String const& name) const;

    // Typed reading of a value; `otherwise` without one or with one that is none.
    int64_t IntOf(uint32_t number, int64_t otherwise) const;
    double FloatOf(uint32_t number, double otherwise) const;
    bool BoolOf(uint32_t number, bool otherwise) const;
    int64_t IntOf(KnownValue value) const { return IntOf(value.number, value.fallback); }
    bool BoolOf(KnownValue value) const { return BoolOf(value.number, value.fallback != 0); }
    UID UIDOf(KnownValue value) const;
    String TextOf(KnownValue value) const;

private:
    boost::shared_ptr<ValueBlock const> Current() const;

    // What this thread's scope holds of the object, null without one.
    boost::shared_ptr<ValueBlock const> const* Scoped() const;

    // The text of a value as this thread reads it, handed to `use`; not counted as a
    // holder of the values where a scope holds them.
    template <class Use>
    auto Read(uint32_t number, Use const& use) const;

    mutable boost::atomic_shared_ptr<ValueBlock const> m_values;
};

} // namespace vorlan
