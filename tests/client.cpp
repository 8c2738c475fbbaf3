// A client of the simulated machine, built in each way in which the C library gives the same calls other names.
// Prints the machine's name, what opening the node named by its argument comes to, and a line of the optical table.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    // Neither flags nor size are constants, so that a fortified build has to check them while it runs.
    const int flags = argc > 2 ? O_RDWR : O_RDONLY;
    char name[64];
    if (::gethostname(name, sizeof name - static_cast<std::size_t>(argc)) != 0)
        return 1;
    const int fd = ::open(argv[1], flags);
    std::printf("%s %s\n", name, fd >= 0 ? "opened" : std::strerror(errno));

    char line[256];
    std::FILE* table = std::fopen("/proc/sys/dev/cdrom/info", "r");
    const bool read = table != nullptr && std::fgets(line, sizeof line, table) != nullptr;
    std::printf("%s", read ? line : "no table\n");
    return 0;
}
