// SPDX-License-Identifier: Apache-2.0
// One picture, wanted in three places, read once in the background.
#include <corvane/LowLevel/ValueLoader.h>
#include <corvane/Platform/Dispatch/RunLoop.h>

#include <cstdio>
#include <string>
#include <thread>

using namespace corvane;

int main()
{
    int reads = 0;
    const OperationQueue queue(DispatchQoS::utility);
    queue.setMaxConcurrentOperationCount(0); // nothing starts before everybody has asked
    ValueLoader<std::string> cover(queue, [&]() -> std::optional<std::string> {
        ++reads;
        return "a cover of 600 x 800";
    });

    // On the main thread: completions are called on it.
    cover.request([&] { std::printf("The list shows %s\n", cover.value()->c_str()); });
    const auto hidden = cover.request([] { std::printf("never shown\n"); });
    hidden->cancel();
    cover.request([&] {
        std::printf("The window shows %s\n", cover.value()->c_str());
        RunLoop::main().stop();
    });

    // On other threads: wait. (Filing a request belongs to the main thread.)
    std::string exported;
    std::jthread exporter([&exported, request = cover.request()] { exported = *request->wait(); });

    queue.setMaxConcurrentOperationCount(OperationQueue::defaultMaxConcurrentOperationCount);
    RunLoop::main().run();
    exporter.join();
    std::printf("Exported %s\n", exported.c_str());

    // From now on the value is there at once, and there is nothing to wait for.
    const auto late = cover.request([] { std::printf("The late one is served at once\n"); });
    std::printf("%s, read %d time\n", late == nullptr ? "No request" : "A request", reads);
}
