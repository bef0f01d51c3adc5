// SPDX-License-Identifier: Apache-2.0
// A list of names that several threads fill, read and clear.
#include <corvane/LowLevel/SynchronizedArray.h>
#include <corvane/Platform/Dispatch/RunLoop.h>

#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

using namespace corvane;
using Strings = std::vector<std::string>;

namespace {

void print(const char* what, const std::string& text)
{
    std::printf("%s: %s\n", what, text.c_str());
}

} // namespace

int main()
{
    // Writes return at once; a read sees the writes given before it.
    SynchronizedArray<std::string> names({"Marie"});
    names.append("Niels");
    names += Strings{"Lise", "Werner"};
    names.insert("Ada", 0);
    names.setElement(1, "Maria");
    print("All", names.description());

    print("First and last", *names.first() + ", " + *names.last());
    print("Short", describe(names.filter([](const std::string& name) { return name.size() == 4; })));
    print("Sorted", describe(names.sorted(std::greater<>())));
    print("Lengths", describe(names.flatMap([](const std::string& name) {
              return name.size() > 4 ? std::optional(name.size()) : std::nullopt;
          })));
    print("Out of range", names[9] ? "there" : "absent");
    print("Removed now", names.removeLastNow());

    // What a removal took out arrives on the main queue, here served by the main run loop.
    names.removeWhere([](const std::string& name) { return name.starts_with("N"); },
                      [](const std::string& name) { print("Removed", name); });
    names.removeAll([](const Strings& rest) {
        print("And the rest", describe(rest));
        RunLoop::main().stop();
    });
    RunLoop::main().run();
    print("Left", names.description());

    // Many threads may write at once.
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread)
            threads.emplace_back([&] {
                for (int n = 0; n < 1000; ++n)
                    names.append("x");
            });
    }
    print("Appended by four threads", describe(*names.count()));
}
