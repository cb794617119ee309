#pragma once

// The programs beside the client, as the System menu sees them.

#include <vorlan/components.h>

namespace vorlan {

// The program lies beside this one.
bool IsProgramInstalled(int component);

template <int Component>
bool IsInstalled() {
    return IsProgramInstalled(Component);
}

} // namespace vorlan
