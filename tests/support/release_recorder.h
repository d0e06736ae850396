// A host that remembers what was given back to it, and in which order.
#pragma once

#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace rs::test {

class ReleaseRecorder {
public:
    // The callback to register, with the recorder as its context.
    static void record(void* userData, void* recorder) {
        static_cast<ReleaseRecorder*>(recorder)->order_.push_back(userData);
    }

    int32_t registerOn(RuleSet& set) {
        return rs_registerRuleCallback(&set, RULE_CALLBACK_RELEASE, record, this);
    }

    // What was given back, the first one first.
    const std::vector<void*>& order() const { return order_; }

    size_t countOf(const void* userData) const {
        return static_cast<size_t>(std::count(order_.begin(), order_.end(), userData));
    }

    void clear() { order_.clear(); }

private:
    std::vector<void*> order_;
};

}  // namespace rs::test
