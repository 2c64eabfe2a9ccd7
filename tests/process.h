// A run of the program as its user has it: a process of its own, with input, arguments and environment as the test
// says, watched through pipes or a terminal.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace ondrel {

// How much longer than a release build this one may take.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr double time_scale = 20;
#elif defined(ONDREL_CHECKS)
inline constexpr double time_scale = 6;
#else
inline constexpr double time_scale = 1;
#endif

// Where a standard stream of the process goes instead of to the test.
inline constexpr int to_test = -1, closed = -2;

struct Launch {
    std::vector<std::string> arguments{};
    std::vector<std::string> environment{};  // NAME=value, besides what the test process has
    bool merged = true;                      // the standard error comes with the standard output, in its order
    std::size_t memory = 0;                  // the most bytes of data that it may have; 0: as the test process
    std::size_t file_size = 0, handles = 0;  // the same of bytes in a file, and of open files
    std::size_t stack = 0;                   // the same of bytes of the system's stack
    unsigned user = 0;                       // as whom it runs; 0: as the test process
    std::string directory{};                 // where it starts; empty: where the test process is
    bool terminal = false;                   // the standard streams are a terminal
    int input = to_test, output = to_test, error = to_test;  // or `closed`, or a descriptor
};

class Process {
public:
    explicit Process(const Launch& launch, const char* program = ONDREL_PROGRAM);
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    // The text goes to the program as it takes it, during the calls below.
    void send(std::string_view text) { unsent_ += text; }
    void end_input() { input_ends_ = true; }
    void signal(int number) const;

    // Until the text has come on the standard output behind what the last call found. False when it does not come
    // within the time, or the program closes its output.
    bool wait_for(std::string_view text, double seconds = 60);

    // Until the program sleeps: at a prompt, waiting for what is typed.
    bool wait_for_sleep(double seconds = 60) const;

    // Whatever comes within the time.
    void listen(double seconds);

    // Ends the input and waits for the end of the program; kills it when the time is over.
    void finish(double seconds = 120);

    std::string output, error;
    int exit_code = -1;      // minus the signal that killed it
    bool timed_out = false;  // it was killed by `finish`
    double cpu_seconds = 0;  // of its own and the system's on its behalf
    bool running() const { return pid_ > 0; }

private:
    bool pump(double seconds);
    void reap();

    pid_t pid_ = -1;
    int input_ = -1, output_ = -1, error_ = -1;
    std::string unsent_;
    std::size_t sent_ = 0, found_ = 0;
    bool input_ends_ = false;
};

struct Result {
    std::string output, error;
    int exit_code;
    bool timed_out;
    double cpu_seconds;
};

// One whole run on this input.
Result run_program(std::string_view input, const Launch& launch = {}, double seconds = 120);

// The bytes that are no printable ASCII, newline or tab as \xNN; and back.
std::string escaped(std::string_view bytes);
std::string unescaped(std::string_view text);

// All bytes of a file; none if it cannot be read.
std::string contents(const std::filesystem::path& path);

// How often the text holds the part, and whether it does at all.
std::size_t count(std::string_view text, std::string_view part);
bool contains(std::string_view text, std::string_view part);

}  // namespace ondrel
