// SPDX-License-Identifier: Apache-2.0
// One value, many threads.
#include <corvane/LowLevel/Atomic.h>
#include <corvane/Platform/Base/Types.h>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

using namespace corvane;

namespace {

struct Progress {
    Int files = 0;
    std::string last;
};

} // namespace

int main()
{
    // Eight threads report what they have done. `update` reads and writes in one step, so nothing is lost.
    Atomic<Progress> progress(Progress{});
    {
        std::vector<std::jthread> workers;
        for (int worker = 0; worker < 8; ++worker)
            workers.emplace_back([&progress] {
                for (int file = 1; file <= 125; ++file)
                    progress.update([&](Progress now) {
                        ++now.files;
                        now.last = "file " + std::to_string(file);
                        return now;
                    });
            });
    }
    std::printf("%lld files, the last was %s\n", static_cast<long long>(progress.value().files),
                progress.value().last.c_str());

    // A read and a write are two steps: what comes between them is lost.
    Atomic<Int> count(10);
    const Int seen = count.value();
    count.update([](Int n) { return n + 5; }); // by another thread, say
    count.setValue(seen + 1);
    std::printf("11 rather than 16: %lld\n", static_cast<long long>(count.value()));

    // A copy has a value of its own.
    Atomic<Int> copy = count;
    copy.setValue(0);
    std::printf("%lld and %lld\n", static_cast<long long>(count.value()),
                static_cast<long long>(copy.value()));
}
