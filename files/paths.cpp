#include "files/paths.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>
#include <vector>

namespace ondrel {

bool constraindirectories = true;

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

}  // namespace ondrel
