#include "inventory/columns.h"
#include "inventory/output.h"
#include "minihost/memorynamespace.h"

#include <boost/make_shared.hpp>

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

TEST(Table, HasAPlainSectionForAClassThatHasNone) {
    constexpr minihost::propertyDeclaration properties[] = {{"Ready", minihost::cimType::boolean, false, ""},
                                                            {"Name", minihost::cimType::string, true, ""},
                                                            {"Slots", minihost::cimType::uint16, false, ""}};
    const minihost::classDeclaration box{"KORVA_Box", "", minihost::classKind::concrete, "", properties};
    const minihost::classDeclaration bare{"KORVA_Bare", "", minihost::classKind::concrete, "", {}};
    const minihost::classDeclaration derived{"KORVA_Derived", "KORVA_SysBusDeviceFirmwareElement",
                                             minihost::classKind::concrete, "", properties};
    minihost::memoryNamespace ns;
    const auto instance = boost::make_shared<minihost::memoryInstance>(ns, box);
    instance->SetProperty("Name", "left ", {});
    instance->SetProperty("Ready", true, {});
    const auto nothing = boost::make_shared<minihost::memoryInstance>(ns, bare);
    const auto element = boost::make_shared<minihost::memoryInstance>(ns, derived);
    element->SetProperty("Version", "1.0", {});
    inventory::runResult result;
    result.queries = {
        {{"KORVA_Box", "KORVA_Bare", "KORVA_Derived", "KORVA_Other"}, {instance, nothing, element}, std::nullopt}};
    std::ostringstream output;
    inventory::writeTable(result, {false, 80, false}, output);
    EXPECT_EQ(output.str(), "KORVA_Box: 1\n"
                            "  Ready  Name  Slots\n"
                            "  true   left  -\n"
                            "\n"
                            "KORVA_Bare: 1\n"
                            "\n"
                            "KORVA_Derived: 1\n"
                            "  Device identity  Kind  Vendor  Version\n"
                            "  -                -     -       1.0\n"
                            "\n"
                            "KORVA_Other: none\n");
}
