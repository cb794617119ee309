#pragma once

#include <deque>
#include <functional>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace corekit {

// The containers of all interfaces. They are the standard ones; the names leave
// room for another allocator without touching every interface.
template <class Key, class Value, class Less = std::less<Key>>
using map = std::map<Key, Value, Less>;

template <class Key, class Less = std::less<Key>>
using set = std::set<Key, Less>;

template <class Value>
using vector = std::vector<Value>;

template <class Value>
using deque = std::deque<Value>;

template <class Key, class Value, class Hash = std::hash<Key>, class Equal = std::equal_to<Key>>
using unordered_map = std::unordered_map<Key, Value, Hash, Equal>;

template <class Key, class Hash = std::hash<Key>, class Equal = std::equal_to<Key>>
using unordered_set = std::unordered_set<Key, Hash, Equal>;

} // namespace corekit
