#include "data/errors.h"

#include <unistd.h>

#include <cstring>
#include <initializer_list>

namespace ondrel {

bool endprocess = false;
bool A_Problem = false;
bool PrintOut = false;
bool stepping = false;
std::atomic<int> attention = 0;
static_assert(std::atomic<int>::is_always_lock_free);
thread_local int* worker_error = nullptr;
volatile std::sig_atomic_t running = 0;
sigjmp_buf* fault_jump = nullptr;

void exception(int number, Site site) {
    std::fflush(stdout);  // so that messages and results stand in their order when both go to one place
    if (number == 0) {
        std::fprintf(stderr, "\n%s", errors(0));
        return;
    }
    stepping = true;
    std::fprintf(stderr, "\n%s\n", errors(number));
    if (number == 27) {
        A_Problem = true;
        return;
    }
    std::fputc('\n', stderr);
    if (site.cell != nullptr) dump(stderr, "Instruction:\n", *site.cell);
    if (site.top != nullptr && A_Problem) dump(stderr, "Top of stack:\n", *site.top);
}

void raise(int number, Site site) {
    if (worker_error != nullptr) {
        *worker_error = number;
        throw Unwind{};
    }
    wait_for_coprocessors();
    exception(number, site);
    throw Unwind{};
}

void out_of_memory() { raise(message::out_of_storage, {}); }

void end_of_process() {
    endprocess = true;
    throw Unwind{};
}

void call_for(int what, bool on) {
    if (on)
        attention.fetch_or(what, std::memory_order_relaxed);
    else
        attention.fetch_and(~what, std::memory_order_relaxed);
}

void heed_interrupt() {
    if (worker_error != nullptr) throw Unwind{};
    if (!calls_for(calls::interrupt)) return;
    wait_for_coprocessors();
    call_for(calls::interrupt, false);
    call_for(calls::unwinding, true);
    if (PrintOut)
        std::fputc('\n', stdout);
    else
        A_Problem = true;  // what is only shown stays whole
    std::fputs("\n** User interrupt. **\n", stdout);
    std::fflush(stdout);
    throw Interrupted{};
}

namespace {

int violations = 0;

void say(const char* text) {
    if (write(STDERR_FILENO, text, std::strlen(text)) < 0) return;  // nobody is left to be told
}

void interrupt(int) {
    if (running) call_for(calls::interrupt, true);
}

// Runs on a stack of its own: the fault may be the end of the ordinary one. The third memory fault ends the process.
void fault(int signal) {
    if (signal == SIGFPE) {
        say("\nFloating point exception.\n");
    } else {
        say("\nSEGMENTATION VIOLATION\n");
        if (++violations > 2) {
            say("\n--- SERIOUS INTERNAL ERROR ---\n--- PROCESSING STOPPED --- \n");
            _exit(3);
        }
    }
    if (fault_jump == nullptr) _exit(3);
    siglongjmp(*fault_jump, signal);
}

void arm(int signal, void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

}  // namespace

void arm_signals() {
    static char fault_stack[64 * 1024];
    const stack_t stack{.ss_sp = fault_stack, .ss_flags = 0, .ss_size = sizeof fault_stack};
    sigaltstack(&stack, nullptr);
    for (const int signal : {SIGINT, SIGQUIT}) arm(signal, interrupt, SA_RESTART);
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE}) arm(signal, fault, SA_ONSTACK | SA_NODEFER);
    // A reader that went away and a file that may not grow are errors of the write, not the end of us.
    for (const int signal : {SIGPIPE, SIGXFSZ}) arm(signal, SIG_IGN, 0);
}

}  // namespace ondrel
