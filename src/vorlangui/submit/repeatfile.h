#pragma once

#include <boost/shared_ptr.hpp>
#include <corekit/inifile.h>
#include <vorlan/fwd.h>
#include <wx/clntdata.h>

class wxItemContainer;

namespace vorlan {

// Names the entry of a list that shows the repeat file. Owned by the list.
class RepeatIterator : public wxClientData {
public:
    explicit RepeatIterator(String section) : m_section(std::move(section)) {}
    String const& Section() const { return m_section; }

private:
    String const m_section;
};

// RepeatFile remembers the last Jobs that were submitted here, as plain values, so
// that they outlive changes of their Products. A section per Job, named by the time of
// its submission: the order of the sections is that of the submissions.
// Owner: the application object. Thread: the GUI thread.
class RepeatFile : public IniFile {
public:
    explicit RepeatFile(unsigned repeatCount) : m_repeatCount(repeatCount) {}

    // That of the program; null while there is none.
    static RepeatFile* Current() { return s_current; }
    static void SetCurrent(RepeatFile* file) { s_current = file; }

    // The newest entry; a former one of the same name and summary goes. Saves. Throws
    // FileException when the file cannot be written.
    void PushJob(Job const& job);
    // A new Job with the values of an entry; null, with a message box, if that fails.
    boost::shared_ptr<Job> RepeatJob(RepeatIterator const& entry);
    // The newest first.
    void FillList(wxItemContainer& list);
    // Drops the oldest beyond the count; the next push saves it.
    void SetRepeatCount(unsigned count);
    unsigned RepeatCount() const { return m_repeatCount; }
    void SaveList();

private:
    void AppendJob(Job const& job);
    bool CompareParameter(Job const& job, char const* key) const;
    bool CompareJob(Job const& job) const;

    inline static RepeatFile* s_current = nullptr;

    unsigned m_repeatCount;
};

} // namespace vorlan
