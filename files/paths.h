// Which files a program may reach: unless the user has lifted it, those at or below the directory that the process was
// started in. A path is judged by its text first; then the kernel, which opens it, holds it to the directory, so that
// no link leads out of it and no change in between makes a difference.
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

namespace ondrel {

extern bool constraindirectories;

// By its text alone: not absolute, and never above the directory on the way. What the last component says is not
// judged.
bool checkpath(const char* path);

// The number of an open file, its owner's to close.
class Descriptor {
public:
    explicit Descriptor(int opened = -1) : number(opened) {}
    Descriptor(Descriptor&& other) noexcept : number(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();

    int get() const { return number; }
    explicit operator bool() const { return number >= 0; }
    int release();

private:
    int number;
};

// One more number for what is open.
Descriptor another(int number);

// Whether a path as it is given may be used at all: `errno` is EXDEV where the constraint, if it is in force, refuses.
bool is_allowed(const std::string& path);

// As open(2) does. The kernel holds an allowed path, and what links on the way make of it, to the directory if the
// constraint is in force; `errno` is EXDEV then, too. Does not wait for the other end of a pipe.
Descriptor open_allowed(const std::string& path, int flags, mode_t mode = 0);

// An entry of a directory, there or not yet.
struct Place {
    Descriptor directory;
    std::string name;
    struct stat found {};  // of what is there, and of mode 0 if nothing is
    std::string path;      // which leads there

    bool exists() const { return found.st_mode != 0; }
    // The descriptor of this process that it stands for, such as /dev/stdout does; else -1.
    int own_descriptor() const;
};

// Where the path of a file leads to when its links have been followed, as far as they are texts. `errno` as above.
std::optional<Place> place_of(std::string path);

// The same as `open_allowed` for a path that must not leave the directory, by the kernel's help or, where it has none,
// step by step: no link is followed then.
Descriptor open_beneath(const char* path, int flags, mode_t mode);
Descriptor open_by_steps(const char* path, int flags, mode_t mode);

}  // namespace ondrel
