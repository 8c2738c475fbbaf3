// The plug-in's file as other builds make it and as it is shipped.

#include "tests/program.h"

using ShippedPlugin = Program;

TEST_F(ShippedPlugin, TakesALargeFileBuildOfThePlugin) {
    const std::string largeFilePlugin = TEST_DIRECTORY "/liblarge-file-plugin.so ";
    run("nm -D --undefined-only " + largeFilePlugin);
    EXPECT_THAT(output, HasSubstr(" open64@"));
    run("% --format json --plugin " + largeFilePlugin + onRackServer);
    EXPECT_EQ(output, contentOf(expected + "rack-server.json"));
    run("ulimit -s 64; % --format json" + onRackServer);
    EXPECT_EQ(output, contentOf(expected + "rack-server.json")) << "where the stack is small";
    run("% --plugin " + largeFilePlugin + "--machine " + fileWith(R"({"nodes": {"/dev/sg0": {"open": "EACCES"}}})"), 3);
    EXPECT_THAT(errors, HasSubstr("1 of 1 device node could not be opened")) << "the program watches open64 too";
}

TEST_F(ShippedPlugin, ThePluginBringsNothingAndNeedsOnlyTheContract) {
    run("nm -D --defined-only " + plugin);
    EXPECT_EQ(output, "") << "no exported symbols";
    run("nm -DC --undefined-only " + plugin);
    EXPECT_THAT(output, AllOf(HasSubstr("NHALDEN20::TRootObject::GetPluginManager()"), Not(HasSubstr("minihost")),
                              Not(HasSubstr("sys::"))));
    run("readelf -dW " + plugin);
    EXPECT_THAT(output, HasSubstr("Library runpath: [$ORIGIN]"));
}
