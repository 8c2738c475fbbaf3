// What the program says of wrong usage, and of a run that fails.

#include "tests/program.h"

#include <unistd.h>

using Usage = Program;

TEST_F(Usage, RefusesWrongUsage) {
    const std::pair<const char*, const char*> cases[] = {
        {"''", "an empty class name in the query ''"},
        {"KORVA_SCSIDevice,,KORVA_ATADevice", "an empty class name in the query 'KORVA_SCSIDevice,,KORVA_ATADevice'"},
        {"KORVA_SCSIDevice,", "an empty class name"},
        {"KORVA_CDVDevice", "unknown class 'KORVA_CDVDevice' (did you mean KORVA_CDVDDevice?); the classes are "
                            "KORVA_SysBusDevice, KORVA_SCSIDevice, "},
        {"tapes", "unknown class 'tapes' (did you mean tape?); the classes are "},
        {"--fromat json", "unknown option '--fromat' (did you mean --format?)"},
        {"--format tab", "--format: tab not in {json,mof,prometheus,table} (try --help)"},
        {"--log-level 3x", "--log-level: Value 3x not in range "},
        {"--log-level -1", "--log-level: Value -1 not in range "},
        {"--machine", "--machine: 1 required FILE missing"},
        {"--machine ''", "--machine: expected a file name"},
        {"--format json --format=mof", "--format: At Most 1 required but received 2"},
        {"--ask-again --ask-again", "--ask-again: At Most 1 required but received 2"},
        {"--ask-again=true", "--ask-again: takes no value"},
        {"--force=x --record x", "--force: takes no value"},
        {"--schema xml", "--schema: xml not in {json,mof}"},
        {"--all-properties --format json", "--all-properties goes with tables only"},
        {"--schema mof ata", "QUERY excludes --schema"},
        {"--virtual-device 2=x", "--virtual-device: expected 0=TEXT or 1=TEXT, found '2=x'"},
        {"--force", "--force requires --record"},
        {"--record x --output x", "--output: names the file of --record"},
        {"--record x --output $PWD/x", "--output: names the file of --record"},
        {"--anonymize", "--anonymize requires --record"},
        {"--anonymize-key key", "--anonymize-key requires --record"},
    };
    for (const auto& [arguments, message] : cases) {
        run(std::string("% ") + arguments, 2);
        EXPECT_EQ(output, "");
        EXPECT_THAT(errors, AllOf(HasSubstr(message), HasSubstr("try --help")));
        EXPECT_EQ(errors.find('\n'), errors.size() - 1) << "one line";
    }
}

TEST_F(Usage, SaysInOneLineWhyARunFailed) {
    const std::pair<std::string, const char*> cases[] = {
        {"% --machine missing.json", ": missing.json: cannot be read: No such file or directory"},
        {"% --machine .", ": .: cannot be read: Is a directory"},
        {"% --machine " + fileWith(R"({"nodes": {"/dev/sg0": {"inquiry": {"data": "000"}}}})"),
         "file.json: nodes[\"/dev/sg0\"].inquiry.data: expected pairs of hex digits, found \"000\""},
        {"ulimit -t 1; % --machine /dev/zero", "larger than 16777216 bytes"},
        {"% --record .", ".: is a directory, expected a regular file or none"},
        {"% --record " + fileWith("", "kept.json") + onEmptyMachine,
         "kept.json: is there already; --force replaces it"},
        {"% --record /dev/null --force" + onEmptyMachine, "/dev/null: is a special file, expected a regular file"},
        {"mkfifo ../pipe; % --output ../pipe" + onEmptyMachine,
         "../pipe: is a special file, expected a regular file or none"},
        {"ln -s nothing ../link; % --output ../link" + onEmptyMachine, "../link: is a symbolic link, expected"},
        {"% --output ../ " + onEmptyMachine, "../: is a directory, expected a regular file or none"},
        {"% --output missing/x --format json" + onEmptyMachine, "missing/x: cannot be written: No such file or dir"},
        {"% --output '../\x1b[2J/' " + onEmptyMachine, "../\\x1b[2J/: cannot be written: No such file or"},
        // Before the plug-in asks anything.
        {"ODD_PLUGIN=init % --record x --anonymize-key missing" + oddPlugin,
         ": missing: cannot be read: No such file or directory\n"},
        {"% --record x --anonymize-key /", ": /: cannot be read: Is a directory\n"},
        {"% --record x --anonymize-key /dev/null", ": /dev/null: expected a key, found an empty file\n"},
        {"% --record x --anonymize-key /dev/zero", ": /dev/zero: larger than 65536 bytes\n"},
        {"% --plugin missing.so", "loaded: missing.so: cannot open shared object file"},
        {"ODD_PLUGIN=nothing %" + oddPlugin, "to register one plug-in that collects data, it registered 0"},
        {"ODD_PLUGIN=twice %" + oddPlugin, "to register one plug-in that collects data, it registered 2\n"},
        {"ODD_PLUGIN=load %" + oddPlugin, "scsidev-inventory: odd \\x1b[2J load\n"},
        {"ODD_PLUGIN=init %" + oddPlugin, "Init failed: odd \\x1b[2J init"},
        {"ODD_PLUGIN=number %" + oddPlugin, "Init failed: an exception of an unknown type"},
        {"ODD_PLUGIN=memory %" + oddPlugin, "Init failed: out of memory"},
        {"% --version >/dev/full", "standard output cannot be written: No space left on device"},
        {"% --format json >/dev/full" + onEmptyMachine, "No space left on device"},
        {"TMPDIR=/nonexistent % ", "cannot make a temporary directory: No such file or directory"},
        {"mkdir ../open && chmod 777 ../open && TMPDIR=../open % ",
         "../open: cannot make a temporary directory: it can be written by other users and is not sticky; TMPDIR "
         "names another place\n"},
        {"env - SCSIDEV_MACHINE=other.json PATH=/usr/bin % --machine missing.json", "missing.json: cannot be read"},
        {::geteuid() == 0 ? "chmod 770 ../open; TMPDIR=../open %" : "TMPDIR=/nonexistent %",
         ::geteuid() == 0 ? "it can be written by other users and" : "No such file"}, // root has no group of its own
        {::geteuid() == 0 ? "chmod 700 ../open; chown 1 ../open; TMPDIR=../open %" : "TMPDIR=/nonexistent %",
         ::geteuid() == 0 ? "it belongs to another user; TMPDIR names another place\n" : "No such file"},
    };
    for (const auto& [command, message] : cases) {
        run(command, 1);
        EXPECT_EQ(output, "");
        EXPECT_THAT(errors, AllOf(HasSubstr("scsidev-inventory: "), HasSubstr(message)));
    }
}
