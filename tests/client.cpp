// A client of the simulated machine, built in each way in which the C library gives the same calls other names.
// Prints the machine's name, what it comes to when several threads and children that are forked meanwhile open the node
// named by its argument and ask it for its version, what opening no path comes to, what odd requests come to on the
// node if there is one, and a line of the optical table.

#include <fcntl.h>
#include <linux/hdreg.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

constexpr int threadCount = 4, timesEach = 1000;
std::atomic<int> opened{0}, lastError{0};

void openOften(const char* path, int flags) {
    for (int i = 0; i < timesEach; ++i) {
        const int fd = ::open(path, flags);
        int version = 0;
        if (fd >= 0 && ::ioctl(fd, SG_GET_VERSION_NUM, &version) == 0 && version > 0)
            ++opened;
        if (fd < 0 || ::close(fd) != 0)
            lastError = errno;
    }
}

/// A child has one thread, and whatever the others were at is never finished there.
void openInChildren(const char* path, int flags) {
    constexpr int children = 20;
    constexpr unsigned longest = 60; // seconds
    for (int i = 0; i < children; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(longest);
            ::close(::open(path, flags));
            ::_exit(0);
        }
        int status = 0;
        if (::waitpid(child, &status, 0) != child || status != 0) {
            lastError = ETIMEDOUT;
            return;
        }
    }
}

void requestOddly(int fd) {
    constexpr unsigned long requests[] = {SG_GET_VERSION_NUM, SG_GET_SCSI_ID, SG_IO, HDIO_DRIVE_CMD, HDIO_DRIVE_TASK};
    int refused = 0;
    for (const unsigned long request : requests)
        refused += ::ioctl(fd, request, nullptr) == -1 && errno == EFAULT ? 1 : 0;
    std::printf("no argument: %s %d times\n", std::strerror(EFAULT), refused);

    unsigned char inquiry[] = {0x12, 0, 0, 0, 36, 0}, data[36];
    iovec buffers[] = {{data, 8}, {data + 8, 28}};
    sg_io_hdr header{};
    header.interface_id = 'S';
    header.dxfer_direction = SG_DXFER_FROM_DEV;
    header.cmdp = inquiry;
    header.cmd_len = sizeof inquiry;
    header.dxferp = buffers;
    header.dxfer_len = sizeof data;
    header.iovec_count = 2;
    std::printf("two buffers: %s\n", ::ioctl(fd, SG_IO, &header) == 0 ? "filled" : std::strerror(errno));
}

} // namespace

int main(int argc, char** argv) {
    // Neither flags nor size are constants, so that a fortified build has to check them while it runs.
    const int flags = argc > 2 ? O_RDWR : O_RDONLY;
    char name[64];
    if (::gethostname(name, sizeof name - static_cast<std::size_t>(argc)) != 0)
        return 1;
    std::thread threads[threadCount];
    for (auto& thread : threads)
        thread = std::thread(openOften, argv[1], flags);
    openInChildren(argv[1], flags);
    for (auto& thread : threads)
        thread.join();
    std::printf("%s: %d opened", name, opened.load());
    std::printf(lastError != 0 ? ", %s\n" : "\n", std::strerror(lastError));

    const char* const noPath = argv[argc];
    const bool isOpen = ::open(noPath, flags) >= 0;
    std::printf("no path: %s, ", isOpen ? "opened" : std::strerror(errno));
    std::printf("%s\n", std::fopen(noPath, "r") != nullptr ? "opened" : std::strerror(errno));

    const int fd = ::open(argv[1], flags);
    if (fd >= 0)
        requestOddly(fd);

    const int made = std::system("hwinfo --version > one 2> two; true"), removed = std::system("rm -f one two");
    if (made != 0 || removed != 0)
        return 1;

    char line[256];
    std::FILE* table = std::fopen("/proc/sys/dev/cdrom/info", "r");
    const bool read = table != nullptr && std::fgets(line, sizeof line, table) != nullptr;
    std::printf("%s", read ? line : "no table\n");
    return 0;
}
