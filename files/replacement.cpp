#include "files/replacement.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <random>
#include <string_view>
#include <utility>

#include "data/errors.h"

namespace ondrel {
namespace {

constexpr mode_t permissions = 07777, by_all = 0666;

// ---- names that no one else has

constexpr std::string_view own_prefix = ".ondrel-";
constexpr std::size_t own_digits = 8;

std::string unlikely_name() {
    static std::random_device random;
    char digits[own_digits + 1];
    std::snprintf(digits, sizeof digits, "%08x", random());
    return std::string(own_prefix) + digits;
}

bool is_unlikely_name(std::string_view name) {
    constexpr std::string_view digits = "0123456789abcdef";
    return name.starts_with(own_prefix) && name.size() == own_prefix.size() + own_digits &&
           name.find_first_not_of(digits, own_prefix.size()) == name.npos;
}

// A file with such a name is locked as long as its process lives. Where nothing can be locked, nothing is cleared away.
bool is_ours(const Descriptor& made) { return flock(made.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK; }

// ---- what lasts

// A file system that keeps nothing for later has nothing to sync, and says that it cannot.
bool is_synced(int result) { return result == 0 || errno == EINVAL || errno == ENOTSUP || errno == ENOSYS; }

// One that may not be read cannot be asked.
bool is_synced(const Descriptor& directory) {
    const Descriptor readable(openat(directory.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return !readable || is_synced(fsync(readable.get()));
}

// What the file holds is written out piece by piece, since an interrupt does not end a wait for all of it.
bool is_synced_to_its_end(const Descriptor& file) {
    constexpr off64_t piece = 1 << 22;
    constexpr unsigned written = SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER;
    struct stat content {};
    if (fstat(file.get(), &content) != 0) return false;
    for (off64_t at = 0; at < content.st_size; at += piece) {
        if (!is_synced(sync_file_range(file.get(), at, piece, written))) return false;
        heed_attention();
    }
    return is_synced(fdatasync(file.get()));
}

bool may_not() { return errno == EACCES || errno == EPERM || errno == EBUSY; }

// ---- copying

bool write_all(int descriptor, const char* bytes, std::size_t n) {
    while (n > 0) {
        const ssize_t written = write(descriptor, bytes, n);
        if (written < 0 && errno != EINTR) return false;
        if (written < 0) continue;
        bytes += written;
        n -= static_cast<std::size_t>(written);
    }
    return true;
}

bool copy_all(int from, int to) {
    char buffer[65536];
    for (off_t at = 0;;) {
        const ssize_t n = pread(from, buffer, sizeof buffer, at);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return n == 0;
        if (!write_all(to, buffer, static_cast<std::size_t>(n))) return false;
        at += n;
    }
}

}  // namespace

Replacement::Replacement(Place of_file) : place(std::move(of_file)) {
    if (place.exists() && faccessat(place.directory.get(), place.name.c_str(), W_OK, AT_EACCESS) != 0) return;
    renames = make_in_place();
    if (renames || !place.exists() || !may_not()) return;
    std::FILE* const scratch = std::tmpfile();
    if (scratch == nullptr) return;
    made = another(fileno(scratch));
    std::fclose(scratch);
}

Replacement::~Replacement() {
    if (!beside.empty()) unlinkat(place.directory.get(), beside.c_str(), 0);
}

// A new file in the directory that can become the old one: without a name, or with one where there must be one.
bool Replacement::make_in_place() {
    if (access("/proc/self/fd", F_OK) == 0)
        made = Descriptor(openat(place.directory.get(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, by_all));
    const bool is_nameless = static_cast<bool>(made);
    if (!made) {
        const std::string name = unlikely_name();
        made = Descriptor(openat(place.directory.get(), name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, by_all));
        if (made) beside = name;
    }
    if (!made) return false;
    struct stat found {};
    const bool stands = is_ours(made) && fstat(made.get(), &found) == 0 && (is_nameless || found.st_nlink > 0);
    if (stands && (!place.exists() || resemble())) return true;
    if (!beside.empty()) unlinkat(place.directory.get(), beside.c_str(), 0);
    beside.clear();
    made = Descriptor();
    errno = EPERM;
    return false;
}

// Permissions come last: a change of owner takes some away.
bool Replacement::resemble() const {
    struct stat own {};
    if (fstat(made.get(), &own) != 0) return false;
    const struct stat& old = place.found;
    const bool same = own.st_uid == old.st_uid && own.st_gid == old.st_gid;
    return (same || fchown(made.get(), old.st_uid, old.st_gid) == 0) &&
           fchmod(made.get(), old.st_mode & permissions) == 0;
}

bool Replacement::take_place(bool for_good) {
    if (renames) {
        if (for_good && !is_synced_to_its_end(made)) return false;
        if (rename_over()) return !for_good || is_synced(place.directory);
        if (!may_not()) return false;
    }
    return place.exists() && copy_over(for_good);
}

bool Replacement::rename_over() {
    const int directory = place.directory.get();
    if (beside.empty()) {
        const std::string name = unlikely_name(), nameless = "/proc/self/fd/" + std::to_string(made.get());
        if (linkat(AT_FDCWD, nameless.c_str(), directory, name.c_str(), AT_SYMLINK_FOLLOW) != 0) return false;
        beside = name;
    }
    if (renameat(directory, beside.c_str(), directory, place.name.c_str()) != 0) return false;
    beside.clear();
    return true;
}

bool Replacement::copy_over(bool for_good) const {
    constexpr int flags = O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    Descriptor old(openat(place.directory.get(), place.name.c_str(), flags));
    struct stat content {
    }, found{};
    if (!old || fstat(made.get(), &content) != 0 || fstat(old.get(), &found) != 0 || !S_ISREG(found.st_mode))
        return false;
    if (content.st_size > 0 && posix_fallocate(old.get(), 0, content.st_size) != 0) {
        static_cast<void>(!ftruncate(old.get(), found.st_size));
        return false;
    }
    const bool copied = copy_all(made.get(), old.get()) && ftruncate(old.get(), content.st_size) == 0 &&
                        (!for_good || is_synced(fdatasync(old.get())));
    return close(old.release()) == 0 && copied;
}

void clear_leftovers(const Descriptor& directory) {
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    struct CloseDirectory {
        void operator()(DIR* opened) const { closedir(opened); }
    };
    Descriptor readable(openat(directory.get(), ".", flags));
    const std::unique_ptr<DIR, CloseDirectory> entries(readable ? fdopendir(readable.get()) : nullptr);
    if (!entries) return;
    readable.release();
    while (const dirent* const entry = readdir(entries.get())) {
        if (!is_unlikely_name(entry->d_name)) continue;
        const Descriptor left(openat(directory.get(), entry->d_name, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        struct stat found {};
        if (left && fstat(left.get(), &found) == 0 && S_ISREG(found.st_mode) &&
            flock(left.get(), LOCK_EX | LOCK_NB) == 0)
            unlinkat(directory.get(), entry->d_name, 0);
    }
}

}  // namespace ondrel
