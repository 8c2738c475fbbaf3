// The queries of a run: one namespace, and devices that are asked once.

#include "tests/program.h"

namespace {

using Queries = Program;

/// The queries of a document, without what else is said of the run.
nlohmann::json queriesOf(const std::string& document) { return nlohmann::json::parse(document)["queries"]; }

} // namespace

TEST_F(Queries, RunsQueriesInTurnOnOneNamespace) {
    const auto document = jsonOf("% --log-level 0 --virtual-device 0=/dev/sg0 --virtual-device 1= Tape,korva_ATAdevice "
                                 "firmware KORVA_SysBusDeviceFirmware" +
                                 onRackServer);
    EXPECT_EQ(errors, "left out as virtual media: /dev/sg0 (named by --virtual-device), /dev/sg6 (like a USB device of "
                      "product 0x4012), /dev/sg7 (like a USB device of product 0x4012), /dev/sg8 (named by "
                      "--virtual-device)\na query follows the rules of its first class, KORVA_SCSITapeDrive; ask in "
                      "queries of their own for KORVA_ATADevice\nsimulated machine: 10 s of sleeping skipped\n")
        << "the device is ready from then on";
    const auto& queries = document["queries"];
    ASSERT_EQ(queries.size(), 3U);
    EXPECT_EQ(queries[0]["classes"], (nlohmann::json{"KORVA_SCSITapeDrive", "KORVA_ATADevice"}));
    ASSERT_EQ(queries[0]["instances"].size(), 2U);
    for (const auto& instance : queries[0]["instances"])
        EXPECT_EQ(instance["class"], "KORVA_SCSITapeDrive")
            << "with tapes first, other devices have to be cartridge drives to be shown";
    EXPECT_EQ(queries[1]["instances"].size(), 8U) << "the named virtual device is left out";
    EXPECT_EQ(queries[2]["instances"].size(), 2U);
}

TEST_F(Queries, SteadyDevicesMakeLaterQueriesAsIfAskedAgain) {
    auto endedWalk = nlohmann::json::parse(contentOf(machines + "rack-server.json"));
    endedWalk["nodes"]["/dev/sg0"]["inquiry"]["data"] = {"00000502 1f000000", {{"text", "BLANK"}, {"size", 28}}};
    // Gone when it is opened a second time, in each of the walks.
    const std::string vanishing = R"({"nodes": {"/dev/sg5": {"sgVersion": 2, "open": [true, "ENOENT", true, "ENOENT",
        true, "ENOENT", true, "ENOENT", true, "ENOENT"]}}})";
    std::vector<std::string> files{fileWith(endedWalk.dump()), fileWith(vanishing, "vanishing.json")};
    for (const auto& entry : fs::directory_iterator(machines)) {
        if (entry.path().stem() != "oddities") // whose devices change
            files.push_back(entry.path().string());
    }
    for (const auto& file : files) {
        SCOPED_TRACE(file);
        run("% --format json --log-level 3 --machine " + file, anyInventory);
        const std::string once = output, log = logLines(errors);
        run("% --format json --log-level 3 --ask-again --machine " + file, anyInventory);
        EXPECT_EQ(queriesOf(once), queriesOf(output));
        EXPECT_EQ(log, logLines(errors));
    }
}

TEST_F(Queries, ChangingDevicesAreAskedOnce) {
    auto changing = nlohmann::json::parse(contentOf(machines + "rack-server.json"));
    auto& nodes = changing["nodes"];
    changing["modprobe"] = {0, 1};
    nodes["/dev/sg0"]["open"] = {true, "EACCES"};
    nodes["/dev/sg1"]["inquiry"] = {nodes["/dev/sg1"]["inquiry"], nodes["/dev/sg2"]["inquiry"]};
    const std::string file = fileWith(changing.dump()), recording = fileWith("", "recording.json");
    run("% --format json --log-level 1 --machine " + file);
    EXPECT_EQ(queriesOf(output), queriesOf(contentOf(expected + "rack-server.json")));
    EXPECT_EQ(logLines(errors), "");
    run("% --force --record " + recording + " --machine " + file);
    const auto recorded = nlohmann::json::parse(contentOf(recording));
    EXPECT_EQ(recorded["modprobe"], 0) << "a recording holds one walk";
    EXPECT_EQ(recorded["nodes"]["/dev/sg0"]["open"], true);
    run("% --ask-again --machine " + file, 3);
    EXPECT_EQ(logLines(errors), "[0] sg module is not loaded correctly\n") << "five times in the log, shown once";
    EXPECT_THAT(errors, HasSubstr("the sg driver could not be loaded, SCSI devices are not shown"));

    changing["modprobe"] = 0;
    nodes["/dev/sg10"]["inquiry"] = {{"sense", "70 00 02 00 00 00 00 0a 00 00 00 00 04 01"}};
    nodes["/dev/sg1"]["sgVersion"] = {30536, "EIO"}; // its serial number cannot be read
    fileWith(changing.dump());
    EXPECT_EQ(jsonOf("% --machine " + file, 3)["queries"][4]["instances"].size(), 8U)
        << "all firmware elements but one: each query begins with the first answers";
    EXPECT_THAT(errors, EndsWith("simulated machine: 35 s of sleeping skipped\n")) << "10 s are of other devices";
}
