#pragma once

#include <corekit/containers.h>
#include <corekit/exception.h>
#include <corekit/optionmap.h>
#include <corekit/path.h>

#include <mutex>

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
    IniFile(const IniFile&) = delete;
    IniFile& operator=(const IniFile&) = delete;

    // The default when the key is missing or when its value does not read as the
    // type, or lies outside its range.
    String GetValue(const String& section, const String& key, const String& def) const;
    String GetValue(const String& section, const String& key, const char* def) const;
    bool GetValue(const String& section, const String& key, bool def) const;
    int GetValue(const String& section, const String& key, int def) const;
    int64_t GetValue(const String& section, const String& key, int64_t def) const;
    unsigned GetValue(const String& section, const String& key, unsigned def) const;
    uint64_t GetValue(const String& section, const String& key, uint64_t def) const;
    unsigned short GetValue(const String& section, const String& key, unsigned short def) const;
    float GetValue(const String& section, const String& key, float def) const;
    double GetValue(const String& section, const String& key, double def) const;
    // On the current section. True when the key is there; else `value` stays.
    template <class T>
    bool GetValue(const String& key, T& value) const {
        const Guard guard(*this);
        if (!HasKey(m_current, key))
            return false;
        value = GetValue(m_current, key, value);
        return true;
    }

    void SetValue(const String& section, const String& key, const String& value);
    void SetValue(const String& section, const String& key, const char* value);
    void SetValue(const String& section, const String& key, bool value);
    void SetValue(const String& section, const String& key, double value);
    void SetValue(const String& section, const String& key, float value);
    template <std::integral T>
    requires(!std::same_as<T, bool> && !std::same_as<T, char>) void SetValue(const String& section, const String& key,
                                                                             T value) {
        SetValue(section, key, String::From(value));
    }
    // On the current section.
    template <class T>
    void SetValue(const String& key, const T& value) {
        SetValue(CurrentSection(), key, value);
    }

    // Makes it current, and its first key the next. It need not exist: the first
    // value makes it.
    void SetSection(const String& name);
    String CurrentSection() const;
    bool HasSection(const String& name) const;
    // Makes an empty section, or empties the one of that name, and makes it
    // current.
    void InsertSection(const String& name);
    // Deletes the section with all its keys. False when there was none.
    bool ClearSection(const String& name);
    // Deletes the first by name. False when there is none.
    bool EraseFirstSection();
    size_t SectionCount() const;
    // By name. The nameless section counts only while it has keys.
    vector<String> Sections() const;
    // Before the first section; NextSection makes the next one current and gives
    // its name. False after the last.
    void ResetSection();
    bool NextSection(String& name);
    // The next key of the current section, in the order of writing. False after
    // the last.
    bool GetNextValue(String& key, String& value);

    bool HasKey(const String& section, const String& key) const;
    bool HasKey(const String& key) const;
    // False when there was none.
    bool ClearKey(const String& section, const String& key);
    bool ClearKey(const String& key);
    // In the order of writing.
    vector<String> Keys(const String& section) const;
    OptionMap GetSection(const String& section) const;
    // Deletes everything.
    void Clear();

    // Reads the file. `mustExist` makes a missing file a fault; `replace` deletes
    // what was there before, else the file's values come on top of it. A file that
    // cannot be read or is damaged is a fault of severity k_Error (FileException,
    // ParseException), and then nothing here has changed. True when it was read.
    bool Load(const Path& path, bool mustExist = false, bool replace = true);
    // Throws ParseException and changes nothing when the text is damaged.
    void LoadText(const String& text);
    // Replaces the file in one step. Throws FileException; the old file is whole.
    void Save(const Path& path) const;
    String SaveText() const;

protected:
    // Every method locks `mutex` while it touches the data.
    explicit IniFile(std::recursive_mutex& mutex) : m_mutex(&mutex) {}

    // Something has changed. Called without the lock, by the changing thread.
    virtual void OnChanged() {}

    // Holds the lock of a file that has one.
    class Guard {
    public:
        explicit Guard(const IniFile& file) : m_mutex(file.m_mutex) {
            if (m_mutex)
                m_mutex->lock();
        }
        ~Guard() {
            if (m_mutex)
                m_mutex->unlock();
        }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

    private:
        std::recursive_mutex* const m_mutex;
    };

private:
    struct Entry {
        String value;
        String comment;
        uint64_t order = 0;
    };
    struct Section {
        map<String, Entry, String::ciless> entries;
        String comment;
    };
    using SectionMap = map<String, Section, String::ciless>;

    const String* FindValue(const String& section, const String& key) const;
    static vector<std::pair<const String*, const Entry*>> InOrder(const Section& section);
    struct Content {
        SectionMap sections;
        String headComment;
        String endComment;
    };
    static bool IsHidden(const SectionMap::value_type& section);
    static Content Parse(const String& text);
    void Take(Content&& content, bool replace);
    bool Store(const String& section, const String& key, const String& value);
    template <class T>
    T Number(const String& section, const String& key, T def) const;

    std::recursive_mutex* const m_mutex = nullptr;

    // Guarded by *m_mutex when there is one.
    Content m_content;
    String m_current;
    uint64_t m_nextOrder = 1;
    bool m_beforeFirst = true;
    // The keys that GetNextValue walks, taken at its first call on a section.
    vector<String> m_walk;
    size_t m_walkAt = 0;
    bool m_walking = false;
};

} // namespace corekit
