// Automatic layout: counting the crossings of straight links.

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "library/layout/layout.h"
#include "library/layout/segments.h"

namespace lumo {

namespace {

using layout::PlaceAt;
using layout::Point;
using layout::Segment;

/// Links up to which every pair of them is tested; and the bound on work beyond.
constexpr std::size_t AllPairsLinks = 4000;
constexpr std::size_t StripWork = 50'000'000;

/// Rounded, so that links on one line stay together.
double RoundedPlaceAt(const Segment& s, double y) { return std::round(PlaceAt(s, y) * 256) / 256; }

std::vector<Segment> ReadSegments(const VnodeList_kt& vnodes) {
    std::unordered_map<const Bnode_bn*, Point> places;
    for (const Vnode_kt* vnode : vnodes) {
        const coord_kt at = vnode->position();
        places.emplace(vnode->node, Point{static_cast<double>(at.x), static_cast<double>(at.y)});
    }
    std::vector<Segment> segments;
    for (const Vnode_kt* vnode : vnodes) {
        if (vnode->node == nullptr) continue;
        for (const Bnode_bn* parent : vnode->node->parents) {
            const auto found = places.find(parent);
            if (found == places.end()) continue;
            Segment segment{found->second, places[vnode->node]};
            if (segment.upper.y > segment.lower.y) std::swap(segment.upper, segment.lower);
            segments.push_back(segment);
        }
    }
    return segments;
}

long long CountAllPairs(const std::vector<Segment>& segments) {
    long long count = 0;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) count += ProperlyCross(segments[i], segments[j]);
    }
    return count;
}

/// Pairs (i, j), i before j, whose second values are in the wrong order; sorts the values.
long long CountInversions(std::vector<double>& values, std::vector<double>& room) {
    long long count = 0;
    room.resize(values.size());
    for (std::size_t width = 1; width < values.size(); width *= 2) {
        for (std::size_t first = 0; first < values.size(); first += 2 * width) {
            const std::size_t middle = std::min(first + width, values.size());
            const std::size_t last = std::min(first + 2 * width, values.size());
            std::size_t left = first;
            std::size_t right = middle;
            for (std::size_t to = first; to < last; ++to) {
                const bool takeLeft =
                    right == last || (left < middle && values[left] <= values[right]);
                if (!takeLeft) count += static_cast<long long>(middle - left);
                room[to] = values[takeLeft ? left++ : right++];
            }
        }
        values.swap(room);
    }
    return count;
}

/// Counts strip by strip between the heights of the nodes: links cross in a strip when they leave
/// it in another order than they entered it.
long long CountByStrips(std::vector<Segment> segments) {
    std::erase_if(segments, [](const Segment& s) { return s.upper.y == s.lower.y; });
    std::ranges::sort(segments, {}, [](const Segment& s) { return s.upper.y; });
    std::vector<double> heights;
    for (const Segment& s : segments) heights.insert(heights.end(), {s.upper.y, s.lower.y});
    std::ranges::sort(heights);
    heights.erase(std::unique(heights.begin(), heights.end()), heights.end());

    long long count = 0;
    std::size_t work = 0;
    std::size_t next = 0;
    std::vector<Segment> open;
    std::vector<std::pair<double, double>> passing;
    std::vector<double> leaving, room;
    for (std::size_t i = 1; i < heights.size() && work < StripWork; ++i) {
        const double top = heights[i - 1];
        const double bottom = heights[i];
        std::erase_if(open, [&](const Segment& s) { return s.lower.y <= top; });
        for (; next < segments.size() && segments[next].upper.y <= top; ++next) {
            open.push_back(segments[next]);
        }
        passing.clear();
        for (const Segment& s : open)
            passing.emplace_back(RoundedPlaceAt(s, top), RoundedPlaceAt(s, bottom));
        std::ranges::sort(passing);
        leaving.clear();
        for (const auto& [enters, leaves] : passing) leaving.push_back(leaves);
        count += CountInversions(leaving, room);
        work += open.size();
    }
    return count;
}

}  // namespace

long long CountCrossings(const VnodeList_kt& vnodes) {
    std::vector<Segment> segments = ReadSegments(vnodes);
    return segments.size() <= AllPairsLinks ? CountAllPairs(segments)
                                            : CountByStrips(std::move(segments));
}

}  // namespace lumo
