// Atomic file replacement with POSIX calls (kept apart from the OLE headers, whose LOCK_ names
// clash with <fcntl.h>).
#include "atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace orvella::platform::ole {

int ReplaceFileContents(const std::filesystem::path& path, const std::uint8_t* bytes,
                        std::size_t size) {
    std::string temp = path.string() + ".tmpXXXXXX";
    const int fd = mkstemp(temp.data());
    if (fd < 0) return errno;
    int error = 0;
    for (std::size_t done = 0; done < size && !error;) {
        const ssize_t n = write(fd, bytes + done, size - done);
        if (n < 0 && errno != EINTR) error = errno;
        if (n > 0) done += static_cast<std::size_t>(n);
    }
    if (!error && (fchmod(fd, 0644) != 0 || fsync(fd) != 0)) error = errno;
    if (close(fd) != 0 && !error) error = errno;
    if (!error && rename(temp.c_str(), path.c_str()) != 0) error = errno;
    if (error) {
        unlink(temp.c_str());
        return error;
    }
    const std::filesystem::path parent = path.parent_path();
    const int dir = open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_DIRECTORY);
    if (dir >= 0) {
        fsync(dir);
        close(dir);
    }
    return 0;
}

}  // namespace orvella::platform::ole
