// Tables, chains and entries, where a session cannot look: who owns what, and what is left when a name goes.
#include "translator/symbols.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <random>
#include <set>
#include <string>

#include "data/allocator.h"
#include "tests/evaluator.h"
#include "translator/listing.h"
#include "translator/value_key.h"

namespace ondrel {
namespace {

struct TableOwner {
    Table* table = makesmallhashtab();
    ~TableOwner() { release_table(table); }
};

TEST(Symbols, AreFoundByAllTheirBytesInTablesOfBothSizes) {
    const Evaluator interpreter;
    TableOwner small;
    for (Table* const table : {small.table, variables.table}) {
        std::set<Entry*> entries;
        const std::string names[] = {"a", "A", "ab", "ba", "\xFF", "\xFF\x80", std::string(100'000, 'x'), "#IOx"};
        for (const std::string& name : names) {
            EXPECT_EQ(checkhash(table, name), nullptr) << name.substr(0, 10);
            Entry* const made = hashtab(table, name);
            EXPECT_EQ(made->value.rank, kind::ADDRESS);
            EXPECT_FALSE(has_value(made->value));
            EXPECT_EQ(hashtab(table, name), made);
            EXPECT_TRUE(entries.insert(made).second);
        }
        for (int i = 0; i < 2000; ++i) EXPECT_TRUE(entries.insert(hashtab(table, "n" + std::to_string(i))).second);
        for (int i = 0; i < 2000; i += 3) forgethash(checkhash(table, "n" + std::to_string(i)));
        for (int i = 0; i < 2000; ++i) EXPECT_EQ(checkhash(table, "n" + std::to_string(i)) == nullptr, i % 3 == 0) << i;
        EXPECT_EQ(hashtab(table, ""), nullptr);
        EXPECT_EQ(checkhash(table, ""), nullptr);
    }
}

TEST(Symbols, AreSearchedFromTheInnermostTableOutward) {
    const Evaluator interpreter;
    TableOwner outer, inner;
    const Chain middle{outer.table, &variables}, innermost{inner.table, &middle};
    Entry* const global = hashtab(variables.table, "x");
    Entry* const local = hashtab(outer.table, "x");
    EXPECT_EQ(checkmeaning(&innermost, "x"), local);
    EXPECT_EQ(checkmeaning(&variables, "x"), global);
    forgethash(local);
    EXPECT_EQ(checkmeaning(&innermost, "x"), global);
    Entry* const made = meaning(&innermost, "y");
    EXPECT_EQ(checkhash(inner.table, "y"), made);
    EXPECT_EQ(checkmeaning(&innermost, "#IO"), nullptr);
    EXPECT_EQ(meaning(&innermost, "#IO"), hashtab(variables.table, "#IO"));
}

// A tree of chains over few tables, which stand in them again and again, while names come and go: what was found in one
// chain is remembered and offered to the search in any other.
TEST(Symbols, AreFoundAsIfNothingWereRemembered) {
    const Evaluator interpreter;
    std::mt19937 random(20);
    const auto below = [&random](std::size_t n) { return random() % n; };
    TableOwner owners[5];
    std::deque<Chain> links{{owners[0].table, &variables}};
    std::map<std::string, std::pair<std::uint64_t, Entry*>> remembered;
    for (int step = 0; step < 100'000; ++step) {
        const Chain& chain = links[below(links.size())];
        Table* const table = below(20) == 0 ? variables.table : owners[below(5)].table;
        const std::string name(1, static_cast<char>('a' + below(3)));
        if (links.size() < 60 && below(50) == 0) links.emplace_back(table, below(9) == 0 ? &variables : &chain);
        if (below(10) == 0) hashtab(table, name);
        if (Entry* const entry = below(5) == 0 ? checkhash(table, name) : nullptr) {
            if (remembered[name].second == entry) remembered.erase(name);
            forgethash(entry);
        }
        const Chain* link = &chain;
        while (link != nullptr && checkhash(link->table, name) == nullptr) link = link->previous;
        Entry* const expected = link == nullptr ? nullptr : checkhash(link->table, name);
        auto& [search, known] = remembered[name];
        ASSERT_EQ(checkmeaning(&chain, name, search, known), expected) << step;
        ASSERT_TRUE(search != search_of(chain) || known == expected) << step;
        if (below(3) == 0) remembered[name] = {search_of(chain), expected};
    }
}

TEST(Symbols, ForgettingEmptiesAnEntryThatIsStillHeld) {
    const Evaluator interpreter;
    Entry* const entry = hashtab(variables.table, "x");
    entry->value = make_empty();
    reference(entry);
    forgethash(entry);
    EXPECT_TRUE(is_dead(entry->value));
    forgethash(entry);  // of no table any more
    EXPECT_NE(hashtab(variables.table, "x"), entry);
    release(entry);
    Entry* const origin = hashtab(variables.table, "#IO");
    forgethash(origin);
    EXPECT_TRUE(has_value(origin->value));
}

#ifdef ONDREL_CHECKS
// A function held by its own table, a name that holds its own address, functions that name each other.
TEST(Symbols, CirclesFallApartAtTheEnd) {
    { const Evaluator first; }  // makes the translator's tables, which stay
    const std::int64_t before = live_blocks;
    {
        Evaluator interpreter;
        interpreter.run(
            "NILADIC 1 @.x SET @self GET @.me SET ; @self SET @self GET EXECUTE . "
            "@a @a SET : b ; @c SET : c ; @b SET . "
            "CLEAR NILADIC 5 @.y SET ; DUP EXECUTE @self SET @self FORGET .");
    }
    EXPECT_EQ(live_blocks, before);
}
#endif

// ---- what stands for a value

TEST(ValueKeys, TellDifferentValuesApart) {
    Evaluator interpreter;
    interpreter.run(
        "1 2 -1 1.5 1e300 1i2 1i3 1k2 #1o2 (1) (1 2) (2 1) ((1) 2) (1 2 3 4) (1 2 3 4)[2 2] (1 2 3 4)[1 4] `(1 2)` T F "
        "0.1 0.10000000000000002 'a' 'ab' ('ab' 'c') ('a' 'bc') #NIL '' 1p2 d1p2 0#1 0#000000001 inf -inf nan : 1 + ; "
        "r1i2 (1 r1i2) (1 1i2) : %a 1 %b 2 @%a JUMP ; : %b 1 %a 2 @%a JUMP ; : %a ?Y ; : %b ?Y ; @_x @\x02$x\x03 "
        "@\x02x @y\x03 : @x @y ; : @\x02x @y\x03 ; : \x02x $y\x03 ; : x y ; '_x' AT '%x' AT : @%x ; "
        ": 1 - ; MONADIC 1 + ; "
        "VARS 1 MONADIC 1 + ; : SUM ; : PRODUCT ; : x ; : _x ; : @x ; : \"c\" ; : 1 ?Y ; : 1 ?N ; @x [. .");
    std::set<std::string> keys;
    const long height = interpreter.height();
    ASSERT_GT(height, 44);
    for (long i = 0; i < height; ++i) {
        LongText written;
        add_key(written, interpreter.sp[-i], interpreter.sp);
        const std::string key(written);
        EXPECT_TRUE(keys.insert(key).second) << height - i << ": " << key;
        EXPECT_EQ(key.find('\0'), std::string::npos);
    }
}

TEST(ValueKeys, AreTheSameForEqualValues) {
    Evaluator interpreter;
    const auto key_of = [&interpreter](const char* sentence) {
        interpreter.clear();
        interpreter.run(sentence);
        return std::string(value_key(*interpreter.sp, interpreter.sp));
    };
    EXPECT_EQ(key_of("3 ."), key_of("6 2 / ."));
    EXPECT_EQ(key_of("3 ."), key_of("3.0 ."));
    EXPECT_EQ(key_of("(1 2 3) ."), key_of("(1 2 3 4)[3] ."));
    EXPECT_EQ(key_of("((1 2) 'x') ."), key_of("((1 2) 'x') 0 DISCARD ."));
    EXPECT_EQ(key_of("'abc' ."), "abc");
    for (const auto& [one, other] :
         {std::pair{"(1 2 3) .", "3 SPACE ."}, {"(1 2 3) .", "(1.0 2 3) ."}, {"3 .", "3i0 ."}, {"#1i2 .", "1i2 ."},
          {"1i2 .", "1i2j0k0 ."}, {"(1 3i0) .", "(1 3) ."}, {"1i2 .", "0i2 1 + ."}, {"1p0 .", "1 ."},
          {"0 .", "-0.0 ."}, {"#PI .", "#PI 0 + ."}})
        EXPECT_EQ(key_of(one), key_of(other)) << one << other;
    EXPECT_EQ(key_of(": 1  +\n; ."), key_of(": 1 + FUNCTIONEND ."));
}

// ---- names as a text

std::string remembered(const Chain* tables) {
    char* text = nullptr;
    std::size_t length = 0;
    std::FILE* const stream = open_memstream(&text, &length);
    remember(stream, tables);
    std::fclose(stream);
    const std::string result(text, length);
    std::free(text);
    return result;
}

TEST(Remember, WritesSentencesThatSetTheSameNames) {
    Evaluator interpreter;
    interpreter.run(
        "1.5 @a SET (1 'two' (3 4)) @\x02two words\x03 SET 'text' @SWAP SET MONADIC DUP * ; OPERATOR @square SET "
        "0 1000 DYADIC DISCARD ; LOOP @zero SET .");
    for (int i = 0; i < 600; ++i) interpreter.run(std::to_string(i) + " @n" + std::to_string(i) + " SET .");
    const std::string text = remembered(&variables);
    EXPECT_TRUE(text.ends_with(".\n"));
    interpreter.clear();
    interpreter.run(text);
    EXPECT_EQ(remembered(&variables), text);
    EXPECT_EQ(interpreter.run("CLEAR 7 square n599 + ."), "\n\n 648");
    EXPECT_EQ(interpreter.run("SWAP ."), "\n\ntext");
}

}  // namespace
}  // namespace ondrel
