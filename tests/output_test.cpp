#include "inventory/columns.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(Columns, StandCloserWhereTheyWouldNotFit) {
    inventory::columns rows({"Node", "Name"});
    rows.add({"/dev/sg10", "\x1b[31m"});
    const std::string closest = "Node      Name\n/dev/sg10 \\x1b[31m\n"; // never cut
    const std::pair<std::size_t, std::string> cases[] = {{21, "  Node       Name\n  /dev/sg10  \\x1b[31m\n"},
                                                         {19, " Node      Name\n /dev/sg10 \\x1b[31m\n"},
                                                         {18, closest},
                                                         {1, closest}};
    for (const auto& [width, text] : cases) {
        std::ostringstream output;
        rows.write(output, width);
        EXPECT_EQ(output.str(), text) << width;
    }
}
