// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/GLibAdapter.h>
#include <tests/Platform/Dispatch/Adapters/AdapterScenario.h>
#include <tests/Support/Watchdog.h>

namespace corvane {
namespace {

TEST(GLibAdapterTests, AGLibLoopServesTheMainRunLoop)
{
    const tests::Watchdog watchdog;
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    for (int round = 0; round < 3; ++round) { // attached, detached, attached again
        const GLibAdapter adapter;
        tests::runUnderHostLoop([&] { g_main_loop_run(loop); }, [&] { g_main_loop_quit(loop); });
    }
    EXPECT_FALSE(g_main_context_iteration(nullptr, FALSE)); // nothing is left behind, and nothing spins
    g_main_loop_unref(loop);
}

} // namespace
} // namespace corvane
