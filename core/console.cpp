#include "core/console.h"

#include <sys/time.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <string>
#include <utility>

#include "core/calls.h"
#include "data/texts.h"
#include "numbers/kinds.h"
#include "numbers/random.h"
#include "translator/printing.h"
#include "translator/source.h"

namespace ondrel {

// Shows the top of the stack; the form of the verb that ends a line shows nothing of an empty value but that.
Outcome output_top(Activation& activation) {
    const bool ends_line = activation.cell->modifier == static_cast<std::uint16_t>(Instruction::PRINT);
    DataElement& top = *activation.sp;
    if (!ends_line || !(top.type & ISEMPTY)) dump(stdout, "", top);
    if (ends_line) std::fputc('\n', stdout);
    return Outcome::next;
}

Outcome print_top(Activation& activation) {
    output_top(activation);
    dereferencepoint(*activation.sp--);
    return Outcome::next;
}

Outcome input(Activation& activation) {
    if (is_full(activation)) return fail(message::stack_full, activation);
    const DataElement* const before = activation.sp;
    Sentence sentence = typed_sentence(activation, Newline::ends);
    if (sentence.runs()) run_inside(activation, sentence, true);
    return activation.sp == before ? push(activation, make_empty()) : Outcome::next;
}

Outcome quoted_input(Activation& activation) {
    if (is_full(activation)) return fail(message::stack_full, activation);
    std::fflush(stdout);
    std::string line;
    constexpr std::size_t more_than_fit = std::size_t{1} << 32;
    for (int byte; (byte = next_byte(stdin)) != '\n' && byte != EOF;)
        if (line.size() < more_than_fit) line.push_back(static_cast<char>(byte));
    return push(activation, make_text(line, activation.site()));
}

Outcome wait_for_enter(Activation&) {
    std::fflush(stdout);
    std::fputs("\nWaiting... press ENTER to continue: ", stderr);
    next_byte(stdin);
    return Outcome::next;
}

namespace {

// An interrupt ends the sleep.
void sleep_for(timespec left) {
    std::fflush(stdout);
    while (nanosleep(&left, &left) != 0 && errno == EINTR) heed_attention();
}

}  // namespace

// What is no number is left alone.
Outcome sleep_top(Activation& activation) {
    const DataElement& top = *activation.sp;
    if (top.rank < 0 || !(top.type & SHAPE_BITS)) return Outcome::next;
    const DataElement item = item_at(top.data_pointer, 0);
    timespec length{};
    if (item.tag == tag::integer) {
        if (item.integer < 0) return fail(message::time_runs_forward, activation);
        length.tv_sec = item.integer;
    } else if (item.tag == tag::real) {
        if (item.real < 0) return fail(message::time_runs_forward, activation);
        constexpr double microseconds = 1e6, nanoseconds = 1000;
        const double whole = std::trunc(item.real);
        length.tv_sec = fits_integer(whole) ? static_cast<std::time_t>(whole) : INT64_MAX;
        if (std::isnan(item.real)) length.tv_sec = 0;
        if (std::isfinite(item.real))
            length.tv_nsec = static_cast<long>(std::trunc((item.real - whole) * microseconds) * nanoseconds);
    } else {
        return Outcome::next;
    }
    sleep_for(length);
    dereferencepoint(*activation.sp--);
    return Outcome::next;
}

// The Julian date.
Outcome push_time(Activation& activation) {
    constexpr double days_per_second = 1.1574074074074073e-05, epoch = 2440587.5, microsecond = 1e-6;
    if (is_full(activation)) return fail(message::stack_full, activation);
    timeval now{};
    gettimeofday(&now, nullptr);
    DataElement item{};
    item.head = make_head(tag::real, form::timestamp);
    const double seconds = static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) * microsecond;
    item.real = seconds * days_per_second + epoch;
    *++activation.sp = make_scalar(item);
    return Outcome::next;
}

}  // namespace ondrel
