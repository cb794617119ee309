#pragma once

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <corekit/callentry.h>
#include <corekit/commonmutex.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>

#include <algorithm>
#include <set>
#include <vector>

namespace vorlan {

// ListedObject is an object as it stands in its list, while the list's lock is held. `part`
// numbers the maps of a list that has several.
template <class Info>
struct ListedObject {
    UID const* id;
    boost::shared_ptr<Info> const* object;
    uint8_t part;
};

// ListView is what a control that shows a data list is to that list.
// Owner: the control, which derives from it.
// Thread: SetDirty on any, the rest on the GUI thread.
class ListView {
public:
    ListView() = default;
    virtual ~ListView() = default;
    ListView(ListView const&) = delete;
    ListView& operator=(ListView const&) = delete;

    // What it shows has changed.
    void SetDirty() { m_dirty.exchange(1, std::memory_order_release); }
    // True once after any number of SetDirty.
    bool TakeDirty() { return m_dirty.exchange(0, std::memory_order_acq_rel) != 0; }

    // The list has been emptied.
    virtual void OnListCleared() = 0;
    virtual bool HasSelection() const { return false; }
    // A copy; those whose rows are gone are left out.
    virtual std::set<UID> GetSelectedIDs() const { return {}; }

private:
    std::atomic<unsigned char> m_dirty{1};
};

// _ListList is the list of all live controls of one kind. It owns nothing.
// Owner: the data list whose rows the controls show.
// Thread: Add, Remove and Operate on the GUI thread; SetAllDirty on any.
template <class Control>
class _ListList {
public:
    void Add(Control* control) {
        CommonMutex::Lock const lock(m_mutex);
        m_controls.push_back(control);
    }
    void Remove(Control* control) {
        CommonMutex::Lock const lock(m_mutex);
        std::erase(m_controls, control);
    }

    // Applies the functor to each control, in the order of their making, and gives
    // it back with what it has gathered. Only this thread changes the list, so no
    // lock is held while the functor runs; it may add or remove controls.
    template <class Functor>
    Functor Operate(Functor functor) {
        CALL_ENTRY_NAMED("_ListList::Operate");
        std::vector<Control*> const controls = m_controls;
        for (Control* control : controls) {
            // Gone meanwhile, by what the functor did to another one.
            if (std::ranges::find(m_controls, control) != m_controls.end())
                functor(*control);
        }
        return functor;
    }

    void SetAllDirty() {
        CommonMutex::Lock const lock(m_mutex);
        for (Control* control : m_controls)
            control->SetDirty();
    }

    // --- What the Master has been asked for. Each request is answered once, in turn. Any
    // thread.

    // `all`: for all objects of the kind, not for some.
    void NoteRequest(bool all) {
        uint64_t const number = m_requests.fetch_add(1) + 1;
        if (all)
            m_loadedWith.store(number);
    }
    // An answer has come to its end.
    void NoteAnswer() {
        if (m_answers.load() < m_requests.load())
            m_answers.fetch_add(1);
        SetAllDirty();
    }
    // There is nobody who would answer.
    void ForgetRequests() { m_answers.store(m_requests.load()); }
    // All objects are on their way.
    bool IsLoading() const { return m_answers.load() < m_loadedWith.load(); }

private:
    std::atomic<uint64_t> m_requests{0};
    std::atomic<uint64_t> m_answers{0};
    std::atomic<uint64_t> m_loadedWith{0}; // the number of the last request for all

    CommonMutex m_mutex;
    // Changed on the GUI thread under the mutex, so read there without it.
    std::vector<Control*> m_controls;
};

} // namespace vorlan
