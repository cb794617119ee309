#pragma once

#include <corekit/log.h>

#include <exception>
#include <functional>

namespace vorlan::net {

// Calls a handler if there is one. What it throws is logged under its name.
template <class... Parameters, class... Args>
void Guarded(char const* name, std::function<void(Parameters...)> const& handler, Args&&... args) {
    if (!handler)
        return;
    try {
        handler(std::forward<Args>(args)...);
    } catch (std::exception const& exception) {
        corekit::LogError(corekit::String("A handler of the network failed in ") + name + ": " + exception.what());
    } catch (...) {
        corekit::LogError(corekit::String("A handler of the network failed in ") + name);
    }
}

} // namespace vorlan::net
