#pragma once

#include <corekit/string.h>
#include <vorlan/fwd.h>
#include <vorlan/launchtemplate.h>

#include <boost/shared_ptr.hpp>

#include <vector>

namespace vorlan {

class Job;

// A named action of a Product, shown in the menus of its Jobs, work units and history rows.
// Owned by its Product. It runs on the user's machine: BuildCommandLaunch (launch.h) makes the process
// to start; a Command without arguments is one that the program that shows it knows by its name.
// Any thread may read one that nobody writes.
class Command {
public:
    // Numbers are stored in product data.
    enum FLAG : unsigned { f_ForJobs = 1, f_ForWork = 2, f_ForHistory = 4, f_Separator = 0x80000000U };

    explicit Command(unsigned flags = f_ForJobs) : m_flags(flags) {}

    String const& GetName() const { return m_name; }
    // What menus show; the name where there is no label.
    String const& GetLabel() const { return m_label.Empty() ? m_name : m_label; }
    String GetHelp() const { return m_help; }
    String const& GetRestrictionName() const { return m_restriction; }
    String const& GetItemizer() const { return m_itemizer; }
    unsigned Flags() const { return m_flags; }
    bool HasFlag(FLAG flag) const { return (m_flags & flag) != 0; }
    bool IsSeparator() const { return HasFlag(f_Separator); }
    LaunchTemplate const& GetLaunch() const { return m_launch; }

    void SetName(String const& name) { m_name = name; }
    void SetLabel(String const& label) { m_label = label; }
    void SetHelp(String const& help) { m_help = help; }
    void SetRestrictionName(String const& name) { m_restriction = name; }
    void SetItemizer(String const& itemizer) { m_itemizer = itemizer; }
    void SetFlags(unsigned flags) { m_flags = flags; }
    void SetLaunch(LaunchTemplate const& launch) { m_launch = launch; }

    // The entries of this Command's sub menu for a Job or work unit, one per line, at most
    // k_ItemizeLimit of them; empty without an itemizer. The chosen one is $(Item) of the arguments.
    String Itemize(Job const& job) const;
    static std::vector<String> const& GetAllItemizers();

    void Clone(boost::shared_ptr<Command const> const& other);

    static constexpr size_t k_ItemizeLimit = 500;

private:
    friend class ProductReader;
    friend class ProductWriter;

    String m_name;
    String m_label;
    String m_help;
    String m_restriction;
    String m_itemizer;
    unsigned m_flags;
    LaunchTemplate m_launch;
};

} // namespace vorlan
