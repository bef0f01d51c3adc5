// SPDX-License-Identifier: Apache-2.0
// Counting from many threads, where nobody waits to count.
#include <corvane/LowLevel/SynchronizedCounter.h>

#include <cstdio>
#include <thread>
#include <vector>

using namespace corvane;

int main()
{
    SynchronizedCounter open(0);
    SynchronizedCounter served(0);
    const auto print = [&] {
        std::printf("%lld open, %lld served\n", static_cast<long long>(open.getValue()),
                    static_cast<long long>(served.getValue()));
    };

    {
        std::vector<std::jthread> clerks;
        for (int clerk = 0; clerk < 4; ++clerk)
            clerks.emplace_back([&] {
                for (int customer = 0; customer < 250; ++customer) {
                    open.increment();
                    served.increment();
                    open.decrement();
                }
            });
    }
    print();

    // A read waits for the writes given before it.
    open.increment();
    open.increment();
    served.setValue(0);
    print();
}
