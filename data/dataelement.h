// The one record of the system. A stack slot, an instruction cell, the value of a name and an item of an array are
// all DataElements of 40 bytes, so that a value moves from one place to another by copying five words.
//
// The record has two views, chosen by where it stands: the record view (rank, type, shape ...) for values and cells,
// the item view (tag, form, marks, name, payload) for the items inside a data block. Everything that a pointer here
// reaches lies in a counted block (blocks.h).
#pragma once

#include <cstdint>

namespace ondrel {

struct OpenFile;

struct DataElement {
    union {
        struct {
            std::int32_t rank;   // 0 scalar, above 0 dimensions, below 0 one of `kind`
            std::uint32_t type;  // flags, below
        };
        struct {
            std::uint32_t tag;  // one of `tag`
            std::uint16_t form;
            std::uint16_t marks;
        };
        std::uint64_t head;  // tag, form and marks in one word
    };
    union {
        struct {  // record view
            union {
                std::int64_t* shape_pointer;  // value: the dimensions, the fastest-varying first; null for a scalar
                char* text;                   // cell: the spelling, NUL-terminated
            };
            std::int16_t depth;  // value: nesting depth. OPERATOR cell: instruction number
            union {
                std::uint16_t locals;
                std::uint16_t modifier;  // cell: a second instruction number that qualifies the first
            };
            std::uint32_t elements;
            union {
                struct {
                    std::uint32_t first, last;
                };
                std::uint64_t bound_table;  // name: the search that found it, 0 if none had to. Slot: whose call it is
                void* local_table;          // the cell that ends a stream: the stream's own table of names
                DataElement* continuation;  // header cell of a function: where it had got to
            };
            void* data_pointer;  // value: counted block of the items; null for an empty value
        };
        struct {         // item view
            char* name;  // named constant: counted text of its spelling, else null
            union {
                std::uint8_t ascii;
                std::uint16_t unicode;
                std::int64_t integer;
                double real;
                double complex[2];
                double* octonion;     // eight doubles in a counted block
                DataElement* nested;  // subarray: the record of the nested value, in a counted block
                OpenFile* file;       // in a counted block
            };
        };
        double quaternion[4];  // in place of name and payload
    };
};
static_assert(sizeof(DataElement) == 40);

// Kinds of record that are not values, in `rank`.
namespace kind {
inline constexpr std::int32_t LOCAL_VARIABLE = -9, LOCAL_ADDRESS = -8, ADDRESS = -7, OPERATOR = -6, FUNCTION = -5,
                              VARIABLE = -4, LABEL = -3, UNUSED = -2, INVALID = -1;
}

// Bits of `type`.
inline constexpr std::uint32_t ISVARIABLE = 0x1, ISLOCAL = 0x2, ISADDRESS = 0x4, ISFUNCTION = 0x8, ISOPERATOR = 0x10,
                               COMPLEXED = 0x40, STRUCTURED = 0x80, HASASCII = 0x100, HASUNICODE = 0x200,
                               HASINTEGER = 0x400, HASREAL = 0x800, HASCOMPLEX = 0x1000, HASQUATERNION = 0x2000,
                               HASOCTONION = 0x4000, ISSCALAR = 0x10000, ISONEELEMENT = 0x20000, ISVECTOR = 0x40000,
                               ISARRAY = 0x80000, ISSTRUCTURE = 0x100000, ISEMPTY = 0x200000, HASFILE = 0x400000,
                               ISPROBABLE = 0x800000, CONDITIONAL = 0x10000000, YES = 0x20000000, GLOBAL = 0x40000000,
                               GLOBALCHANGE = 0x80000000, INOUT = 0x20;

inline constexpr std::uint32_t KIND_BITS = 0x407f00;                  // all the HAS bits
inline constexpr std::uint32_t SHAPE_BITS = ISSCALAR | ISONEELEMENT;  // takes part as a single value
inline constexpr std::uint32_t RANK_BITS = ISSCALAR | ISONEELEMENT | ISVECTOR | ISARRAY;
inline constexpr std::uint32_t PER_ITEM = COMPLEXED | STRUCTURED;  // verbs look at every item's tag
inline constexpr std::uint32_t NESTED = STRUCTURED | ISSTRUCTURE;

namespace tag {
inline constexpr std::uint32_t subarray = 1, ascii = 2, unicode = 3, integer = 4, real = 5, complex = 6, quaternion = 7,
                               octonion = 8, file = 11;
}

// How a number is to be taken, in `form`.
namespace form {
inline constexpr std::uint16_t unset = 0, boolean = 1, logical = 2, binary = 4, number = 8, cartesian = 0x10,
                               computed_cartesian = 0x18, polar = 0x40, computed_polar = 0x48, timestamp = 0x200,
                               selector = 0x1000;
}

// Bits of `marks`.
namespace mark {
inline constexpr std::uint16_t chance = 1, degrees = 0x20, r_prefix = 0x100, named = 0x4000, hidden = 0x8000;
}

constexpr std::uint64_t make_head(std::uint32_t tag, std::uint16_t form, std::uint16_t marks = 0) {
    return tag | std::uint64_t{form} << 32 | std::uint64_t{marks} << 48;
}
constexpr std::uint32_t head_tag(std::uint64_t head) { return static_cast<std::uint32_t>(head); }
constexpr std::uint16_t head_form(std::uint64_t head) { return static_cast<std::uint16_t>(head >> 32); }
constexpr std::uint16_t head_marks(std::uint64_t head) { return static_cast<std::uint16_t>(head >> 48); }

// The bits of `type` that an item of this tag brings into the record around it; 0 for a tag that no item has.
constexpr std::uint32_t kind_bits(std::uint32_t tag) {
    if (tag >= tag::ascii && tag <= tag::octonion) return HASASCII << (tag - tag::ascii);
    if (tag == tag::subarray) return NESTED;
    return tag == tag::file ? HASFILE : 0;
}

// Items that no other word describes: characters, numbers, nested values. A mix of two or more of these kinds is
// COMPLEXED.
constexpr bool mixed_kinds(std::uint32_t type) {
    const std::uint32_t kinds = type & (KIND_BITS | STRUCTURED);
    return (kinds & (kinds - 1)) != 0;
}

// One item, which stands for as many as are needed. Of values; a cell is none.
constexpr bool is_single(const DataElement& value) { return (value.type & SHAPE_BITS) != 0; }

constexpr bool has_name(const DataElement& item) {
    return (item.marks & mark::named) != 0 && item.tag != tag::quaternion && item.name != nullptr;
}

}  // namespace ondrel
