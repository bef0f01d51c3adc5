// SPDX-License-Identifier: Apache-2.0
#include <corvane/Collections/IndexSet.h>
#include <corvane/Platform/Base/Fatal.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

namespace {

void checkOrder(Int lower, Int upper)
{
    if (upper < lower) [[unlikely]]
        fatalError("The range " + std::to_string(lower) + " ..< " + std::to_string(upper) +
                   " of an IndexSet is reversed");
}

void checkRange(Int lower, Int upper)
{
    if (lower < 0) [[unlikely]]
        fatalError("An IndexSet cannot hold " + std::to_string(lower) + ": its members are not negative");
    checkOrder(lower, upper);
}

// The end of a run whose last member is `last`.
Int endAfter(Int last)
{
    if (last == std::numeric_limits<Int>::max()) [[unlikely]]
        fatalError("An IndexSet cannot hold " + std::to_string(last) + ": a run that ends there overflows");
    return last + 1;
}

Int membersOf(std::span<const IndexRun> runs)
{
    Int count = 0;
    for (const IndexRun& run : runs)
        count += run.upper - run.lower;
    return count;
}

} // namespace

IndexSet::Block* IndexSet::makeBlock(std::size_t capacity)
{
    static_assert(sizeof(Block) == sizeof(IndexRun) && alignof(Block) <= alignof(std::max_align_t));
    void* memory = ::operator new(sizeof(Block) + capacity * sizeof(IndexRun));
    return new (memory) Block{{1}, capacity};
}

void IndexSet::release() noexcept
{
    if (block_ && block_->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        block_->~Block();
        ::operator delete(block_);
    }
    block_ = nullptr;
}

IndexRun* IndexSet::writable(std::size_t needed) noexcept
{
    if (!block_)
        return needed <= inlineRuns ? inline_ : nullptr;
    const bool ours = block_->owners.load(std::memory_order_acquire) == 1;
    return ours && needed <= block_->capacity ? block_->runs() : nullptr;
}

// Tells of `count` runs with `members` that have been written to `runs`, which are ours alone.
void IndexSet::setRuns(IndexRun* runs, std::size_t count, Int members) noexcept
{
    runCount_ = count;
    last_ = count > 0 ? runs + count - 1 : nullptr;
    countBeforeLast_ = members - countOfLast();
}

// Writes a result whose greatest possible number of runs is known: runs come in ascending order and are
// stored without a test of the capacity.
class IndexSet::Writer {
public:
    explicit Writer(std::size_t capacity)
    {
        if (capacity > inlineRuns)
            set_.block_ = makeBlock(capacity);
        runs_ = set_.block_ ? set_.block_->runs() : set_.inline_;
    }

    IndexRun* runs() noexcept { return runs_; }

    /// The set, once `count` runs have been written to `runs()`.
    IndexSet finish(std::size_t count)
    {
        if (set_.block_ && count < set_.block_->capacity / 3) {
            // Do not let a small result keep a large block for its life.
            IndexSet small;
            small.splice(0, 0, {runs_, count});
            return small;
        }
        set_.setRuns(runs_, count, membersOf({runs_, count}));
        return std::move(set_);
    }

private:
    IndexSet set_;
    IndexRun* runs_;
};

IndexSet::IndexSet(std::initializer_list<Int> indexes) : IndexSet(fromIndexes(indexes)) {}

IndexSet IndexSet::fromRange(Int lower, Int upper)
{
    IndexSet result;
    result.insertRange(lower, upper);
    return result;
}

IndexSet IndexSet::fromClosedRange(Int lower, Int upper)
{
    checkOrder(lower, endAfter(upper));
    return fromRange(lower, endAfter(upper));
}

IndexSet IndexSet::fromI1I2(Int i1, Int i2)
{
    return fromClosedRange(std::min(i1, i2), std::max(i1, i2));
}

IndexSet IndexSet::fromLocLen(Int loc, Int len)
{
    if (len > 0 && loc > std::numeric_limits<Int>::max() - len) [[unlikely]]
        fatalError("The range of " + std::to_string(len) + " indexes at " + std::to_string(loc) +
                   " overflows");
    if (len < 0) [[unlikely]]
        fatalError("The range of " + std::to_string(len) + " indexes at " + std::to_string(loc) +
                   " is reversed");
    return fromRange(loc, loc + len);
}

IndexSet IndexSet::fromIndexes(std::span<const Int> indexes)
{
    IndexSet result;
    if (std::is_sorted(indexes.begin(), indexes.end())) {
        for (const Int index : indexes)
            result.insert(index);
        return result;
    }
    std::vector<Int> ascending(indexes.begin(), indexes.end());
    std::sort(ascending.begin(), ascending.end());
    return fromIndexes(ascending);
}

IndexSet::IndexSet(const IndexSet& other) noexcept
    : countBeforeLast_(other.countBeforeLast_), runCount_(other.runCount_), block_(other.block_)
{
    if (block_) {
        block_->owners.fetch_add(1, std::memory_order_relaxed);
        std::atomic_ref(other.last_).store(nullptr, std::memory_order_relaxed); // others may copy it just now
    } else {
        takeInline(other);
    }
}

IndexSet::IndexSet(IndexSet&& other) noexcept
    : countBeforeLast_(std::exchange(other.countBeforeLast_, 0)),
      runCount_(std::exchange(other.runCount_, 0)),
      block_(std::exchange(other.block_, nullptr)),
      last_(std::exchange(other.last_, nullptr))
{
    if (!block_)
        takeInline(other);
}

void IndexSet::takeInline(const IndexSet& other) noexcept
{
    std::ranges::copy(other.inline_, inline_); // all of them: faster than a loop
    last_ = runCount_ > 0 ? inline_ + runCount_ - 1 : nullptr;
}

IndexSet& IndexSet::operator=(const IndexSet& other) noexcept
{
    if (this != &other) {
        this->~IndexSet();
        new (this) IndexSet(other);
    }
    return *this;
}

IndexSet& IndexSet::operator=(IndexSet&& other) noexcept
{
    if (this != &other) {
        this->~IndexSet();
        new (this) IndexSet(std::move(other));
    }
    return *this;
}

bool operator==(const IndexSet& a, const IndexSet& b) noexcept
{
    if (a.runCount_ != b.runCount_)
        return false;
    return a.data() == b.data() || std::equal(a.data(), a.data() + a.runCount_, b.data());
}

std::optional<Int> IndexSet::first() const noexcept
{
    return isEmpty() ? std::nullopt : std::optional(data()->lower);
}

std::optional<Int> IndexSet::last() const noexcept
{
    return isEmpty() ? std::nullopt : std::optional(data()[runCount_ - 1].upper - 1);
}

std::optional<Int> IndexSet::singleIndex() const noexcept
{
    return isSingle() ? first() : std::nullopt;
}

bool IndexSet::contains(Int index) const noexcept
{
    // The last run that begins at or before `index`. Both halves being as likely, the compiler is to select, not to
    // branch: a branch would be mispredicted every other time.
    const IndexRun* run = data();
    std::size_t left = runCount_;
    if (left == 0 || index < run->lower)
        return false;
    while (left > 1) {
        const std::size_t half = left / 2;
        run = __builtin_expect_with_probability(run[half].lower <= index, 1, 0.5) ? run + half : run;
        left -= half;
    }
    return index < run->upper;
}

std::size_t IndexSet::firstRunWithUpperAbove(Int index) const noexcept
{
    const auto all = runs();
    return static_cast<std::size_t>(std::ranges::upper_bound(all, index, {}, &IndexRun::upper) - all.begin());
}

Int IndexSet::countInRange(Int lower, Int upper) const noexcept
{
    Int count = 0;
    for (const IndexRun& run : runs().subspan(firstRunWithUpperAbove(lower))) {
        if (run.lower >= upper)
            break;
        count += std::min(run.upper, upper) - std::max(run.lower, lower);
    }
    return count;
}

// Replaces `removed` runs at `at` by `added`, which do not alias ours.
void IndexSet::splice(std::size_t at, std::size_t removed, std::span<const IndexRun> added)
{
    const std::size_t newCount = runCount_ - removed + added.size();
    const IndexRun* old = data();
    const Int members = count() + membersOf(added) - membersOf({old + at, removed});
    IndexRun* runs = writable(newCount);
    if (runs) {
        const IndexRun* tail = runs + at + removed;
        std::memmove(runs + at + added.size(), tail, (runCount_ - at - removed) * sizeof(IndexRun));
        std::copy(added.begin(), added.end(), runs + at);
    } else {
        Block* block = newCount > inlineRuns ? makeBlock(2 * newCount + 2) : nullptr;
        runs = block ? block->runs() : inline_; // those that are not writable are not in `inline_`
        IndexRun* out = std::copy_n(old, at, runs);
        out = std::copy(added.begin(), added.end(), out);
        std::copy_n(old + at + removed, runCount_ - at - removed, out);
        release();
        block_ = block;
    }
    setRuns(runs, newCount, members);
}

void IndexSet::insertAnywhere(Int lower, Int upper)
{
    checkRange(lower, upper);
    if (lower == upper)
        return;
    // Runs that only touch the range join it too, hence the search from below it and the test for equality.
    const auto all = runs();
    const std::size_t from = firstRunWithUpperAbove(lower - 1);
    std::size_t to = from;
    IndexRun joined{lower, upper};
    for (; to < all.size() && all[to].lower <= upper; ++to) {
        joined.lower = std::min(joined.lower, all[to].lower);
        joined.upper = std::max(joined.upper, all[to].upper);
    }
    splice(from, to - from, {&joined, 1});
}

void IndexSet::insertAnywhere(Int index)
{
    insertAnywhere(index, endAfter(index));
}

void IndexSet::remove(Int index)
{
    if (contains(index))
        removeRange(index, index + 1);
}

void IndexSet::removeRange(Int lower, Int upper)
{
    checkOrder(lower, upper);
    if (lower == upper)
        return;
    const auto all = runs();
    const std::size_t from = firstRunWithUpperAbove(lower);
    std::size_t to = from;
    IndexRun left[2];
    std::size_t pieces = 0;
    for (; to < all.size() && all[to].lower < upper; ++to) {
        if (all[to].lower < lower)
            left[pieces++] = {all[to].lower, lower};
        if (all[to].upper > upper)
            left[pieces++] = {upper, all[to].upper};
    }
    if (to != from)
        splice(from, to - from, {left, pieces});
}

void IndexSet::toggle(Int index)
{
    if (contains(index))
        removeRange(index, index + 1);
    else
        insert(index);
}

IndexSet IndexSet::inserting(Int index) const
{
    IndexSet copy = *this;
    copy.insert(index);
    return copy;
}

IndexSet IndexSet::removing(Int index) const
{
    IndexSet copy = *this;
    copy.remove(index);
    return copy;
}

IndexSet IndexSet::toggling(Int index) const
{
    IndexSet copy = *this;
    copy.toggle(index);
    return copy;
}

IndexSet IndexSet::union_(const IndexSet& other) const
{
    if (isEmpty() || other.isEmpty())
        return isEmpty() ? other : *this;
    const IndexRun *a = data(), *aEnd = a + runCount_, *b = other.data(), *bEnd = b + other.runCount_;
    Writer writer(runCount_ + other.runCount_ + 1);
    // A run is always begun behind the last, and written over by the next as long as the last one grows: which set
    // comes next and whether runs meet are as good as random, so neither is a branch.
    IndexRun* out = writer.runs();
    Int end = out->lower = std::min(a->lower, b->lower);
    const auto take = [&](Int lower, Int upper) {
        out[1].lower = lower;
        out += lower > end;
        out->upper = end = std::max(end, upper);
    };
    for (std::ptrdiff_t sure; (sure = std::min(aEnd - a, bEnd - b)) > 0;) {
        for (; sure > 0; --sure) {
            const IndexRun mine = *a, theirs = *b;
            const bool second = theirs.lower < mine.lower;
            a += !second;
            b += second;
            // By arithmetic, as compilers like to branch here.
            take(std::min(mine.lower, theirs.lower),
                 mine.upper ^ ((mine.upper ^ theirs.upper) & -Int{second}));
        }
    }
    for (; a != aEnd; ++a)
        take(a->lower, a->upper);
    for (; b != bEnd; ++b)
        take(b->lower, b->upper);
    return writer.finish(static_cast<std::size_t>(out + 1 - writer.runs()));
}

IndexSet IndexSet::intersection(const IndexSet& other) const
{
    const IndexRun *a = data(), *aEnd = a + runCount_, *b = other.data(), *bEnd = b + other.runCount_;
    Writer writer(runCount_ + other.runCount_);
    IndexRun* out = writer.runs();
    while (a != aEnd && b != bEnd) {
        const IndexRun both{std::max(a->lower, b->lower), std::min(a->upper, b->upper)};
        if (both.lower < both.upper)
            *out++ = both;
        const bool aEndsFirst = a->upper < b->upper;
        a += aEndsFirst;
        b += !aEndsFirst;
    }
    return writer.finish(static_cast<std::size_t>(out - writer.runs()));
}

IndexSet IndexSet::subtracting(const IndexSet& other) const
{
    const IndexRun *b = other.data(), *bEnd = b + other.runCount_;
    Writer writer(runCount_ + other.runCount_);
    IndexRun* out = writer.runs();
    for (IndexRun rest : runs()) {
        for (; b != bEnd && b->upper <= rest.lower; ++b) {
        }
        for (; b != bEnd && b->lower < rest.upper; ++b) {
            if (rest.lower < b->lower)
                *out++ = {rest.lower, b->lower};
            rest.lower = b->upper;
            if (b->upper >= rest.upper)
                break; // it may reach into the next run too
        }
        if (rest.lower < rest.upper)
            *out++ = rest;
    }
    return writer.finish(static_cast<std::size_t>(out - writer.runs()));
}

IndexSet IndexSet::shiftedByRemoving(const IndexSet& removed) const
{
    // What remains of a run moves to one run again: from its lower to its upper end, each less the number of
    // removed positions below it. So the two ends of every run are all that has to be computed.
    const IndexRun *gone = removed.data(), *goneEnd = gone + removed.runCount_;
    Writer writer(runCount_);
    IndexRun* const moved = writer.runs();
    Int below = 0;
    const auto shifted = [&](Int end) {
        while (gone != goneEnd && gone->upper <= end) {
            below += gone->upper - gone->lower;
            ++gone;
        }
        return end - below - (gone != goneEnd && gone->lower < end ? end - gone->lower : 0);
    };
    std::size_t count = 0;
    for (const IndexRun run : runs()) {
        const Int lower = shifted(run.lower);
        const Int upper = shifted(run.upper);
        if (lower == upper)
            continue;
        if (count > 0 && moved[count - 1].upper == lower)
            moved[count - 1].upper = upper;
        else
            moved[count++] = {lower, upper};
    }
    return writer.finish(count);
}

} // namespace corvane
