#include "model/app_state_delta.h"

#include <string>

namespace kelo {

namespace {

// The identity of a list entry across two states: an entry whose identity stays
// and whose value changes is written as a change at its position.
std::string identity(const Project& project) { return project.id.text(); }
std::string identity(const Feedback& feedback) { return feedback.id.text(); }
std::string identity(const Association& association) {
    return association.projectID.text() + '/' + association.token;
}

// Walks both lists in step: an old entry that does not continue the new list is
// removed, and whatever of the new list is left after the old one ends is appended.
// Any change of order therefore still yields `after` exactly, only in a larger delta.
template <class List>
std::optional<Json> listDelta(const List& before, const List& after) {
    Json removed = Json::array();
    Json changed = Json::array();
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < before.size() && j < after.size()) {
        if (before[i] == after[j]) {
            ++i;
            ++j;
        } else if (identity(before[i]) == identity(after[j])) {
            changed.push_back(Json::array({j, encodeValue(after[j])}));
            ++i;
            ++j;
        } else {
            removed.push_back(i++);
        }
    }
    for (; i < before.size(); ++i) removed.push_back(i);
    Json appended = Json::array();
    for (; j < after.size(); ++j) appended.push_back(encodeValue(after[j]));
    if (removed.empty() && changed.empty() && appended.empty()) return std::nullopt;
    Json out = Json::object();
    if (!removed.empty()) out["removed"] = std::move(removed);
    if (!changed.empty()) out["changed"] = std::move(changed);
    if (!appended.empty()) out["appended"] = std::move(appended);
    return out;
}

// The projects and the learning's lists share chunks with the state they were
// copied from, so the walk above is needed only when something was removed: when
// every position that differs keeps its identity, the walk would find exactly these
// changes and appends.
template <class T, std::size_t N>
std::optional<Json> chunkedListDelta(const ChunkedList<T, N>& before, const ChunkedList<T, N>& after) {
    if (after.size() < before.size()) return listDelta(before, after);
    bool removal = false;
    Json changed = Json::array();
    after.forEachChanged(before, [&](std::size_t i) {
        if (identity(before[i]) != identity(after[i])) removal = true;
        if (!removal) changed.push_back(Json::array({i, encodeValue(after[i])}));
    });
    if (removal) return listDelta(before, after);
    Json appended = Json::array();
    for (std::size_t j = before.size(); j < after.size(); ++j) appended.push_back(encodeValue(after[j]));
    if (changed.empty() && appended.empty()) return std::nullopt;
    Json out = Json::object();
    if (!changed.empty()) out["changed"] = std::move(changed);
    if (!appended.empty()) out["appended"] = std::move(appended);
    return out;
}

template <class V>
void mapChanges(const std::map<std::string, V>& before, const std::map<std::string, V>& after, Json& set,
                Json& erased) {
    auto old = before.begin();
    auto now = after.begin();
    while (old != before.end() || now != after.end()) {
        if (now == after.end() || (old != before.end() && old->first < now->first)) {
            erased.push_back((old++)->first);
        } else if (old == before.end() || now->first < old->first) {
            set[now->first] = encodeValue(now->second);
            ++now;
        } else {
            if (!(old->second == now->second)) set[now->first] = encodeValue(now->second);
            ++old;
            ++now;
        }
    }
}

// Only the shards the two maps do not share are compared, so a change to one
// assignment costs the same with a year of them as with none.
template <class V>
std::optional<Json> mapDelta(const SharedMap<V>& before, const SharedMap<V>& after) {
    Json set = Json::object();
    Json erased = Json::array();
    SharedMap<V>::forEachChangedShard(before, after, [&](const auto& old, const auto& now) {
        mapChanges(old, now, set, erased);
    });
    if (set.empty() && erased.empty()) return std::nullopt;
    Json out = Json::object();
    if (!set.empty()) out["set"] = std::move(set);
    if (!erased.empty()) out["erased"] = std::move(erased);
    return out;
}

std::optional<Json> setDelta(const std::set<std::string>& before, const std::set<std::string>& after) {
    Json added = Json::array();
    Json erased = Json::array();
    auto old = before.begin();
    auto now = after.begin();
    while (old != before.end() || now != after.end()) {
        if (now == after.end() || (old != before.end() && *old < *now)) {
            erased.push_back(*old++);
        } else if (old == before.end() || *now < *old) {
            added.push_back(*now++);
        } else {
            ++old;
            ++now;
        }
    }
    if (added.empty() && erased.empty()) return std::nullopt;
    Json out = Json::object();
    if (!added.empty()) out["added"] = std::move(added);
    if (!erased.empty()) out["erased"] = std::move(erased);
    return out;
}

const Json* member(const Json& object, const char* key) {
    if (!object.is_object()) throw DecodingError(key, "expected an object");
    const auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

std::size_t position(const Json& value, std::size_t size, const char* key) {
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() >= size)
        throw DecodingError(key, "position outside the list");
    return static_cast<std::size_t>(value.get<std::uint64_t>());
}

template <class T>
void assign(std::vector<T>& list, std::size_t at, T value) {
    list[at] = std::move(value);
}
template <class T, std::size_t N>
void assign(ChunkedList<T, N>& list, std::size_t at, T value) {
    list.edit(at) = std::move(value);
}

template <class List>
void applyList(List& list, const Json& delta, const char* key) {
    using T = typename List::value_type;
    if (const Json* removed = member(delta, "removed")) {
        std::vector<bool> gone(list.size(), false);
        std::size_t last = 0;
        bool first = true;
        for (const Json& index : decodeValue<std::vector<Json>>(*removed)) {
            const std::size_t at = position(index, list.size(), key);
            if (!first && at <= last) throw DecodingError(key, "removed positions out of order");
            gone[at] = true;
            last = at;
            first = false;
        }
        List kept;
        for (std::size_t k = 0; k < list.size(); ++k)
            if (!gone[k]) kept.push_back(std::move(list[k]));
        list = std::move(kept);
    }
    if (const Json* changed = member(delta, "changed")) {
        for (const Json& pair : decodeValue<std::vector<Json>>(*changed)) {
            if (!pair.is_array() || pair.size() != 2) throw DecodingError(key, "expected a position and a value");
            assign(list, position(pair[0], list.size(), key), decodeValue<T>(pair[1]));
        }
    }
    if (const Json* appended = member(delta, "appended"))
        for (const Json& value : decodeValue<std::vector<Json>>(*appended)) list.push_back(decodeValue<T>(value));
}

template <class V>
void applyMap(SharedMap<V>& map, const Json& delta) {
    if (const Json* erased = member(delta, "erased"))
        for (const auto& key : decodeValue<std::vector<std::string>>(*erased)) map.erase(key);
    if (const Json* set = member(delta, "set")) {
        if (!set->is_object()) throw DecodingError("set", "expected an object");
        for (const auto& [key, value] : set->items()) map[key] = decodeValue<V>(value);
    }
}

void applySet(std::set<std::string>& set, const Json& delta) {
    if (const Json* erased = member(delta, "erased"))
        for (const auto& key : decodeValue<std::vector<std::string>>(*erased)) set.erase(key);
    if (const Json* added = member(delta, "added"))
        for (auto& key : decodeValue<std::vector<std::string>>(*added)) set.insert(std::move(key));
}

template <class F>
void within(const char* key, F&& apply) {
    try {
        apply();
    } catch (const DecodingError& error) {
        throw error.within(key);
    }
}

}  // namespace

std::optional<Json> stateDelta(const AppState& before, const AppState& after) {
    Json delta = Json::object();
    if (before.schemaVersion != after.schemaVersion) delta["schemaVersion"] = after.schemaVersion;
    if (auto projects = chunkedListDelta(before.projects, after.projects)) delta["projects"] = std::move(*projects);
    if (before.grants != after.grants) delta["grants"] = encodeValue(after.grants);
    if (auto associations = chunkedListDelta(before.learning.associations, after.learning.associations))
        delta["associations"] = std::move(*associations);
    if (auto feedback = chunkedListDelta(before.learning.feedback, after.learning.feedback))
        delta["feedback"] = std::move(*feedback);
    if (auto assignments = mapDelta(before.assignments, after.assignments))
        delta["assignments"] = std::move(*assignments);
    if (auto ignored = setDelta(before.ignored, after.ignored)) delta["ignored"] = std::move(*ignored);
    if (auto clusters = setDelta(before.ignoredClusters, after.ignoredClusters))
        delta["ignoredClusters"] = std::move(*clusters);
    if (!(before.settings == after.settings)) delta["settings"] = encodeValue(after.settings);
    if (delta.empty()) return std::nullopt;
    return delta;
}

void applyStateDelta(AppState& state, const Json& delta) {
    if (!delta.is_object()) throw DecodingError("", "expected an object");
    if (const Json* version = member(delta, "schemaVersion"))
        within("schemaVersion", [&] { state.schemaVersion = decodeValue<int>(*version); });
    if (const Json* projects = member(delta, "projects"))
        within("projects", [&] { applyList(state.projects, *projects, "projects"); });
    if (const Json* grants = member(delta, "grants"))
        within("grants", [&] { state.grants = decodeValue<std::vector<FolderGrant>>(*grants); });
    if (const Json* associations = member(delta, "associations"))
        within("associations", [&] { applyList(state.learning.associations, *associations, "associations"); });
    if (const Json* feedback = member(delta, "feedback"))
        within("feedback", [&] { applyList(state.learning.feedback, *feedback, "feedback"); });
    if (const Json* assignments = member(delta, "assignments"))
        within("assignments", [&] { applyMap(state.assignments, *assignments); });
    if (const Json* ignored = member(delta, "ignored")) within("ignored", [&] { applySet(state.ignored, *ignored); });
    if (const Json* clusters = member(delta, "ignoredClusters"))
        within("ignoredClusters", [&] { applySet(state.ignoredClusters, *clusters); });
    if (const Json* settings = member(delta, "settings"))
        within("settings", [&] { state.settings = decodeValue<Settings>(*settings); });
}

}  // namespace kelo
