// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/ItemsManager/ItemsManager.h>

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#ifdef CORVANE_PEER_QT
#include <QAbstractListModel>
#include <QSortFilterProxyModel>
#endif

namespace corvane {
namespace {

// A row of a list: what it is sorted and filtered by, and what else it carries.
struct Row {
    Int identifier;
    Int rank;
    double width, height;

    friend bool operator==(const Row& a, const Row& b) { return a.identifier == b.identifier; }
};

const auto isShown = [](const Row& row) { return row.rank % 2 == 0; };
const auto ranksLower = [](const Row& a, const Row& b) { return a.rank < b.rank; };

// Other ranks with every call: a branch predictor would learn those of a short list by heart.
std::vector<Row> rows(Int count)
{
    static std::mt19937_64 random(27);
    std::vector<Row> result(static_cast<std::size_t>(count));
    for (Int i = 0; i < count; ++i)
        result[static_cast<std::size_t>(i)] = {i, static_cast<Int>(random() >> 1), 4, 3};
    return result;
}

// A tenth of the positions, scattered.
IndexSet tenth(Int count, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<Int> all(static_cast<std::size_t>(count));
    std::iota(all.begin(), all.end(), Int{0});
    std::shuffle(all.begin(), all.end(), random);
    all.resize(all.size() / 10);
    return IndexSet::fromIndexes(all);
}

// Times `operation` on what `prepare` makes; only that counts.
template <typename Prepare, typename Operation>
void timeOperation(benchmark::State& state, Prepare&& prepare, Operation&& operation)
{
    for (auto _ : state) {
        auto prepared = prepare();
        const auto start = std::chrono::steady_clock::now();
        operation(*prepared);
        benchmark::ClobberMemory();
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}

using Manager = ItemsManager<Row>;

std::unique_ptr<Manager> managerOf(const std::vector<Row>& items, const IndexSet& selection = {})
{
    auto manager = std::make_unique<Manager>(items);
    manager->setSelection(selection);
    return manager;
}

std::unique_ptr<std::vector<Row>> vectorOf(const std::vector<Row>& items)
{
    return std::make_unique<std::vector<Row>>(items);
}

void filterOurs(benchmark::State& state, Int count)
{
    timeOperation(
        state, [&] { return managerOf(rows(count)); },
        [](Manager& manager) { manager.setFilteringBlock(isShown); });
}

void filterVector(benchmark::State& state, Int count)
{
    std::vector<Row> shown;
    timeOperation(
        state, [&] { return shown = {}, vectorOf(rows(count)); },
        [&](const std::vector<Row>& all) {
            for (const Row& row : all)
                if (isShown(row))
                    shown.push_back(row);
        });
}

void removeOurs(benchmark::State& state, Int count)
{
    const auto items = rows(count);
    const IndexSet selection = tenth(count, 1), removed = tenth(count, 2);
    timeOperation(
        state, [&] { return managerOf(items, selection); },
        [&](Manager& manager) { manager.remove(removed); });
}

void removeVector(benchmark::State& state, Int count)
{
    const auto items = rows(count);
    const IndexSet removed = tenth(count, 2);
    const std::vector<Int> positions(removed.begin(), removed.end());
    timeOperation(
        state, [&] { return vectorOf(items); },
        [&](std::vector<Row>& all) {
            std::size_t out = 0, next = 0;
            for (std::size_t i = 0; i < all.size(); ++i) {
                if (next < positions.size() && static_cast<Int>(i) == positions[next])
                    ++next;
                else
                    all[out++] = all[i];
            }
            all.resize(out);
        });
}

void insertOurs(benchmark::State& state, Int count)
{
    const auto items = rows(count);
    std::vector<Row> added;
    timeOperation(
        state, [&] { return added = rows(count / 10), managerOf(items); },
        [&](Manager& manager) { manager.insert(std::move(added), 0); });
}

void insertVector(benchmark::State& state, Int count)
{
    const auto items = rows(count);
    std::vector<Row> added;
    timeOperation(
        state, [&] { return added = rows(count / 10), vectorOf(items); },
        [&](std::vector<Row>& all) {
            // As the manager does, it uses the added items up.
            const std::vector<Row> used = std::move(added);
            all.insert(all.begin(), used.begin(), used.end());
        });
}

void sortOurs(benchmark::State& state, Int count)
{
    const IndexSet selection = tenth(count, 1);
    timeOperation(
        state, [&] { return managerOf(rows(count), selection); },
        [](Manager& manager) { manager.sort(ranksLower); });
}

void sortVector(benchmark::State& state, Int count)
{
    timeOperation(
        state, [&] { return vectorOf(rows(count)); },
        [](std::vector<Row>& all) { std::sort(all.begin(), all.end(), ranksLower); });
}

void moveOurs(benchmark::State& state, Int count)
{
    const auto items = rows(count);
    const IndexSet moved = tenth(count, 2);
    timeOperation(
        state, [&] { return managerOf(items); }, [&](Manager& manager) { manager.move(moved, count / 2); });
}

void moveVector(benchmark::State& state, Int count)
{
    const auto items = rows(count);
    const IndexSet moved = tenth(count, 2);
    const std::vector<Int> positions(moved.begin(), moved.end());
    const auto below = std::ranges::lower_bound(positions, count / 2) - positions.begin();
    timeOperation(
        state, [&] { return vectorOf(items); },
        [&](std::vector<Row>& all) {
            std::vector<Row> moving;
            moving.reserve(positions.size());
            std::size_t out = 0, next = 0;
            for (std::size_t i = 0; i < all.size(); ++i) {
                if (next < positions.size() && static_cast<Int>(i) == positions[next]) {
                    ++next;
                    moving.push_back(all[i]);
                } else {
                    all[out++] = all[i];
                }
            }
            all.resize(out);
            all.insert(all.begin() + (count / 2 - below), moving.begin(), moving.end());
        });
}

void selectUnobserved(benchmark::State& state)
{
    Manager manager(rows(1000000));
    const IndexSet one{3}, other{4};
    for (auto _ : state) {
        manager.setSelection(one);
        manager.setSelection(other);
    }
    state.SetItemsProcessed(2 * state.iterations());
}

std::size_t allocated()
{
    const auto info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

// What the manager holds beside the items themselves, in bytes an item of the full list.
void extraMemory(benchmark::State& state)
{
    constexpr Int count = 1000000;
    double filtered = 0, sorting = 0;
    for (auto _ : state) {
        auto items = rows(count);
        const std::size_t itemBytes = items.capacity() * sizeof(Row);
        const std::size_t before = allocated() - itemBytes;
        const auto extra = [&](const Manager& manager, std::size_t itemsBeside) {
            const std::size_t lists = (manager.items().capacity() + itemsBeside) * sizeof(Row);
            return static_cast<double>(allocated() - before - lists) / static_cast<double>(count);
        };
        Manager manager(std::move(items));
        manager.setSelection(tenth(count, 1));
        manager.setFilteringBlock(isShown);
        filtered = extra(manager, count);
        manager.setFilteringBlock(nullptr);
        const double unfiltered = extra(manager, 0);
        manager.sort([&, asked = false](const Row& a, const Row& b) mutable {
            if (!std::exchange(asked, true))
                sorting = extra(manager, 0) - unfiltered;
            return ranksLower(a, b);
        });
    }
    state.counters["filtered B/item"] = filtered;
    state.counters["sorting B/item"] = sorting;
    // The selection of scattered rows is in it, 16 bytes a run.
    if (filtered > 8 || sorting > 16)
        state.SkipWithError("more memory than 8 bytes an item while filtered, 16 more while sorting");
}

#ifdef CORVANE_PEER_QT
class RowModel : public QAbstractListModel {
public:
    explicit RowModel(std::vector<Row> items) : items(std::move(items)) {}
    int rowCount(const QModelIndex&) const override { return static_cast<int>(items.size()); }
    QVariant data(const QModelIndex& index, int) const override
    {
        return QVariant::fromValue(static_cast<qlonglong>(items[static_cast<std::size_t>(index.row())].rank));
    }
    std::vector<Row> items;
};

class RowProxy : public QSortFilterProxyModel {
public:
    explicit RowProxy(const std::vector<Row>& items) : model(items)
    {
        setSourceModel(&model);
        if (rowCount() < 0)
            std::abort();
    }
    void filter()
    {
        filters = true;
        invalidateFilter();
        benchmark::DoNotOptimize(rowCount());
    }
    bool filterAcceptsRow(int row, const QModelIndex&) const override
    {
        return !filters || isShown(model.items[static_cast<std::size_t>(row)]);
    }
    RowModel model;
    bool filters = false;
};

void filterQt(benchmark::State& state, Int count)
{
    const auto items = rows(count);
    timeOperation(
        state, [&] { return std::make_unique<RowProxy>(items); }, [](RowProxy& proxy) { proxy.filter(); });
}
#endif

struct Subject {
    const char* name;
    const char* peer;
    double atMost;
    void (*ours)(benchmark::State&, Int);
    void (*theirs)(benchmark::State&, Int);
};

constexpr Subject subjects[] = {
    {"filter a scattered half", "vector pass", 1.5, filterOurs, filterVector},
    {"remove a scattered tenth, a tenth selected", "vector pass", 1.5, removeOurs, removeVector},
    {"insert a tenth at the front", "vector", 1.5, insertOurs, insertVector},
    {"sort, a tenth selected", "std::sort", 1.25, sortOurs, sortVector},
    {"move a scattered tenth to the middle", "vector pass", 2.0, moveOurs, moveVector},
};

const bool registered = [] {
    static std::deque<benchmarks::RatioGoal> goals;
    static const benchmarks::TimeGoal selection("select, unobserved", 50);
    constexpr std::pair<Int, const char*> sizes[] = {
        {1000, "1,000"}, {10000, "10,000"}, {100000, "100,000"}, {1000000, "1,000,000"}};
    const auto add = [](const std::string& name, auto function, Int count) {
        benchmark::RegisterBenchmark(name.c_str(), function, count)
            ->UseManualTime()
            ->MinTime(0.03)
            ->Unit(benchmark::kMicrosecond);
    };
    for (const Subject& subject : subjects) {
        for (const auto& [count, text] : sizes) {
            const std::string name = std::string(subject.name) + ": " + text;
            if (count == 1000000)
                goals.emplace_back(name, subject.peer, subject.atMost);
            add(name + "/Corvane", subject.ours, count);
            add(name + "/" + subject.peer, subject.theirs, count);
        }
    }
#ifdef CORVANE_PEER_QT
    for (const auto& [count, text] : std::span(sizes).first(3)) // a million takes it minutes
        add(std::string("filter a scattered half: ") + text + "/QSortFilterProxyModel", filterQt, count);
#endif
    benchmark::RegisterBenchmark("select, unobserved/Corvane", selectUnobserved);
    benchmark::RegisterBenchmark("extra memory/Corvane", extraMemory)->Iterations(1);
    return true;
}();

} // namespace
} // namespace corvane
