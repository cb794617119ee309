#pragma once

#include <corekit/signal.h>

namespace vorlan {

using namespace corekit;

// Gives an event class its signal. Trigger() calls the listeners on the calling
// thread, one emission of a class at a time. A listener may change the event's
// public fields; the one who triggered reads them afterwards.
template <class T>
class EventOf {
public:
    using SignalType = Signal1<T&, ThreadPolicy::LocalThreaded>;

    static SignalType& Signal() {
        static SignalType s_signal;
        return s_signal;
    }
    void Trigger() { Signal().Emit(static_cast<T&>(*this)); }

protected:
    EventOf() = default;
};

} // namespace vorlan
