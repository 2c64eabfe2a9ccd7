#include "files/paths.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <string_view>
#include <utility>
#include <vector>

namespace ondrel {

bool constraindirectories = true;

namespace {

// The directory of a path, and the name in it.
std::pair<std::string, std::string> parted(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == path.npos) return {".", path};
    return {path.substr(0, std::max<std::size_t>(slash, 1)), path.substr(slash + 1)};
}

// Whose links lead to what is open, whatever their texts say.
bool is_of_processes(const Descriptor& directory) {
    struct statfs system {};
    return fstatfs(directory.get(), &system) == 0 && system.f_type == PROC_SUPER_MAGIC;
}

}  // namespace

bool checkpath(const char* path) {
    std::string_view rest(path);
    if (rest.starts_with('/')) return false;
    int depth = 0;
    for (std::size_t end; (end = rest.find('/')) != rest.npos; rest.remove_prefix(end + 1)) {
        const std::string_view component = rest.substr(0, end);
        if (component == "..") {
            if (--depth < 0) return false;
        } else if (!component.empty() && !component.starts_with('.')) {
            ++depth;
        }
    }
    return true;
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (number >= 0) close(number);
    number = other.release();
    return *this;
}

Descriptor::~Descriptor() {
    if (number < 0) return;
    const int error = errno;
    close(number);
    errno = error;
}

int Descriptor::release() { return std::exchange(number, -1); }

Descriptor another(int number) { return Descriptor(fcntl(number, F_DUPFD_CLOEXEC, 0)); }

Descriptor open_by_steps(const char* path, int flags, mode_t mode) {
    std::vector<Descriptor> open;  // the directories from the first step on
    const auto here = [&] { return open.empty() ? AT_FDCWD : open.back().get(); };
    std::string_view rest(path);
    if (rest.empty()) errno = ENOENT;
    if (rest.starts_with('/')) errno = EXDEV;
    if (rest.empty() || rest.starts_with('/')) return Descriptor();
    for (;;) {
        const std::size_t end = rest.find('/');
        const bool is_last = end == rest.npos;
        const std::string component(rest.substr(0, end));
        if (component == ".." && open.empty()) {
            errno = EXDEV;
            return Descriptor();
        }
        if (component == "..") open.pop_back();
        const bool stays = component.empty() || component == "." || component == "..";
        if (is_last) {
            Descriptor opened(openat(here(), stays ? "." : component.c_str(), flags | O_NOFOLLOW, mode));
            if (!opened && errno == ELOOP) errno = EXDEV;
            return opened;
        }
        if (!stays) {
            struct stat found {};
            if (fstatat(here(), component.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(found.st_mode)) {
                errno = EXDEV;
                return Descriptor();
            }
            Descriptor next(openat(here(), component.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
            if (!next) return next;
            open.push_back(std::move(next));
        }
        rest.remove_prefix(end + 1);
    }
}

Descriptor open_beneath(const char* path, int flags, mode_t mode) {
    struct open_how how {};
    how.flags = static_cast<std::uint64_t>(flags);
    how.mode = mode;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    constexpr int most_tries = 100;  // while something is renamed on the way
    for (int tries = 0; tries < most_tries; ++tries) {
        const long opened = syscall(SYS_openat2, AT_FDCWD, path, &how, sizeof how);
        if (opened >= 0) return Descriptor(static_cast<int>(opened));
        if (errno == ENOSYS || errno == EPERM) return open_by_steps(path, flags, mode);
        if (errno != EAGAIN) break;
    }
    return Descriptor();
}

bool is_allowed(const std::string& path) {
    const bool has_nul = path.find('\0') != path.npos;
    errno = has_nul ? EINVAL : EXDEV;
    return !has_nul && (!constraindirectories || checkpath(path.c_str()));
}

Descriptor open_allowed(const std::string& path, int flags, mode_t mode) {
    if (!(flags & O_DIRECTORY) && (path == ".." || path.ends_with("/.."))) {
        errno = EISDIR;
        return Descriptor();
    }
    flags |= flags & O_PATH ? O_CLOEXEC : O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    if (!constraindirectories) return Descriptor(open(path.c_str(), flags, mode));
    return open_beneath(path.c_str(), flags, mode);
}

int Place::own_descriptor() const {
    struct stat here {};
    if (!S_ISLNK(found.st_mode) || fstat(directory.get(), &here) != 0) return -1;
    const auto is_here = [&here](const char* own) {
        struct stat there {};
        return stat(own, &there) == 0 && there.st_dev == here.st_dev && there.st_ino == here.st_ino;
    };
    int number = -1;
    if (is_here("/proc/self/fd") || is_here("/proc/thread-self/fd"))
        std::from_chars(name.data(), name.data() + name.size(), number);
    return number;
}

std::optional<Place> place_of(std::string path) {
    constexpr int most_links = 40;
    for (int links = 0;; ++links) {
        const auto [where, name] = parted(path);
        Descriptor directory = open_allowed(where, O_PATH | O_DIRECTORY);
        if (!directory) return {};
        struct stat found {};
        const bool exists = fstatat(directory.get(), name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0;
        if (!exists) found = {};
        const bool is_text = S_ISLNK(found.st_mode) && !is_of_processes(directory);
        if (S_ISLNK(found.st_mode) && !is_text && constraindirectories) {
            errno = EXDEV;
            return {};
        }
        if (!is_text) return Place{std::move(directory), name, found, path};
        char target[4096];
        const ssize_t length = readlinkat(directory.get(), name.c_str(), target, sizeof target);
        if (links == most_links || length <= 0 || length == sizeof target) {
            errno = ELOOP;
            return {};
        }
        const std::string to(target, static_cast<std::size_t>(length));
        path = to.front() == '/' ? to : where + "/" + to;  // an absolute one falls to the constraint
    }
}

}  // namespace ondrel
