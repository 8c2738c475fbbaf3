#pragma once

#include <memory>
#include <string>
#include <vector>

namespace [[gnu::visibility("default")]] NHALDEN20 {

class TCIMReference;

/// Type codes of CIM values. The contract fixes only the number of the one code that the plug-in passes.
enum ECIMType {
    kCIMStringArray = 13,
};

/// The host's variant value for properties, keys and contexts.
///
/// Value semantics: what happens to a copy does not show in its original. The host alone defines what a value holds.
class TCIMValue {
public:
    /// One type code, for the array constructor.
    class TCIMType {
    public:
        TCIMType(ECIMType code) : code_(code) {}
        ECIMType Code() const { return code_; }

    private:
        ECIMType code_;
    };

    TCIMValue(); ///< an empty value, a placeholder
    TCIMValue(const std::string& text);
    TCIMValue(const char* text);
    TCIMValue(bool flag);
    TCIMValue(unsigned short number); ///< uint16
    TCIMValue(TCIMReference& reference);
    /// An array of `elements`; the plug-in passes 0 as `count`.
    TCIMValue(TCIMType type, unsigned int count, const std::vector<TCIMValue>& elements);
    TCIMValue(const TCIMValue& other);
    TCIMValue& operator=(const TCIMValue& other);
    ~TCIMValue();

    /// The text of a string value. What another kind of value gives is the host's decision.
    operator std::string() const;
    /// The elements of an array value, owned by this value; empty when it holds no array.
    operator std::vector<TCIMValue>&();

    struct TContent; ///< defined by the host alone
    const TContent& Content() const { return *content_; }

private:
    std::unique_ptr<TContent> content_;
};

} // namespace NHALDEN20
