/* A SCSI disk in user space whose INQUIRY fails on demand: the far end of the kernel's target_core_user.
 *
 *   faultydevice UIONODE MAPSIZE SERIAL PLANFILE
 *
 * Once PLANFILE exists, its words are the outcomes of the INQUIRY commands that follow: "KEY/ASC/ASCQ" (hexadecimal)
 * ends one with that sense data, "good" lets one succeed. Before the plan and after its end all succeed. Other commands
 * are refused: the disk need only say who it is. */
#include <err.h>
#include <fcntl.h>
#include <linux/target_core_user.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

enum { inquiry = 0x12, vitalProductData = 1, answerSize = 36 };
enum { checkCondition = 2, illegalRequest = 5, invalidOpcode = 0x20 };

static const char *planFile, *serial;

/* Says whether the next INQUIRY is to succeed; if not, puts key and codes into the sense data. */
static bool nextSucceeds(uint8_t* sense) {
    static FILE* plan;
    if (!plan)
        plan = fopen(planFile, "r");
    char word[32];
    if (!plan || fscanf(plan, "%31s", word) != 1)
        return true;
    return sscanf(word, "%hhx/%hhx/%hhx", &sense[2], &sense[12], &sense[13]) != 3;
}

static void answerInquiry(const uint8_t* cdb, uint8_t* buffer, size_t size) {
    uint8_t answer[answerSize + 1] = "\0\0\5\2\37\0\0\2FICKLE  Moody Disk      0.13";
    if (cdb[1] & vitalProductData) { /* Only page 0x80 is there; whoever asks for another sees that it is not his. */
        memset(answer, 0, sizeof answer);
        answer[1] = 0x80;
        answer[3] = (uint8_t)snprintf((char*)answer + 4, sizeof answer - 4, "%s", serial);
    }
    memcpy(buffer, answer, size < answerSize ? size : answerSize);
}

static void serveCommand(uint8_t* map, struct tcmu_cmd_entry* entry) {
    const uint8_t* cdb = map + entry->req.cdb_off;
    uint8_t sense[] = {0x70, 0, illegalRequest, 0, 0, 0, 0, 10, 0, 0, 0, 0, invalidOpcode, 0, 0, 0, 0, 0};
    bool good = cdb[0] == inquiry && nextSucceeds(sense);
    if (good)
        answerInquiry(cdb, map + (uintptr_t)entry->req.iov[0].iov_base, entry->req.iov[0].iov_len);
    memset(&entry->rsp, 0, sizeof entry->rsp); /* last: the response lies over the request */
    if (good)
        return;
    entry->rsp.scsi_status = checkCondition;
    memcpy(entry->rsp.sense_buffer, sense, sizeof sense);
}

static void serveRing(uint8_t* map) {
    struct tcmu_mailbox* mailbox = (struct tcmu_mailbox*)map;
    while (mailbox->cmd_tail != __atomic_load_n(&mailbox->cmd_head, __ATOMIC_ACQUIRE)) {
        struct tcmu_cmd_entry* entry = (struct tcmu_cmd_entry*)(map + mailbox->cmdr_off + mailbox->cmd_tail);
        if (tcmu_hdr_get_op(entry->hdr.len_op) == TCMU_OP_CMD)
            serveCommand(map, entry);
        uint32_t tail = (mailbox->cmd_tail + tcmu_hdr_get_len(entry->hdr.len_op)) % mailbox->cmdr_size;
        __atomic_store_n(&mailbox->cmd_tail, tail, __ATOMIC_RELEASE);
    }
}

int main(int argc, char** argv) {
    if (argc != 5)
        errx(2, "usage: faultydevice UIONODE MAPSIZE SERIAL PLANFILE");
    serial = argv[3];
    planFile = argv[4];
    int node = open(argv[1], O_RDWR);
    if (node < 0)
        err(1, "%s", argv[1]);
    uint8_t* map = mmap(NULL, strtoul(argv[2], NULL, 0), PROT_READ | PROT_WRITE, MAP_SHARED, node, 0);
    if (map == MAP_FAILED)
        err(1, "mmap");
    for (;;) {
        uint32_t kick = 0;
        serveRing(map);
        if (write(node, &kick, sizeof kick) != sizeof kick || read(node, &kick, sizeof kick) != sizeof kick)
            err(1, "%s", argv[1]);
    }
}
