#include "data/blocks.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/asan_interface.h>
#endif

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <utility>

#include "data/allocator.h"
#include "data/errors.h"
#include "data/walks.h"

namespace ondrel {

#ifdef ONDREL_CHECKS
const bool packing = [] {
    const char* const said = std::getenv("ONDREL_PACKING");
    return said == nullptr || std::string_view(said) != "off";
}();
#endif

#ifdef __SANITIZE_ADDRESS__
// Right in front of an allocation lies what nobody may read.
void Payload::check() const {
    if (start_ == nullptr || __asan_address_is_poisoned(reinterpret_cast<const std::byte*>(&header(start_)) - 1))
        return;
    std::fputs("Here starts no block\n", stderr);
    std::abort();
}
#endif

std::int64_t* allocate_shape(std::size_t rank) {
    return static_cast<std::int64_t*>(allocate_packed(make_head(tag::integer, form::number), rank));
}

std::int64_t* vector_shape(std::int64_t n) {
    std::int64_t* const shape = allocate_shape(1);
    *shape = n;
    return shape;
}

double* allocate_octonion(const double* components) {
    auto* const block = static_cast<double*>(allocate_block(make_head(tag::real, form::number), 8 * sizeof(double)));
    std::copy_n(components, 8, block);
    return block;
}

char* stringdup(std::string_view text) {
    OwnedText copy(static_cast<char*>(allocate_block(make_head(tag::ascii, form::unset), text.size() + 1)));
    in_heeded_stretches(text.size(), [&](std::size_t from, std::size_t end) {
        text.copy(copy.get() + from, end - from, from);
    });
    copy.get()[text.size()] = '\0';
    return copy.release();
}

void release_shared(void* block) {
    if (block == nullptr || holders(block) <= 0) return;
    if (std::atomic_ref(header(block).count).fetch_sub(1, std::memory_order_acq_rel) == 1) ondrel::free(&header(block));
}

void* Reallocate(void* block, std::size_t bytes) {
    constexpr std::size_t long_copy = std::size_t{1} << 22;
    BlockHeader* const old = &header(block);
    const std::size_t room = usable_size(old) - sizeof(BlockHeader);
    if (old->count == 1 && (std::min(bytes, room) < long_copy || bytes <= room)) {
        void* const start = ondrel::realloc(old, bytes + sizeof(BlockHeader));
        if (start == nullptr) out_of_memory();
        return static_cast<BlockHeader*>(start) + 1;
    }
    OwnedBlock copy(allocate_block(old->head, bytes));
    auto* const to = static_cast<std::byte*>(copy.get());
    const std::size_t kept = std::min(bytes, readable_size(old) - sizeof(BlockHeader));
    in_heeded_stretches(kept, [&](std::size_t from, std::size_t end) {
        std::memcpy(to + from, static_cast<const std::byte*>(block) + from, end - from);
    });
    release(block);
    return copy.release();
}

namespace {

// What an item holds besides its name: the record of a nested value, the components of an octonion, an open file. A
// tag that no item has holds nothing.
void* held_block(const DataElement& item) {
    switch (item.tag) {
        case tag::subarray: return item.nested;
        case tag::octonion: return item.octonion;
        case tag::file: return item.file;
        default: return nullptr;
    }
}

void reference_item(const DataElement& item) {
    reference(held_block(item));
    if (has_name(item)) reference(item.name);
}

// A file may have been opened with one that was opened with one, and so on without end: a line, not a recursion.
void give_back(OpenFile* file) {
    thread_local OpenFile* line = nullptr;
    const bool waits = line != nullptr;
    file->behind = std::exchange(line, file);
    if (waits) return;
    while (line != nullptr) {
        OpenFile* const first = line;  // and stays in the line, which what it holds joins
        if (std::FILE* const stream = std::exchange(first->stream, nullptr); stream != nullptr) std::fclose(stream);
        dereferencepoint(first->operand);
        if (line != first) continue;
        line = first->behind;
        release(first);
    }
}

// All but what a nested value holds that goes with this item.
void release_outside(DataElement& item) {
    if (item.tag == tag::file && sole_holder(item.file))
        give_back(item.file);
    else
        release(held_block(item));
    if (has_name(item)) release(item.name);
}

// A block that is being given back, up to its item `next`. This stands in the block itself, in place of the item before
// that, which holds nothing any more.
struct Remains {
    DataElement* items;
    std::size_t next, end;
    Remains* around;  // the block that holds this one, or the next of `rest`
};
static_assert(sizeof(Remains) <= sizeof(DataElement));

Remains* rest = nullptr;  // what an interrupt has kept us from giving back

// What is given back goes when the prompt is back. A worker's is never much.
bool puts_off() { return calls_for(calls::interrupt | calls::unwinding) && running && worker_error == nullptr; }

void put_off(Remains* remains) {
    Remains** last = &remains->around;
    while (*last != nullptr) last = &(*last)->around;
    *last = std::exchange(rest, remains);
}

}  // namespace

void referencedataelems(const DataElement* items, std::size_t n) { std::for_each_n(items, n, reference_item); }

void dereferencedataelems(DataElement* items, std::size_t n) {
    for (DataElement& item : std::span(items, n)) {
        if (item.tag == tag::subarray && sole_holder(item.nested)) dereferencepoint(*item.nested);
        release_outside(item);
    }
}

namespace {

// Gives the items' blocks back, and the blocks around them; unless `at_once` it may put that off. However deep they lie:
// it goes down without a recursion.
void give_back(Remains at, bool at_once = false) {
    for (;;) {
        if (at.next == at.end) {
            release(at.items);
            if (at.around == nullptr) return;
            at = Remains(*at.around);
            continue;
        }
        if (at.next > 0 && puts_off() && !at_once) [[unlikely]]
            return put_off(new (at.items + at.next - 1) Remains(at));
        DataElement& item = at.items[at.next++];
        if (item.tag != tag::subarray || !sole_holder(item.nested)) {
            release_outside(item);
            continue;
        }
        DataElement& nested = *item.nested;
        void* const inner = nested.data_pointer;
        const bool goes_down = nested.rank >= 0 && inner != nullptr && !is_packed(inner) && sole_holder(inner);
        const std::size_t n = nested.elements;
        if (goes_down) nested.data_pointer = nullptr;
        dereferencepoint(nested);
        release_outside(item);
        if (goes_down) at = {static_cast<DataElement*>(inner), 0, n, new (&item) Remains(at)};
    }
}

}  // namespace

void release_items(DataElement* items, std::size_t n) { give_back(Remains{items, 0, n, nullptr}); }

void give_back_rest() {
    while (rest != nullptr) give_back(Remains(*std::exchange(rest, nullptr)), true);
}

namespace {

void release_record_block(void* block) {
    if (block != nullptr && sole_holder(block)) dereferencepoint(*static_cast<DataElement*>(block));
    release(block);
}

void release_continuation(DataElement* continuation) {
    if (continuation == nullptr) return;
    const std::uint32_t slots =
        reinterpret_cast<const ContinuationRecord*>(continuation)->top + 1;  // 0 for an empty one
    for (std::uint32_t i = 1; i <= slots; ++i) dereferencepoint(continuation[i]);
    release(continuation);
}

// The header cell points at its own block, and the last one keeps the function's value key as its text.
void release_stream(DataElement* stream) {
    if (stream != nullptr && sole_holder(stream)) {
        release(stream->text);
        release_continuation(stream->continuation);
        for (++stream; stream->type != 0; ++stream) dereferencepoint(*stream);
        release(stream->text);
    }
}

void dereference_cell(DataElement& cell) {
    release(cell.text);
    switch (cell.rank) {
        case kind::FUNCTION:
            release_stream(static_cast<DataElement*>(cell.data_pointer));
            release(cell.data_pointer);
            break;
        case kind::OPERATOR:
            if (cell.local_table != nullptr) release_table(cell.local_table);
            cell.local_table = nullptr;
            break;
        case kind::LOCAL_VARIABLE:
        case kind::LOCAL_ADDRESS: release(cell.data_pointer); break;
        default:
            if (!borrows(cell)) release_record_block(cell.data_pointer);
    }
    cell.shape_pointer = nullptr;
    cell.data_pointer = nullptr;
}

}  // namespace

void drop_record(DataElement& record) {
    if (record.rank < 0) return dereference_cell(record);
    release(std::exchange(record.shape_pointer, nullptr));
    void* const data = std::exchange(record.data_pointer, nullptr);
    if (data != nullptr && !is_packed(data) && sole_holder(data))
        release_items(static_cast<DataElement*>(data), record.elements);
    else
        release(data);
}

DataElement* copyfun(const DataElement& function) {
    const std::size_t cells = function.elements + 1;
    const auto* const source = static_cast<const DataElement*>(function.data_pointer);
    DataElement* const copy = allocate_items(cells);
    std::copy_n(source, cells, copy);
    copy->data_pointer = copy;
    copy->continuation = nullptr;
    copy[cells - 1].text = nullptr;
    reference(copy->text);
    for (DataElement* cell = copy + 1; cell->type != 0; ++cell) {
        referencepoint(*cell);
        if (cell->rank == kind::OPERATOR) reference(cell->local_table);
    }
    return copy;
}

DataElement item_at(Payload block, std::size_t i) {
    const std::uint64_t head = block.head();
    if (head == 0) return static_cast<const DataElement*>(block.start())[i];
    DataElement item{};
    item.head = item_head(head);
    const auto* const value = static_cast<const std::byte*>(block.start()) + i * item_width(head);
    if (head & in_bytes) {
        const std::uint64_t word = *value != std::byte{0} ? word_of_one(head) : 0;
        std::memcpy(&item.integer, &word, 8);
        return item;
    }
    switch (item.tag) {
        case tag::ascii: std::memcpy(&item.ascii, value, 1); break;
        case tag::complex: std::memcpy(item.complex, value, sizeof item.complex); break;
        case tag::quaternion: std::memcpy(item.quaternion, value, sizeof item.quaternion); break;
        case tag::octonion: item.octonion = reinterpret_cast<double*>(const_cast<std::byte*>(value)); break;
        default: std::memcpy(&item.integer, value, 8); break;
    }
    return item;
}

DataElement own_item(const DataElement& item) {
    DataElement made = item;
    if (item.tag != tag::octonion) {
        reference_item(item);
        return made;
    }
    made.octonion = allocate_octonion(item.octonion);  // they may lie in a packed block
    if (has_name(item)) reference(item.name);
    return made;
}

DataElement own_item_at(Payload block, std::size_t i) { return own_item(item_at(block, i)); }

void copy_items(void* target, std::size_t at, Payload source, std::size_t from, std::size_t n) {
    const std::size_t width = item_width(source.head());
    auto* const to = static_cast<std::byte*>(target) + at * width;
    std::memcpy(to, static_cast<const std::byte*>(source.start()) + from * width, n * width);
    if (!is_packed(source)) referencedataelems(reinterpret_cast<DataElement*>(to), n);
}

DataElement* unpack(Payload block, std::size_t n) {
    ItemsOwner items(n);
    for (; items.filled < n; ++items.filled) {
        items.items[items.filled] = own_item_at(block, items.filled);
        heed_attention();
    }
    return items.take();
}

std::uint64_t common_head(const DataElement* items, std::size_t n) {
    if (!packing) return 0;
    const std::uint64_t head = bare_head(items[0]);
    const auto has_head = [head](const DataElement& item) {
        heed_attention();
        return item.head == head;
    };
    if (head == 0 || !std::all_of(items, items + n, has_head)) return 0;
    const auto one = static_cast<std::int64_t>(word_of_one(head));
    const auto is_truth = [one](const DataElement& item) {
        heed_attention();
        return item.integer == 0 || item.integer == one;
    };
    return byte_head(head) != 0 && std::all_of(items, items + n, is_truth) ? byte_head(head) : head;
}

void put_value(void* block, std::size_t i, const DataElement& item) {
    const std::uint64_t head = header(block).head;
    auto* const to = static_cast<std::byte*>(block) + i * item_width(head);
    if (head & in_bytes) {
        *to = static_cast<std::byte>(item.integer != 0);
        return;
    }
    switch (item.tag) {
        case tag::ascii: std::memcpy(to, &item.ascii, 1); break;
        case tag::complex: std::memcpy(to, item.complex, sizeof item.complex); break;
        case tag::quaternion: std::memcpy(to, item.quaternion, sizeof item.quaternion); break;
        case tag::octonion: std::memcpy(to, item.octonion, 8 * sizeof(double)); break;
        default: std::memcpy(to, &item.integer, 8); break;
    }
}

void store_items(void* target, std::size_t at, Payload source, std::size_t n) {
    in_heeded_stretches(n, [&](std::size_t from, std::size_t end) {
        if (is_packed(source)) return copy_items(target, at + from, source, from, end - from);
        const auto* const items = static_cast<const DataElement*>(source.start());
        for (; from < end; ++from) put_value(target, at + from, items[from]);
    });
}

void* packed_items(Payload block, std::size_t n) {
    if (is_packed(block)) return nullptr;
    const auto* const items = static_cast<const DataElement*>(block.start());
    const std::uint64_t head = common_head(items, n);
    if (head == 0) return nullptr;
    OwnedBlock packed(allocate_packed(head, n));
    store_items(packed.get(), 0, block, n);
    return packed.release();
}

void pack(DataElement& record) {
    if (record.elements < 2 || (record.type & PER_ITEM)) return;
    void* const packed = packed_items(record.data_pointer, record.elements);
    if (packed == nullptr) return;
    DataElement items = record;
    items.shape_pointer = nullptr;
    dereferencepoint(items);
    record.data_pointer = packed;
}

std::uint32_t kinds_of(Payload block, std::size_t n) {
    std::uint32_t kinds = 0;
    if (is_packed(block)) {
        kinds = kind_bits(head_tag(block.head()));
    } else {
        for (const DataElement& item : std::span(static_cast<const DataElement*>(block.start()), n)) {
            kinds |= kind_bits(item.tag);
            heed_attention();
        }
    }
    return kinds | (n > 1 && mixed_kinds(kinds) ? COMPLEXED : 0);
}

std::int16_t depth_of(Payload block, std::size_t n) {
    std::int16_t depth = 1;
    if (is_packed(block)) return depth;
    for (const DataElement& item : std::span(static_cast<const DataElement*>(block.start()), n)) {
        heed_attention();
        if (item.tag == tag::subarray)
            depth = std::max<std::int16_t>(depth, static_cast<std::int16_t>(item.nested->depth + 1));
    }
    return depth;
}

void rebuild_kinds(DataElement& record) {
    const void* const block = record.data_pointer;
    const std::uint32_t kinds = block == nullptr ? 0 : kinds_of(block, record.elements);
    const bool is_plain_scalar = (record.type & ISSCALAR) && !(kinds & STRUCTURED);
    if (block != nullptr) record.depth = is_plain_scalar ? std::int16_t{0} : depth_of(block, record.elements);
    record.type = (record.type & ~(KIND_BITS | PER_ITEM | ISSTRUCTURE)) | kinds;
}

DataElement make_array(std::int64_t* shape, std::int32_t rank, void* data, std::uint32_t elements,
                       std::uint32_t kinds) {
    DataElement record{};
    record.rank = rank;
    record.type =
        kinds | (rank > 1 ? ISARRAY : ISVECTOR) | (elements == 1 ? ISONEELEMENT : 0) | (elements == 0 ? ISEMPTY : 0);
    record.shape_pointer = shape;
    record.depth = 1;
    set_elements(record, elements);
    record.data_pointer = data;
    return record;
}

DataElement make_scalar(const DataElement& item) {
    DataElement* const items = allocate_items(1);
    items[0] = item;
    DataElement record;
    fill_scalar(record, items);
    return record;
}

DataElement make_empty(std::uint32_t kinds) {
    static struct {
        BlockHeader header{-1, make_head(tag::integer, form::number)};
        std::int64_t dimension = 0;
    } nothing;  // permanent: an empty vector can be made when there is no memory
    return make_array(&nothing.dimension, 1, nullptr, 0, kinds);
}

DataElement nested_item(Owner& record) {
    auto* const block = static_cast<DataElement*>(allocate_block(0, sizeof(DataElement)));
    *block = record.take();
    DataElement item{};
    item.tag = tag::subarray;
    item.nested = block;
    return item;
}

}  // namespace ondrel
