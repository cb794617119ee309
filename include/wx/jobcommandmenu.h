#pragma once

#include <corekit/string.h>
#include <vorlan/command.h>
#include <vorlan/fwd.h>

#include <boost/shared_ptr.hpp>
#include <functional>
#include <map>
#include <vector>

class wxMenu;

namespace vorlan {

class Job;

// JobCommandMenu puts the commands of the Products of some Jobs into a menu, and knows
// afterwards what each of its items stands for.
// Owner: whoever owns the menu; it must live as long as the menu's items.
// Works with: the JobFactory, which knows the Products.
// Thread: the GUI thread.
// Always: a command that several Products have under one name and label is one item.
// No separator stands at either end of what Fill adds to an empty menu, or beside another.
class JobCommandMenu {
public:
    // The mark before an item that is one of several states.
    enum class Mark { None, Off, On };

    // The ids of the items, unless told otherwise.
    static constexpr int k_FirstId = 18000;
    static constexpr int k_LastId = 19999;
    // So many entries of a command's own sub menu stand in one piece.
    static constexpr size_t k_ItemsPerMenu = 40;
    // A label that begins with it is shown switched off, without it.
    static constexpr char k_Disabled[] = "DISABLED:";

    using Jobs = std::vector<boost::shared_ptr<Job const>>;
    // By the name of a restriction.
    using IsRestricted = std::function<bool(String const&)>;

    // What an item stands for.
    struct Entry {
        String label;
        String command;
        String item;               // chosen from the command's sub menu, or empty
        Command::FLAG kind{};      // of the commands with which it was filled
        std::vector<UID> products; // the Job types that have the command
    };

    explicit JobCommandMenu(IsRestricted restricted = {}, int firstId = k_FirstId, int lastId = k_LastId);
    virtual ~JobCommandMenu();
    JobCommandMenu(JobCommandMenu const&) = delete;
    JobCommandMenu& operator=(JobCommandMenu const&) = delete;

    // Appends the commands of that kind (f_ForJobs, f_ForWork or f_ForHistory) of the
    // Jobs' Products and answers how many items there are. When the ids run out the rest
    // is left out, with a warning in the log.
    size_t Fill(wxMenu& menu, Jobs const& jobs, Command::FLAG kind);
    size_t Fill(wxMenu& menu, boost::shared_ptr<Job const> const& job, Command::FLAG kind);

    // Appends one item; empty label: a separator. Answers the item's id, or wxID_NONE.
    int DoInsertCommand(wxMenu& menu, String const& label, String const& command, String const& help,
                        Mark mark = Mark::None);

    // Forgets all items, whose ids are free again.
    void Clear();

    Entry const* Find(int id) const; // null: none of its items

    // Does what the item stands for: PreProcessCommand, then DoProcessCommand. False for
    // an id that is none of its items.
    bool ProcessCommand(int id);

protected:
    // True: done, nothing else is to be done for this label.
    virtual bool PreProcessCommand(String const& label);
    // `args` is what was chosen from the command's sub menu.
    virtual void DoProcessCommand(String const& command, String const& args);

    Jobs const& GetJobs() const { return m_jobs; }

private:
    // A command of the Jobs' Products, and the Jobs that have it.
    struct Offer;
    std::vector<Offer> Collect(Jobs const& jobs, Command::FLAG kind) const;
    void Append(wxMenu& menu, Offer const& offer, Command::FLAG kind);
    void AppendItems(wxMenu& menu, Offer const& offer, std::vector<String> const& items, Command::FLAG kind);
    int AppendEntry(wxMenu& menu, String const& text, String const& help, Entry entry, Mark mark = Mark::None);

    IsRestricted const m_restricted;
    int const m_firstId;
    int const m_lastId;
    int m_nextId;
    bool m_warned = false;
    Jobs m_jobs;
    std::map<int, Entry> m_entries;
};

} // namespace vorlan
