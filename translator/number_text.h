// Numbers as they are written: how far a number reaches in the source, and what its text stands for.
//
//   integer     sign? digits (e +? digits)?
//   real        sign? digits? . digits exponent?,  sign? digits e - digits,  sign? Inf|inf|Infinity,  NaN|nan
//   binary      0# and one or more of 0 1 |           character   the same between backquotes; of nine digits a plain
//                                                                 one, of any other number one that is bits
//   cartesian   #? r? number (i number)? (j number)? ... with at least one letter of i j k l m n o, in order
//   polar       d? r? number (p number)? (q number)? ... with at least one letter of p q r s t u v, in order
//
// The sign is - or the byte \xAF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "data/dataelement.h"

namespace ondrel {

enum class NumberForm { none, integer, real, binary, binary_character, cartesian, polar };

struct NumberMatch {
    NumberForm form = NumberForm::none;
    std::size_t length = 0;
};

// The longest number that begins at the next byte of the source, polar numbers left out if they cannot stand there.
NumberMatch match_number(bool polar_allowed);
// Whether a number begins these bytes, with a blank behind them.
bool begins_number(std::string_view text);
// The same for what most items of literals are, up to 15 digits before a blank or a parenthesis, and their value.
std::size_t match_digits(std::int64_t& value);
// The same as the first for an integer alone.
NumberMatch match_integer();

// The item that the text of a match stands for: integer, real or hypercomplex, with the form and the marks that its
// prefixes ask for. The caller owns the item; an octonion has a fresh block.
DataElement number_item(std::string_view text, NumberForm form);

// Binary digits of at most `limit` significant ones; `cut` tells that there were more.
struct BinaryDigits {
    std::uint64_t value;
    std::size_t written;  // digits in all, leading zeros included
    bool cut;
};
BinaryDigits read_binary(std::string_view digits, std::size_t limit);

}  // namespace ondrel
