#include "tests/palette.h"

#include <limits>
#include <numbers>

namespace ondrel {
namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double pi = std::numbers::pi;
constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t two_53 = std::int64_t{1} << 53;

template <class Number, class Make>
Group group(std::initializer_list<Number> numbers, Make make) {
    Group made;
    for (const Number& number : numbers) made.push_back(make(number));
    return made;
}

Group integers(std::initializer_list<std::int64_t> values, std::uint16_t form = form::number) {
    return group(values, [form](std::int64_t value) { return integer(value, form); });
}

using Components = std::initializer_list<double>;
Group numbers(std::initializer_list<Components> values, std::uint16_t form = form::number, std::uint16_t marks = 0) {
    return group(values, [=](Components parts) { return hypercomplex(parts, form, marks); });
}

constexpr std::uint16_t every_mark = 1 | mark::degrees | mark::r_prefix;  // but those of a name

Item marked(Item item, std::uint16_t marks) {
    item.marks = marks;
    return item;
}
Item in_form(Item item, std::uint16_t form) {
    item.form = form;
    return item;
}

Item wide_character(std::int64_t code) {
    Item item{.tag = tag::unicode, .form = form::unset};
    item.integer = code;
    return item;
}

}  // namespace

const std::vector<Group>& palette() {
    static const std::vector<Group> groups{
        {character('a'), character(' '), character(0), character('~'), character(0xff), character(0x80)},
        {character('b', form::binary), character(1, form::binary)},
        {wide_character(0x263a)},
        integers({0,
                  1,
                  -1,
                  2,
                  3,
                  -3,
                  7,
                  -7,
                  100,
                  two_53,
                  two_53 + 1,
                  -two_53 - 1,
                  3037000499,
                  3037000500,
                  -3037000500,
                  std::int64_t{1} << 31,
                  std::int64_t{1} << 62,
                  -(std::int64_t{1} << 62),
                  greatest,
                  greatest - 1,
                  greatest - 600,
                  least,
                  least + 1}),
        integers({-6, -5, -4, -2, 4, 5, 6, 20, 21, 62, 63, 171}),
        integers({0, 1}, form::boolean),
        integers({-1, 1, 257}, form::boolean),
        integers({0, 5, -1}, form::binary),
        {marked(integer(0), every_mark), marked(integer(3), every_mark), marked(integer(-2), every_mark)},
        {named(integer(1, form::selector), "#SIN"), named(integer(-7, form::selector), "#ATANH"),
         marked(named(integer(2, form::selector), "#COS"), mark::named | mark::hidden)},
        group({0.0,
               -0.0,
               inf,
               -inf,
               nan,
               1.0,
               -1.0,
               0.5,
               -2.5,
               3.0,
               -7.0,
               0.1,
               5e-324,
               -1e-310,
               1e-300,
               1e300,
               1e308,
               -1.7e308,
               9007199254740992.0,
               4503599627370495.5,
               4503599627370496.0,
               9223372036854775808.0,
               -9223372036854775808.0,
               1e19},
              real),
        {named(real(pi), "#PI"), named(real(-2.718281828459045), "-#E")},
        group({0.25,
               0.75,
               0.50000001,
               0.3333333333333333,
               1.0000000000000002,
               -0.5,
               -1.5,
               -2.7,
               2.9999999999999996,
               2.0,
               4.0,
               -8.0,
               20.0,
               170.5,
               200.25,
               -170.5,
               pi / 2,
               100.0,
               10.0,
               -2.0},
              real),
        {marked(real(0), every_mark), marked(real(0.75), every_mark), marked(real(-8), every_mark)},
        {degree(0.25), degree(1), degree(0.5)},
        {in_form(real(0), form::boolean), in_form(real(1), form::boolean)},
        {marked(degree(1), every_mark), marked(degree(0), every_mark)},
        {degree(-0.0), degree(1)},
        {in_form(real(2.5), form::binary), in_form(real(-0.0), form::binary)},
        numbers({{0, 0},         {1, 0},           {0, 1},    {3, 4},      {-3, 4},        {0.5, -0.25}, {-0.0, 0},
                 {0, -0.0},      {inf, 0},         {0, -inf}, {inf, -inf}, {nan, 1},       {1, nan},     {0, nan},
                 {1e200, 1e200}, {1e-200, 1e-200}, {2, -3},   {-2.5, 0},   {1e308, 1e308}, {7.25, 2.5}}),
        numbers({{0.6, 0.6},
                 {0.5, 0.5},
                 {-0.5, 0.25},
                 {0.6, 0.8},
                 {1, 1},
                 {-1, 0},
                 {2, 0},
                 {0.5, 0},
                 {0, -1},
                 {pi, 0},
                 {-2, 1e-10},
                 {-2.5, -0.5},
                 {2.5, 12},
                 {20, 3}}),
        numbers({{0, 0}, {1, 0}, {1, 1}}, form::boolean, 1),
        numbers({{0.5, 0.5}, {0.25, 1}, {0.75, nan}}, form::logical),
        numbers({{0, 0}, {2, -3}, {-1, 0}, {0, 2}, {0.1, 0.2}}, form::cartesian),
        numbers({{1, -1}, {6, 8}}, form::cartesian, mark::r_prefix),
        numbers({{1, -1}, {0, 8}}, form::computed_cartesian),
        numbers({{2, 1}, {0, 0}}, form::computed_polar),
        numbers({{0, 0}, {1, pi / 2}, {2, 0}, {3, -2.5}, {0, 1}, {5, pi}, {-1, 0.3}, {2, 9}, {1e200, 1}, {inf, 1}},
                form::polar),
        numbers({{2, pi / 3}, {1, -pi}}, form::polar, mark::degrees),
        numbers({{0, 0, 0, 0},
                 {1, 2, 3, 4},
                 {1, 2, 3, 0},
                 {-1, 0, 0, 0},
                 {0, 1, 0, 0},
                 {0, 0, 1, 0},
                 {0, 0, 0, 1},
                 {0, 0, -2, 5},
                 {-0.5, 0.25, 0, 8},
                 {0.1, -0.2, 0.3, -0.4},
                 {inf, 0, 0, 0},
                 {0, 0, 0, nan},
                 {1, -inf, 2, 3},
                 {1e200, 1, 1, 1e200},
                 {1e-200, 0, 0, 1e-200}}),
        numbers({{0.6, 0.7, 0.1, 0.2}, {-0.5, 0.5, 0.75, -0.25}, {0.25, 0.5, 1, nan}, {-3, 0, 0, 0}, {3, 0, 0, 0}}),
        numbers({{1, 0, 0, 1}, {0, 1, 1, nan}}, form::boolean),
        numbers({{0.25, 0.5, 0.75, 1}, {0.25, 0.5, 0.75, nan}}, form::logical, every_mark),
        numbers({{4, 3, 2, 1}, {-1, 1, -1, 1}}, form::cartesian, mark::r_prefix),
        numbers({{2, 0.3, 0.4, 0.5}, {1, pi / 2, 0, 0}, {3, 1, -1, 0}}, form::polar),
        numbers({{0, 0, 0, 0, 0, 0, 0, 0},
                 {1, 2, 3, 4, 5, 6, 7, 8},
                 {-8, 7, -6, 5, -4, 3, -2, 1},
                 {1, 0, 0, 0, 0, 0, 0, 0},
                 {0, 1, 0, 0, 0, 0, 0, 0},
                 {0, 0, 0, 0, 1, 0, 0, 0},
                 {0, 0, 0, 0, 0, 0, 0, -1},
                 {0.1, 0.2, 0, 0, 0.5, 0, 0.7, 0},
                 {inf, 0, 0, 0, 0, 0, 0, 0},
                 {0, 0, 0, 0, 0, nan, 0, 0},
                 {1e200, 0, 0, 0, 0, 0, 0, 1e200}}),
        numbers({{0.5, 0.25, 0, 1, 2, -1, 0.75, nan},
                 {0.5, 0.25, 0, 1, 2, -1, nan, nan},
                 {0.5, 0.25, 0, 1, 2, nan, nan, nan},
                 {0.1, 0.2, 0.3, 0.4, 0, 0, 0, 0.5}}),
        numbers({{0, 1, 0, 1, 0, 1, 1, 1}, {1, 1, 1, 1, 1, nan, nan, nan}}, form::boolean),
        numbers({{0, 1, 0.5, 1, 0.25, 1, 1, 0.75}, {1, 0.5, 1, 1, 1, 0.5, nan, nan}}, form::logical),
        numbers({{8, 7, 6, 5, 4, 3, 2, 1}, {0, 0, 1, 0, 0, 1, 0, 0}}, form::cartesian),
        numbers({{2, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7}, {1, 1, 0, 0, 0, 0, 0, 0}}, form::polar, mark::degrees),
    };
    return groups;
}

const std::vector<Group>& small_palette() {
    static const std::vector<Group> groups{
        {character('x'), character('y'), character(0xff)},
        {named(integer(1, form::selector), "#SIN"), integer(1, form::boolean), integer(0)},
        integers({6, 0, -3}),
        integers({greatest, 1, least}),
        group({-2.5, 0.0, 3.0}, real),
        group({nan, inf, -0.0}, real),
        {degree(1), degree(0), degree(1)},
        numbers({{3, 4}, {0, 1}, {-2, 0}}),
        numbers({{2, -3}, {1, 1}, {0, 0}}, form::cartesian, mark::r_prefix),
        numbers({{2, 1}, {1, pi / 2}, {3, -2}}, form::polar),
        numbers({{1, 2, 3, 4}, {0, 0, -1, 0}, {1, 1, 1, 0}}),
        numbers({{1, 2, 3, 4, 5, 6, 7, 8}, {0, 0, 0, 0, 0, 1, 0, 0}, {2, 0, 0, 0, 0, 0, 0, -1}}),
    };
    return groups;
}

}  // namespace ondrel
