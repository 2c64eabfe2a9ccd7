// Counted blocks: the same items packed and as items, counts that come back to where they were, nothing lost.
#include "data/blocks.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "data/allocator.h"
#include "data/errors.h"
#include "tests/process.h"

namespace ondrel {
namespace {

// The heads that an array of plain items may have: every kind, in the forms and marks that items of it take.
std::vector<std::uint64_t> heads() {
    std::vector<std::uint64_t> all{make_head(tag::ascii, form::unset),     make_head(tag::ascii, form::binary),
                                   make_head(tag::integer, form::boolean), make_head(tag::integer, form::binary),
                                   make_head(tag::integer, form::number),  make_head(tag::real, form::number)};
    for (const std::uint32_t tag : {tag::complex, tag::quaternion, tag::octonion})
        for (const std::uint16_t form : {form::number, form::cartesian, form::polar})
            for (const std::uint16_t marks : {std::uint16_t{0}, mark::degrees, mark::r_prefix})
                all.push_back(make_head(tag, form, marks));
    return all;
}

// Item i of an array of that head, with a value of its own in every component.
DataElement sample(std::uint64_t head, std::size_t i) {
    DataElement item{};
    item.head = head;
    std::array<double, 8> components;
    for (std::size_t k = 0; k < 8; ++k) components[k] = static_cast<double>(i) * 10.25 + static_cast<double>(k) - 3;
    switch (item.tag) {
        case tag::ascii: item.ascii = static_cast<std::uint8_t>(200 + i); break;
        case tag::integer:
            item.integer = item.form == form::boolean ? static_cast<std::int64_t>(i % 3 == 1)
                                                      : static_cast<std::int64_t>(i) - (std::int64_t{1} << 60);
            break;
        case tag::real: item.real = components[0]; break;
        case tag::complex: std::copy_n(components.begin(), 2, item.complex); break;
        case tag::quaternion: std::copy_n(components.begin(), 4, item.quaternion); break;
        case tag::octonion: item.octonion = allocate_octonion(components.data()); break;
        default: ADD_FAILURE() << "no such sample";
    }
    return item;
}

std::vector<double> components(const DataElement& item) {
    switch (item.tag) {
        case tag::ascii: return {static_cast<double>(item.ascii)};
        case tag::real: return {item.real};
        case tag::complex: return {item.complex, item.complex + 2};
        case tag::quaternion: return {item.quaternion, item.quaternion + 4};
        case tag::octonion: return {item.octonion, item.octonion + 8};
        default: return {};
    }
}

bool same(const DataElement& a, const DataElement& b) {
    return a.head == b.head && (a.tag == tag::integer ? a.integer == b.integer : components(a) == components(b));
}

bool is_sample(const DataElement& item, std::uint64_t head, std::size_t i) {
    DataElement expected = sample(head, i);
    const bool equal = same(item, expected);
    dereferencedataelems(&expected, 1);
    return equal;
}

bool same_items(const void* a, const void* b, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i)
        if (!same(item_at(a, i), item_at(b, i))) return false;
    return true;
}

DataElement* sample_block(std::uint64_t head, std::size_t n) {
    ItemsOwner items(n);
    for (; items.filled < n; ++items.filled) items.items[items.filled] = sample(head, items.filled);
    return items.take();
}

void drop(void* block, std::size_t n) {
    if (!is_packed(block) && sole_holder(block)) dereferencedataelems(static_cast<DataElement*>(block), n);
    release(block);
}

DataElement vector_of(void* data, std::size_t n) {
    std::int64_t* const shape = allocate_shape(1);
    shape[0] = static_cast<std::int64_t>(n);
    return make_array(shape, 1, data, static_cast<std::uint32_t>(n), kinds_of(data, n));
}

class Blocks : public testing::Test {
#ifdef ONDREL_CHECKS
    const std::int64_t blocks_ = live_blocks;
    void TearDown() override { EXPECT_EQ(live_blocks, blocks_) << "blocks were lost, or given back twice"; }
#endif
};

TEST_F(Blocks, HoldTheSameItemsPackedAndUnpacked) {
    for (const std::uint64_t head : heads())
        for (const std::size_t n : {1U, 2U, 3U, 17U, 100U}) {
            DataElement* const items = sample_block(head, n);
            for (std::size_t i = 0; i < n; ++i) EXPECT_TRUE(is_sample(item_at(items, i), head, i));
            void* const packed = packed_items(items, n);
            EXPECT_EQ(packed != nullptr, packing) << "head " << head;
            if (packed != nullptr) {
                EXPECT_TRUE(is_packed(packed));
                EXPECT_EQ(header(packed).head, head);
                EXPECT_TRUE(same_items(items, packed, n)) << "head " << head << ", " << n << " items";
                DataElement* const again = unpack(packed, n);
                EXPECT_FALSE(is_packed(again));
                EXPECT_TRUE(same_items(items, again, n)) << "head " << head << ", " << n << " items";
                drop(again, n);
                release(packed);
            }
            DataElement* const copy = unpack(items, n);
            drop(items, n);
            EXPECT_TRUE(is_sample(item_at(copy, n - 1), head, n - 1));
            drop(copy, n);
        }
}

TEST_F(Blocks, CopyAStretchInEitherLayout) {
    constexpr std::size_t n = 9, from = 2, length = 5, at = 3;
    for (const std::uint64_t head : heads()) {
        DataElement* const items = sample_block(head, n);
        DataElement* const target = sample_block(head, n);
        dereferencedataelems(target + at, length);
        copy_items(target, at, items, from, length);
        void *const source = packed_items(items, n), *const other = packed_items(items, n);
        if (source != nullptr) copy_items(other, at, source, from, length);
        for (std::size_t i = 0; i < n; ++i) {
            const std::size_t origin = i >= at && i < at + length ? i - at + from : i;
            EXPECT_TRUE(same(item_at(target, i), item_at(items, origin))) << "head " << head << ", item " << i;
            EXPECT_TRUE(other == nullptr || same(item_at(other, i), item_at(items, origin))) << "packed, item " << i;
        }
        drop(items, n);
        drop(target, n);
        release(source);
        release(other);
    }
}

TEST_F(Blocks, PackOnlyWhatIsUniformAndPlain) {
    const std::uint64_t integer = make_head(tag::integer, form::number);
    const auto packs = [](const std::vector<DataElement>& list) {
        ItemsOwner items(list.size());
        for (const DataElement& item : list) items.items[items.filled++] = item;
        void* const packed = packed_items(items.items, list.size());
        release(packed);
        return packed != nullptr;
    };
    EXPECT_EQ(packs({sample(integer, 1), sample(integer, 2)}), packing);
    DataElement boolean = sample(make_head(tag::integer, form::boolean), 1);
    EXPECT_EQ(packs({boolean, boolean}), packing);
    boolean.integer = 257;  // fits no byte that is true or false
    EXPECT_FALSE(packs({boolean, boolean}));
    EXPECT_FALSE(packs({sample(integer, 1), sample(make_head(tag::real, form::number), 2)}));
    EXPECT_FALSE(packs({sample(integer, 1), sample(make_head(tag::integer, form::binary), 2)}));
    EXPECT_FALSE(packs({sample(make_head(tag::complex, form::number), 1),
                        sample(make_head(tag::complex, form::number, mark::r_prefix), 2)}));
    DataElement named = sample(make_head(tag::real, form::number, mark::named), 1);
    named.name = stringdup("#PI");
    DataElement named_too = named;
    named_too.name = stringdup("#E");
    EXPECT_FALSE(packs({named, named_too}));
    std::array<DataElement, 2> nested{};
    for (DataElement& item : nested) {
        item.head = make_head(tag::subarray, form::unset);
        item.nested = allocate_items(1);
        *item.nested = make_empty();
    }
    EXPECT_FALSE(packs({nested[0], nested[1]}));

    DataElement single = vector_of(sample_block(integer, 1), 1);
    pack(single);
    EXPECT_FALSE(is_packed(single.data_pointer));
    dereferencepoint(single);
    for (const std::uint64_t head : heads()) {
        DataElement value = vector_of(sample_block(head, 5), 5), copy = value;
        referencepoint(copy);
        pack(value);  // the other holder keeps the items
        EXPECT_EQ(is_packed(value.data_pointer), packing);
        EXPECT_FALSE(is_packed(copy.data_pointer));
        EXPECT_TRUE(same_items(value.data_pointer, copy.data_pointer, 5));
        dereferencepoint(value);
        EXPECT_TRUE(is_sample(item_at(copy.data_pointer, 4), head, 4));
        dereferencepoint(copy);
    }
}

// An item's own copy outlives the block that it came from.
TEST_F(Blocks, GiveOutItemsOfTheirOwn) {
    for (const std::uint64_t head : heads())
        for (const bool pack_first : {false, true}) {
            DataElement value = vector_of(sample_block(head, 3), 3);
            if (pack_first) pack(value);
            DataElement own = own_item(item_at(value.data_pointer, 1));
            dereferencepoint(value);
            EXPECT_TRUE(is_sample(own, head, 1)) << "head " << head;
            dereferencedataelems(&own, 1);
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
        DataElement record = vector_of(block, 100), copy = record;
        referencepoint(copy);
        dereferencepoint(record);
        dereferencepoint(copy);
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

DataElement subarray(const DataElement& value) {
    DataElement item{};
    item.head = make_head(tag::subarray, form::unset);
    item.nested = allocate_items(1);
    *item.nested = value;
    return item;
}

DataElement nest(std::initializer_list<DataElement> list) {
    ItemsOwner items(list.size());
    for (const DataElement& item : list) items.items[items.filled++] = item;
    DataElement value = vector_of(items.take(), list.size());
    rebuild_kinds(value);
    return value;
}

TEST_F(Blocks, ReleaseWhatLiesInside) {
    DataElement named = sample(make_head(tag::real, form::number, mark::named), 1);
    named.name = stringdup("#PI");
    DataElement named_octonion = sample(make_head(tag::octonion, form::number, mark::named), 1);
    named_octonion.name = stringdup("name");
    DataElement packed = vector_of(sample_block(make_head(tag::octonion, form::number), 4), 4);
    pack(packed);
    DataElement inner = nest({named, subarray(packed), sample(make_head(tag::octonion, form::number), 2)});
    DataElement value = nest({subarray(inner), named_octonion, subarray(make_empty(HASASCII))});
    EXPECT_EQ(value.depth, 3);
    DataElement copy = value, another = value;
    referencepoint(copy);
    referencepoint(another);
    dereferencepoint(value);
    EXPECT_EQ(value.data_pointer, nullptr);
    dereferencepoint(another);
    // What one holder keeps of it is whole, and so is a part that is held by itself.
    DataElement part = *items_of(copy)[0].nested;
    referencepoint(part);
    EXPECT_STREQ(items_of(part)[0].name, "#PI");
    dereferencepoint(copy);
    EXPECT_STREQ(items_of(part)[0].name, "#PI");
    EXPECT_EQ(part.elements, 3U);
    const std::uint64_t octonion = make_head(tag::octonion, form::number);
    EXPECT_TRUE(is_sample(item_at(items_of(part)[1].nested->data_pointer, 3), octonion, 3));
    dereferencepoint(part);
}

TEST_F(Blocks, ShareASubarrayBetweenItems) {
    DataElement value = vector_of(sample_block(make_head(tag::integer, form::number), 3), 3);
    const DataElement item = subarray(value);
    reference(item.nested);
    DataElement twice = nest({item, item});
    DataElement* const copies = unpack(twice.data_pointer, 2);
    dereferencepoint(twice);
    EXPECT_EQ(copies[0].nested, copies[1].nested);
    EXPECT_EQ(item_at(copies[1].nested->data_pointer, 2).integer, 2 - (std::int64_t{1} << 60));
    drop(copies, 2);
}

void make_and_release_the_deepest_nest() {
    DataElement value = make_scalar(sample(make_head(tag::integer, form::number), 0));
    for (int depth = 1; depth <= 32'767; ++depth) {
        ItemsOwner items(1);
        items.items[items.filled++] = subarray(value);
        value = vector_of(items.take(), 1);
        value.depth = static_cast<std::int16_t>(depth);
    }
    DataElement copy = value;
    referencepoint(copy);
    dereferencepoint(value);
    dereferencepoint(copy);
}

// The deepest nest that may be, on the stack that a thread has by default; a sanitizer's frames are several times
// wider.
TEST_F(Blocks, ReleaseTheDeepestNest) {
    constexpr std::size_t stack_bytes = std::size_t{8} << (time_scale > 10 ? 23 : 20);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stack_bytes), 0);
    pthread_t thread;
    const auto body = [](void*) -> void* {
        make_and_release_the_deepest_nest();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, body, nullptr), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
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
