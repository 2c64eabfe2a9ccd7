// Counted blocks: what moves keeps its contents, counts come back to where they were, nothing is lost. That a value
// looks the same packed and as items is with the properties.
#include "data/blocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "data/allocator.h"
#include "data/errors.h"
#include "numbers/kinds.h"
#include "tests/values.h"

namespace ondrel {
namespace {

class Blocks : public testing::Test {
    const std::int64_t blocks_ = blocks_out();
    void TearDown() override { EXPECT_EQ(blocks_out(), blocks_) << "blocks were lost, or given back twice"; }
};

Item octonion(double first) { return hypercomplex({first, 2, 3, 4, 5, 6, 7, 8}); }

// An item's own copy outlives the block that it came from.
TEST_F(Blocks, GiveOutItemsOfTheirOwn) {
    for (const Layout layout : {Layout::items, Layout::packed})
        for (const Item& item : {octonion(1), named(real(3), "#PI"), subarray(vector_value({octonion(1), real(2)}))}) {
            DataElement record = build(vector_value({item, item}), layout);
            DataElement own = make_scalar(own_item_at(record.data_pointer, 1));
            dereferencepoint(record);
            EXPECT_TRUE(identical(read(own), scalar_value(item))) << describe(item);
            dereferencepoint(own);
        }
}

// The other holder of what is packed keeps the items.
TEST_F(Blocks, ArePackedForOneHolderOnly) {
    const Value value = vector_value({octonion(1), octonion(10), octonion(100)});
    DataElement record = build(value, Layout::items), other = record;
    referencepoint(other);
    pack(record);
    EXPECT_EQ(is_packed(record.data_pointer), packing);
    EXPECT_FALSE(is_packed(other.data_pointer));
    for (DataElement* const holder : {&record, &other}) {
        EXPECT_TRUE(identical(read(*holder), value));
        dereferencepoint(*holder);
    }
}

TEST_F(Blocks, HoldTruthsInBytes) {
    if (!packing) GTEST_SKIP() << "runs without packing";
    const auto width_of = [](const Item& item, const Item& other) {
        const Value value = vector_value({item, other, item});
        DataElement record = build(value, Layout::packed);
        EXPECT_TRUE(identical(read(record), value)) << describe(value);
        // A copy of the block keeps its layout.
        reference(record.data_pointer);
        void* const copy = Reallocate(record.data_pointer, 3 * sizeof(Octonion));
        EXPECT_EQ(item_at(copy, 2).integer, item_at(record.data_pointer, 2).integer);
        release(copy);
        const std::size_t width = item_width(header(record.data_pointer).head);
        dereferencepoint(record);
        return width;
    };
    EXPECT_EQ(width_of(degree(1), degree(0)), 1u);
    EXPECT_EQ(width_of(integer(1, form::boolean), integer(0, form::boolean)), 1u);
    for (const double other : {-0.0, 0.5, 2.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(width_of(degree(1), degree(other)), 8u) << other;
    EXPECT_EQ(width_of(integer(1, form::boolean), integer(257, form::boolean)), 8u);
    EXPECT_EQ(width_of(real(1), real(0)), 8u);
    EXPECT_EQ(width_of(integer(1, form::binary), integer(0, form::binary)), 8u);
}

TEST_F(Blocks, CopyAStretchInEitherLayout) {
    const std::vector<Item> octonions{octonion(0), octonion(1), octonion(2), octonion(3), octonion(4)};
    const std::vector<Item> degrees{degree(0), degree(0), degree(1), degree(0), degree(1)};
    for (const std::vector<Item>& from : {octonions, degrees})
        for (const Layout layout : {Layout::items, Layout::packed}) {
            DataElement source = build(vector_value(from), layout);
            DataElement target = build(vector_value({from[4], from[0], from[1]}), layout);
            if (!is_packed(target.data_pointer)) dereferencedataelems(items_of(target) + 1, 2);
            copy_items(target.data_pointer, 1, source.data_pointer, 2, 2);
            dereferencepoint(source);
            EXPECT_TRUE(identical(read(target), vector_value({from[4], from[2], from[3]})));
            dereferencepoint(target);
        }
}

// ---- Reallocate

std::string bytes(std::size_t n) {
    std::string text;
    for (std::size_t i = 0; i < n; ++i) text += static_cast<char>(i * 31 % 251);
    return text;
}

TEST_F(Blocks, KeepTheirContentsWhenReallocated) {
    const std::uint64_t head = make_head(tag::ascii, form::unset);
    for (const std::size_t from : {1U, 40U, 1000U, 100'000U, 3'000'000U})
        for (const std::size_t to : {1U, 39U, 41U, 5000U, 90'000U, 3'000'001U})
            for (const bool shared : {false, true}) {
                const std::string content = bytes(from), kept = content.substr(0, std::min(from, to));
                void* const block = allocate_block(head, from);
                std::memcpy(block, content.data(), from);
                if (shared) reference(block);
                void* const moved = Reallocate(block, to);
                EXPECT_EQ(header(moved).count, 1);
                EXPECT_EQ(header(moved).head, head);
                EXPECT_EQ(std::string(static_cast<char*>(moved), kept.size()), kept);
                std::memset(moved, 'x', to);
                if (shared) {
                    EXPECT_NE(moved, block);
                    EXPECT_EQ(header(block).count, 1) << "the old block has one holder less";
                    EXPECT_EQ(std::string(static_cast<char*>(block), from), content);
                    release(block);
                }
                release(moved);
            }
}

TEST_F(Blocks, OutliveEveryReleaseWhenPermanent) {
    void* const block = allocate_block(make_head(tag::ascii, form::unset), 100);
    std::memcpy(block, "permanent", 10);
    header(block).count = -1;
    for (int i = 0; i < 5; ++i) {
        reference(block);
        release(block);
        release(block);
    }
    void* const moved = Reallocate(block, 200);
    EXPECT_NE(moved, block);
    EXPECT_STREQ(static_cast<char*>(moved), "permanent");
    EXPECT_STREQ(static_cast<char*>(block), "permanent");
    EXPECT_EQ(header(block).count, -1);
    release(moved);
    header(block).count = 1;
    release(block);
}

#ifdef ONDREL_CHECKS
TEST_F(Blocks, StayWholeWhenTheyCannotGrow) {
    void* const block = allocate_block(make_head(tag::ascii, form::unset), 10);
    std::memcpy(block, "ten bytes", 10);
    testing::internal::CaptureStderr();
    fail_countdown = 1;
    EXPECT_THROW(static_cast<void>(Reallocate(block, 5000)), Unwind);
    fail_countdown = 1;
    EXPECT_THROW(allocate_items(3), Unwind);
    fail_countdown = 1;
    EXPECT_THROW(make_scalar(DataElement{}), Unwind);
    fail_countdown = 0;
    const std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_NE(errors.find("27 - out of main storage."), std::string::npos);
    EXPECT_STREQ(static_cast<char*>(block), "ten bytes");
    release(block);
    A_Problem = false;
}
#endif

// ---- nested values

TEST_F(Blocks, ReleaseWhatLiesInside) {
    Item named_octonion = named(octonion(9), "name");
    const Value packed = vector_value({octonion(1), octonion(2)});
    const Value inner = vector_value({named(real(3), "#PI"), subarray(packed), octonion(2)});
    DataElement value = build(vector_value({subarray(inner), named_octonion, subarray({{0}, {}})}), Layout::packed);
    EXPECT_EQ(value.depth, 3);
    DataElement copy = value;
    referencepoint(copy);
    dereferencepoint(value);
    EXPECT_EQ(value.data_pointer, nullptr);
    // A part that is held by itself is whole when all around it has gone.
    DataElement part = *items_of(copy)[0].nested;
    referencepoint(part);
    dereferencepoint(copy);
    EXPECT_TRUE(identical(read(part), inner));
    dereferencepoint(part);
}

TEST_F(Blocks, MakeAnEmptyVectorWithoutMemory) {
#ifdef ONDREL_CHECKS
    fail_countdown = 1;
#endif
    DataElement empty = make_empty(HASASCII);
#ifdef ONDREL_CHECKS
    fail_countdown = 0;
#endif
    EXPECT_EQ(empty.rank, 1);
    EXPECT_EQ(empty.type, ISVECTOR | ISEMPTY | HASASCII);
    EXPECT_EQ(empty.shape_pointer[0], 0);
    EXPECT_EQ(empty.elements, 0U);
    for (int i = 0; i < 3; ++i) {
        DataElement copy = empty;
        referencepoint(copy);
        dereferencepoint(copy);
    }
    DataElement again = make_empty();
    EXPECT_EQ(again.shape_pointer[0], 0);
    dereferencepoint(again);
    dereferencepoint(empty);
}

}  // namespace
}  // namespace ondrel
