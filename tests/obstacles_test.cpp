// Which nodes lines run through, against points along the lines.
#include "export/obstacles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace lumo::test {
namespace {

/// The least reach of the shape, stretched by the distance, along the line: below 1 is inside.
double LeastReach(PictureNode node, Point from, Point to, double distance) {
    node.halfWidth += distance;
    node.halfHeight += distance;
    constexpr int steps = 4000;
    double least = HUGE_VAL;
    for (int i = 0; i <= steps; ++i) {
        const double part = static_cast<double>(i) / steps;
        const Point at{from.x + part * (to.x - from.x), from.y + part * (to.y - from.y)};
        least = std::min(least, node.reach(at));
    }
    return least;
}

TEST(Obstacles, AreHitByWhatRunsThroughThem) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> place(0, 400), size(8, 60), room(0, 15), flat(0.2, 1);
    int hits[3] = {}, misses[3] = {};
    for (int round = 0; round < 150; ++round) {
        std::vector<PictureNode> nodes(6);
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            nodes[i].shape = static_cast<ShapeEN>(i % 3);
            nodes[i].centre = {place(random), place(random)};
            nodes[i].halfWidth = size(random);
            nodes[i].halfHeight = nodes[i].halfWidth * flat(random);
        }
        const Obstacles obstacles(nodes);
        Point from{place(random), place(random)};
        Point to{place(random), place(random)};
        if (round % 10 == 0) to = from;                      // no line at all
        if (round % 10 == 1) to = {from.x + 5, from.y + 3};  // one that may lie inside
        if (round % 10 == 2) to.x = from.x;                  // upright
        if (round % 10 > 2 && round % 10 < 6) {  // a short one near a corner of a node's box
            const PictureNode& near = nodes[static_cast<std::size_t>(round) % 6];
            from = {near.centre.x + 0.9 * near.halfWidth, near.centre.y - 0.9 * near.halfHeight};
            to = {from.x + place(random) / 40 - 5, from.y + place(random) / 40 - 5};
        }
        const double distance = round % 2 == 0 ? 0 : room(random);
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            SCOPED_TRACE("round " + std::to_string(round) + ", node " + std::to_string(i));
            const double reach = LeastReach(nodes[i], from, to, distance);
            if (std::abs(reach - 1) < 0.01) continue;  // a matter of rounding
            const bool isHit = obstacles.isHit(i, from, to, distance);
            EXPECT_EQ(isHit, reach < 1) << reach;
            ++(isHit ? hits : misses)[i % 3];
            const auto isIt = [i](std::size_t node) { return node == i; };
            EXPECT_TRUE(!isHit || obstacles.anyNear(from, to, distance, isIt));
            EXPECT_EQ(obstacles.covers(i, from), nodes[i].reach(from) < 1);
            // One that passes by, in other cells than the node's.
            const Point middle = nodes[i].centre;
            const double above = middle.y - nodes[i].halfHeight - 9;
            EXPECT_TRUE(obstacles.anyNear({middle.x - 3, above}, {middle.x + 3, above}, 10, isIt));
        }
    }
    for (int shape = 0; shape < 3; ++shape)
        EXPECT_TRUE(hits[shape] > 10 && misses[shape] > 100) << hits[shape] << ' ' << misses[shape];
}

TEST(Obstacles, CornersKeepTheirDistance) {
    for (const ShapeEN shape : {ShapeEN::ellipse, ShapeEN::rectangle, ShapeEN::hexagon}) {
        std::vector<PictureNode> nodes(1);
        nodes[0].shape = shape;
        nodes[0].centre = {100, 50};
        nodes[0].halfWidth = 40;
        nodes[0].halfHeight = 15;
        const Obstacles obstacles(nodes);
        const std::vector<Point> corners = obstacles.corners(0, 10);
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const Point next = corners[(i + 1) % corners.size()];
            EXPECT_FALSE(obstacles.isHit(0, corners[i], next, 9.9)) << i;
            EXPECT_TRUE(obstacles.isHit(0, corners[i], next, 14)) << i;
        }
    }
}

}  // namespace
}  // namespace lumo::test
