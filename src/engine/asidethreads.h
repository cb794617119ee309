#pragma once

// Threads for what may wait for a disk far away, or hang there.

#include <corekit/commonmutex.h>
#include <vorlan/fwd.h>

#include <deque>
#include <functional>
#include <memory>

namespace vorlan {

// Runs functions on threads of its own, as many as are needed up to a limit, so that one
// that hangs holds up nobody else. What a function gives back is posted when it is
// through. At the end, threads that hang are left behind and nothing of theirs is posted:
// a function must refer to nothing that it does not own.
//
// Owned by the Engine's main part. Run from any thread.
class AsideThreads {
public:
    static constexpr size_t k_Threads = 64;

    using Then = std::function<void()>; // may be empty
    using Work = std::function<Then()>;

    explicit AsideThreads(std::function<void(Then)> post);
    ~AsideThreads();
    AsideThreads(AsideThreads const&) = delete;
    AsideThreads& operator=(AsideThreads const&) = delete;

    void Run(Work work);

private:
    struct State {
        CommonMutex guard;
        CommonCondition wake;
        std::deque<Work> waiting CK_GUARDED_BY(guard);
        std::function<void(Then)> post CK_GUARDED_BY(guard);
        size_t idle CK_GUARDED_BY(guard) = 0;
        size_t threads CK_GUARDED_BY(guard) = 0;
        bool stopping CK_GUARDED_BY(guard) = false;
    };
    static void Serve(std::shared_ptr<State> const& state);

    std::shared_ptr<State> const m_state = std::make_shared<State>();
};

} // namespace vorlan
