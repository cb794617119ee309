#include "customcommands.h"

#include "ids.h"

namespace vorlan {

std::optional<int> CustomCommands::Add(CustomCommand command) {
    int const id = m_commands.empty() ? int{k_IdFirstCustom} : m_commands.rbegin()->first + 1;
    if (id > k_IdLastCustom)
        return std::nullopt;
    m_commands.emplace(id, std::move(command));
    return id;
}

CustomCommand const* CustomCommands::Find(int id) const {
    auto const found = m_commands.find(id);
    return found == m_commands.end() ? nullptr : &found->second;
}

} // namespace vorlan
