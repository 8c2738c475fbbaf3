// What the program prints, in each format and whatever a machine or a plug-in does.

#include "tests/program.h"

namespace {

const std::string declarations = contentOf(SOURCE_DIRECTORY "/schema/korva.mof");

/// The program's exit status on a machine of the repository.
int statusOn(const fs::path& machine) {
    return nlohmann::json::parse(contentOf(expected + machine.stem().string() + ".json"))["exitStatus"];
}

class Documents : public Program {
protected:
    void expectMof(const std::string& name) {
        run("% --format mof --machine " + machines + name + ".json", anyInventory);
        EXPECT_EQ(output, declarations + contentOf(expected + name + ".mof"));
    }
};

} // namespace

TEST_F(Documents, PrintsWhatStandsBesideTheMachineFile) {
    for (const auto& entry : fs::directory_iterator(machines)) {
        const std::string name = expected + entry.path().stem().string();
        SCOPED_TRACE("rewrite with script/rewrite-expected, then read the difference: " + name);
        const int status = statusOn(entry.path().string());
        run("% --machine " + entry.path().string(), status);
        EXPECT_EQ(output, contentOf(name + ".txt"));
        run("% --tree --machine " + entry.path().string(), status);
        EXPECT_EQ(output, contentOf(name + ".tree"));
        run("% --format prometheus --machine " + entry.path().string(), status);
        EXPECT_EQ(output, contentOf(name + ".prom"));
        run("% --format json --log-level 3 --ask-again --machine " + entry.path().string(), status);
        EXPECT_EQ(output, contentOf(name + ".json"));
        EXPECT_EQ(errors, contentOf(name + ".log"));
    }
    expectMof("oddities");
    expectMof("rack-server");
    run("% --all-properties KORVA_SCSIDevice,KORVA_CDVDDevice,KORVA_SCSIDevice KORVA_SysBusDeviceFirmwareElement "
        "KORVA_SysBusDeviceFirmware --machine " +
            machines + "oddities.json",
        anyInventory);
    EXPECT_EQ(output, contentOf(expected + "oddities.properties"));
}

TEST_F(Documents, PrintsTheSchemasAndTheHelpThatTheRepositoryHolds) {
    run("% --schema json");
    EXPECT_EQ(output, contentOf(SOURCE_DIRECTORY "/schema/inventory.schema.json"));
    run("% --schema mof");
    const std::string mof = output;
    run("% --schema --plugin missing.so");
    EXPECT_EQ(errors, "");
    EXPECT_EQ(output, mof);
    EXPECT_EQ(output, declarations);
    EXPECT_THAT(output, Not(ContainsRegex(R"([^.]"\)])"))) << "descriptions are sentences";
    run("% --help");
    EXPECT_EQ(output, contentOf(expected + "help")) << "rewrite it with script/rewrite-expected";
}

TEST_F(Documents, MofIsWholeWhateverThePluginDoes) {
    run("ODD_PLUGIN=query % --format mof KORVA_ATADevice" + oddPlugin, 1);
    EXPECT_THAT(output, EndsWith("};\n\n// The run failed: the query failed: odd \\x1b[2J query\n"));

    run("ODD_PLUGIN=drift % --format mof --log-level 0 KORVA_ATADevice KORVA_ATADevice" + oddPlugin);
    EXPECT_EQ(errors, "remark: KORVA_ATADevice does not declare Odd\\xff\\x1b[2J with this type\n"
                      "remark: KORVA_ATADevice does not declare Lun with this type\n");
    EXPECT_THAT(output, AllOf(HasSubstr("    // Left out: Odd\\xff\\x1b[2J"), HasSubstr("    // Left out: Lun,")));

    const auto odd = jsonOf("ODD_PLUGIN=drift % KORVA_ATADevice" + oddPlugin);
    EXPECT_TRUE(odd["queries"][0]["instances"][0]["properties"].contains("Odd\u00ff\x1b[2J"));

    run("% --format mof KORVA_SysBusDevice" + oddPlugin);
    EXPECT_EQ(output, declarations + "\n// An instance of KORVA_SysBusDevice is left out: the class is abstract\n");
}

TEST_F(Documents, ARunThatFailsPrintsADocumentAllTheSame) {
    for (const char* command : {"% --machine missing.json", "TMPDIR=/nonexistent %"}) {
        run(std::string(command) + " --format mof", 1);
        EXPECT_THAT(output, StartsWith(declarations + "\n// The run failed: "));
        const auto document = jsonOf(command, 1);
        EXPECT_EQ(document["exitStatus"], 1);
        EXPECT_EQ("scsidev-inventory: " + std::string(document["error"]) + '\n', errors);
    }
}

TEST_F(Documents, AQueryThatFailsKeepsWhatWasCommittedBefore) {
    const auto document = jsonOf("ODD_PLUGIN=query % KORVA_ATADevice KORVA_SCSIDevice" + oddPlugin, 1);
    ASSERT_EQ(document["queries"].size(), 1U) << "the run ends with it";
    EXPECT_EQ(document["queries"][0]["error"], "odd \x1b[2J query");
    EXPECT_EQ(document["queries"][0]["instances"].size(), 1U);
    EXPECT_THAT(errors, HasSubstr("scsidev-inventory: the query failed: odd \\x1b[2J query\n"));

    run("ODD_PLUGIN=query % KORVA_ATADevice" + oddPlugin, 1);
    EXPECT_THAT(output, HasSubstr("ATA devices (KORVA_ATADevice): 1\n"));
}

TEST_F(Documents, NoWordOfADeviceEndsALineOfMetrics) {
    const std::string machine = fileWith(R"({"nodes": {
        "/dev/sg0": {"kernel": {"names": ["sda"], "wwid": "\rscsidev_x 1\r\u001b[2J\"\\\n\u00ff"},
                     "open": "EIO"},
        "/dev/hda": {"identify": {"data": [{"zeros": 54}, {"swapped": "A \r", "size": 40}]}}}})");
    run("% --format prometheus --machine " + machine, 3);
    const std::string wwid = R"(wwid="\\x0dscsidev_x 1\\x0d\\x1b[2J\"\\\\\\n\\xff")";
    EXPECT_THAT(output,
                AllOf(HasSubstr("scsidev_device_info{device=\"/dev/sg0\",kernel=\"sda\"," + wwid + ",vendor=\"\""),
                      HasSubstr("\nscsidev_device_info{device=\"/dev/hda\""),
                      HasSubstr("\nscsidev_device_state{device=\"/dev/sg0\"," + wwid + ",state=\"refused\"} 1\n")));
    EXPECT_EQ(output.find('\r'), std::string::npos);
    run("ODD_PLUGIN=query % --format prometheus KORVA_ATADevice" + oddPlugin, 1);
    EXPECT_THAT(output, HasSubstr("\nscsidev_collection_complete 0\n"));
}

TEST_F(Documents, NoByteDrivesATerminal) {
    run("% --format json KORVA_ATADevice" + oddPlugin);
    EXPECT_EQ(errors, "[1] one \\\\ \\n\\t\\x7f\\xff line\n");
    const std::string json = output;
    run("% KORVA_ATADevice" + oddPlugin);
    for (const char c : json + output)
        ASSERT_TRUE(c == '\n' || (c >= ' ' && c <= '~')) << static_cast<int>(c);
}
