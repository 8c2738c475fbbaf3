#pragma once

#include "plugin/host/cimnamespace.h"
#include "plugin/host/cimreference.h"
#include "plugin/host/cimvalue.h"

#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace NHALDEN20 {

/// What an object path holds: the class that it names and the key properties.
struct TCIMReference::TContent {
    boost::shared_ptr<ICIMNamespace> ns;
    TContext keys;
    std::string className;
};

/// What a value holds; std::monostate is the empty value.
struct TCIMValue::TContent : boost::intrusive_ref_counter<TContent, boost::thread_unsafe_counter> {
    using TVariant =
        std::variant<std::monostate, std::string, bool, std::uint16_t, TCIMReference, std::vector<TCIMValue>>;

    TContent() = default;
    explicit TContent(TVariant content) : value(std::move(content)) {}

    TVariant value;
    bool isHandedOut = false; ///< somebody may change it: it has one owner from then on
};

} // namespace NHALDEN20

namespace minihost {

/// The object path as text: CLASS.key="text",key=number,... with the keys in alphabetical order, and " and
/// \ in texts escaped by \ (DSP0004, untyped path). A key that has no value of its
/// type is left out.
std::string objectPath(const NHALDEN20::TCIMReference& reference);

} // namespace minihost
