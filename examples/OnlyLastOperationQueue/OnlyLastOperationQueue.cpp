// SPDX-License-Identifier: Apache-2.0
// A preview that is recomputed after each keystroke: while one is being made, only the newest text waits.
#include <corvane/LowLevel/OnlyLastOperationQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <corvane/Platform/Dispatch/RunLoop.h>

#include <cctype>
#include <cstdio>
#include <functional>
#include <string>

using namespace corvane;

int main()
{
    OnlyLastOperationQueue preview(DispatchQoS::userInitiated);
    const DispatchSemaphore typed(0);
    std::string text; // the editor's, touched on the main thread only

    std::function<void(char)> keystroke = [&](char key) {
        text += key;
        preview.addOperation(
            [&] { // on the main thread
                std::printf("before: \"%s\"\n", text.c_str());
                if (text == "h")
                    DispatchQueue::main().async([&] { // type on while the first preview is being made
                        for (const char next : {'e', 'l', 'l', 'o'})
                            keystroke(next); // three of these four are dropped before they start
                        typed.signal();
                    });
                return text;
            },
            [&](std::string input) { // in the background
                if (input == "h")
                    typed.wait();
                for (char& letter : input)
                    letter = static_cast<char>(std::toupper(letter));
                return input;
            },
            [](const std::string& picture) { // on the main thread again
                std::printf("after: %s\n", picture.c_str());
                if (picture == "HELLO")
                    RunLoop::main().stop();
            });
    };

    keystroke('h');
    RunLoop::main().run();
    preview.waitUntilAllOperationsAreFinished();
}
