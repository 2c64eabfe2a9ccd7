// What is saved comes back: random workspaces of values of every kind, form, mark and nest, as the verbs make and
// change them, of functions, and of names and texts of any bytes, are saved, read and saved again. ONDREL_WORKSPACES
// tells how many there are to be.
#include <gtest/gtest.h>
#include <unistd.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <span>
#include <sstream>

#include "core/stack.h"
#include "data/instructions.h"
#include "numbers/truth.h"
#include "tests/evaluator.h"
#include "tests/palette.h"
#include "tests/process.h"
#include "translator/listing.h"

namespace ondrel {
namespace {

namespace fs = std::filesystem;
using Random = std::mt19937_64;

std::size_t below(Random& random, std::size_t n) { return random() % n; }
template <class List>
const auto& any_of(Random& random, const List& list) {
    return list[below(random, std::size(list))];
}

// One of the parts of a text that two blanks keep apart.
std::string part_of(Random& random, std::string_view text) {
    std::vector<std::string_view> parts;
    for (std::size_t at = 0, end = 0; end != text.npos; at = end + 2)
        parts.push_back(text.substr(at, (end = text.find("  ", at)) - at));
    return std::string(any_of(random, parts));
}

// ---- what is promised of an element, as a text

std::vector<double> parts_of(const DataElement& item) {
    if (item.tag == tag::real) return {item.real};
    if (item.tag == tag::complex) return {std::begin(item.complex), std::end(item.complex)};
    if (item.tag == tag::quaternion) return {std::begin(item.quaternion), std::end(item.quaternion)};
    return {item.octonion, item.octonion + 8};
}

// Forms that a print tells, and degrees of truth that lie in their range.
int told_form(const DataElement& item) {
    const auto all = [&](auto test) { return std::ranges::all_of(parts_of(item), test); };
    const bool truth = item.form == form::boolean, number = item.tag == tag::integer || item.tag == tag::real;
    if (item.tag == tag::ascii || item.form == form::binary) return item.form & form::binary;
    if (item.tag == tag::integer) return truth && (item.integer == 0 || item.integer == 1);
    if (item.form == form::logical && (number || !(item.marks & mark::r_prefix)) &&
        all([](double part) { return part >= 0 && part <= 1 && !std::signbit(part); }))
        return form::logical;
    if (number) return 0;
    if (truth && !(item.marks & (mark::r_prefix | mark::degrees)) &&
        all([](double part) { return (part == 0 || part == 1) && !std::signbit(part); }))
        return form::boolean;
    return item.form == form::number || item.form == form::polar ? item.form : form::cartesian;
}

void tell(std::ostream& out, const DataElement& element, bool nested);

void tell_item(std::ostream& out, const DataElement& item) {
    if (item.tag == tag::subarray) return tell(out, *item.nested, true);
    const int form = told_form(item);
    out << ' ' << item.tag << '/' << form;
    if (item.tag == tag::ascii) {
        out << '.' << int{item.ascii};
    } else if (item.tag == tag::integer) {
        out << '.' << item.integer;
    } else if (item.tag != tag::unicode) {
        if (item.tag != tag::real) out << '/' << (item.marks & mark::r_prefix);
        if (form == form::polar) out << '/' << (item.marks & mark::degrees);
        for (const double part : parts_of(item))
            out << '.' << (std::isnan(part) ? 7 : std::bit_cast<std::int64_t>(part));
    }
    if (has_name(item) && item.form != form::boolean && item.name[1] != 'C' && item.name[1] != 'I') out << item.name;
}

void tell_function(std::ostream& out, const DataElement& function) {
    out << " function " << function.depth << ' ' << function.locals << ' ' << (function.type & ISOPERATOR);
    for (const auto* cell = static_cast<const DataElement*>(function.data_pointer) + 1; cell->type != 0; ++cell) {
        out << "\n  " << cell->rank << ' ' << (cell->type & (CONDITIONAL | YES));
        if (cell->rank == kind::FUNCTION || cell->rank >= 0 || cell->rank == kind::LOCAL_VARIABLE)
            tell(out, *cell, true);
        else if (cell->depth != static_cast<int>(Instruction::FUNCTIONEND))
            out << ' ' << cell->depth << ' ' << cell->modifier << ' ' << (cell->text ? cell->text : "");
    }
}

// A vector that COLLECT has made has a depth of 0 where nothing is nested in it.
void tell(std::ostream& out, const DataElement& element, bool nested) {
    if (element.rank == kind::FUNCTION) return tell_function(out, element);
    if (element.rank < 0 && element.rank != kind::LOCAL_VARIABLE) {
        out << " cell " << element.rank << ' ' << (element.text == nullptr ? "" : element.text);
        return;
    }
    const bool empty = (element.type & ISEMPTY) != 0;
    bool structured = false;  // what was cut keeps the bit
    for (std::uint32_t i = 0; i < element.elements; ++i)
        structured = structured || item_at(element.data_pointer, i).tag == tag::subarray;
    const bool collected = !nested && element.rank == 1 && !structured && !empty && element.depth == 0;
    out << " <" << element.rank << ':' << (collected ? 1 : element.depth) << ':'
        << (element.type & (RANK_BITS | ISEMPTY | (empty ? HASASCII | HASINTEGER : 0)));
    for (std::int32_t k = 0; k < element.rank; ++k) out << ' ' << element.shape_pointer[k];
    for (std::uint32_t i = 0; i < element.elements; ++i) tell_item(out, item_at(element.data_pointer, i));
    out << '>';
}

using State = std::map<std::string, std::string>;

State state_of(const Evaluator& evaluator) {
    State state;
    const auto told = [](const DataElement& element) {
        std::ostringstream out;
        tell(out, element, false);
        return out.str();
    };
    for_each_entry(variables.table, [&](Entry& entry) {
        if (has_value(entry.value)) state["name " + std::string(entry.name)] = told(entry.value);
    });
    for (long i = 0; i < evaluator.height(); ++i) state["slot " + std::to_string(i)] = told(stack[i + 1]);
    return state;
}

// Where two texts part; empty if they never do.
std::string difference(const std::string& was, const std::string& is) {
    if (was == is) return "";
    const auto at = static_cast<std::size_t>(std::ranges::mismatch(was, is).in1 - was.begin());
    const std::size_t from = at < 60 ? 0 : at - 60;
    return "was ..." + was.substr(from, 90) + "... and is ..." + is.substr(from, 90);
}

// The first element that is not as it was; empty if there is none.
std::string difference(const State& was, const State& is) {
    for (const auto& [name, told] : was) {
        const auto found = is.find(name);
        if (found == is.end()) return name + " is gone";
        if (found->second != told) return name + ' ' + difference(told, found->second);
    }
    return was.size() == is.size() ? "" : "there are others";
}

// ---- random workspaces

Item any_item(Random& random) {
    Item item = any_of(random, any_of(random, palette()));
    while (item.tag == tag::unicode) item = any_of(random, any_of(random, palette()));  // nothing makes one
    if (item.tag == tag::ascii && below(random, 2) == 0) item.integer = static_cast<int>(below(random, 256));
    if (item.tag == tag::integer && item.name.empty() && below(random, 4) == 0)
        item.integer = static_cast<std::int64_t>(random());
    if (item.tag >= tag::complex)
        item.form = any_of(random, std::to_array<std::uint16_t>({8, 0x10, 0x40, 2, 1, 0x18, 0x48, 0}));
    return item;
}

Value any_value(Random& random, int depth) {
    if (below(random, 4) == 0) return scalar_value(any_item(random));
    Value value{{}, {}};
    std::size_t n = 1;
    for (std::size_t k = 0; k < 1 + below(random, 3); ++k) {
        value.shape.push_back(
            static_cast<std::int64_t>(1 + below(random, depth == 3 && below(random, 5) == 0 ? 12 : 3)));
        n *= static_cast<std::size_t>(value.shape.back());
    }
    const bool mixed = below(random, 2) == 0;
    const Item model = any_item(random);
    for (std::size_t i = 0; i < n; ++i) {
        Item item = mixed ? any_item(random) : model;
        if (!mixed && item.tag == tag::ascii) item.integer = static_cast<int>(below(random, 256));
        value.items.push_back(mixed && depth > 0 && below(random, 4) == 0 ? subarray(any_value(random, depth - 1))
                                                                          : item);
    }
    return value;
}

constexpr std::string_view changes =
    "ENCLOSE  ATOM  RAVEL  REST  RREST  FIRST  FIRSTONE  REVERSE  TRANSPOSE  ENLIST  SHAPE  DUP ..]  "
    "DUP [. SWAP .]  [. SWAP 7 .]  [. SWAP 'a' ATOM .]  3 RESHAPE  (2 3) RESHAPE  (0 2) RESHAPE  "
    "(1 1) RESHAPE  'x' ,  1p2 ,  DUP ,  (1 0) COMPRESS  (0 0) COMPRESS  (0 1 1) COMPRESS  BINARY  LOGICAL  "
    "BOOLEAN  POLAR  CARTESIAN  DEG  RAD  NOT  ENASCII  DEASCII  ENCAPSULATE  DECAPSULATE  MONADIC ; EACH  "
    "MONADIC ENCLOSE ; EACH  MONADIC ATOM ; EACH  0.5 *  1 +  NEGATIVE  OUTPUT  ..]  [. 1 2 .]  'it''s \"'  "
    "#NIL  ()  ''  `(1 'a' (2))  #LOGE2 #END ..]  dr1p37  #-4i0  0 0 /  ((1) (2 (3)))  9007199254740993 1 +  "
    "('''a' 'b''' '`0#000000000`')  0l0  #CT  (1 2)[2 0]";
constexpr std::string_view pieces =
    "1  3.0  (1 2.0)  'it''s'  ('a' 'b')  ''  ()  #NIL  (1 2)[2 2]  dr1p37  #-4i0  #LOGE2  T  name  "
    "\x02info\x03  @nanx  $r1i2  @\x02_b c\x03  _1  @_\x02"
    "b  @.1  $+  @.x  .x  %label  @%label  SIN  "
    "+ //  DUP  FIRST  \x02"
    "ELEMENT\x03  \x02"
    "NEW\x03  CONTEXT  [. 1 .]  \"note\"  5 ?Y  + ?N  "
    "WRAP MASK  [.  ::[.  : 1  MONADIC 'x' ;  VARS 2 DYADIC @&1 SET &2 ;  \x02"
    "ARGS\x03  #SIN  0#0101  "
    "`0#000100111`  `(1 2)`[2]  -0.0  1e300  nan  NEW CONTEXT  JUMP  1i0j0  ()[2 0]  "
    "('`0#000100010`' ''' '`0#00000000`')  !  RUN  \x02"
    "1p2\x03";

std::string any_name(Random& random) {
    constexpr const char* names[] = {"info", "nanx", "r1i2", "SET", ",", "[.", "+", "\"", "RESHAPE", "ATOM", "T"};
    std::string codes = "(";
    if (below(random, 3) == 0) return "'" + std::string(any_of(random, names)) + "' ";
    for (std::size_t k = 0; k < 2 + below(random, 5); ++k) codes += ' ' + std::to_string(1 + below(random, 255));
    return codes + ") ::ENASCII ";
}

void make_workspace(Random& random, Evaluator& evaluator) {
    evaluator.clear();
    for (std::size_t i = 0; i < 1 + below(random, 6); ++i) {
        if (below(random, 5) == 0) {
            std::string function =
                any_of(random, std::array{": ", "MONADIC ", "VARS 3 TRIADIC ", "ARGS 5 VARS 2 FUNCTION "});
            for (std::size_t k = 0; k < below(random, 12); ++k) function += part_of(random, pieces) + ' ';
            evaluator.run(function + any_of(random, std::array{". ", "; . ", "; OPERATOR . "}));
        } else {
            *++evaluator.sp = build(any_value(random, 3), below(random, 2) == 0 ? Layout::items : Layout::packed);
        }
        while (below(random, 3) != 0) evaluator.run(part_of(random, changes) + " . ");
        if (below(random, 2) == 0) evaluator.run(any_name(random) + "::AT ::SET . ");
    }
    if (below(random, 9) == 0) evaluator.run("[. :: [. @name . ");
    evaluator.run(" . ");  // shows the top, which lowers what can be lower
}

std::string contents(const std::string& path) {
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(Workspace, ComesBack) {
    const char* const asked = std::getenv("ONDREL_WORKSPACES");
    const int workspaces = asked == nullptr ? 500 : std::atoi(asked), every = std::max(workspaces / 200, 1);
    const fs::path before = fs::current_path(),
                   folder = fs::temp_directory_path() / ("ondrel_workspaces" + std::to_string(getpid()));
    fs::create_directory(folder);
    fs::current_path(folder);
    std::string again_elsewhere;
    Evaluator evaluator;
    for (int i = 0; i < workspaces && !testing::Test::HasFailure(); ++i) {
        Random random(static_cast<std::size_t>(i));
        SCOPED_TRACE(i);
        make_workspace(random, evaluator);
        const State made = state_of(evaluator);
        const std::int64_t blocks = blocks_out();
        const std::string first = "first" + std::to_string(i % every == 0 ? i : 0);
        const std::string said = evaluator.run("'" + first + "' ::SAVE . ");
        if (said.find("a slot without a value") != said.npos) continue;  // left by a function that failed, and told
        EXPECT_EQ(said.find("saved"), said.npos) << said;
        EXPECT_EQ(difference(made, state_of(evaluator)), "") << "by being saved";
        EXPECT_EQ(blocks_out(), blocks);
        evaluator.clear();
        const std::string read = evaluator.run("'" + first + "' ::LOAD . ");
        EXPECT_EQ(difference(made, state_of(evaluator)), "") << read << contents(first);
        evaluator.run("'second' ::SAVE . ");
        EXPECT_EQ(difference(contents(first), contents("second")), "");
        if (i % every == 0) again_elsewhere += "'" + first + "' ::LOAD '" + first + ".again' ::SAVE ::CLEAR ::WIPE .\n";
    }
    Process fresh({.arguments = {"-q"}});
    fresh.send(again_elsewhere);
    fresh.finish(600);
    for (int i = every; i < workspaces && !testing::Test::HasFailure(); i += every) {
        const std::string first = "first" + std::to_string(i);
        EXPECT_EQ(contents(first), contents(first + ".again")) << i << fresh.output;
    }
    fs::current_path(before);
    fs::remove_all(folder);
}

}  // namespace
}  // namespace ondrel
