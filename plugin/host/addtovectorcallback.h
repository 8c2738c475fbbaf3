#pragma once

#include <boost/shared_ptr.hpp>

#include <vector>

namespace NHALDEN20 {

/// Enumeration callback that appends every handle it is given to a list and lets the enumeration go on.
///
/// Owns nothing: the list must outlive it and its copies.
template <typename T>
class TAddToVectorCallback {
public:
    explicit TAddToVectorCallback(std::vector<boost::shared_ptr<T>>* list) : list_(list) {}

    bool operator()(boost::shared_ptr<T> item) {
        list_->push_back(item);
        return true;
    }

private:
    std::vector<boost::shared_ptr<T>>* list_;
};

} // namespace NHALDEN20
