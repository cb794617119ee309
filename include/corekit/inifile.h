#pragma once

#include <corekit/commonmutex.h>
#include <corekit/exception.h>
#include <corekit/optionmap.h>
#include <corekit/path.h>

#include <map>
#include <vector>

namespace corekit {

// Sections of keys and values, kept in memory and written as an INI text that a
// person can read and edit. Owned by whoever reads the file; not safe between
// threads (OptionsFile is).
// Names of sections and keys compare without regard to case. Sections are ordered
// by name, the keys of a section by when they were first set. Any bytes in names
// and values read back as they were: what an INI text cannot hold is written as
// \{0A}. Comments in a file that is read are kept when it is written.
// One section is the current one, at first the nameless one at the head of the
// file; the forms without a section name work on it.
class IniFile : public FaultSource {
public:
    // A text above this size is refused.
    static constexpr size_t k_MaxTextBytes = 64 * 1024 * 1024;

    IniFile() = default;
    virtual ~IniFile() = default;
    IniFile(IniFile const&) = delete;
    IniFile& operator=(IniFile const&) = delete;

    // The default when the key is missing or when its value does not read as the
    // type, or lies outside its range.
    String GetValue(String const& section, String const& key, String const& def) const;
    String GetValue(String const& section, String const& key, char const* def) const;
    bool GetValue(String const& section, String const& key, bool def) const;
    int GetValue(String const& section, String const& key, int def) const;
    int64_t GetValue(String const& section, String const& key, int64_t def) const;
    unsigned GetValue(String const& section, String const& key, unsigned def) const;
    uint64_t GetValue(String const& section, String const& key, uint64_t def) const;
    unsigned short GetValue(String const& section, String const& key, unsigned short def) const;
    float GetValue(String const& section, String const& key, float def) const;
    double GetValue(String const& section, String const& key, double def) const;
    // On the current section. True when the key is there; else `value` stays.
    template <class T>
    bool GetValue(String const& key, T& value) const {
        Guard const guard(*this);
        if (!HasKey(m_current, key))
            return false;
        value = GetValue(m_current, key, value);
        return true;
    }

    void SetValue(String const& section, String const& key, String const& value);
    void SetValue(String const& section, String const& key, char const* value);
    void SetValue(String const& section, String const& key, bool value);
    void SetValue(String const& section, String const& key, double value);
    void SetValue(String const& section, String const& key, float value);
    template <std::integral T>
    requires(!std::same_as<T, bool> && !std::same_as<T, char>) void SetValue(String const& section, String const& key,
                                                                             T value) {
        SetValue(section, key, String::From(value));
    }
    // On the current section.
    template <class T>
    void SetValue(String const& key, T const& value) {
        SetValue(CurrentSection(), key, value);
    }

    // Makes it current, and its first key the next. It need not exist: the first
    // value makes it.
    void SetSection(String const& name);
    String CurrentSection() const;
    bool HasSection(String const& name) const;
    // Makes an empty section, or empties the one of that name, and makes it
    // current.
    void InsertSection(String const& name);
    // Deletes the section with all its keys. False when there was none.
    bool ClearSection(String const& name);
    // Deletes the first by name. False when there is none.
    bool EraseFirstSection();
    size_t SectionCount() const;
    // By name. The nameless section counts only while it has keys.
    std::vector<String> Sections() const;
    // Before the first section; NextSection makes the next one current and gives
    // its name. False after the last.
    void ResetSection();
    bool NextSection(String& name);
    // The next key of the current section, in the order of writing. False after
    // the last.
    bool GetNextValue(String& key, String& value);

    bool HasKey(String const& section, String const& key) const;
    bool HasKey(String const& key) const;
    // False when there was none.
    bool ClearKey(String const& section, String const& key);
    bool ClearKey(String const& key);
    // In the order of writing.
    std::vector<String> Keys(String const& section) const;
    OptionMap GetSection(String const& section) const;
    // Deletes everything.
    void Clear();

    // Reads the file. `mustExist` makes a missing file a fault; `replace` deletes
    // what was there before, else the file's values come on top of it. A file that
    // cannot be read or is damaged is a fault of severity k_Error (FileException,
    // ParseException), and then nothing here has changed. True when it was read.
    bool Load(Path const& path, bool mustExist = false, bool replace = true);
    // Throws ParseException and changes nothing when the text is damaged.
    void LoadText(String const& text);
    // Replaces the file in one step. Throws FileException; the old file is whole.
    void Save(Path const& path) const;
    String SaveText() const;

protected:
    // Every method locks `mutex` while it touches the data.
    explicit IniFile(RecursiveMutex& mutex) : m_mutex(&mutex) {}

    // Something has changed. Called without the lock, by the changing thread.
    virtual void OnChanged() {}

    // Holds the lock of a file that has one.
    class CK_SCOPED_CAPABILITY Guard {
    public:
        explicit Guard(IniFile const& file) CK_ACQUIRE(file.m_mutex) CK_NO_THREAD_SAFETY_ANALYSIS
            : m_mutex(file.m_mutex) {
            if (m_mutex)
                m_mutex->lock();
        }
        ~Guard() CK_RELEASE() CK_NO_THREAD_SAFETY_ANALYSIS {
            if (m_mutex)
                m_mutex->unlock();
        }
        Guard(Guard const&) = delete;
        Guard& operator=(Guard const&) = delete;

    private:
        RecursiveMutex* const m_mutex;
    };

private:
    struct Entry {
        String value;
        String comment;
        uint64_t order = 0;
    };
    struct Section {
        std::map<String, Entry, String::ciless> entries;
        String comment;
    };
    using SectionMap = std::map<String, Section, String::ciless>;

    String const* FindValue(String const& section, String const& key) const CK_REQUIRES(m_mutex);
    static std::vector<std::pair<String const*, Entry const*>> InOrder(Section const& section);
    struct Content {
        SectionMap sections;
        String headComment;
        String endComment;
    };
    static bool IsHidden(SectionMap::value_type const& section);
    static Content Parse(String const& text);
    void AdoptContent(Content&& content, bool replace);
    bool Store(String const& section, String const& key, String const& value);
    template <class T>
    T Number(String const& section, String const& key, T def) const;

    RecursiveMutex* const m_mutex = nullptr; // null: one thread only
    Content m_content CK_GUARDED_BY(m_mutex);
    String m_current CK_GUARDED_BY(m_mutex);
    uint64_t m_nextOrder CK_GUARDED_BY(m_mutex) = 1;
    bool m_beforeFirst CK_GUARDED_BY(m_mutex) = true;
    // The keys that GetNextValue walks, taken at its first call on a section.
    std::vector<String> m_walk CK_GUARDED_BY(m_mutex);
    size_t m_walkAt CK_GUARDED_BY(m_mutex) = 0;
    bool m_walking CK_GUARDED_BY(m_mutex) = false;
};

} // namespace corekit
