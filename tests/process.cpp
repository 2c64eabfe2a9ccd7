#include "tests/process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace ondrel {
namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

struct Pipe {
    int read = -1, write = -1;
    Pipe() {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        read = ends[0];
        write = ends[1];
    }
};

void close_if_open(int& descriptor) {
    if (descriptor >= 0) close(descriptor);
    descriptor = -1;
}

// In the child: makes `target` what `descriptor` is, or closes it.
void attach(int descriptor, int target) {
    if (descriptor == closed)
        close(target);
    else
        dup2(descriptor, target);
}

// In the child: the signals of a process that a shell starts, and nothing inherited from the test.
void restore_signals() {
    for (const int number : {SIGINT, SIGQUIT, SIGPIPE, SIGXFSZ, SIGSEGV}) std::signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

// Appends what can be read. False at the end of the stream.
bool drain(int descriptor, std::string& into) {
    std::array<char, 65536> bytes;
    const ssize_t n = read(descriptor, bytes.data(), bytes.size());
    if (n < 0) return errno == EINTR || errno == EAGAIN;  // a terminal whose other end is gone says EIO
    into.append(bytes.data(), static_cast<std::size_t>(n));
    return n > 0;
}

}  // namespace

Process::Process(const Launch& launch, const char* program) {
    std::vector<const char*> arguments{program};
    for (const std::string& argument : launch.arguments) arguments.push_back(argument.c_str());
    arguments.push_back(nullptr);

    // The program has handlers of its own for faults; under a sanitizer they must still be reached.
    std::vector<std::string> variables{"ASAN_OPTIONS=handle_segv=0:allow_user_segv_handler=1"};
    variables.insert(variables.end(), launch.environment.begin(), launch.environment.end());

    const auto execute = [&] {
        restore_signals();
        for (const auto& [resource, most] : {std::pair{RLIMIT_DATA, launch.memory},
                                             {RLIMIT_FSIZE, launch.file_size},
                                             {RLIMIT_STACK, launch.stack},
                                             {RLIMIT_NOFILE, launch.handles}}) {
            const rlimit limit{most, most};
            if (most > 0) setrlimit(resource, &limit);
        }
        if (launch.user != 0 && setresuid(launch.user, launch.user, launch.user) != 0) _exit(126);
        if (!launch.directory.empty() && chdir(launch.directory.c_str()) != 0) _exit(126);
        for (std::string& variable : variables) putenv(variable.data());
        execv(program, const_cast<char**>(arguments.data()));
        _exit(127);
    };

    if (launch.terminal) {
        pid_ = forkpty(&output_, nullptr, nullptr, nullptr);
        if (pid_ < 0) throw std::runtime_error("no terminal");
        if (pid_ == 0) execute();
        input_ = dup(output_);
    } else {
        Pipe in, out, error_pipe;
        pid_ = fork();
        if (pid_ < 0) throw std::runtime_error("no process");
        if (pid_ == 0) {
            attach(launch.input == to_test ? in.read : launch.input, STDIN_FILENO);
            attach(launch.output == to_test ? out.write : launch.output, STDOUT_FILENO);
            const int merged = launch.merged ? out.write : error_pipe.write;
            attach(launch.error == to_test ? merged : launch.error, STDERR_FILENO);
            execute();
        }
        input_ = in.write;
        output_ = out.read;
        error_ = error_pipe.read;
        for (int end : {in.read, out.write, error_pipe.write}) close(end);
        if (launch.input != to_test) close_if_open(input_);
    }
    if (input_ >= 0) fcntl(input_, F_SETFL, fcntl(input_, F_GETFL) | O_NONBLOCK);
    std::signal(SIGPIPE, SIG_IGN);  // a program that no longer reads is for the test to judge
}

Process::~Process() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        reap();
    }
    for (int* descriptor : {&input_, &output_, &error_}) close_if_open(*descriptor);
}

void Process::signal(int number) const {
    if (pid_ > 0) kill(pid_, number);
}

// Moves what can be moved, waiting up to the time for something to move. False when the output is at its end, and the
// input, which a program may well read after it, is given or may stay open.
bool Process::pump(double seconds) {
    const bool sending = input_ >= 0 && sent_ < unsent_.size();
    if (!sending && input_ends_) close_if_open(input_);
    std::array<pollfd, 3> watched{{{output_, POLLIN, 0}, {error_, POLLIN, 0}, {sending ? input_ : -1, POLLOUT, 0}}};
    if (output_ < 0 && error_ < 0 && !sending) return false;
    const auto nanoseconds = static_cast<std::int64_t>(std::max(seconds, 0.0) * 1e9);
    const timespec most{nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
    if (ppoll(watched.data(), watched.size(), &most, nullptr) <= 0) return true;
    if (watched[0].revents != 0 && !drain(output_, output)) close_if_open(output_);
    if (watched[1].revents != 0 && !drain(error_, error)) close_if_open(error_);
    if (watched[2].revents != 0) {
        const ssize_t n = write(input_, unsent_.data() + sent_, unsent_.size() - sent_);
        if (n > 0) sent_ += static_cast<std::size_t>(n);
        if (n < 0 && errno != EAGAIN && errno != EINTR) sent_ = unsent_.size();  // nobody reads it
        if (sent_ == unsent_.size()) {
            unsent_.clear();
            sent_ = 0;
        }
    }
    return output_ >= 0 || error_ >= 0 || (input_ >= 0 && (input_ends_ || sent_ < unsent_.size()));
}

bool Process::wait_for(std::string_view text, double seconds) {
    const auto start = Clock::now();
    for (;;) {
        if (const std::size_t at = output.find(text, found_); at != std::string::npos) {
            found_ = at + text.size();
            return true;
        }
        const double left = seconds - seconds_since(start);
        if (left <= 0 || output_ < 0) return false;
        pump(left);
    }
}

bool Process::wait_for_sleep(double seconds) const {
    const auto start = Clock::now();
    for (; seconds_since(start) < seconds; usleep(1000)) {
        std::ifstream file("/proc/" + std::to_string(pid_) + "/stat");
        const std::string status(std::istreambuf_iterator<char>(file), {});
        const std::size_t name_end = status.rfind(')');
        if (name_end != std::string::npos && status.substr(name_end).starts_with(") S")) return true;
    }
    return false;
}

void Process::listen(double seconds) {
    const auto start = Clock::now();
    for (double left = seconds; left > 0; left = seconds - seconds_since(start))
        if (!pump(left)) return;
}

void Process::reap() {
    int status = 0;
    rusage usage{};
    while (wait4(pid_, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    const auto in_seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    cpu_seconds = in_seconds(usage.ru_utime) + in_seconds(usage.ru_stime);
}

void Process::finish(double seconds) {
    if (pid_ < 0) return;
    input_ends_ = true;
    const auto start = Clock::now();
    while (seconds_since(start) < seconds && pump(seconds - seconds_since(start))) {
    }
    // Its streams may have been closed, or never been ours, long before its end.
    siginfo_t state{};
    while (waitid(P_PID, static_cast<id_t>(pid_), &state, WEXITED | WNOWAIT | WNOHANG) == 0 && state.si_pid == 0) {
        if (seconds_since(start) > seconds) {
            timed_out = true;
            kill(pid_, SIGKILL);
            break;
        }
        usleep(1000);
    }
    reap();
}

Result run_program(std::string_view input, const Launch& launch, double seconds) {
    Process process(launch);
    process.send(input);
    process.finish(seconds);
    return {process.output, process.error, process.exit_code, process.timed_out, process.cpu_seconds};
}

std::string escaped(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte >= ' ' && byte < 127) || c == '\n' || c == '\t')
            text += c;
        else
            (text += "\\x").append({digits[byte / 16], digits[byte % 16]});
    }
    return text;
}

std::string unescaped(std::string_view text) {
    const auto digit = [](char c) { return c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1; };
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escape = text.substr(i).starts_with("\\x") && i + 3 < text.size() && digit(text[i + 2]) >= 0 &&
                            digit(text[i + 3]) >= 0;
        bytes += escape ? static_cast<char>(digit(text[i + 2]) * 16 + digit(text[i + 3])) : text[i];
        if (escape) i += 3;
    }
    return bytes;
}

std::string contents(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t count(std::string_view text, std::string_view part) {
    std::size_t n = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string_view::npos; at += part.size()) ++n;
    return n;
}

bool contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

}  // namespace ondrel
