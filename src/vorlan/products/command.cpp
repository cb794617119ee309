#include <vorlan/command.h>

namespace vorlan {

void Command::Clone(boost::shared_ptr<Command const> const& other) {
    if (other)
        *this = *other;
}

} // namespace vorlan
