/* A SCSI disk in user space whose INQUIRY fails on demand: the far end of the kernel's target_core_user.
 *
 *   faultydevice UIONODE MAPSIZE SERIAL PLANFILE
 *
 * Once PLANFILE exists it is read and removed, and its words are the outcomes of the INQUIRY commands that follow:
 * "KEY/ASC/ASCQ" (hexadecimal) ends one with that sense data, "good" lets one succeed. Without a plan all succeed. */
#include <fcntl.h>
#include <linux/target_core_user.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

enum { statusGood = 0, statusCheckCondition = 2, fixedSenseSize = 18, largestAnswer = 252, blockSize = 512 };
enum { testUnitReady = 0x00, inquiry = 0x12, readCapacity = 0x25, read6 = 0x08, read10 = 0x28 };

struct outcome {
    unsigned key, asc, ascq; /* all zero: good */
};

static const struct outcome good = {0, 0, 0};
static const struct outcome invalidOpcode = {0x5, 0x20, 0x00};
static const struct outcome invalidField = {0x5, 0x24, 0x00};

static struct outcome plan[16];
static size_t planned, taken;
static const char *planFile, *serial;

static void readPlan(void) {
    FILE *file = fopen(planFile, "r");
    if (!file) return;
    char word[32];
    planned = taken = 0;
    while (planned < sizeof plan / sizeof plan[0] && fscanf(file, "%31s", word) == 1) {
        struct outcome next = good;
        if (strcmp(word, "good") != 0 && sscanf(word, "%x/%x/%x", &next.key, &next.asc, &next.ascq) != 3) {
            fprintf(stderr, "faultydevice: %s: \"%s\" is no outcome\n", planFile, word);
            exit(1);
        }
        plan[planned++] = next;
    }
    fclose(file);
    unlink(planFile);
}

static struct outcome plannedOutcome(void) {
    readPlan();
    return taken < planned ? plan[taken++] : good;
}

static size_t standardInquiry(uint8_t *answer) {
    static const uint8_t head[8] = {0, 0, 5, 2, 31, 0, 0, 2};
    memcpy(answer, head, sizeof head);
    memcpy(answer + 8, "FICKLE  Moody Disk      0.13", 28);
    return 36;
}

static size_t serialNumberPage(uint8_t *answer) {
    answer[1] = 0x80;
    answer[3] = (uint8_t)strlen(serial);
    memcpy(answer + 4, serial, strlen(serial));
    return 4 + strlen(serial);
}

static size_t capacity(uint8_t *answer) {
    answer[3] = 15; /* the last of 16 blocks */
    answer[6] = blockSize >> 8;
    return 8;
}

/* Fills in the answer and its size; says how the command ends. */
static struct outcome execute(const uint8_t *cdb, uint8_t *answer, size_t *size) {
    *size = 0;
    switch (cdb[0]) {
    case testUnitReady:
    case read6: /* every block is zeros */
    case read10:
        return good;
    case readCapacity:
        *size = capacity(answer);
        return good;
    case inquiry:
        break;
    default:
        return invalidOpcode;
    }
    bool wantsSerial = (cdb[1] & 1) && cdb[2] == 0x80;
    if ((cdb[1] & 1) && !wantsSerial) return invalidField;
    struct outcome end = plannedOutcome();
    if (end.key == 0) *size = wantsSerial ? serialNumberPage(answer) : standardInquiry(answer);
    return end;
}

/* Fills the requester's whole buffer: what the answer does not reach is zero. */
static void copyOut(uint8_t *map, const struct tcmu_cmd_entry *entry, const uint8_t *answer, size_t size) {
    for (uint32_t i = 0; i < entry->req.iov_cnt; ++i) {
        uint8_t *target = map + (uintptr_t)entry->req.iov[i].iov_base;
        size_t part = entry->req.iov[i].iov_len < size ? entry->req.iov[i].iov_len : size;
        memset(target, 0, entry->req.iov[i].iov_len);
        memcpy(target, answer, part);
        answer += part;
        size -= part;
    }
}

static void complete(struct tcmu_cmd_entry *entry, struct outcome end) {
    memset(&entry->rsp, 0, sizeof entry->rsp);
    if (end.key == 0) return;
    entry->rsp.scsi_status = statusCheckCondition;
    uint8_t *sense = (uint8_t *)entry->rsp.sense_buffer;
    sense[0] = 0x70;
    sense[2] = (uint8_t)end.key;
    sense[7] = fixedSenseSize - 8;
    sense[12] = (uint8_t)end.asc;
    sense[13] = (uint8_t)end.ascq;
}

static void serveCommand(uint8_t *map, struct tcmu_cmd_entry *entry) {
    uint8_t answer[largestAnswer] = {0};
    size_t size;
    struct outcome end = execute(map + entry->req.cdb_off, answer, &size);
    copyOut(map, entry, answer, size);
    complete(entry, end); /* last: the response lies over the request */
}

static void serveRing(uint8_t *map) {
    struct tcmu_mailbox *mailbox = (struct tcmu_mailbox *)map;
    while (mailbox->cmd_tail != __atomic_load_n(&mailbox->cmd_head, __ATOMIC_ACQUIRE)) {
        struct tcmu_cmd_entry *entry = (struct tcmu_cmd_entry *)(map + mailbox->cmdr_off + mailbox->cmd_tail);
        if (tcmu_hdr_get_op(entry->hdr.len_op) == TCMU_OP_CMD) serveCommand(map, entry);
        uint32_t tail = (mailbox->cmd_tail + tcmu_hdr_get_len(entry->hdr.len_op)) % mailbox->cmdr_size;
        __atomic_store_n(&mailbox->cmd_tail, tail, __ATOMIC_RELEASE);
    }
}

int main(int argc, char **argv) {
    if (argc != 5) {
        fprintf(stderr, "usage: faultydevice UIONODE MAPSIZE SERIAL PLANFILE\n");
        return 2;
    }
    serial = argv[3];
    planFile = argv[4];
    int node = open(argv[1], O_RDWR);
    if (node < 0) {
        perror(argv[1]);
        return 1;
    }
    uint8_t *map = mmap(NULL, strtoul(argv[2], NULL, 0), PROT_READ | PROT_WRITE, MAP_SHARED, node, 0);
    if (map == MAP_FAILED) {
        perror("mmap");
        return 1;
    }
    for (;;) {
        uint32_t kick = 0;
        serveRing(map);
        if (write(node, &kick, sizeof kick) != sizeof kick || read(node, &kick, sizeof kick) != sizeof kick) {
            perror(argv[1]);
            return 1;
        }
    }
}
