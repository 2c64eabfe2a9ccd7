#include "translator/number_text.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <string>

#include "data/blocks.h"
#include "numbers/kinds.h"
#include "numbers/polar.h"
#include "translator/bytes.h"
#include "translator/source.h"

namespace ondrel {
namespace {

constexpr std::string_view cartesian_letters = "ijklmno", polar_letters = "pqrstuv";
constexpr char high_minus = '\xAF';

bool is_sign(int c) { return c == '-' || c == static_cast<unsigned char>(high_minus); }

// Numbers are read from the source, and their components once more from a text.
constexpr auto from_source = [](std::size_t at) { return peek_number(at); };

template <class Peek>
std::size_t skip_digits(Peek peek, std::size_t at) {
    while (is_digit(peek(at))) ++at;
    return at;
}

template <class Peek>
bool matches(Peek peek, std::size_t at, std::string_view word) {
    for (std::size_t i = 0; i < word.size(); ++i)
        if (peek(at + i) != word[i]) return false;
    return true;
}

// Where an exponent behind a number ends, or `at` if there is none. A negative one makes the number a real.
template <class Peek>
std::size_t skip_exponent(Peek peek, std::size_t at, NumberForm& form) {
    if (peek(at) != 'e' && peek(at) != 'E') return at;
    const int sign = peek(at + 1);
    const std::size_t digits = at + 1 + (sign == '+' || is_sign(sign));
    if (!is_digit(peek(digits))) return at;
    if (is_sign(sign)) form = NumberForm::real;
    return skip_digits(peek, digits);
}

// One component: an integer or a real. Returns where it ends, or `at` if none begins there.
template <class Peek>
std::size_t skip_component(Peek peek, std::size_t at, NumberForm& form) {
    if (matches(peek, at, "NaN") || matches(peek, at, "nan")) {
        form = NumberForm::real;
        return at + 3;
    }
    const std::size_t start = at + is_sign(peek(at));
    if (peek(start) == 'I' || peek(start) == 'i') {
        if (!matches(peek, start, "Inf") && !matches(peek, start, "inf")) return at;
        const bool whole_word = matches(peek, start, "Infinity");
        form = NumberForm::real;
        return skip_exponent(peek, start + (whole_word ? 8 : 3), form);
    }
    std::size_t end = skip_digits(peek, start);
    const bool has_digits = end > start;
    form = NumberForm::integer;
    if (peek(end) == '.' && is_digit(peek(end + 1))) {
        form = NumberForm::real;
        end = skip_digits(peek, end + 1);
    } else if (!has_digits) {
        return at;
    }
    return skip_exponent(peek, end, form);
}

bool is_binary_digit(int c) { return c == '0' || c == '1' || c == '|'; }

// The end of "0#" and binary digits, or `at`.
template <class Peek>
std::size_t skip_binary(Peek peek, std::size_t at) {
    if (!matches(peek, at, "0#") || !is_binary_digit(peek(at + 2))) return at;
    std::size_t end = at + 3;
    while (is_binary_digit(peek(end))) ++end;
    return end;
}

// The prefixes of a hypercomplex number tell which forms it can have.
struct Prefix {
    std::size_t length = 0;
    bool plain = true, cartesian = true, polar = true;
};

template <class Peek>
Prefix read_prefix(Peek peek, std::size_t at) {
    Prefix prefix;
    if (peek(at) == '#') {
        prefix.polar = false;
        ++prefix.length;
    } else if (peek(at) == 'd') {
        prefix.cartesian = false;
        ++prefix.length;
    }
    if (peek(at + prefix.length) == 'r') ++prefix.length;
    prefix.plain = prefix.length == 0;
    return prefix;
}

// Adds components behind the first one, each led by a letter further on in the list.
template <class Peek>
std::size_t skip_components(Peek peek, std::size_t end, std::string_view letters) {
    for (std::size_t next = 0; next < letters.size();) {
        const int c = peek(end);
        const std::size_t letter = c < 0 ? letters.npos : letters.find(static_cast<char>(c), next);
        NumberForm form;
        if (letter == letters.npos) break;
        const std::size_t component = skip_component(peek, end + 1, form);
        if (component == end + 1) break;
        end = component;
        next = letter + 1;
    }
    return end;
}

template <class Peek>
NumberMatch match(Peek peek, bool polar_allowed) {
    if (peek(0) == '`') {
        const std::size_t end = skip_binary(peek, 1);
        if (!polar_allowed || end == 1 || peek(end) != '`') return {};
        return {NumberForm::binary_character, end + 1};
    }
    if (const std::size_t end = skip_binary(peek, 0); end != 0) return {NumberForm::binary, end};

    const Prefix prefix = read_prefix(peek, 0);
    NumberForm form;
    const std::size_t first = skip_component(peek, prefix.length, form);
    if (first == prefix.length) return {};
    if (prefix.cartesian)
        if (const std::size_t end = skip_components(peek, first, cartesian_letters); end != first)
            return {NumberForm::cartesian, end};
    if (prefix.polar && polar_allowed)
        if (const std::size_t end = skip_components(peek, first, polar_letters); end != first)
            return {NumberForm::polar, end};
    return prefix.plain ? NumberMatch{form, first} : NumberMatch{};
}

}  // namespace

NumberMatch match_number(bool polar_allowed) { return match(from_source, polar_allowed); }

bool begins_number(std::string_view text) {
    const auto peek_text = [text](std::size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : ' ';
    };
    return match(peek_text, true).length > 0;
}

std::size_t match_digits(std::int64_t& value) {
    constexpr std::size_t most = 15;  // which a double holds
    std::size_t end = 0;
    int c = 0;
    for (value = 0; is_digit(c = peek_number(end)) && end < most; ++end) value = value * 10 + (c - '0');
    return c == ' ' || c == ')' ? end : 0;
}

NumberMatch match_integer() {
    const std::size_t start = is_sign(peek(0));
    const std::size_t end = skip_digits(from_source, start);
    if (end == start) return {};
    NumberForm form = NumberForm::integer;
    const std::size_t exponent = skip_exponent(from_source, end, form);
    return {NumberForm::integer, form == NumberForm::integer ? exponent : end};
}

namespace {

// The double that a component's text stands for, its signs already plain. Texts out of range are left to strtod,
// which tells the large from the small.
double to_double(std::string_view text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) return std::strtod(std::string(text).c_str(), nullptr);
    return value;
}

// Every high minus as the plain one.
std::string fixsign(std::string_view text) {
    std::string fixed(text);
    std::ranges::replace(fixed, high_minus, '-');
    return fixed;
}

// Integers go through doubles, and keep a double's precision. The greatest integer stands for 2 to the 63, which its
// text rounds to; anything larger is a real.
DataElement integer_item(std::string_view text) {
    DataElement item{};
    item.head = make_head(tag::integer, form::number);
    const double value = to_double(text);
    if (fits_integer(value)) {
        item.integer = static_cast<std::int64_t>(value);
    } else if (value == two_to_63) {
        item.integer = std::numeric_limits<std::int64_t>::max();
    } else {
        item.head = make_head(tag::real, form::number);
        item.real = value;
    }
    return item;
}

DataElement real_item(std::string_view text) {
    DataElement item{};
    item.head = make_head(tag::real, form::number);
    item.real = to_double(text);
    return item;
}

DataElement hypercomplex_item(std::string_view text, bool polar) {
    const auto peek_memory = [&](std::size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : -1;
    };
    const std::string_view letters = polar ? polar_letters : cartesian_letters;
    const Prefix prefix = read_prefix(peek_memory, 0);
    const bool plain_components = text[0] == '#', in_degrees = text[0] == 'd';
    const bool r_prefix = prefix.length > 0 && text[prefix.length - 1] == 'r';

    double components[8] = {};
    std::size_t highest = 0, place = 0;
    for (std::size_t at = prefix.length; at < text.size();) {
        NumberForm form;
        const std::size_t end = skip_component(peek_memory, at, form);
        components[place] = to_double(text.substr(at, end - at));
        if (in_degrees && place > 0) components[place] *= radians_per_degree;
        highest = place;
        if (end == text.size()) break;
        place = letters.find(text[end]) + 1;
        at = end + 1;
    }

    DataElement item{};
    if (highest == 1) {
        item.tag = tag::complex;
        std::copy_n(components, 2, item.complex);
    } else if (highest <= 3) {
        item.tag = tag::quaternion;
        std::copy_n(components, 4, item.quaternion);
    } else {
        item.tag = tag::octonion;
        item.octonion = allocate_octonion(components);
    }
    item.form = polar ? form::polar : plain_components ? form::number : form::cartesian;
    if (in_degrees) item.marks |= mark::degrees;
    if (r_prefix) item.marks |= mark::r_prefix;
    return item;
}

}  // namespace

DataElement number_item(std::string_view text, NumberForm form) {
    std::string fixed;
    if (text.find(high_minus) != text.npos) text = fixed = fixsign(text);
    switch (form) {
        case NumberForm::integer: return integer_item(text);
        case NumberForm::real: return real_item(text);
        default: return hypercomplex_item(text, form == NumberForm::polar);
    }
}

BinaryDigits read_binary(std::string_view digits, std::size_t limit) {
    BinaryDigits result{0, digits.size(), false};
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    if (digits.size() > limit) {
        result.cut = true;
        digits = digits.substr(0, limit);
    }
    for (const char digit : digits) result.value = result.value * 2 + (digit == '1');
    return result;
}

}  // namespace ondrel
