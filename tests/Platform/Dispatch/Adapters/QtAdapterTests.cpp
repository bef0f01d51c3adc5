// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/QtAdapter.h>
#include <tests/Platform/Dispatch/Adapters/AdapterScenario.h>
#include <tests/Support/Watchdog.h>

#include <QCoreApplication>

namespace corvane {
namespace {

TEST(QtAdapterTests, QtsLoopServesTheMainRunLoop)
{
    const tests::Watchdog watchdog;
    int count = 0;
    QCoreApplication application(count, nullptr);
    const QtAdapter adapter;
    for (int round = 0; round < 3; ++round)
        tests::runUnderHostLoop([] { QCoreApplication::exec(); }, [] { QCoreApplication::quit(); });
}

} // namespace
} // namespace corvane
