#include "plugin/texthelpers.h"
#include "tests/simulatedmachine.h"

#include <algorithm>

TEST_F(Plugin, SplitsAtEachSeparator) {
    const struct {
        const char *text, *separators;
        strings parts;
    } cases[] = {
        {"a\t\tb\t", "\t", {"a", "b"}}, {"", "\t", {}},           {"\t\t", "\t", {}},
        {"x y", " \t", {"x", "y"}},     {"\ta b", "\t", {"a b"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(plugin_->SplitBySeperator(c.text, c.separators), c.parts) << c.text;
}

TEST_F(Plugin, TakesWhatStandsBehindTheFirstColon) {
    const struct {
        const char *text, *rest;
    } cases[] = {
        {"drive name:\t\tsr0", "\t\tsr0"}, {"no colon", "no colon"}, {"a:b:c", "b:c"}, {"ends:", ""}, {"", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(plugin_->ColonFilter(c.text), c.rest) << c.text;
}

TEST_F(Plugin, ReadsANumberFromATableField) {
    const struct {
        const char* text;
        int number;
        bool reported;
    } cases[] = {
        {"Can read DVD:\t\t1", 1, false},
        {"x:\t\t1\t0", 10, false},
        {"17", 17, false},
        {"x:-3", -3, false},
        {"x: 1", 0, true},
        {"x:", 0, true},
        {"", 0, true},
        {"x:1:2", 0, true},
        {"x:1x", 0, true},
        {"2147483647", 2147483647, false},
        {"2147483648", 0, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(plugin_->getOptProperty(c.text), c.number) << c.text;
        const strings report{"1 Parse error in cdromInfo...", std::string("1 ") + c.text};
        EXPECT_EQ(takeLog(), c.reported ? report : strings()) << c.text;
    }
}

TEST(Substring, FindsTheFirstLineThatContainsThePattern) {
    const strings lines{"drive speed:\t24", "drive name:\tsr0", "drive name:\tsr1"};
    EXPECT_EQ(std::find_if(lines.begin(), lines.end(), Tsubstring("drive name:")), lines.begin() + 1);
    EXPECT_EQ(std::find_if(lines.begin(), lines.end(), Tsubstring("Drive")), lines.end());
    EXPECT_TRUE(Tsubstring("")(""));
}
