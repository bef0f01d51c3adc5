// SPDX-License-Identifier: Apache-2.0
// A contact sheet of a folder of pictures: see Options.cpp for how it is called.
#include "ContactSheet.h"
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/RunLoop.h>

#include <malloc.h>

#include <csignal>
#include <cstdio>
#include <thread>

namespace {

// A thread that takes the signals that ask the program to end and hands them to the main queue. To be called
// before there is any other thread, so that none of them is interrupted instead.
void handOver(const std::shared_ptr<contactsheet::ContactSheet>& sheet)
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals, sheet] {
        int signal = 0;
        while (sigwait(&signals, &signal) == 0)
            corvane::DispatchQueue::main().async([sheet, signal] { sheet->interrupt(signal); });
    }).detach();
}

} // namespace

int main(int argc, char** argv)
{
    auto options = contactsheet::parseOptions({argv + 1, static_cast<std::size_t>(argc > 0 ? argc - 1 : 0)});
    if (const auto* usage = std::get_if<contactsheet::Usage>(&options)) {
        std::fputs(usage->text.c_str(), usage->status == 0 ? stdout : stderr);
        return usage->status;
    }
    // Decoded pictures go back to the system at once instead of staying in the heaps of the threads.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    const auto sheet = std::make_shared<contactsheet::ContactSheet>(std::get<contactsheet::Options>(options));
    handOver(sheet);
    if (!sheet->begin())
        return 1;
    corvane::RunLoop::main().run();
    return sheet->exitStatus();
}
