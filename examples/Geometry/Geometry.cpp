// SPDX-License-Identifier: Apache-2.0 A walk over a drawing: where outlines cross, what lies where, what
// surrounds a cloud of points, and how a handle of a frame is dragged.
#include <corvane/Geometry/Angle.h>
#include <corvane/Geometry/CGRect.h>
#include <corvane/Geometry/Line.h>
#include <corvane/Geometry/Segment.h>
#include <corvane/Geometry/Triangle.h>

#include <iostream>
#include <string>
#include <vector>

using namespace corvane;

namespace {

void say(const std::string& what, const std::string& value)
{
    std::cout << what << ": " << value << '\n';
}

std::string anchorName(RectAnchor anchor)
{
    static const char* const names[] = {"top left",    "top right",  "bottom right", "bottom left",
                                        "middle left", "top center", "middle right", "bottom center"};
    return names[rawValue(anchor)];
}

} // namespace

int main()
{
    // Two paths of a map cross; the parameters say how far along each.
    const Segment river{{0, 4}, {8, 0}};
    const Segment road{{2, 0}, {6, 4}};
    if (const auto crossing = river.findIntersection(road)) {
        say("River and road cross at", description(crossing->point));
        std::cout << "which is " << roundInt(crossing->param2 * 100) << " percent along the road\n";
    }

    // How far is the well from the road, and where is the foot of the shortest way?
    const CGPoint well{6, 1};
    const auto [away, along] = road.distance(well);
    std::cout << "The well is " << round(away, 3) << " from the road, nearest after " << roundInt(along * 100)
              << " percent\n";
    std::cout << "It lies " << (Line::fromPoints(road.start, road.end).distance(well) > 0 ? "left" : "right")
              << " of the road\n";

    // A turn at three points.
    const Triangle bend{{0, 0}, {4, 0}, {6, 3}};
    if (bend.collinearity() == Triangle::CollinearityState::counterClockwiseTurn)
        say("The bend turns left and encloses", std::to_string(intValue(bend.signedArea())));

    // The fence around some trees, and the rectangle around the fence.
    const std::vector<CGPoint> trees{{1, 1}, {4, 2}, {2, 3}, {5, 5}, {3, 2}, {1, 4}, {6, 1}};
    const std::vector<CGPoint> fence = convexHull(trees);
    CGFloat around = 0;
    for (std::size_t post = 0; post < fence.size(); ++post)
        around += distance(fence[post], fence[(post + 1) % fence.size()]);
    std::cout << "A fence of " << fence.size() << " posts and " << round(around, 2) << " length surrounds "
              << trees.size() << " trees\n";
    CGRect frame = boundingRect(fence);
    say("Its frame is", description(frame));

    // The frame's top left handle is dragged over the opposite corner: the frame turns over.
    const RectAnchor grabbed = move(frame, RectAnchor::topLeft, {8, -1});
    say("After the drag it is", description(frame) + ", held at the " + anchorName(grabbed));
    say("The handle to draw there", description(square(frame, grabbed, 0.5)));

    // Angles know what is missing to a quarter, a half and a full turn.
    const Angle slope = Angle::fromDegrees(30);
    std::cout << "30 degrees lack " << roundInt(slope.complementary().degrees()) << ", "
              << roundInt(slope.supplementary().degrees()) << " and "
              << roundInt(slope.explementary().degrees()) << '\n';

    // Sizes are compared at decimals, not bit by bit.
    const CGSize fitted = scaledToFit({1920, 1080}, {100, 100});
    std::cout << "A wide picture fits 100 x 100 as " << description(fitted)
              << (isSimilarTo(aspectRatio(fitted), 16.0 / 9) ? ", still 16:9" : ", distorted") << '\n';
}
