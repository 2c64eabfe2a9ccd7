#include "core/timing.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <span>
#include <vector>

#include "core/clock.h"
#include "core/options.h"
#include "parallel/pool.h"
#include "verbs/array/encoding.h"
#include "verbs/array/nests.h"

namespace ondrel {

double operators = 0, operations = 0, flopos = 0, verbs = 0;
double tval = 0, prevtime = 0, duration = 0, starttime = 0;
std::array<InstructionTime, Instructions.size()> InstructionTiming{};

namespace {

// Where the account of the instruction that runs begins: the clock, and the work done by then.
double time_baseline = 0, work_baseline = 0;

void take_time() { tval = read_clock(); }

// ---- work

// How many items a value has, those of the values in it included, and of which kinds they are.
struct Extent {
    double items = 0;
    std::uint32_t kinds = 0;
};

Extent extent_of(const DataElement& value) {
    Extent extent;
    std::vector<const DataElement*> open{&value};
    while (!open.empty()) {
        const DataElement& next = *open.back();
        open.pop_back();
        extent.items += next.elements;
        extent.kinds |= next.type & KIND_BITS;
        if (next.rank < 0 || !(next.type & NESTED) || next.data_pointer == nullptr) continue;
        const DataElement* const items = items_of(next);
        for (std::uint32_t i = 0; i < next.elements; ++i)
            if (items[i].tag == tag::subarray) open.push_back(items[i].nested);
    }
    return extent;
}

bool is_dyadic(Instruction instruction) { return row(instruction).needed == Class::dyadic_scalar; }
bool counts_result(Instruction instruction) {
    using namespace traits;
    return is_scalar(row(instruction).needed) || row(instruction).has(counts_up | moves_items | folds);
}

// What a verb computes for an item, by the highest kind of number that it works on, as its plain formula has it.
struct Flops {
    double real, complex, quaternion, octonion;
};

Flops flops_of(Instruction instruction) {
    const InstructionRow& of = row(instruction);
    if (of.has(traits::multiplies)) return {1, 6, 28, 120};
    if (of.has(traits::divides)) return {1, 11, 39, 143};
    if (of.has(traits::connects)) return {2, 6, 12, 24};
    if (of.has(traits::judges | traits::moves_items)) return {0, 0, 0, 0};
    return {1, 2, 4, 8};
}

double flops_an_item(Instruction instruction, std::uint32_t kinds) {
    const Flops flops = flops_of(instruction);
    if (kinds & HASOCTONION) return flops.octonion;
    if (kinds & HASQUATERNION) return flops.quaternion;
    if (kinds & HASCOMPLEX) return flops.complex;
    return kinds & (HASREAL | HASINTEGER) ? flops.real : 0;
}

// A number of an interval is a step of each of its axes; integers are counted up without any.
double flops_of_interval(const DataElement& result) {
    if (result.type & (HASCOMPLEX | HASQUATERNION | HASOCTONION)) return result.rank;
    return result.type & HASREAL ? 1 : 0;
}

// ---- the reports of a sentence

void report_speed() {
    take_time();
    duration = tval - prevtime;
    std::fputc('\n', stdout);
    if (operators != 0 && performance)
        std::printf(
            "\n-->\tExecuted %.0lf operators, %.0lf operations.\n-->\tPerformance:\t%.2lf Ondrel "
            "operators/sec,\n\t\t\t%.2lf scalar operations/sec.\n",
            operators, operations, operators / duration, operations / duration);
    if (processor_performance)
        std::printf("\n-->\tProcessor performance: %lg Ondrel operations per Mhz\n",
                    (operations + operators) / (static_cast<double>(MHz) * duration));
}

void writetime() {
    if (!performance) take_time();
    constexpr long second = 1000000, minute = 60 * second, millisecond = 1000;
    const long time = std::lround((tval - prevtime) * second);
    std::printf("\n--> \t\xe4t = %.2ld.%.2ld %.3ldmS %.3lduS\n", time / minute, time % minute / second,
                time % second / millisecond, time % millisecond);
    take_time();
    prevtime = tval;
}

// What was handed out was computed by all threads, in proportion to their stretches.
void share_flops(double computed) {
    if (to_coprocessors.count == 0) {
        from_coprocessor[0].total_flops += computed;
        return;
    }
    for (std::uint32_t i = 0; i < processors; ++i)
        from_coprocessor[i].total_flops +=
            computed * static_cast<double>(stretch_of(i).items()) / to_coprocessors.count;
}

}  // namespace

bool counts_cells() { return opstime || performance || processor_performance; }

void start_sentence() {
    if (!opstime && !timing && !performance && !processor_performance) return;
    take_time();
    prevtime = tval;
}

void report_sentence() {
    if (performance || processor_performance) report_speed();
    if (timing) writetime();
}

// ---- instructions

AccountedRun::AccountedRun() : time_outside(time_baseline), entry(0) {
    if (!opstime) return;
    take_time();
    entry = tval;
}

AccountedRun::~AccountedRun() {
    flopos = 0;  // they stand with the instructions of this run
    work_baseline = operations;
    if (!opstime) return;
    take_time();
    duration = tval - entry;
    time_baseline = time_outside + duration;
}

OwnAccount::OwnAccount() : time(time_baseline), work(work_baseline) {}

OwnAccount::~OwnAccount() {
    time_baseline = time;
    work_baseline = work;
}

AccountedInstruction::AccountedInstruction(const Activation& activation)
    : instruction(static_cast<Instruction>(activation.cell->depth)) {
    time_baseline = tval;
    work_baseline = operations;
    to_coprocessors.count = 0;
    if (instruction == Instruction::MATCH && activation.sp - activation.argument_floor + 1 >= 2) {
        const auto [items, reals] = match_work(activation.sp[-1], activation.sp[0], activation.cell->modifier != 0);
        looked_at = items;
        compared = reals;
    }
    if (!counts_result(instruction)) return;
    const std::ptrdiff_t arguments = is_dyadic(instruction) ? 2 : 1;
    if (activation.sp - activation.argument_floor + 1 < arguments) return;
    const std::span<const DataElement> found(activation.sp - arguments + 1, static_cast<std::size_t>(arguments));
    // An empty operand gives way to the other, and nothing is computed.
    counts_items = std::ranges::none_of(found, [](const DataElement& operand) { return operand.type & ISEMPTY; });
    if (instruction == Instruction::ENCAPSULATE) counts_items = counts_items && can_encapsulate(found[0]);
    if (!counts_items) return;
    if (row(instruction).has(traits::masks) && activation.sp > activation.argument_floor)
        looked_at = activation.sp[-1].elements;
    if (row(instruction).has(traits::folds)) looked_at = activation.sp->rank > 0 ? extent_of(*activation.sp).items : 0;
    for (const DataElement& operand : found) operands |= extent_of(operand).kinds;
}

void AccountedInstruction::finish(const DataElement* top) {
    if (counts_items) {
        const InstructionRow& of = row(instruction);
        const double items = of.has(traits::masks | traits::folds) ? looked_at
                             : of.has(traits::moves_items)         ? top->elements
                                                                   : extent_of(*top).items;
        operations += items;
        flopos = is_dyadic(instruction) +
                 items * (of.has(traits::counts_up) ? flops_of_interval(*top) : flops_an_item(instruction, operands));
        share_flops(flopos);
    } else if (instruction == Instruction::MATCH) {
        operations += looked_at;
        flopos = compared;
        share_flops(flopos);
    } else if (instruction == Instruction::NOOP) {
        ++operations;
    }
    if (!opstime) return;
    take_time();
    const double time = tval - time_baseline, work = operations - work_baseline;
    InstructionTime& record = InstructionTiming[static_cast<std::size_t>(instruction)];
    record.time += time;
    record.squares += time * time;
    record.count += work == 0 ? 1 : work;
    record.flops += flopos;
    take_time();
}

void pass_time() {
    if (opstime) take_time();
}

}  // namespace ondrel
