// SPDX-License-Identifier: Apache-2.0
// How long changes of layers are to be animated, as the code that draws them sees it.
#include <corvane/CoreAnimation/CATransaction.h>
#include <corvane/Platform/Dispatch/RunLoop.h>

#include <cstdio>

using namespace corvane;

namespace {

// What a host that draws layers would do when one of them changes.
void change(const char* what)
{
    if (CATransaction::disableActions())
        std::printf("%s at once\n", what);
    else
        std::printf("%s in %.2f s\n", what, CATransaction::animationDuration().count());
}

} // namespace

int main()
{
    change("Move");
    animate(TimeInterval(1.5), [] {
        change("Fade");
        animate(TimeInterval(0), [] { change("Hide"); }); // no animation inside this one
        change("Turn");
    });

    // By hand, and nested: a transaction starts with the settings of the one around it.
    CATransaction::begin();
    CATransaction::setAnimationDuration(TimeInterval(3));
    CATransaction::begin();
    change("Grow");
    CATransaction::commit();
    CATransaction::commit();
    change("Shrink");

    // Later, on the main queue.
    animate(TimeInterval(0.05), TimeInterval(0.5), [] {
        change("Return");
        RunLoop::main().stop();
    });
    std::printf("Waiting\n");
    RunLoop::main().run();
}
