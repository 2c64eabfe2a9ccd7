#include "data/inspection.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "data/blocks.h"

namespace ondrel {
namespace {

constexpr auto Ranks =
    std::to_array<const char*>({"END", "LOCAL VARIABLE", "LOCAL ADDRESS", "ADDRESS", "OPERATOR", "FUNCTION", "VARIABLE",
                                "LABEL", "UNUSED", "INVALID", "SCALAR", "ARRAY"});
constexpr std::int32_t lowest_rank = -10;

struct TypeBit {
    std::uint32_t bit;
    const char* name;
};

constexpr auto type_bits = std::to_array<TypeBit>({
    {0x1, "ISVARIABLE"},       {0x2, "ISLOCAL"},
    {0x4, "ISADDRESS"},        {0x8, "ISFUNCTION"},
    {0x20, "INOUT"},           {0x40, "COMPLEXED"},
    {0x80, "STRUCTURED"},      {0x100, "HASASCII"},
    {0x200, "HASUNICODE"},     {0x400, "HASINTEGER"},
    {0x800, "HASREAL"},        {0x1000, "HASCOMPLEX"},
    {0x2000, "HASQUATERNION"}, {0x4000, "HASOCTONION"},
    {0x8000, "HASFUNCTION"},   {0x10000, "ISSCALAR"},
    {0x20000, "ISONEELEMENT"}, {0x40000, "ISVECTOR"},
    {0x80000, "ISARRAY"},      {0x100000, "ISSTRUCTURE"},
    {0x200000, "ISEMPTY"},     {0x400000, "HASFILE"},
    {0x800000, "ISPROBABLE"},  {0x1000000, "SAMERANK"},
    {0x2000000, "LEFTSCALAR"}, {0x10000000, "CONDITIONAL"},
    {0x40000000, "GLOBAL"},    {0x80000000, "GLOBALCHANGE"},
    {0x10, "ISOPERATOR"},
});

}  // namespace

const char* rank_name(std::int32_t rank) {
    return Ranks[static_cast<std::size_t>(std::clamp(rank, lowest_rank, 1) - lowest_rank)];
}

void detail_type(const char* label, std::uint32_t type) {
    std::fputs(label, stdout);
    if (type == 0) std::fputs(" END", stdout);
    for (const auto& [bit, name] : type_bits) {
        if (!(type & bit)) continue;
        std::printf(" %s", name);
        if (bit == CONDITIONAL) std::fputs(type & YES ? " YES" : " NO", stdout);
    }
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

std::int64_t refr(const void* block) { return block == nullptr ? -777 : header(block).count; }

void at(const DataElement& record) {
    detail_type("", record.type);
    if (record.rank <= 0)
        std::fputs(rank_name(record.rank), stdout);
    else
        std::printf("rank %d", record.rank);
    if (record.rank == kind::FUNCTION)
        std::printf(" arguments %d, locals %d,", record.depth, record.locals);
    else
        std::printf(" depth %d,", record.depth);
    std::printf(" elements %u ", record.elements);
    if (record.rank >= 0) {
        std::fputs(" shape: [ ", stdout);
        for (std::int32_t k = 0; k < record.rank; ++k) std::printf("%ld ", static_cast<long>(record.shape_pointer[k]));
        std::fputs("]", stdout);
    } else {
        std::printf("%s (%ld) (%ld)", record.text == nullptr ? "" : record.text, static_cast<long>(refr(record.text)),
                    static_cast<long>(refr(borrows(record) ? nullptr : record.data_pointer)));
    }
    std::fputc('\n', stdout);
}

}  // namespace ondrel
