// SharedMap: a map from text keys to values, kept in a fixed number of shards that
// copies of the map share, so copying a year of assignments copies a few hundred
// pointers, and setting or erasing one key copies only its shard (copy on write).
// Reads look like a std::map's (size, contains, find, count); writes are explicit:
// operator[], set, erase, eraseIf. Two maps sharing a shard hold the same entries
// there, so comparing or diffing them costs only the shards that differ
// (forEachChangedShard). Iteration order is by shard, then by key: callers that
// need one order (the document) sort, as a JSON object does.
// A map is written only by the thread that owns it; a shard is written only while
// no other map shares it, so copies handed to other threads may be read freely.
// Hand-written: Debian 12 packages no persistent-map library.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace kelo {

template <class V>
class SharedMap {
public:
    static constexpr std::size_t kShards = 256;
    using Shard = std::map<std::string, V>;

    SharedMap() = default;
    SharedMap(const std::map<std::string, V>& values) {  // NOLINT: a map is a map
        for (const auto& [key, value] : values) set(key, value);
    }

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    bool contains(const std::string& key) const { return find(key) != nullptr; }
    std::size_t count(const std::string& key) const { return contains(key) ? 1 : 0; }

    // The value under `key`, or null.
    const V* find(const std::string& key) const {
        const auto& shard = shards_[shardOf(key)];
        if (!shard) return nullptr;
        const auto it = shard->find(key);
        return it == shard->end() ? nullptr : &it->second;
    }

    V& operator[](const std::string& key) {
        Shard& shard = own(shardOf(key));
        const auto before = shard.size();
        V& value = shard[key];
        size_ += shard.size() - before;
        return value;
    }
    void set(const std::string& key, V value) { (*this)[key] = std::move(value); }

    std::size_t erase(const std::string& key) {
        const std::size_t at = shardOf(key);
        if (!shards_[at] || !shards_[at]->contains(key)) return 0;  // no copy for a miss
        own(at).erase(key);
        --size_;
        return 1;
    }

    template <class Predicate>
    std::size_t eraseIf(Predicate erased) {
        std::size_t count = 0;
        for (std::size_t at = 0; at < kShards; ++at) {
            if (!shards_[at]) continue;
            bool any = false;
            for (const auto& entry : *shards_[at]) any = any || erased(entry);
            if (!any) continue;
            const std::size_t gone = std::erase_if(own(at), erased);
            count += gone;
            size_ -= gone;
        }
        return count;
    }

    template <class F>
    void forEach(F&& f) const {
        for (const auto& shard : shards_)
            if (shard)
                for (const auto& entry : *shard) f(entry.first, entry.second);
    }

    // Calls f(before shard, after shard) for every shard the two maps do not share;
    // a missing shard is passed as an empty one.
    template <class F>
    static void forEachChangedShard(const SharedMap& before, const SharedMap& after, F&& f) {
        static const Shard none;
        for (std::size_t at = 0; at < kShards; ++at) {
            if (before.shards_[at] == after.shards_[at]) continue;
            f(before.shards_[at] ? *before.shards_[at] : none, after.shards_[at] ? *after.shards_[at] : none);
        }
    }

    std::map<std::string, V> toMap() const {
        std::map<std::string, V> out;
        forEach([&](const std::string& key, const V& value) { out.emplace(key, value); });
        return out;
    }

    friend bool operator==(const SharedMap& a, const SharedMap& b) {
        if (a.size_ != b.size_) return false;
        bool same = true;
        forEachChangedShard(a, b, [&](const Shard& x, const Shard& y) { same = same && x == y; });
        return same;
    }

private:
    static std::size_t shardOf(const std::string& key) { return std::hash<std::string>{}(key) % kShards; }

    // The shard at `at`, made this map's own before a write.
    Shard& own(std::size_t at) {
        auto& shard = shards_[at];
        if (!shard) shard = std::make_shared<Shard>();
        else if (shard.use_count() > 1) shard = std::make_shared<Shard>(*shard);
        return *shard;
    }

    std::array<std::shared_ptr<Shard>, kShards> shards_{};
    std::size_t size_ = 0;
};

}  // namespace kelo
