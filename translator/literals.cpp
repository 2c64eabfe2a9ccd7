#include "translator/literals.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "data/long_text.h"
#include "data/walks.h"

namespace ondrel {

DataElement constant(std::uint32_t tag) {
    DataElement item{};
    item.head = make_head(tag, form::number);
    return make_scalar(item);
}

namespace {

constexpr std::size_t most_levels = 256;

// A level that is open. While its items come in they stand in an item block with room to spare, or, as long as a text
// has only plain characters, in a string, and plain numbers of one head as words; `close` makes the record.
struct Level {
    bool text = false, enclosed = false;
    DataElement* items = nullptr;
    std::uint32_t count = 0;
    std::size_t room = 0;
    LongText characters;
    LongRun<std::int64_t> numbers;
    std::uint64_t head = 0;  // of the numbers
    std::int16_t depth = 1;
    bool closed = false;  // a shape has been given: `record` stands
    DataElement record{};
};

std::vector<Level> levels;
std::int16_t deepest;  // the deepest nesting reached in the present literal

void release_level(Level& level) {
    if (level.items != nullptr) {
        dereferencedataelems(level.items, level.count);
        release(level.items);
    }
    dereferencepoint(level.record);
}

bool open(bool text, bool enclosed) {
    if (levels.size() == most_levels) return false;
    if (levels.empty()) deepest = 0;
    deepest = std::max(deepest, static_cast<std::int16_t>(levels.size()));
    Level& level = levels.emplace_back();
    level.text = text;
    level.enclosed = enclosed;
    return true;
}

void make_room(Level& level) {
    if (level.count < level.room) return;
    const std::size_t room = std::max<std::size_t>(level.room * 2, 2);
    level.items = level.items == nullptr
                      ? allocate_items(room)
                      : static_cast<DataElement*>(Reallocate(level.items, room * sizeof(DataElement)));
    level.room = room;
}

// Adds the item if it can stand as a word.
bool add_bare(Level& level, std::uint64_t head, std::int64_t word) {
    if (level.head != head && !level.numbers.empty()) return false;
    if (!packing || level.text || level.items != nullptr) return false;
    level.head = head;
    level.numbers.push_back(word);
    return true;
}

// Where something else comes, the numbers that stand become items.
void flush_numbers(Level& level) {
    if (level.numbers.empty()) return;
    level.room = 2 * level.numbers.size();
    level.items = allocate_items(level.room);
    for (const std::int64_t number : std::exchange(level.numbers, {})) {
        DataElement& item = level.items[level.count++] = {};
        item.head = level.head;
        item.integer = number;
    }
}

// Takes over what the item holds, or drops it where there is no memory.
void append(Level& level, DataElement item) {
    try {
        flush_numbers(level);
        make_room(level);
    } catch (...) {
        dereferencedataelems(&item, 1);
        throw;
    }
    level.items[level.count++] = item;
}

DataElement character_item(std::uint8_t character, bool binary) {
    DataElement item{};
    item.head = make_head(tag::ascii, binary ? form::binary : form::unset);
    item.ascii = character;
    return item;
}

// Texts of plain characters grow in `characters`; a binary one turns what stands into items.
void flush_characters(Level& level) {
    for (const char character : std::exchange(level.characters, {}))
        append(level, character_item(static_cast<std::uint8_t>(character), false));
}

template <class Values>
void* packed_values(std::uint64_t head, const Values& values) {
    OwnedBlock block(allocate_packed(head, values.size()));
    auto* const to = static_cast<std::remove_cvref_t<decltype(*values.begin())>*>(block.get());
    in_heeded_stretches(values.size(), [&](std::size_t from, std::size_t end) {
        std::copy(values.begin() + from, values.begin() + end, to + from);
    });
    return block.release();
}

// The record of a level that gets no more items. An empty text stays known as text; one character is a scalar; an
// enclosing level is a scalar to the verbs, though it holds a whole value.
DataElement finish(Level& level) {
    const bool of_numbers = level.numbers.size() > 1;
    const bool of_characters = packing && level.items == nullptr && level.characters.size() > 1;
    if (!of_characters) flush_characters(level);
    if (!of_numbers) flush_numbers(level);
    const std::uint32_t n = checked_count(of_numbers      ? level.numbers.size()
                                          : of_characters ? level.characters.size()
                                                          : level.count);
    if (n == 0) return make_empty(level.text ? HASASCII : HASINTEGER);
    if (level.text && n == 1) {
        const DataElement scalar = make_scalar(level.items[0]);
        release(std::exchange(level.items, nullptr));
        return scalar;
    }
    Owner record(make_array(vector_shape(n), 1, nullptr, n, 0));
    record.record.data_pointer = of_numbers      ? packed_values(level.head, level.numbers)
                                 : of_characters ? packed_values(make_head(tag::ascii, form::unset), level.characters)
                                                 : std::exchange(level.items, nullptr);
    level.characters.clear();
    level.numbers.clear();
    record.record.type |= kinds_of(record.record.data_pointer, n);
    record.record.depth = level.depth;
    if (level.enclosed) {
        record.record.type = (record.record.type & ~(ISVECTOR | ISONEELEMENT)) | ISSCALAR;
        record.record.depth = 0;
    }
    pack(record.record);
    return record.take();
}

void finish_once(Level& level) {
    if (level.closed) return;
    level.record = finish(level);
    level.closed = true;
}

}  // namespace

bool open_vector() { return open(false, false); }
bool open_enclosed() { return open(false, true) && open(false, false); }
bool open_text() { return open(true, false); }
bool inside_another() { return levels.size() > 1; }

void add_item(const DataElement& item) {
    Level& level = levels.back();
    const bool bare = is_plain(item) && byte_head(item.head) == 0 && add_bare(level, item.head, item.integer);
    if (!bare) append(level, item);
}

void add_integer(std::int64_t value) {
    DataElement item{};
    item.head = make_head(tag::integer, form::number);
    item.integer = value;
    if (Level& level = levels.back(); !add_bare(level, item.head, value)) append(level, item);
}

void add_character(std::uint8_t character, bool binary) {
    Level& level = levels.back();
    if (binary && level.items == nullptr) flush_characters(level);
    if (binary || level.items != nullptr)
        append(level, character_item(character, binary));
    else
        level.characters.push_back(static_cast<char>(character));
}

void close_shape(std::span<const std::int64_t> dimensions, Site site) {
    Level& level = levels.back();
    finish_once(level);
    Owner shape(make_empty());
    if (!dimensions.empty()) {
        const auto n = static_cast<std::uint32_t>(dimensions.size());
        shape.record = make_array(nullptr, 1, nullptr, n, HASINTEGER);
        shape.record.shape_pointer = vector_shape(n);
        shape.record.data_pointer = allocate_shape(n);
        std::ranges::copy(dimensions, static_cast<std::int64_t*>(shape.record.data_pointer));
    }
    reshape(level.record, shape.record, site);
}

bool close_level(DataElement& finished) {
    finish_once(levels.back());
    if (levels.size() == 1) {
        finished = std::exchange(levels.back().record, {});
        levels.pop_back();
        return true;
    }
    Level& around = levels[levels.size() - 2];
    Owner nested(std::exchange(levels.back().record, {}));
    append(around, nested_item(nested));
    around.depth = static_cast<std::int16_t>(deepest + 1);
    levels.pop_back();
    if (around.enclosed) return close_level(finished);
    return false;
}

void abandon_literal() {
    for (Level& level : levels) release_level(level);
    levels.clear();
}

}  // namespace ondrel
