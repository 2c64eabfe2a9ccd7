#include "files/streams.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <utility>

#include "data/errors.h"

namespace ondrel {
namespace {

// Waits a little; an interrupt ends it.
void wait_a_little(pollfd* watched) {
    constexpr int milliseconds = 50;
    poll(watched, watched != nullptr ? 1 : 0, milliseconds);
    heed_attention();
}

void let_wait(int descriptor) { fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK); }

Stream stream_of(Descriptor opened, const char* mode) {
    let_wait(opened.get());
    Stream stream(fdopen(opened.get(), mode));
    if (stream) opened.release();
    return stream;
}

// As a writer who waits for the reader of a pipe.
Descriptor open_to_write(const std::string& path, int flags) {
    constexpr mode_t by_all = 0666;
    for (;;) {
        Descriptor opened = open_allowed(path, flags, flags & O_CREAT ? by_all : 0);
        struct stat found {};
        const bool waits = !opened && errno == ENXIO && stat(path.c_str(), &found) == 0 && S_ISFIFO(found.st_mode);
        if (!waits) return opened;
        wait_a_little(nullptr);
    }
}

std::string unlikely_name() {
    static std::random_device random;
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", random());
    return std::string(".ondrel-") + digits;
}

std::string descriptor_path(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

// The directory of a path, and the name in it.
std::pair<std::string, std::string> parted(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == path.npos) return {".", path};
    return {path.substr(0, std::max<std::size_t>(slash, 1)), path.substr(slash + 1)};
}

}  // namespace

Stream open_to_read(const std::string& path) {
    if (!is_allowed(path)) return nullptr;
    Descriptor opened = open_allowed(path, O_RDONLY);
    struct stat found {};
    if (!opened || fstat(opened.get(), &found) != 0) return nullptr;
    if (S_ISDIR(found.st_mode)) {
        errno = EISDIR;
        return nullptr;
    }
    if (S_ISFIFO(found.st_mode))
        for (pollfd watched{opened.get(), POLLIN, 0}; (watched.revents & (POLLIN | POLLHUP)) == 0;)
            wait_a_little(&watched);
    return stream_of(std::move(opened), "r");
}

Stream open_to_change(const std::string& path) {
    if (!is_allowed(path)) return nullptr;
    Descriptor opened = open_allowed(path, O_RDWR);
    return opened ? stream_of(std::move(opened), "r+b") : nullptr;
}

std::optional<std::string> all_of(std::FILE* stream) {
    std::string text;
    char buffer[65536];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, stream)) > 0;) {
        text.append(buffer, n);
        heed_attention();
    }
    if (std::ferror(stream)) return {};
    return text;
}

Output::Output(const std::string& path, Way way) {
    if (!is_allowed(path)) return;
    if (way == Way::anew)
        begin_anew(path);
    else
        begin_at_the_end(path);
}

Output::~Output() {
    if (file && old_length >= 0) {
        std::fflush(file.get());
        static_cast<void>(!ftruncate(fileno(file.get()), old_length));
    }
    file.reset();
    if (!beside.empty()) unlinkat(directory.get(), beside.c_str(), 0);
}

void Output::take(Descriptor opened) {
    if (opened) file = stream_of(std::move(opened), "w");
}

void Output::begin_at_the_end(const std::string& path) {
    Descriptor opened = open_to_write(path, O_WRONLY | O_APPEND | O_CREAT);
    struct stat found {};
    if (opened && fstat(opened.get(), &found) == 0 && S_ISREG(found.st_mode)) old_length = found.st_size;
    take(std::move(opened));
}

void Output::begin_anew(std::string path) {
    constexpr int most_links = 40;
    constexpr mode_t permissions = 07777, by_all = 0666;
    struct stat found {};
    bool exists = false;
    for (int links = 0;; ++links) {  // to what a link points at, which it stays with
        const auto [where, last] = parted(path);
        directory = open_allowed(where, O_PATH | O_DIRECTORY);
        if (!directory) return;
        name = last;
        exists = fstatat(directory.get(), name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0;
        if (!exists || !S_ISLNK(found.st_mode)) break;
        char target[4096];
        const ssize_t length = readlinkat(directory.get(), name.c_str(), target, sizeof target);
        if (links == most_links || length <= 0 || length == sizeof target) return static_cast<void>(errno = ELOOP);
        const std::string to(target, static_cast<std::size_t>(length));
        path = to.front() == '/' ? to : where + "/" + to;  // an absolute one falls to the constraint
    }
    if (name.empty() || name == "." || name == "..") {
        errno = EISDIR;
        return;
    }
    if (exists && !S_ISREG(found.st_mode)) return take(open_to_write(path, O_WRONLY | O_TRUNC));
    if (exists && faccessat(directory.get(), name.c_str(), W_OK, AT_EACCESS) != 0) return;
    Descriptor opened;
    if (access("/proc/self/fd", F_OK) == 0)
        opened = Descriptor(openat(directory.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, by_all));
    if (!opened) {
        const std::string made = unlikely_name();
        opened = Descriptor(openat(directory.get(), made.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, by_all));
        if (opened) beside = made;
    }
    if (!opened) return;
    if (exists) static_cast<void>(!fchmod(opened.get(), found.st_mode & permissions));
    replaces = true;
    take(std::move(opened));
}

// The new file gets the old one's name, by way of one of its own.
bool Output::take_place() {
    if (beside.empty()) {
        const std::string made = unlikely_name();
        if (linkat(AT_FDCWD, descriptor_path(fileno(file.get())).c_str(), directory.get(), made.c_str(),
                   AT_SYMLINK_FOLLOW) != 0)
            return false;
        beside = made;
    }
    if (renameat(directory.get(), beside.c_str(), directory.get(), name.c_str()) != 0) return false;
    beside.clear();
    return true;
}

bool Output::commit() {
    if (std::fflush(file.get()) != 0 || std::ferror(file.get()) != 0) return false;
    if (replaces && !take_place()) return false;
    old_length = -1;
    return std::fclose(file.release()) == 0;
}

}  // namespace ondrel
