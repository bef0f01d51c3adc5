// SPDX-License-Identifier: Apache-2.0
// A value beside the queue that guards it. The value is reached through the two fields; `value()` and `setValue()`
// never return. For a value with accessors see the example of Atomic.
#include <corvane/LowLevel/Sync.h>

#include <cstdio>
#include <string>

using namespace corvane;

int main()
{
    Sync<std::string> log("started");
    std::printf("Guarded by the queue %s\n", log.queue.label().c_str());

    // Written without waiting, in the order given, and read behind these writes.
    for (const char* step : {"opened", "imported", "closed"})
        log.queue.async([&log, step] { (log.rawValue += ", ") += step; });
    const std::string text = log.queue.sync([&] { return log.rawValue; });
    std::printf("%s\n", text.c_str());

    // A copy waits at the same queue and keeps a value of its own.
    Sync copy = log;
    copy.queue.sync([&] { copy.rawValue = "a copy"; });
    std::printf("%s; %s\n", log.rawValue == text ? "unchanged" : "changed", copy.rawValue.c_str());

    // Several values may share one queue, and are then guarded together.
    const DispatchQueue accounts("com.example.accounts");
    Sync<int> mine(100, accounts);
    Sync<int> yours(0, accounts);
    accounts.sync([&] {
        mine.rawValue -= 30;
        yours.rawValue += 30;
    });
    std::printf("%d and %d\n", mine.rawValue, yours.rawValue);
}
