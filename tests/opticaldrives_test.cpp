#include "tests/simulatedmachine.h"

TEST_F(Plugin, NeedsAWholeOpticalTable) {
    const std::string drive = "drive name:\tsr0\n";
    const struct {
        const char* why;
        std::string table;
        std::size_t drives;
    } cases[] = {
        {"19 lines and the last, failed read", drive + std::string(18, '\n'), 1},
        {"one line less", drive + std::string(17, '\n'), 0},
        {"19 lines and a half", drive + std::string(18, '\n') + "x", 1},
        {"18 lines and a half", drive + std::string(17, '\n') + "x", 0},
        {"the longest line", drive + std::string(255, 'x') + std::string(18, '\n'), 1},
        {"a longer line ends the reading", drive + std::string(256, 'x') + std::string(18, '\n'), 0},
        {"no drives", "drive name:\n" + std::string(18, '\n'), 0},
        {"no name line", std::string(20, '\n'), 0},
    };
    for (const auto& c : cases) {
        plugin_ = std::make_unique<TScsidevPluginCallbacks>();
        machine().opticalTable = c.table;
        EXPECT_EQ(query({optical}).size(), c.drives) << c.why;
    }
}

TEST_F(Plugin, PassesOverTheOpticalTableForEachClassUntilAnotherOne) {
    machine().opticalTable = "drive name:\t/dev/sr0\n" + std::string(18, '\n');
    EXPECT_EQ(each(query({optical, optical}), "Name"), (strings{"sr0", "sr0"}));
    machine().opticalTable = "gone";
    at("/dev/hda").identify = identify("ACME DISK");
    EXPECT_EQ(each(query({optical, ata, optical}), "class"), (strings{optical, ata})) << "the table is read once";
}

TEST_F(Plugin, SplitsAtEachSeparator) {
    EXPECT_EQ(plugin_->SplitBySeperator("\ta b\t\tc\t", "\t"), (strings{"a b", "c"}));
    EXPECT_EQ(plugin_->SplitBySeperator("x y", " \t"), (strings{"x", "y"}));
    EXPECT_EQ(plugin_->SplitBySeperator("\t\t", "\t"), strings());
}

TEST_F(Plugin, ReadsANumberFromATableField) {
    const std::pair<const char*, int> numbers[] = {
        {"Can read DVD:\t\t1", 1}, {"x:\t\t1\t0", 10}, {"17", 17}, {"x:-3", -3}, {"2147483647", 2147483647}};
    for (const auto& [text, number] : numbers)
        EXPECT_EQ(plugin_->getOptProperty(text), number) << text;
    EXPECT_EQ(takeLog(), strings());
    for (const std::string text : {"x: 1", "x:", "", "x:1:2", "x:1x", "2147483648"}) {
        EXPECT_EQ(plugin_->getOptProperty(text), 0) << text;
        EXPECT_EQ(takeLog(), (strings{"1 Parse error in cdromInfo...", "1 " + text}));
    }
}
