#include <corekit/log.h>
#include <vorlan/job.h>
#include <vorlan/jobfactory.h>
#include <vorlan/product.h>

#include <algorithm>
#include <set>
#include <wx/control.h>
#include <wx/jobcommandmenu.h>
#include <wx/menu.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

wxString MenuText(String const& text) { return wxControl::EscapeMnemonics(wxvText(text)); }

std::vector<String> Lines(String const& text) {
    std::vector<String> lines;
    for (size_t from = 0; from < text.size();) {
        size_t const end = std::min(text.Find('\n', from), text.size());
        if (end > from)
            lines.push_back(text.Mid(from, end - from));
        from = end + 1;
    }
    return lines;
}

bool EndsWithSeparator(wxMenu const& menu) {
    size_t const count = menu.GetMenuItemCount();
    return count > 0 && menu.FindItemByPosition(count - 1)->IsSeparator();
}

// The types of some Jobs, each once, in the order of their first Job.
std::vector<UID> TypesOf(JobCommandMenu::Jobs const& jobs) {
    std::vector<UID> types;
    std::set<UID> known;
    for (boost::shared_ptr<Job const> const& job : jobs) {
        if (known.insert(job->Type()).second)
            types.push_back(job->Type());
    }
    return types;
}

} // namespace

struct JobCommandMenu::Offer {
    boost::shared_ptr<Command const> command;
    Jobs jobs;
};

JobCommandMenu::JobCommandMenu(IsRestricted restricted, int firstId, int lastId)
    : m_restricted(std::move(restricted)), m_firstId(firstId), m_lastId(lastId), m_nextId(firstId) {}

JobCommandMenu::~JobCommandMenu() = default;

void JobCommandMenu::Clear() {
    m_entries.clear();
    m_jobs.clear();
    m_nextId = m_firstId;
    m_warned = false;
}

JobCommandMenu::Entry const* JobCommandMenu::Find(int id) const {
    auto const entry = m_entries.find(id);
    return entry == m_entries.end() ? nullptr : &entry->second;
}

std::vector<JobCommandMenu::Offer> JobCommandMenu::Collect(Jobs const& jobs, Command::FLAG kind) const {
    std::vector<Offer> offers;
    for (UID const& type : TypesOf(jobs)) {
        Jobs ofType;
        std::copy_if(jobs.begin(), jobs.end(), std::back_inserter(ofType),
                     [&type](auto const& job) { return job->Type() == type; });
        boost::shared_ptr<Product const> const product = JobFactory::s_JobFactory->GetProduct(type);
        for (unsigned i = 0; product && i < product->GetCommandCount(); ++i) {
            boost::shared_ptr<Command const> const command = product->GetCommand(i);
            String const& restriction = command->GetRestrictionName();
            if (!command->HasFlag(kind) || (m_restricted && !restriction.Empty() && m_restricted(restriction)))
                continue;
            auto known = std::find_if(offers.begin(), offers.end(), [&command](Offer const& offer) {
                return !command->IsSeparator() && offer.command->GetName() == command->GetName() &&
                       offer.command->GetLabel() == command->GetLabel();
            });
            if (known == offers.end())
                known = offers.insert(offers.end(), Offer{command, {}});
            known->jobs.insert(known->jobs.end(), ofType.begin(), ofType.end());
        }
    }
    return offers;
}

size_t JobCommandMenu::Fill(wxMenu& menu, boost::shared_ptr<Job const> const& job, Command::FLAG kind) {
    return Fill(menu, job ? Jobs{job} : Jobs{}, kind);
}

size_t JobCommandMenu::Fill(wxMenu& menu, Jobs const& jobs, Command::FLAG kind) {
    m_jobs = jobs;
    size_t const before = m_entries.size();
    bool pending = false;
    for (Offer const& offer : Collect(jobs, kind)) {
        if (offer.command->IsSeparator()) {
            pending = true;
            continue;
        }
        wxMenuItem* separator = nullptr;
        if (pending && menu.GetMenuItemCount() > 0 && !EndsWithSeparator(menu))
            separator = menu.AppendSeparator();
        size_t const count = menu.GetMenuItemCount();
        Append(menu, offer, kind);
        if (menu.GetMenuItemCount() > count)
            pending = false;
        else if (separator)
            menu.Destroy(separator);
    }
    return m_entries.size() - before;
}

void JobCommandMenu::Append(wxMenu& menu, Offer const& offer, Command::FLAG kind) {
    if (!offer.command->GetItemizer().Empty()) {
        // One of the items is meant of every Job, so that only those that all have count.
        std::vector<String> items = Lines(offer.command->Itemize(*offer.jobs.front()));
        for (size_t i = 1; i < offer.jobs.size() && !items.empty(); ++i) {
            std::vector<String> const others = Lines(offer.command->Itemize(*offer.jobs[i]));
            std::set<String> const known(others.begin(), others.end());
            std::erase_if(items, [&known](String const& item) { return !known.contains(item); });
        }
        if (!items.empty())
            AppendItems(menu, offer, items, kind);
        return;
    }
    Entry const entry{offer.command->GetLabel(), offer.command->GetName(), {}, kind, TypesOf(offer.jobs)};
    AppendEntry(menu, entry.label, offer.command->GetHelp(), entry);
}

void JobCommandMenu::AppendItems(wxMenu& menu, Offer const& offer, std::vector<String> const& items,
                                 Command::FLAG kind) {
    auto all = std::make_unique<wxMenu>();
    std::vector<UID> const types = TypesOf(offer.jobs);
    bool const inPieces = items.size() > k_ItemsPerMenu;
    for (size_t from = 0; from < items.size(); from += k_ItemsPerMenu) {
        size_t const end = std::min(from + k_ItemsPerMenu, items.size());
        auto piece = inPieces ? std::make_unique<wxMenu>() : nullptr;
        for (size_t i = from; i < end; ++i) {
            Entry const entry{offer.command->GetLabel(), offer.command->GetName(), items[i], kind, types};
            AppendEntry(piece ? *piece : *all, items[i], offer.command->GetHelp(), entry);
        }
        if (piece && piece->GetMenuItemCount() > 0)
            all->AppendSubMenu(piece.release(), MenuText(items[from] + " - " + items[end - 1]));
    }
    if (all->GetMenuItemCount() > 0)
        menu.AppendSubMenu(all.release(), MenuText(offer.command->GetLabel()), wxvText(offer.command->GetHelp()));
}

int JobCommandMenu::AppendEntry(wxMenu& menu, String const& text, String const& help, Entry entry, Mark mark) {
    if (m_nextId > m_lastId) {
        if (!std::exchange(m_warned, true))
            LogWarning("The menu has no room for all commands of the selected Jobs.");
        return wxID_NONE;
    }
    int const id = m_nextId++;
    if (mark == Mark::None)
        menu.Append(id, MenuText(text), wxvText(help));
    else
        menu.AppendCheckItem(id, MenuText(text), wxvText(help))->Check(mark == Mark::On);
    m_entries.emplace(id, std::move(entry));
    return id;
}

int JobCommandMenu::DoInsertCommand(wxMenu& menu, String const& label, String const& command, String const& help,
                                    Mark mark) {
    if (label.Empty()) {
        if (menu.GetMenuItemCount() > 0 && !EndsWithSeparator(menu))
            menu.AppendSeparator();
        return wxID_NONE;
    }
    bool const disabled = label.StartsWith(k_Disabled);
    String const shown = disabled ? label.Mid(sizeof(k_Disabled) - 1) : label;
    int const id = AppendEntry(menu, shown, help, Entry{shown, command, {}, Command::FLAG{}, {}}, mark);
    if (disabled && id != wxID_NONE)
        menu.Enable(id, false);
    return id;
}

bool JobCommandMenu::ProcessCommand(int id) {
    Entry const* const entry = Find(id);
    if (!entry)
        return false;
    // The work may end the menu.
    Entry const copy = *entry;
    if (!PreProcessCommand(copy.label))
        DoProcessCommand(copy.command, copy.item);
    return true;
}

bool JobCommandMenu::PreProcessCommand(String const&) { return false; }

void JobCommandMenu::DoProcessCommand(String const& command, String const& args) {
    Jobs const jobs = m_jobs;
    for (boost::shared_ptr<Job const> const& job : jobs) {
        boost::shared_ptr<Product const> const product = JobFactory::s_JobFactory->GetProduct(job->Type());
        if (product && product->FindCommand(command))
            job->RunCommand(command, args);
    }
}

} // namespace vorlan
