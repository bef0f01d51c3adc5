// SPDX-License-Identifier: Apache-2.0
// Blocks now or later, and timers of the run loop.
#include <corvane/CoreDispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/RunLoop.h>
#include <corvane/Platform/Dispatch/Timer.h>

#include <chrono>
#include <cstdio>

using namespace corvane;

int main()
{
    // One call for both ways of running a block.
    const DispatchQueue disk("com.example.disk");
    int written = 0;
    for (const bool synchronized : {false, false, true})
        execute(disk, synchronized, [&] { ++written; }); // the last waits, and so for the others
    std::printf("%d written\n", written);

    // Timers run on the thread of the run loop they were started on.
    const auto begin = std::chrono::steady_clock::now();
    int ticks = 0;
    Timer::repeats(TimeInterval(0.01), [&](Timer& timer) {
        std::printf("tick %d\n", ++ticks);
        if (ticks == 3)
            timer.invalidate();
    });
    Timer never = Timer::schedule(TimeInterval(0.02), [] { std::printf("not printed\n"); });
    never.invalidate();
    Timer::schedule(TimeInterval(0.2), [] {
        std::printf("time is up\n");
        RunLoop::main().stop();
    });
    RunLoop::main().run();

    const bool early = std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(200);
    std::printf("%s\n", early ? "too early" : "not before its time");
}
