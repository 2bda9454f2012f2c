// Automatic layout: the connected parts of a net, and packing them into one drawing.

#include <algorithm>
#include <cmath>
#include <numeric>

#include "library/layout/layout.h"

namespace lumo::layout {

namespace {

/// For every node the first node of its connected part.
std::vector<int> FirstOfPart(int nodes, const std::vector<Link>& links) {
    std::vector<int> first(static_cast<std::size_t>(nodes));
    std::iota(first.begin(), first.end(), 0);
    const auto find = [&](int v) {
        auto at = static_cast<std::size_t>(v);
        while (first[at] != static_cast<int>(at)) {
            first[at] = first[static_cast<std::size_t>(first[at])];
            at = static_cast<std::size_t>(first[at]);
        }
        return static_cast<int>(at);
    };
    for (const Link& link : links) {
        const int a = find(link.parent);
        const int b = find(link.child);
        first[static_cast<std::size_t>(std::max(a, b))] = std::min(a, b);
    }
    for (int v = 0; v < nodes; ++v) first[static_cast<std::size_t>(v)] = find(v);
    return first;
}

}  // namespace

std::vector<Part> SplitIntoParts(const std::vector<double>& widths,
                                 const std::vector<Link>& links) {
    const std::vector<int> first = FirstOfPart(static_cast<int>(widths.size()), links);
    std::vector<Part> parts;
    std::vector<std::size_t> partOf(first.size());
    std::vector<int> local(first.size());
    for (std::size_t v = 0; v < first.size(); ++v) {
        const auto head = static_cast<std::size_t>(first[v]);
        if (head == v) {
            partOf[v] = parts.size();
            parts.emplace_back();
        }
        partOf[v] = partOf[head];
        Part& part = parts[partOf[v]];
        local[v] = part.size();
        part.members.push_back(static_cast<int>(v));
        part.widths.push_back(widths[v]);
    }
    for (std::size_t i = 0; i < links.size(); ++i) {
        const auto parent = static_cast<std::size_t>(links[i].parent);
        const auto child = static_cast<std::size_t>(links[i].child);
        Part& part = parts[partOf[parent]];
        part.links.push_back({local[parent], local[child]});
        part.linkIds.push_back(static_cast<int>(i));
    }
    return parts;
}

Box PackBoxes(std::vector<Box>& boxes, double width, Point gap) {
    std::vector<Box*> order;
    order.reserve(boxes.size());
    for (Box& box : boxes) order.push_back(&box);
    std::ranges::stable_sort(order, [](const Box* a, const Box* b) {
        return std::pair(a->height, a->width) > std::pair(b->height, b->width);
    });
    Box all{0, 0};
    double shelfTop = 0, shelfHeight = 0;
    double columnLeft = 0, columnWidth = 0, columnFill = 0;
    for (Box* box : order) {
        const bool stacks = columnFill + box->height <= shelfHeight && box->width <= columnWidth;
        if (!stacks) {
            if (columnWidth > 0) columnLeft += columnWidth + gap.x;
            if (columnLeft + box->width > width || shelfHeight == 0) {
                shelfTop = all.height > 0 ? all.height + gap.y : 0;
                shelfHeight = box->height;
                columnLeft = 0;
            }
            columnWidth = box->width;
            columnFill = 0;
        }
        box->left = columnLeft;
        box->top = shelfTop + columnFill;
        columnFill += box->height + gap.y;
        all.width = std::max(all.width, box->left + box->width);
        all.height = std::max(all.height, box->top + box->height);
    }
    return all;
}

double PackingWidth(const std::vector<Box>& boxes, double least, Point gap) {
    double space = 0;
    double width = least;
    for (const Box& box : boxes) {
        space += (box.width + gap.x) * (box.height + gap.y);
        width = std::max(width, box.width);
    }
    return std::max(width, std::sqrt(2 * space));
}

}  // namespace lumo::layout
