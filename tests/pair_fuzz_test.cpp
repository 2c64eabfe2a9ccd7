// Every scalar verb on random operands of every kind, form, structure and holding. Nothing is known of the results; but
// what comes up is sound, an error leaves the operands as they were, and all blocks come back.
//
// A process of its own runs the pairs, so that one which crashes or hangs is told with its operands.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>
#include <iterator>
#include <random>

#include "core/actions.h"
#include "core/soundness.h"
#include "numbers/random.h"
#include "tests/evaluator.h"
#include "tests/variation.h"

namespace ondrel {
namespace {

constexpr std::uint32_t pairs = 100'000;
constexpr std::uint64_t seed = 1;
constexpr unsigned most_seconds = 240;

// Whatever takes one value or two and is no verb of the stack: the classes of the scalar verbs.
const std::vector<InstructionRow> scalar_verbs = [] {
    std::vector<InstructionRow> verbs;
    std::ranges::copy_if(Instructions, std::back_inserter(verbs), [](const InstructionRow& row) {
        return is_scalar(row.needed);
    });
    return verbs;
}();

// What is no value, as it comes on the stack.
constexpr const char* others[] = {": 1 ADD ;", "@name", "MARK"};

struct Side {
    Value value{};
    std::size_t other = 0;  // above 0: this one of the others instead
    Holding holding{};
    bool by_chance = false;

    bool is_shared() const { return other == 0 && holding.shared; }
    std::string describe() const {
        return other > 0 ? others[other - 1]
                         : ondrel::describe(value) + describe_holding(holding) + (by_chance ? " by chance" : "");
    }
};

// A pair of operands and the verbs that are run on it, each on what the ones before have left.
struct Case {
    std::vector<InstructionRow> verbs{};
    Side left, right;
    bool twice = false;  // the left operand is on the right too
    std::size_t tolerance = 0;
    std::int64_t stream = 0;  // of chance

    std::string describe() const {
        std::string text = left.describe() + "\n" + (twice ? "the same again" : right.describe()) + "\n";
        for (const InstructionRow& verb : verbs) text += std::string(verb.name) + " ";
        return text + "\ntolerance " + std::to_string(tolerance) + ", stream " + std::to_string(stream);
    }
};

class Cases {
public:
    explicit Cases(std::uint64_t number) : random(seed << 32 | number) {}

    Case next() {
        Case made{.left = side(), .right = side(), .twice = below(16) == 0};
        for (std::size_t n = 1 + below(3); n > 0; --n) made.verbs.push_back(scalar_verbs[below(scalar_verbs.size())]);
        if (below(8) == 0) made.tolerance = below(held_tolerances().size());
        made.stream = 1 + static_cast<std::int64_t>(below(prngs_modulus - 1));
        return made;
    }

private:
    static constexpr int deepest = 2;
    std::mt19937_64 random;

    std::size_t below(std::size_t n) { return random() % n; }

    // Any number of bits, so of any magnitude: an integer, a real that may be denormal, infinite or no number.
    std::int64_t any_integer() { return std::bit_cast<std::int64_t>(random()) >> below(64); }
    double any_real() {
        return below(2) == 0 ? std::bit_cast<double>(random()) : static_cast<double>(any_integer()) / 8;
    }

    Item item(const Group& group, int depth) {
        if (depth > 0 && below(8) == 0) return subarray(value(depth - 1));
        Item made = group[below(group.size())];
        const bool of_truth = (made.form & (form::boolean | form::logical)) != 0;
        if (of_truth || !made.name.empty() || below(4) != 0) return made;
        if (made.tag == tag::integer) made.integer = any_integer();
        for (std::size_t k = 0; k < component_count(made.tag); ++k)
            if (below(2) == 0) made.parts[k] = any_real();
        return made;
    }

    // Shapes are few, so that operands often fit each other. A long vector is more than the loops look at once.
    Value value(int depth) {
        static const std::vector<std::int64_t> shapes[] = {{},     {},     {},     {3},    {3}, {3},
                                                           {2, 3}, {2, 3}, {1, 1}, {3, 0}, {1}, {0}};
        const bool long_one = depth == deepest && below(32) == 0;
        Value made{long_one ? std::vector<std::int64_t>{300} : shapes[below(std::size(shapes))], {}};
        std::int64_t n = 1;
        for (const std::int64_t dimension : made.shape) n *= dimension;
        const auto any_group = [this]() -> const Group& { return palette()[below(palette().size())]; };
        const Group& group = any_group();
        const bool mixed = below(3) == 0;
        if (!mixed && below(4) != 0) depth = 0;
        for (; n > 0; --n) made.items.push_back(item(mixed ? any_group() : group, depth));
        return made;
    }

    Side side() {
        if (below(32) == 0) return {.other = 1 + below(std::size(others))};
        return {.value = value(deepest),
                .holding = {below(2) == 0 ? Layout::items : Layout::packed, below(4) == 0},
                .by_chance = below(8) == 0};
    }
};

DataElement put(const Side& side) {
    if (side.other > 0) {
        referencepoint(stack[side.other]);
        return stack[side.other];
    }
    DataElement record = build(side.value, side.holding.layout);
    if (side.by_chance) record.type |= ISPROBABLE;
    return record;
}

// What lies in a slot.
struct Seen {
    DataElement record;
    Value value;
    explicit Seen(const DataElement& slot) : record(slot), value(slot.rank < 0 ? Value{} : read(slot)) {}
    bool empty() const { return record.rank >= 0 && value.items.empty(); }
};

void expect_as_it_was(const Seen& before, const DataElement& record) {
    const Seen now(record);
    if (now.record.rank < 0 || before.record.rank < 0) {
        EXPECT_EQ(std::memcmp(&now.record, &before.record, sizeof record), 0) << "no value, and not what it was";
    } else if (!identical(now.value, before.value)) {
        ADD_FAILURE() << describe(before.value) << " has become " << describe(now.value);
    }
}

void run_verb(const InstructionRow& verb, Activation& activation) {
    const DataElement* const first = activation.argument_floor;
    const std::vector<Seen> before(first, static_cast<const DataElement*>(activation.sp) + 1);
    const auto taken = static_cast<std::size_t>(arguments_of(verb.needed));
    const int error = error_of([&] { actions[static_cast<std::size_t>(verb.number)](activation); });
    check_soundness(activation);

    EXPECT_GE(error, 0) << "unwound without a report";
    const std::size_t untouched = before.size() - (error == 0 ? taken : 0);
    ASSERT_EQ(activation.sp - first + 1, static_cast<long>(untouched + (error == 0 ? 1 : 0))) << "error " << error;
    for (std::size_t i = 0; i < untouched; ++i) expect_as_it_was(before[i], first[i]);
    if (error != 0) return;
    const Seen &left = before[untouched], &right = before.back(), result(*activation.sp);
    if (left.empty() != right.empty())  // then nothing is computed, and the other one stands
        expect_as_it_was(left.empty() ? right : left, *activation.sp);
    else
        EXPECT_GE(result.record.rank, 0) << "no value";
}

// On a stack that holds the others, above which the operands come.
void run_case(const Case& given) {
    const std::int64_t blocks = blocks_out();
    {
        const Tolerance tolerance(held_tolerances()[given.tolerance], packed);
        DataElement* const base = stack + std::size(others);
        base[1] = put(given.left);
        Operand left(given.left.value, base[1], given.left.is_shared());
        base[2] = given.twice ? base[1] : put(given.right);
        if (given.twice) referencepoint(base[2]);
        Operand right(given.right.value, base[2], !given.twice && given.right.is_shared());
        DataElement* const cell = instruction_cell();
        Activation activation{.cell = cell,
                              .sp = base + 2,
                              .argument_floor = base + 1,
                              .frame_base = base + 1,
                              .tables = &variables,
                              .code = cell,
                              .cells = 1};
        prngs_seed = given.stream;
        for (const InstructionRow& verb : given.verbs) run_verb(verb, activation);
        while (activation.sp > base) dereferencepoint(*activation.sp--);
        left.check();
        right.check();
    }
    EXPECT_EQ(blocks_out(), blocks) << "blocks not given back";
}

TEST(PairFuzz, EveryScalarVerb) {
    using Number = std::atomic<std::uint32_t>;  // of the pair that is run
    void* const page = mmap(nullptr, sizeof(Number), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    Number& number = *new (page) Number(0);
    const pid_t process = fork();
    ASSERT_GE(process, 0);
    if (process == 0) {
        alarm(most_seconds);
        Evaluator evaluator;
        instruction_cell();
        for (const char* const other : others) evaluator.run(std::string(other) + " .");
        EXPECT_EQ(evaluator.height(), static_cast<long>(std::size(others)));
        while (number < pairs && !HasFailure()) {
            run_case(Cases(number).next());
            if (!HasFailure()) ++number;
        }
        std::fflush(stdout);
        _exit(0);
    }
    ASSERT_EQ(waitpid(process, nullptr, 0), process);
    EXPECT_EQ(number, pairs) << Cases(number).next().describe();
    munmap(page, sizeof(Number));
}

}  // namespace
}  // namespace ondrel
