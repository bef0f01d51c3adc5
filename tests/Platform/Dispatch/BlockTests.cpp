// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/Block.h>

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>

namespace corvane {
namespace {

template <std::size_t size>
void expectToHoldOneOwner()
{
    auto owned = std::make_shared<int>(0);
    {
        Block block([owned, padding = std::array<char, size>{}] {
            static_cast<void>(padding);
            ++*owned;
        });
        Block moved(std::move(block));
        EXPECT_FALSE(block);
        Block assigned([] {});
        assigned = std::move(moved);
        EXPECT_EQ(owned.use_count(), 2);
        assigned();
        assigned();
        EXPECT_EQ(*owned, 2);
    }
    EXPECT_EQ(owned.use_count(), 1);
}

TEST(BlockTests, MovesAndDestroysWhatItHoldsInlineAndOnTheHeap)
{
    expectToHoldOneOwner<1>();
    expectToHoldOneOwner<Block::inlineSize - sizeof(std::shared_ptr<int>)>();
    expectToHoldOneOwner<Block::inlineSize>();
    expectToHoldOneOwner<5000>();
    struct alignas(64) Wide {
        bool isAligned() const { return reinterpret_cast<std::uintptr_t>(this) % 64 == 0; }
    };
    bool aligned = false;
    Block([wide = Wide{}, &aligned] { aligned = wide.isAligned(); })();
    EXPECT_TRUE(aligned);
}

TEST(BlockTests, AnEmptyFunctionMakesAnEmptyBlock)
{
    EXPECT_FALSE(Block());
    EXPECT_FALSE(Block(nullptr));
    EXPECT_FALSE(Block(std::function<void()>()));
    EXPECT_FALSE(Block(static_cast<void (*)()>(nullptr)));
    EXPECT_TRUE(Block(std::function<int()>([] { return 1; }))); // the result is ignored
    Block block([] {});
    block.reset();
    EXPECT_FALSE(block);
}

} // namespace
} // namespace corvane
