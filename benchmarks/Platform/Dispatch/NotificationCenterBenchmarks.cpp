// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/Platform/Dispatch/NotificationCenter.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#ifdef CORVANE_PEER_QT
#include <QObject>
#endif

namespace {

using namespace corvane;

const NotificationName name("NotificationCenterBenchmarks");

void post(benchmark::State& state, int observers)
{
    NotificationCenter& center = NotificationCenter::defaultCenter();
    std::vector<std::shared_ptr<NotificationObserver>> tokens;
    for (int i = 0; i < observers; ++i)
        tokens.push_back(
            center.addObserver(name, [](const Notification& note) { benchmark::DoNotOptimize(&note); }));
    int sender = 0;
    for (auto _ : state)
        NotificationCenter::defaultCenter().post(name, &sender);
    for (const auto& token : tokens)
        center.removeObserver(token);
}
BENCHMARK_CAPTURE(post, none, 0)->Name("post, no observer/Corvane");
BENCHMARK_CAPTURE(post, one, 1)->Name("post, one observer/Corvane");
BENCHMARK_CAPTURE(post, ten, 10)->Name("post, ten observers/Corvane");

#ifdef CORVANE_PEER_QT
class Sender : public QObject {
    Q_OBJECT
public:
    Q_SIGNAL void ping(const void* sender);
};

void signal(benchmark::State& state, int observers)
{
    Sender sender;
    for (int i = 0; i < observers; ++i)
        QObject::connect(
            &sender, &Sender::ping, &sender, [](const void* sender) { benchmark::DoNotOptimize(sender); },
            Qt::DirectConnection);
    for (auto _ : state)
        emit sender.ping(&sender);
}
BENCHMARK_CAPTURE(signal, none, 0)->Name("post, no observer/Qt");
BENCHMARK_CAPTURE(signal, one, 1)->Name("post, one observer/Qt");
BENCHMARK_CAPTURE(signal, ten, 10)->Name("post, ten observers/Qt");

const benchmarks::RatioGoal goals[] = {
    {"post, no observer", "Qt", 0.2}, {"post, one observer", "Qt", 0.4}, {"post, ten observers", "Qt", 0.4}};
#endif

} // namespace

#ifdef CORVANE_PEER_QT
#include "NotificationCenterBenchmarks.moc"
#endif
