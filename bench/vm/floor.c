// The floor of a query: the system calls on device nodes that one query for SCSI devices is made of, in its order and
// with its arguments, and nothing else. Prints the processor time that they took, in nanoseconds.

#include <fcntl.h>
#include <scsi/sg.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <time.h>
#include <unistd.h>

enum { nodesPerFamily = 32, answerSize = 36, timeoutMilliseconds = 20000 };

static unsigned char inquiry[6] = {0x12, 0x00, 0x00, 0x00, 0x24, 0x00};
static unsigned char serialInquiry[6] = {0x12, 0x01, 0x80, 0x00, 0xFF, 0x00};

static long long processNanoseconds(void) {
    struct timespec spent;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &spent);
    return spent.tv_sec * 1000000000LL + spent.tv_nsec;
}

static int openNode(const char* base, int index) {
    char path[16];
    char* end = stpcpy(path, base);
    char* numbered = end;
    if (index >= 10)
        *end++ = (char)('0' + index / 10);
    *end++ = (char)('0' + index % 10);
    *end = '\0';
    const int fd = open(path, O_RDONLY | O_NONBLOCK);
    if (fd >= 0)
        return fd;
    numbered[0] = (char)('a' + index);
    numbered[1] = '\0';
    return open(path, O_RDONLY | O_NONBLOCK);
}

static int send(int fd, unsigned char* command) {
    unsigned char data[answerSize], sense[32];
    struct sg_io_hdr header;
    memset(&header, 0, sizeof header);
    header.interface_id = 'S';
    header.dxfer_direction = SG_DXFER_FROM_DEV;
    header.cmd_len = sizeof inquiry;
    header.mx_sb_len = sizeof sense;
    header.dxfer_len = sizeof data;
    header.dxferp = data;
    header.cmdp = command;
    header.sbp = sense;
    header.timeout = timeoutMilliseconds;
    return ioctl(fd, SG_IO, &header) == 0 && (header.info & SG_INFO_OK_MASK) == SG_INFO_OK;
}

static int ask(int fd) {
    int version, emulated;
    struct sg_scsi_id address;
    int answered = ioctl(fd, SG_GET_VERSION_NUM, &version) == 0 && send(fd, inquiry);
    answered &= ioctl(fd, SG_GET_SCSI_ID, &address) == 0;
    answered &= ioctl(fd, SG_GET_VERSION_NUM, &version) == 0 && ioctl(fd, SG_EMULATED_HOST, &emulated) == 0;
    answered &= send(fd, serialInquiry);
    close(fd);
    return answered;
}

static int askFamily(const char* base) {
    int answered = 0;
    for (int index = 0; index < nodesPerFamily; ++index) {
        const int fd = openNode(base, index);
        if (fd >= 0)
            answered += ask(fd);
    }
    return answered;
}

int main(void) {
    const long long before = processNanoseconds();
    const int answered = askFamily("/dev/sg") + askFamily("/dev/hd");
    const long long spent = processNanoseconds() - before;
    printf("%lld\n", spent);
    return answered == nodesPerFamily ? 0 : 1;
}
