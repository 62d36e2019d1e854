#pragma once

#include "common/InputIndependentPolicy.h"

#include <memory>
#include <string>
#include <utility>

namespace zeb::common::test {

/// A policy of whatever nature, with a name and an answer of the test's choice.
class NamedPolicy : public InputIndependentPolicy {
public:
    NamedPolicy(PolicyNature::Nature nature, std::string name, bool enforceable = true)
        : InputIndependentPolicy(nature, PolicyFailureClass::SOFT),
          name_(std::move(name)),
          enforceable_(enforceable) {}

    bool equals(const Policy& other) const override {
        return Policy::equals(other) && other.getName() == name_;
    }
    std::string getName() const override { return name_; }
    bool verifyEnforceability() const override {
        ++asked;
        return enforceable_;
    }

    mutable int asked = 0;

private:
    const std::string name_;
    const bool enforceable_;
};

inline std::shared_ptr<NamedPolicy> named(Policy::PolicyNature::Nature nature, const std::string& name,
                                          bool enforceable = true) {
    return std::make_shared<NamedPolicy>(nature, name, enforceable);
}

}  // namespace zeb::common::test
