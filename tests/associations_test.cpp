#include "minihost/minihost.h"
#include "tests/simulatedmachine.h"

#include <boost/make_shared.hpp>

#include <stdexcept>

using NHALDEN20::TCIMValue;
using NHALDEN20::TContext;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

/// Another provider's instance: notes what it is asked, and has no handle for a property that was never set.
class foreignInstance : public minihost::memoryInstance {
public:
    foreignInstance(minihost::memoryNamespace& ns, const std::string& className, strings& asked)
        : memoryInstance(ns, *minihost::findClass(className)), asked_(asked) {}

    NHALDEN20::TCIMReference GetReference(const TContext& context) override {
        asked_.emplace_back("path");
        return memoryInstance::GetReference(context);
    }
    boost::shared_ptr<NHALDEN20::ICIMPropertyHandle> GetPropertyHandle(const std::string& name,
                                                                       const TContext& context) override {
        asked_.push_back(name);
        return find(name) == nullptr ? nullptr : memoryInstance::GetPropertyHandle(name, context);
    }

private:
    strings& asked_;
};

/// A machine with one device, /dev/sg0, whose identity is its path.
class Associations : public Plugin {
protected:
    Associations() {
        sgNode("/dev/sg0", inquiry(13, "ACME", "X"));
        minihost::setRemarkSink(nullptr); // not every provider does as its class says
    }

    boost::shared_ptr<foreignInstance> commitForeign(const std::string& className) {
        auto instance = boost::make_shared<foreignInstance>(namespace_, className, asked_);
        instance->AddToClass({});
        return instance;
    }
    void commitForeign(const std::string& className, const std::string& property, const TCIMValue& value) {
        commitForeign(className)->SetProperty(property, value, {});
    }

    strings asked_; ///< of the foreign instances
};

} // namespace

TEST_F(Associations, AreMadeOnlyWhenBothEndsAreThere) {
    EXPECT_EQ(query({firmware}).size(), 0U);
    query({scsi});
    const std::size_t before = calls().size();
    takeLog();
    EXPECT_EQ(query({firmware}).size(), 0U);
    EXPECT_EQ(calls().size(), before) << "not even the driver is loaded";
    EXPECT_EQ(takeLog(), strings());

    query({element});
    EXPECT_EQ(query({firmware}).size(), 1U);
    // Device lists grow from query to query: two reads of one device, one read of one element before this one.
    EXPECT_THAT(takeLog(), Contains("3 Making association for /dev/sg0 0001 2 1"));
}

TEST_F(Associations, PassOverDevicesWithoutASuitableIdentity) {
    commitForeign(scsi);
    for (const TCIMValue& identity :
         {TCIMValue(), TCIMValue("/dev/sg0"), listOf({}), listOf({"/dev/sg0 and more", "/dev/sg0"})})
        commitForeign(scsi, "OtherIdentifyingInfo", identity);
    query({scsi});
    commitForeign(element);
    query({element});
    EXPECT_THAT(each(query({firmware}), "Dependent"), ElementsAre(HasSubstr("DeviceID=\"/dev/sg0\"")));
}

TEST_F(Associations, AskForADevicesPathBeforeTheyLookForItsElement) {
    commitForeign(scsi, "OtherIdentifyingInfo", listOf({"/dev/sg0"}));
    commitForeign(scsi, "OtherIdentifyingInfo", listOf({""}));
    commitForeign(element, "SoftwareElementId", "Port:9");
    EXPECT_EQ(query({firmware}).size(), 0U);
    EXPECT_EQ(asked_, (strings{"OtherIdentifyingInfo", "path", "SoftwareElementId"}));
    EXPECT_THAT(takeLog(), Not(Contains("3 Found association...")));
    commitForeign(element, "SoftwareElementId", "");
    EXPECT_EQ(query({firmware}).size(), 1U) << "an empty identity is part of every key";
}

TEST_F(Associations, PassOnWhatTheHostThrows) {
    commitForeign(scsi, "OtherIdentifyingInfo", listOf({true})); // which this host does not read as a text
    query({scsi});
    query({element});
    EXPECT_EQ(query({firmware}).size(), 0U);
    EXPECT_THROW(plugin_->findRefs("/dev/sg0", "", {}), std::runtime_error);
}
