// The allocator under the counted blocks: size classes, the lists of free blocks, and when a block moves.
#include "data/allocator.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "data/blocks.h"

namespace ondrel {
namespace {

constexpr std::size_t class_bytes(unsigned k) { return std::size_t{1} << k; }

struct Block {
    void* pointer;
    explicit Block(std::size_t size) : pointer(ondrel::malloc(size)) {}
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { ondrel::free(pointer); }
};

#ifdef __SANITIZE_ADDRESS__  // where each block is one of the platform's

// What nothing but a fault does is seen: a read behind a block, one of what was given back, and the layout of a block
// asked of what is the start of none.
TEST(Allocator, LetsTheSanitizerSeeEachBlock) {
    for (const auto& [tag, n] : {std::pair{tag::ascii, 3U}, {tag::complex, 7U}, {tag::octonion, 1000U}}) {
        const std::uint64_t head = make_head(tag, form::number);
        void* const block = allocate_packed(head, n);
        EXPECT_DEATH(static_cast<volatile char*>(block)[n * item_width(head)], "use-after-poison|heap-buffer-overflow");
        EXPECT_DEATH((release(block), static_cast<volatile char*>(block)[0]), "heap-use-after-free");
        release(block);
    }
    DataElement* const items = allocate_items(2);
    void* const second = items + 1;
    EXPECT_DEATH(is_packed(second), "Here starts no block");
    release(items);
}

#else

// The class of a block, from what it can hold.
unsigned class_of(void* block) {
    for (unsigned k = 3; k < 64; ++k)
        if (usable_size(block) == class_bytes(k) - 8) return k;
    return 0;
}

TEST(Allocator, GivesThePowerOfTwoThatHoldsTheSizeAndAWord) {
    EXPECT_EQ(class_of(Block(1).pointer), 4U);
    EXPECT_EQ(class_of(Block(8).pointer), 4U);
    EXPECT_EQ(class_of(Block(9).pointer), 5U);
    for (unsigned k = 4; k < 25; ++k) {
        EXPECT_EQ(class_of(Block(class_bytes(k) - 8).pointer), k);
        EXPECT_EQ(class_of(Block(class_bytes(k) - 7).pointer), k + 1);
    }
}

// Blocks without a usable byte: being free, they have no room of their own for the link of their list.
bool gives_blocks_for_nothing() {
    std::vector<void*> blocks;
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 2000; ++i) blocks.push_back(ondrel::malloc(0));
        for (void* block : blocks)
            if (block == nullptr || usable_size(block) != 0) return false;
        std::sort(blocks.begin(), blocks.end());
        if (std::adjacent_find(blocks.begin(), blocks.end()) != blocks.end()) return false;
        for (void* block : blocks) ondrel::free(block);
        blocks.clear();
    }
    return class_of(ondrel::realloc(ondrel::malloc(0), 100)) == 7;
}

TEST(Allocator, GivesBlocksForNothing) {
    EXPECT_EXIT(_exit(gives_blocks_for_nothing() ? 0 : 1), testing::ExitedWithCode(0), "");  // a fault there ends there
}

TEST(Allocator, AlignsEveryBlockAndThePayloadOfALargeOneOnACacheLine) {
    std::mt19937 random(1);
    for (int i = 0; i < 300; ++i) {
        const auto k = static_cast<unsigned>(4 + random() % 20);
        void* const block = ondrel::malloc(class_bytes(k) - 8);  // kept: the next must not be the same
        const auto address = reinterpret_cast<std::uintptr_t>(block);
        EXPECT_EQ(address % 8, 0U);
        EXPECT_EQ(k < 7 ? 0 : (address + sizeof(BlockHeader)) % 64, 0U) << "class " << k;
        if (k < 16) ondrel::free(block);
    }
}

TEST(Allocator, GivesBackTheLastFreedBlockOfTheClassFirst) {
    for (const std::size_t size : {std::size_t{8}, std::size_t{100}, std::size_t{5000}, class_bytes(20)}) {
        void *const a = ondrel::malloc(size), *const b = ondrel::malloc(size), *const c = ondrel::malloc(size);
        void* const other = ondrel::malloc(2 * size + 100);
        ondrel::free(a);
        ondrel::free(c);
        ondrel::free(other);
        ondrel::free(b);
        EXPECT_EQ(ondrel::malloc(size), b);
        EXPECT_EQ(ondrel::malloc(size), c);
        EXPECT_EQ(ondrel::malloc(size), a);
        for (void* block : {a, b, c}) ondrel::free(block);
    }
    ondrel::free(nullptr);
}

#endif

TEST(Allocator, RefusesWhatNoMachineHas) {
    testing::internal::CaptureStderr();
    for (const std::size_t size : {class_bytes(63), class_bytes(63) - 7, class_bytes(63) + 1, ~std::size_t{0}})
        EXPECT_EQ(ondrel::malloc(size), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "a size that has no class is refused in silence";

    testing::internal::CaptureStderr();
    EXPECT_EQ(ondrel::malloc(class_bytes(62)), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "No more active memory available\n");
    Block after(100);
    EXPECT_NE(after.pointer, nullptr);
}

TEST(Allocator, LeavesTheOldBlockWhenItCannotGrow) {
    Block block(100);
    std::memset(block.pointer, 'x', 100);
    testing::internal::CaptureStderr();
    EXPECT_EQ(ondrel::realloc(block.pointer, class_bytes(63)), nullptr);
    EXPECT_EQ(ondrel::realloc(block.pointer, class_bytes(62)), nullptr);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::string(static_cast<char*>(block.pointer), 100), std::string(100, 'x'));
}

TEST(Allocator, KeepsTheContentsWhenABlockGrows) {
    void* block = ondrel::malloc(1);
    std::vector<unsigned char> expected;
    for (std::size_t size = 1; size < 3'000'000; size = size * 3 + 1) {
        block = ondrel::realloc(block, size);
        auto* const bytes = static_cast<unsigned char*>(block);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), bytes)) << size;
        for (std::size_t i = expected.size(); i < size; ++i) {
            bytes[i] = static_cast<unsigned char>(i * 7);
            expected.push_back(bytes[i]);
        }
    }
    ondrel::free(block);
}

#if !defined(ONDREL_STRESS) && !defined(__SANITIZE_ADDRESS__)  // there every block moves

TEST(Allocator, NeverShrinksASmallBlock) {
    for (unsigned k = 4; k < 13; ++k) {
        Block block(class_bytes(k) - 8);
        for (const std::size_t size : {class_bytes(k) - 8, class_bytes(k) / 2, std::size_t{1}, std::size_t{0}})
            EXPECT_EQ(ondrel::realloc(block.pointer, std::min(size, class_bytes(k) - 8)), block.pointer) << k;
    }
}

TEST(Allocator, MovesALargeBlockOnceTheSizeHasFallenFarEnough) {
    const auto divisor = [](unsigned k) -> std::size_t {
        const std::map<unsigned, std::size_t> by_first_class{{13, 32}, {16, 16}, {19, 8}, {22, 4}, {25, 2}};
        return std::prev(by_first_class.upper_bound(k))->second;
    };
    for (unsigned k = 13; k < 28; ++k) {
        const std::size_t edge = class_bytes(k) / divisor(k);
        void* const block = ondrel::malloc(class_bytes(k) - 8);
        auto* const bytes = static_cast<unsigned char*>(block);
        for (std::size_t i = 0; i < edge; i += 61) bytes[i] = static_cast<unsigned char>(i / 61);
        EXPECT_EQ(ondrel::realloc(block, class_bytes(k) - 8), block) << k;
        EXPECT_EQ(ondrel::realloc(block, edge + 1), block) << k;
        void* const moved = ondrel::realloc(block, edge);
        ASSERT_NE(moved, block) << k;
        bool same = true;
        for (std::size_t i = 0; i < edge; i += 61)
            same &= static_cast<unsigned char*>(moved)[i] == static_cast<unsigned char>(i / 61);
        EXPECT_TRUE(same) << k;
        // edge bytes and the word before them need a class of their own, the one above the edge
        EXPECT_EQ(usable_size(moved), 2 * edge - 8) << k;
        ondrel::free(moved);
    }
}

#endif

// Blocks of all sizes in any order: none overlaps another, and each keeps what was written into it.
TEST(Allocator, KeepsBlocksApart) {
    struct Live {
        unsigned char* bytes;
        std::size_t size;
        unsigned char fill;
    };
    std::vector<Live> live;
    std::mt19937 random(2);
    const auto intact = [](const Live& block) {
        for (std::size_t i = 0; i < block.size; ++i)
            if (block.bytes[i] != block.fill) return false;
        return true;
    };
    const auto write = [](Live& block, unsigned char fill) {
        block.fill = fill;
        std::memset(block.bytes, fill, block.size);
    };
#ifdef ONDREL_CHECKS
    const auto before = live_blocks;
#endif
    for (int step = 0; step < 20'000; ++step) {
        const std::size_t size = 1 + random() % (std::size_t{1} << (random() % 14));
        const auto action = random() % 4;
        if (live.size() < 50 || action == 0) {
            Live block{static_cast<unsigned char*>(ondrel::malloc(size)), size, 0};
            ASSERT_NE(block.bytes, nullptr);
            write(block, static_cast<unsigned char>(step));
            live.push_back(block);
            continue;
        }
        Live& chosen = live[random() % live.size()];
        ASSERT_TRUE(intact(chosen)) << "step " << step;
        if (action == 1) {
            chosen.bytes = static_cast<unsigned char*>(ondrel::realloc(chosen.bytes, size));
            chosen.size = std::min(chosen.size, size);
            ASSERT_TRUE(intact(chosen)) << "step " << step;
            chosen.size = size;
            write(chosen, static_cast<unsigned char>(step));
        } else {
            ondrel::free(chosen.bytes);
            chosen = live.back();
            live.pop_back();
        }
    }
    for (const Live& block : live) {
        EXPECT_TRUE(intact(block));
        ondrel::free(block.bytes);
    }
#ifdef ONDREL_CHECKS
    EXPECT_EQ(live_blocks, before);
#endif
}

// At the limit no fresh memory comes, but what is there is used again.
TEST(Allocator, KeepsToTheLimit) {
    void* const used = ondrel::malloc(class_bytes(22));
    ondrel::free(used);
    const std::size_t limit = most_memory;
    most_memory = 1;
    testing::internal::CaptureStderr();
    void* const refused = ondrel::malloc(class_bytes(27));
    const std::string said = testing::internal::GetCapturedStderr();
    void* const again = ondrel::malloc(class_bytes(22));
    most_memory = limit;
    EXPECT_EQ(refused, nullptr);
    EXPECT_EQ(said, "No more active memory available\n");
#ifndef __SANITIZE_ADDRESS__
    EXPECT_EQ(again, used);
#endif
    ondrel::free(again);
    Block after(class_bytes(27));
    EXPECT_NE(after.pointer, nullptr);
}

}  // namespace
}  // namespace ondrel
