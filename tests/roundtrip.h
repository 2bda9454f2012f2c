// Nets that were written and read back: how they differ, and whether what the writer announces
// explains it.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "export/json.h"
#include "export/writers.h"
#include "formats/formats.h"
#include "formats/shared/placing.h"
#include "formats/shared/rows.h"
#include "tests/support.h"

namespace lumo::test {

using Json = nlohmann::json;

/// The formats that can be written and read.
inline const std::vector<FormatInfo>& WrittenFormats() {
    static const std::vector<FormatInfo> formats = [] {
        std::vector<FormatInfo> written(Formats().begin(), Formats().end());
        std::erase_if(written, [](const FormatInfo& format) { return format.write == nullptr; });
        return written;
    }();
    return formats;
}

inline std::string Write(const ImportResult& result, const char* writer) {
    std::ostringstream out;
    FindWriter(writer)->write(result, out);
    return out.str();
}

/// Null for an empty text, which says nothing.
inline Json Said(const Json& text) { return text == "" ? Json() : text; }

/// The net as JSON; states, relation and drawing are flattened, so that every key is one thing.
inline Json Flat(const ImportResult& result) {
    std::ostringstream out;
    WriteJson(result, out);
    Json net = Json::parse(out.str())["net"];
    for (Json& node : net["nodes"]) {
        node["stateCount"] = node["states"].size();
        for (const char* part : {"name", "title", "comment", "value"}) {
            Json& list = node[std::string("state.") + part] = Json::array();
            for (const Json& state : node["states"]) list.push_back(Said(state[part]));
        }
        for (const char* part : {"title", "comment"}) node[part] = Said(node[part]);
        for (const auto& [key, value] : node["relation"].items()) node["relation." + key] = value;
        node.erase("states");
        node.erase("relation");
    }
    for (const char* part : {"title", "comment"}) net[part] = Said(net[part]);
    for (const auto& [key, value] : net["drawing"].items()) net["drawing." + key] = value;
    net.erase("drawing");
    return net;
}

/// The features whose loss explains that a key differs.
struct Explanation {
    const char* key;
    FeatureSet features;
};

constexpr FeatureSet Of(std::initializer_list<FeatureEN> features) {
    FeatureSet set = 0;
    for (const FeatureEN feature : features) set |= Bit(feature);
    return set;
}

using enum FeatureEN;

inline const std::vector<Explanation> nodeKeys = {
    {"name", Of({name})},
    {"title", Of({title, sameTitle})},
    {"comment", Of({comment})},
    {"kind", Of({kind})},
    {"discrete", Of({continuous, utilityForm, stateTitles})},
    {"stateCount", Of({utilityForm})},
    {"state.name", Of({stateNames, unnamedStates, textlessStates, utilityForm})},
    {"state.title", Of({stateTitles, untitledStates, textlessStates, utilityForm})},
    {"state.comment", Of({stateComments, utilityForm})},
    {"state.value", Of({stateValues, stateTitles, utilityForm})},
    {"levels", Of({levels, stateTitles})},
    {"parents", Of({parents})},
    {"position", Of({position, exactPosition})},
    {"groups", Of({groups})},
    {"userFields", Of({userFields})},
    {"relation.kind", Of({noTable, table, exactTable, deterministic, zeroOneTable, parameters})},
    {"relation.table", Of({noTable, table, exactTable, parameters})},
    {"relation.experience", Of({experience, table, exactTable})},
    {"relation.parameters", Of({parameters})},
};

inline const std::vector<Explanation> netKeys = {
    {"title", Of({netTitle, noNetTitle})},
    {"comment", Of({netComment})},
    {"fileName", 0},
    {"autoUpdate", Of({autoUpdate})},
    {"drawing.labelStyle", Of({labelStyle})},
    {"drawing.zoom", Of({zoom})},
    {"drawing.font", Of({font})},
    {"drawing.grid", Of({grid})},
    {"drawing.drawStyle", Of({drawStyle})},
    {"drawing.extent", Of({margin})},
};

/// What nobody misses, and is not announced.
inline constexpr FeatureSet quiet = Of({sameTitle, utilityForm, unnamedStates, untitledStates,
                                        zeroOneTable, noNetTitle, drawStyle, groupOrder});

/// Whether two values are the same; numbers may differ by the rounding of a product.
inline bool AreSame(const Json& before, const Json& after) {
    if (before.is_number_float() && after.is_number())
        return AreClose(before.get<double>(), after.get<double>());
    if (!before.is_array() || !after.is_array() || before.size() != after.size())
        return before == after;
    return std::equal(before.begin(), before.end(), after.begin(), AreSame);
}

/// Compares two objects key by key: what differs must be lost, what is lost must differ.
inline void CompareObjects(const std::string& what, const Json& before, const Json& after,
                           const std::vector<Explanation>& keys, FeatureSet lost,
                           std::vector<std::string>& faults) {
    FeatureSet seen = 0;
    for (const auto& [key, features] : keys) {
        const bool isNumbers = std::string_view(key).starts_with("relation.");
        if (isNumbers ? AreSame(before[key], after[key]) : before[key] == after[key]) continue;
        seen |= features;
        if ((lost & features) == 0)
            faults.push_back(what + "." + key + " was " + before[key].dump().substr(0, 200) +
                             ", became " + after[key].dump().substr(0, 200));
    }
    for (const auto& [key, features] : keys) {
        const FeatureSet idle = lost & features & ~seen & ~quiet;
        if (idle != 0) faults.push_back(what + "." + key + " is announced as lost, but is not");
    }
}

/// Positions that say nothing are not compared.
inline void DropPlaces(Json& net) {
    for (Json& node : net["nodes"]) node["position"] = {0, 0};
    net["drawing.extent"] = nullptr;
}

/// Moves the positions so that the drawing starts at 0, 0.
inline void DropMargin(Json& net) {
    for (const std::size_t axis : {0U, 1U}) {
        long long least = INT_MAX;
        for (const Json& node : net["nodes"])
            least = std::min(least, node["position"][axis].get<long long>());
        for (Json& node : net["nodes"]) {
            const auto at = node["position"][axis].get<long long>();
            node["position"][axis] = at - least;
        }
    }
}

inline void CompareGroups(const Json& before, const Json& after, const Losses& losses,
                          std::vector<std::string>& faults) {
    const auto find = [&](const Json& name) {
        return std::find_if(after.begin(), after.end(),
                            [&](const Json& group) { return group["name"] == name; });
    };
    bool anyLost = false;
    for (std::size_t i = 0; i < before.size(); ++i) {
        const bool lost = (losses.groups[i] & Bit(group)) != 0;
        const auto found = find(before[i]["name"]);
        anyLost = anyLost || lost;
        if (lost) continue;
        if (found == after.end()) {
            faults.push_back("group " + before[i].dump() + " is lost");
            continue;
        }
        const bool colorLost = (losses.groups[i] & Bit(color)) != 0;
        if (colorLost == (before[i]["color"] == (*found)["color"]))
            faults.push_back("group " + before[i].dump() + " became " + found->dump());
    }
    if (!anyLost && after.size() != before.size()) faults.push_back("a group is new");
}

/// Leaves out the nodes that are announced as lost.
inline void DropLost(Json& net, Losses& losses) {
    Json kept = Json::array();
    std::vector<FeatureSet> keptLosses;
    for (std::size_t i = 0; i < losses.nodes.size(); ++i) {
        if ((losses.nodes[i] & Bit(FeatureEN::node)) != 0) continue;
        kept.push_back(net["nodes"][i]);
        keptLosses.push_back(losses.nodes[i]);
    }
    net["nodes"] = std::move(kept);
    losses.nodes = std::move(keptLosses);
}

/// Brings the nodes that were read into the order of those before, by their names.
inline void SortLike(const Json& before, Json& after) {
    std::map<std::string, int> places;
    for (const Json& node : before) places.emplace(node["name"], static_cast<int>(places.size()));
    std::stable_sort(after.begin(), after.end(), [&](const Json& a, const Json& b) {
        return places[a["name"]] < places[b["name"]];
    });
}

/// Calls the parents by the names that they have after the trip.
inline void RenameParents(Json& before, const Json& after) {
    std::map<std::string, Json> names;
    for (std::size_t i = 0; i < before.size(); ++i) names[before[i]["name"]] = after[i]["name"];
    for (Json& node : before)
        for (Json& parent : node["parents"])
            if (names.contains(parent)) parent = names[parent];
}

/// What the announced losses do not explain.
inline std::vector<std::string> Unexplained(Json before, Json after, Losses losses) {
    std::vector<std::string> faults;
    const std::size_t whole = losses.nodes.size();
    DropLost(before, losses);
    bool moved = (losses.net & Bit(margin)) != 0;
    if (moved) {
        DropMargin(before);
        DropMargin(after);
    }
    Json& nodes = before["nodes"];
    Json& read = after["nodes"];
    if ((losses.net & Bit(nodeOrder)) != 0) SortLike(nodes, after["nodes"]);
    if (nodes.size() != read.size()) {
        faults.push_back(Format("%zu nodes became %zu", nodes.size(), read.size()));
        return faults;
    }
    RenameParents(nodes, read);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        // Whether a noisy-max is condensed is up to who reads it.
        const bool isNoisyMax = read[i]["relation.parameters"].is_array();
        if (isNoisyMax && nodes[i]["relation.table"].is_null()) read[i]["relation.table"] = nullptr;
        CompareObjects(nodes[i]["name"].get<std::string>(), nodes[i], read[i], nodeKeys,
                       losses.nodes[i], faults);
        moved = moved || (losses.nodes[i] & Of({position, exactPosition})) != 0;
    }
    moved = moved || losses.nodes.size() < whole;
    if (moved) after["drawing.extent"] = before["drawing.extent"];
    CompareObjects("net", before, after, netKeys, losses.net & ~Bit(margin), faults);
    CompareGroups(before["groups"], after["groups"], losses, faults);
    return faults;
}

/// Strictly, but for what only lenient reading of a format keeps: experience, user fields.
inline ImportResult ReadBack(const std::string& text, int code, const char* name) {
    ImportResult result;
    Imported got = code == FormatHugin || code == FormatXMLBIF ? ImportLeniently(text, code, name)
                                                               : ImportText(text, code, name);
    result.net = std::move(got.net);
    for (const Seen& seen : got.seen.reports) {
        ReportRecord& record = result.reports.emplace_back();
        record.number = seen.number;
        record.severity = seen.severity;
        record.line = seen.line;
        record.column = seen.column;
        record.message = seen.message;
        record.structKind = seen.structKind;
        record.structName = seen.structName;
        record.fieldName = seen.fieldName;
    }
    return result;
}

/// A net with the same as JSON.
struct Trip {
    explicit Trip(ImportResult made) : result(std::move(made)) {
        if (result.net != nullptr) flat = Flat(result);
    }
    ImportResult result;
    Json flat;
};

/// Writes, reads and compares; adds what is wrong to the faults and returns what was read.
inline Trip OneTrip(const Trip& before, const FormatInfo& format, const char* name,
                    std::vector<std::string>& faults) {
    const Losses losses = format.losses(*before.result.net);
    const std::string text = Write(before.result, format.name);
    Trip read(ReadBack(text, format.code, name));
    for (const ReportRecord& report : read.result.reports) {
        if (report.severity > SeverityWarning)
            faults.push_back(Format("line %d: %s", report.line, report.message.c_str()));
    }
    if (read.result.net == nullptr) {
        faults.push_back("nothing can be read:\n" + text.substr(0, 2000));
        return read;
    }
    Json was = before.flat, is = read.flat;
    if (!HasPlaces(*before.result.net)) DropPlaces(was), DropPlaces(is);
    for (std::string& fault : Unexplained(std::move(was), std::move(is), losses))
        faults.push_back(std::move(fault));
    return read;
}

/// Two trips, of which the second changes nothing more, rounding aside. Returns what
/// is wrong, nothing if nothing is.
inline std::vector<std::string> RoundTrip(const Trip& first, const FormatInfo& format,
                                          const char* name) {
    std::vector<std::string> faults;
    const Trip second = OneTrip(first, format, name, faults);
    if (second.result.net == nullptr) return faults;
    Losses losses = format.losses(*second.result.net);
    losses.remarks.clear();
    const std::vector<std::string> notes = LossNotes(losses, "");
    for (const std::string& note : notes) {
        const bool rounding = note.find("exact numbers") != std::string::npos;
        if (!rounding) faults.push_back("of what was read " + note);
    }
    OneTrip(second, format, name, faults);
    return faults;
}

}  // namespace lumo::test
