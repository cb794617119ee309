#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

// TextCache keeps what has been made of texts in a style. What has not been asked for
// in a while goes: there are two generations, and when the young one is full, the old
// one is dropped and the young one gets old.
// Owner: who draws. One thread.
// Always: it holds at most `capacity` values; a look-up of what is there allocates
// nothing. A reference holds until the next Get.
template <class Value>
class TextCache {
public:
    explicit TextCache(size_t capacity) : m_half(capacity / 2) {}

    // `make()` gives the value if there is none.
    template <class Make>
    Value& Get(std::string_view text, unsigned style, Make&& make) {
        View const wanted{text, style};
        if (auto const young = m_young.find(wanted); young != m_young.end())
            return young->second;
        if (m_young.size() >= m_half) {
            m_old = std::move(m_young);
            m_young.clear();
        }
        if (auto const old = m_old.find(wanted); old != m_old.end())
            return m_young.insert(m_old.extract(old)).position->second;
        return m_young.emplace(Key{std::string(text), style}, make()).first->second;
    }

    void Clear() {
        m_young.clear();
        m_old.clear();
    }
    size_t Size() const { return m_young.size() + m_old.size(); }

private:
    struct View {
        std::string_view text;
        unsigned style;
    };
    struct Key {
        std::string text;
        unsigned style;
        operator View() const { return {text, style}; }
    };
    struct Hash {
        using is_transparent = void;
        size_t operator()(View const& key) const {
            return std::hash<std::string_view>()(key.text) ^ (size_t{key.style} * 0x9E3779B97F4A7C15ULL);
        }
    };
    struct Equal {
        using is_transparent = void;
        bool operator()(View const& a, View const& b) const { return a.style == b.style && a.text == b.text; }
    };

    size_t const m_half;
    std::unordered_map<Key, Value, Hash, Equal> m_young;
    std::unordered_map<Key, Value, Hash, Equal> m_old;
};
