#include "core/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <span>
#include <string>

#include "core/clock.h"
#include "core/options.h"
#include "core/timing.h"
#include "data/instructions.h"
#include "parallel/pool.h"

namespace ondrel {
namespace {

// ---- the ladders of units: one for each quantity that is printed

// Values from `least` on are printed by `format`, as value * factor / divisor.
struct Rung {
    double least, factor, divisor;
    const char* format;
};

constexpr double any = -std::numeric_limits<double>::infinity();

// Counts and rates, in thousands.
consteval std::array<Rung, 4> in_thousands(const char* giga, const char* mega, const char* kilo, const char* plain) {
    return {{{1e9, 1, 1e9, giga}, {1e6, 1, 1e6, mega}, {1000, 1, 1000, kilo}, {any, 1, 1, plain}}};
}
// Seconds.
consteval std::array<Rung, 4> in_seconds(const char* nano, const char* micro, const char* milli, const char* plain) {
    return {{{1, 1, 1, plain}, {0.001, 1e3, 1, milli}, {1e-6, 1e6, 1, micro}, {any, 1e9, 1, nano}}};
}
// Cycles of the processor, of which the value has millions.
consteval std::array<Rung, 4> in_cycles(const char* giga, const char* mega, const char* kilo, const char* plain) {
    return {{{1000, 1, 1000, giga}, {1, 1, 1, mega}, {0.001, 1000, 1, kilo}, {any, 1e6, 1, plain}}};
}

constexpr auto operations_a_second = in_thousands("%7.3lf Gop/S", "%7.3lf  Mop/S", "%7.3lf   Kop/S", "%7.3lf    op/S");
constexpr auto flops_a_second_in_row =
    in_thousands("%7.3lf Gflop/S", "%7.3lf Mflop/S", "%7.3lf Kflop/S", "%7.3lf  flop/S");
constexpr auto flops_a_second_terse =
    in_thousands("\t%7.3lf Gflop/S  ", "\t%7.3lf  Mflop/S ", "\t%7.3lf   Kflop/S", "\t%7.3lf    flop/S");
constexpr auto flops_a_second =
    in_thousands("%7.3lf Gflop/S", "%7.3lf  Mflop/S", "%7.3lf   Kflop/S", "%7.3lf    flop/S");
constexpr auto total_time = in_seconds(" %7.3lf   nS,", " %7.3lf  uS,", " %7.3lf mS,", " %7.3lf S,");
constexpr auto average_in_row =
    in_seconds(" %7.3lf   nS avg,", " %7.3lf  uS  avg,", " %7.3lf mS   avg,", " %7.3lf S    avg,");
constexpr auto average_in_summary =
    in_seconds("%7.3lf   nS avg,", "%7.3lf  uS  avg,", "%7.3lf mS   avg,", "%7.3lf S    avg,");
constexpr auto deviation =
    in_seconds(" %7.3lf   nS sdev,", " %7.3lf  uS  sdev,", " %7.3lf mS   sdev,", " %7.3lf S    sdev,");
constexpr auto operation_count = in_thousands("%7.3lf Gops", "%7.3lf  Mops", "%7.3lf   Kops", "%7.3lf    ops");
constexpr auto cycles_an_operation =
    in_cycles("%6.2lf Gcy/op    ", "%6.2lf  Mcy/op   ", "%6.2lf   Kcy/op  ", "%6.2lf     cy/op ");
constexpr auto cycles_an_operation_in_summary =
    in_cycles("%6.2lf Gcy/op\t", "%6.2lf  Mcy/op\t", "%6.2lf   Kcy/op\t", "%6.2lf     cy/op\t");
constexpr auto cycles_a_flop =
    in_cycles("%6.2lf Gcy/fp    ", "%6.2lf  Mcy/fp   ", "%6.2lf   Kcy/fp  ", "%6.2lf     cy/fp ");
constexpr auto flop_count =
    in_thousands("      %7.3lf Gfpops  ", "      %7.3lf  Mfpops ", "      %7.3lf   Kfpops", "      %7.3lf    fpops");
constexpr auto flop_count_in_summary =
    in_thousands("%7.3lf Gfpops", "%7.3lf  Mfpops", "%7.3lf   Kfpops", "%7.3lf    fpops");
constexpr auto flops_an_operation_of_processor =
    in_thousands("%7.3lf Gfp/op", "%7.3lf  Mfp/op", "%7.3lf   Kfp/op", " %7.3lf  fp/op");
// Flops for one operation are printed by how many operations there are for one flop.
constexpr std::array<Rung, 4> flops_an_operation{{{1e9, 1e9, 1, "%7.3lf n.fp/op"},
                                                  {1e6, 1e6, 1, "%7.3lf  u.fp/op"},
                                                  {1000, 1000, 1, "%7.3lf   m.fp/op"},
                                                  {any, 1, 1, " %7.3lf  fp/op"}}};
constexpr auto verbs_a_second = in_thousands("%7.3lf Gv/S", "%7.3lf  Mv/S", "%7.3lf   Kv/S", "%7.3lf    v/S");
constexpr auto verb_count = in_thousands("%7.3lf Gverbs", "%7.3lf  Mverbs", "%7.3lf   Kverbs", "%7.0lf    verbs");

const Rung& rung_for(std::span<const Rung> ladder, double value) {
    const auto reached = std::ranges::find_if(ladder, [&](const Rung& rung) { return value >= rung.least; });
    return reached != ladder.end() ? *reached : ladder.back();
}

void print_on_rung(const Rung& rung, double value) { std::printf(rung.format, value * rung.factor / rung.divisor); }
void print_on(std::span<const Rung> ladder, double value) { print_on_rung(rung_for(ladder, value), value); }

void print_total_time(double time) {
    constexpr double minute = 60;
    if (!(time >= minute)) return print_on(total_time, time);
    const double minutes = std::floor(time / minute);
    std::printf(" %7.0lf:%.3lf m:S,", minutes, time - minutes * minute);
}

void print_flops_an_operation(const InstructionTime& record) {
    print_on_rung(rung_for(flops_an_operation, record.count / record.flops), record.flops / record.count);
}

double average_of(const InstructionTime& record) { return record.time / record.count; }

// The sums are rounded, and what is no spread at all may come out just below 0.
double deviation_of(const InstructionTime& record) {
    const double average = average_of(record);
    return std::sqrt(std::max(0.0, record.squares / record.count - average * average));
}

double megahertz() { return static_cast<double>(MHz); }

// ---- the parts of the report

void print_row(const InstructionRow& instruction, const InstructionTime& record, double all_time) {
    const bool has_flops = flops && record.flops > 0;
    std::printf("%s:\t%s", std::string(instruction.name).c_str(), instruction.name.size() < 7 ? "\t" : "");
    print_on(operations_a_second, record.count / record.time);
    std::fputc('\t', stdout);
    if (has_flops)
        print_on(terse_ops ? flops_a_second_terse : flops_a_second_in_row, record.flops / record.time);
    else
        std::fputc('\t', stdout);
    std::fputc('\t', stdout);
    print_total_time(record.time);
    std::printf("\t %7.3lf %%t", record.time / all_time * 100);
    if (!terse_ops) {
        std::fputs("\n\t", stdout);
        if (processor_performance) print_on(cycles_an_operation, megahertz() * average_of(record));
        print_on(average_in_row, average_of(record));
        print_on(deviation, deviation_of(record));
        print_on(operation_count, record.count);
        std::fputc('\n', stdout);
    }
    if (has_flops) {
        std::fputc('\t', stdout);
        if (!terse_ops && processor_performance) print_on(cycles_a_flop, megahertz() * record.time / record.flops);
        print_flops_an_operation(record);
        if (!terse_ops) {
            std::fputs("\t\t", stdout);
            print_on(flop_count, record.flops);
        }
        std::fputc('\n', stdout);
    } else if (terse_ops) {
        std::fputc('\n', stdout);
    }
}

void print_rule() { std::printf("%s\n", std::string(80, '-').c_str()); }

void print_processors(const InstructionTime& all) {
    std::puts("Per processor (thread) floating point perfomance:");
    for (std::uint32_t i = 0; i < cpus; ++i) {
        const double total_flops = from_coprocessor[i].total_flops;
        if (!flops || !(total_flops > 0)) continue;
        std::printf("Processor %d:\t\t", static_cast<int>(i));
        print_on(flops_a_second, total_flops / all.time);
        std::fputc('\t', stdout);
        if (all.count / total_flops < 1)
            print_on(flops_an_operation_of_processor, total_flops / all.count);
        else
            std::printf(" %7.3lf  op/fp", all.count / total_flops);
        std::fputc('\n', stdout);
    }
    print_rule();
}

void print_summary(const InstructionTime& all) {
    std::fputs("Summary:\t", stdout);
    if (processor_performance) print_on(cycles_an_operation_in_summary, megahertz() * average_of(all));
    print_on(average_in_summary, average_of(all));
    print_on(deviation, deviation_of(all));
    std::printf(" n=%.0lf\n\t\t", all.count);
    print_on(operations_a_second, all.count / all.time);
    std::fputs(",   ", stdout);
    print_on(flops_a_second, all.flops / all.time);
    std::fputs(", ", stdout);
    print_on(flop_count_in_summary, all.flops);
    std::fputc('\n', stdout);
}

void print_raw_timing(const InstructionTime& all) {
    const auto [user, system] = processor_time();
    const double processor = user + system;
    std::fputs("\nRaw timing:\t", stdout);
    if (processor_performance) print_on(cycles_an_operation_in_summary, megahertz() * processor / all.count);
    std::fputs("\n\t\t", stdout);
    print_on(operations_a_second, all.count / processor);
    std::fputs(",   ", stdout);
    print_on(flops_a_second, all.flops / processor);
    std::printf("\t(proc time)\n\tproc:\t%7.3lf S (utime: %7.3lf S, stime: %7.3lf S)\n\treal:\t%7.3lf S\n\n", processor,
                user, system, all.time);
}

void print_verbs(double time) {
    const double speed = verbs / time;
    std::fputs("\n\tOndrel verbs per second:   ", stdout);
    if (speed < 1)
        std::printf("%7.3lf    S/v", 1 / speed);
    else
        print_on(verbs_a_second, speed);
    std::fputs(", ", stdout);
    print_on(verb_count, verbs);
    std::fputc('\n', stdout);
}

}  // namespace

// Record 0 belongs to no instruction.
void report_instructions() {
    InstructionTime all{};
    for (std::size_t i = 1; i < InstructionTiming.size(); ++i) {
        const InstructionTime& record = InstructionTiming[i];
        if (!(record.count > 0)) continue;
        all.time += record.time;
        all.squares += record.squares;
        all.count += record.count;
        all.flops += record.flops;
    }
    if (!opstime || !(all.count > 0)) return;

    std::fputs("\n\nExecution timing", stdout);
    std::puts(just_summary ? ":\n-------------------------------" : " per operation:\n");
    if (!just_summary) {
        for (std::size_t i = 1; i < Instructions.size(); ++i)
            if (InstructionTiming[i].count > 0) print_row(Instructions[i], InstructionTiming[i], all.time);
        print_rule();
        if (cpus > 1) print_processors(all);
    }
    print_summary(all);
    print_raw_timing(all);
    print_verbs(all.time);
}

}  // namespace ondrel
