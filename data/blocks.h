// Counted blocks: all memory that a value reaches through a pointer.
//
// A block is a 16-byte header and a payload; pointers in records point at the payload. The header counts the holders:
// every record that points at a block holds one reference, and a data block holds the references of its items. So
// copying a record takes one reference on its shape and one on its data, however deep the value is, and the last
// release walks what lies inside. A negative count marks a permanent block. A verb may write into a block only as its
// sole holder.
//
// The second header word says how the payload is laid out. 0: an item block, items of 40 bytes each with its own tag,
// form and marks. Else a packed block: the word is the head that all items share, and the payload holds their bare
// values, one byte for a character, a word for an integer or a real, two, four and eight doubles for the hypercomplex
// kinds. Truth values, integers or reals, that are all 0 or 1 can lie in bytes, which a bit of the block's head tells.
// A uniform unnamed array of two or more items is packed; all else is an item block, and so are scalars. Shapes are
// packed integers. Code outside this layer reads items by value and never asks, loops apart.
#pragma once

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

#include "data/allocator.h"
#include "data/dataelement.h"
#include "data/errors.h"

namespace ondrel {

struct BlockHeader {
    std::int64_t count;
    std::uint64_t head;  // 0: items
};
static_assert(sizeof(BlockHeader) == 16);

inline BlockHeader& header(void* block) { return static_cast<BlockHeader*>(block)[-1]; }
inline const BlockHeader& header(const void* block) { return static_cast<const BlockHeader*>(block)[-1]; }
const BlockHeader& header(const DataElement* item) = delete;  // it may lie in the midst of a block

// Where the payload of a block starts, for those who read by its layout. A pointer to an item does not become one: it
// may lie in the midst of a block, and what is in front of it is no header. The address sanitizer's build looks, too.
class Payload {
public:
    Payload(const void* start) : start_(start) { check(); }
    Payload(void* start) : start_(start) { check(); }
    template <class Item>
    Payload(Item*) = delete;

    const void* start() const { return start_; }
    std::uint64_t head() const { return header(start_).head; }

private:
#ifdef __SANITIZE_ADDRESS__
    void check() const;
#else
    void check() const {}
#endif
    const void* start_;
};

// Whether uniform arrays are packed. Without packing a build with checks, which leaves it when the environment says
// ONDREL_PACKING=off, must print the same.
#ifdef ONDREL_CHECKS
extern const bool packing;
#else
inline constexpr bool packing = true;
#endif

// In the head of a packed block: it holds truths in bytes. No item has it.
inline constexpr std::uint64_t in_bytes = make_head(0, 0, 0x2000);

// The head that the items of a block of this head have, if it is not 0.
constexpr std::uint64_t item_head(std::uint64_t head) { return head & ~in_bytes; }

// The head of a block that holds such items in bytes; 0 if none does.
constexpr std::uint64_t byte_head(std::uint64_t head) {
    const bool of_truth = head_form(head) == form::boolean || head_form(head) == form::logical;
    return of_truth && (head_tag(head) == tag::integer || head_tag(head) == tag::real) ? head | in_bytes : 0;
}

// The number 1 as an integer or a real item of this head holds it. That for 0 is no bit at all.
constexpr std::uint64_t word_of_one(std::uint64_t head) {
    return head_tag(head) == tag::real ? std::bit_cast<std::uint64_t>(1.0) : 1;
}

// Bytes that one item takes in a block of this head.
constexpr std::size_t item_width(std::uint64_t head) {
    if (head & in_bytes) return 1;
    switch (head_tag(head)) {
        case 0: return sizeof(DataElement);
        case tag::ascii: return 1;
        case tag::complex: return 16;
        case tag::quaternion: return 32;
        case tag::octonion: return 64;
        default: return 8;
    }
}

// ---- allocation: fresh blocks have count 1; each raises 27 and throws when there is no memory

inline void* allocate_block(std::uint64_t head, std::size_t bytes) {
    void* const start = ondrel::malloc(bytes + sizeof(BlockHeader));
    if (start == nullptr) [[unlikely]]
        out_of_memory();
    auto* const block = static_cast<BlockHeader*>(start);
    *block = {1, head};
    return block + 1;
}
inline DataElement* allocate_items(std::size_t n) {
    return static_cast<DataElement*>(allocate_block(0, n * sizeof(DataElement)));
}
inline void* allocate_packed(std::uint64_t head, std::size_t n) { return allocate_block(head, n * item_width(head)); }
std::int64_t* allocate_shape(std::size_t rank);
std::int64_t* vector_shape(std::int64_t n);  // of one dimension
double* allocate_octonion(const double* components);
char* stringdup(std::string_view text);

// Gives the block a payload of `bytes`, contents kept up to the smaller size; count 1 afterwards. A shared block is
// left to its other holders and copied. Raises 27, or heeds an interrupt, with the block as it was. The caller stores
// the result over the old pointer, and has released what cut items hold.
void* Reallocate(void* block, std::size_t bytes);

// ---- counting

// While memory is shared, threads count at once. What more than one of them reaches has a holder besides them, who
// stays; so no thread ever finds itself the last holder of what another one still reads.
inline std::int64_t holders(const void* block) {
    return std::atomic_ref(const_cast<std::int64_t&>(header(block).count)).load(std::memory_order_relaxed);
}
inline void reference_alone(void* block) {  // where no other thread can be at it
    if (block != nullptr && header(block).count > 0) ++header(block).count;
}
inline void reference(void* block) {
    if (!is_shared) [[likely]]
        return reference_alone(block);
    if (block != nullptr && holders(block) > 0)
        std::atomic_ref(header(block).count).fetch_add(1, std::memory_order_relaxed);
}
inline bool sole_holder_alone(const void* block) { return header(block).count == 1; }
inline bool sole_holder(const void* block) { return holders(block) == 1; }

// Drops one reference to a block that holds no others: a shape, a text, an octonion block.
inline void release_alone(void* block) {
    if (block == nullptr) return;
    std::int64_t& count = header(block).count;
    if (count > 1)
        --count;
    else if (count == 1)
        ondrel::free(&header(block));  // what it holds has been released
}
void release_shared(void* block);
inline void release(void* block) {
    if (!is_shared) [[likely]]
        return release_alone(block);
    release_shared(block);
}

// Takes or drops what the items of an item block hold.
void referencedataelems(const DataElement* items, std::size_t n);
void dereferencedataelems(DataElement* items, std::size_t n);

// Gives back an item block that nobody else holds, with what its first n items hold. Where an interrupt waits or a
// sentence is left by one, that is put off: `give_back_rest` does it, when the prompt is back.
void release_items(DataElement* items, std::size_t n);
void give_back_rest();

// A record that lies in a slot of the value stack is borrowed by its address, not counted.
inline bool borrows(const DataElement& record) { return record.rank == kind::ADDRESS && (record.type & ISLOCAL) != 0; }

// The record has been copied: takes references for the copy.
inline void referencepoint(const DataElement& record) {
    if (record.rank == 0) return reference(record.data_pointer);
    reference(record.shape_pointer);
    if (!borrows(record)) reference(record.data_pointer);
}
// An integer or a real without a name: an item that holds nothing.
inline bool is_plain(const DataElement& item) {
    return (item.tag == tag::integer || item.tag == tag::real) && !(item.marks & mark::named);
}

// What the copies of a file's item share; the last of them closes the stream.
struct OpenFile {
    std::FILE* stream;           // null once it is closed
    DataElement operand;         // what it was opened with
    OpenFile* behind = nullptr;  // the next that is to be given back
};

// The record is going away: drops its references and nulls its pointers.
void drop_record(DataElement& record);
inline void dereferencepoint(DataElement& record) {
    if (record.rank == 0 && record.data_pointer != nullptr && !is_shared) [[likely]] {
        DataElement* const item = static_cast<DataElement*>(record.data_pointer);
        if (!sole_holder_alone(item) || is_plain(*item)) {
            record.data_pointer = nullptr;
            return release_alone(item);
        }
    }
    drop_record(record);
}

// A stream of cells: a header cell, then those that run, then a cell whose type is 0. It holds what its cells hold.
// A private copy of a function's stream, with count 1.
DataElement* copyfun(const DataElement& function);

// Where a stopped function had got to, in a block of records: this one, then copies of the slots of its frame.
struct ContinuationRecord {
    std::uint32_t instruction;
    DataElement* frame_base;
    DataElement* program_counter;
    std::uint32_t cell;  // the index of the program counter in the stream
    std::uint32_t top;   // the topmost slot, counted from the frame's base
    std::uint32_t locals, locals_again;
};
static_assert(sizeof(ContinuationRecord) == sizeof(DataElement));

// Defined above this folder, in translator/symbols: drops one reference to a table of names, which is wiped with the
// last.
void release_table(void* table);

// ---- reading

inline bool is_packed(Payload block) { return block.head() != 0; }
inline DataElement* items_of(const DataElement& record) { return static_cast<DataElement*>(record.data_pointer); }

// Item i of a value, by value. Its pointers are borrowed from the block; a packed octonion's point into the payload.
DataElement item_at(Payload block, std::size_t i);

// The same item with references of its own.
DataElement own_item(const DataElement& item);
DataElement own_item_at(Payload block, std::size_t i);

// ---- writing: on blocks that the caller alone holds

// Copies items [from, from + n) of `source` to `target` at `at`, taking references; both blocks of one layout.
void copy_items(void* target, std::size_t at, Payload source, std::size_t from, std::size_t n);

// The head of an item that could lie in a packed block as a bare value, else 0.
constexpr std::uint64_t bare_head(const DataElement& item) {
    const bool bare =
        item.tag >= tag::ascii && item.tag <= tag::octonion && item.tag != tag::unicode && !(item.marks & mark::named);
    return bare ? item.head : 0;
}

// The head that a packed block of these items would have, or 0 if they do not qualify: one head, no names.
std::uint64_t common_head(const DataElement* items, std::size_t n);

// Puts the value of an item that has its head, and is a truth if those lie in bytes, into a packed block.
void put_value(void* block, std::size_t i, const DataElement& item);

// Copies the values of the first n items of a block of any layout, which all have the head of the packed `target` and
// no block of their own but for octonions' values, to `target` at `at`.
void store_items(void* target, std::size_t at, Payload source, std::size_t n);

// An item block with copies of the first n items of a block of any layout.
DataElement* unpack(Payload block, std::size_t n);

// A packed block with copies of n items of an item block, or null if they do not qualify.
void* packed_items(Payload block, std::size_t n);

// Exchanges the value's item block for a packed one if it qualifies and has two items or more.
void pack(DataElement& record);

// ---- records

// A fresh value: `elements`, bounds and type are set from what the caller says; the depth is 1, or 0 for a scalar.
// Takes over the references of `shape` and `data`.
DataElement make_array(std::int64_t* shape, std::int32_t rank, void* data, std::uint32_t elements, std::uint32_t kinds);
// A scalar of the item, whose references it takes over; if there is no memory they stay the caller's.
DataElement make_scalar(const DataElement& item);
DataElement make_empty(std::uint32_t kinds = 0);  // the empty vector; allocates nothing

inline void set_elements(DataElement& record, std::uint32_t n) {
    record.elements = n;
    record.first = 0;
    record.last = n == 0 ? 0 : n - 1;
}

// The kind bits, COMPLEXED and STRUCTURED that the items call for.
std::uint32_t kinds_of(Payload block, std::size_t n);
// The nesting depth of an array of these items: 1, or one more than the deepest subarray's.
std::int16_t depth_of(Payload block, std::size_t n);
// Makes the record, which holds nothing, a scalar whose item lies in this block, which it takes over. Field by field: a
// record that is made elsewhere and copied would wait for its own words to arrive.
inline void fill_scalar(DataElement& record, DataElement* items) {
    record.rank = 0;
    record.type = ISSCALAR | kind_bits(items->tag);
    record.shape_pointer = nullptr;
    record.depth = 0;
    record.locals = 0;
    set_elements(record, 1);
    record.data_pointer = items;
}

// Replaces kinds and depth in the record. An interrupt leaves it as it was.
void rebuild_kinds(DataElement& record);

// ---- owners: what is being built, given back when the builder leaves by an error

// A block that holds no others.
struct Release {
    void operator()(void* block) const { release(block); }
};
using OwnedBlock = std::unique_ptr<void, Release>;  // of bare values, or of items that hold nothing yet
using OwnedText = std::unique_ptr<char, Release>;

struct Owner {
    DataElement record{};
    Owner() = default;
    explicit Owner(const DataElement& owned) : record(owned) {}
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner() { dereferencepoint(record); }
    DataElement take() {
        const DataElement taken = record;
        record = {};
        return taken;
    }
};

// A subarray item of the record, which it takes over.
DataElement nested_item(Owner& record);

// An item block that is being filled from its start.
struct ItemsOwner {
    DataElement* items;
    std::size_t filled = 0;
    explicit ItemsOwner(std::size_t n) : items(allocate_items(n)) {}
    ItemsOwner(const ItemsOwner&) = delete;
    ItemsOwner& operator=(const ItemsOwner&) = delete;
    ~ItemsOwner() {
        if (items != nullptr) release_items(items, filled);
    }
    operator Payload() const { return static_cast<const void*>(items); }
    DataElement* take() {
        DataElement* const taken = items;
        items = nullptr;
        return taken;
    }
};

}  // namespace ondrel
