#include "http/ConnectionGroup.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using Change = std::function<void(HttpRequestOptions&)>;

std::string keyWith(const Change& change) {
    const auto request = std::make_shared<Request>("https://server.test/");
    change(*request->getOptions());
    return ConnectionGroup::keyOf(HttpRequestData(request, nullptr));
}

bool aloneWith(const Change& change) {
    const auto request = std::make_shared<Request>("https://server.test/");
    change(*request->getOptions());
    return ConnectionGroup::isAlone(HttpRequestData(request, nullptr));
}

Change identities(const std::vector<std::string>& names) {
    return [names](HttpRequestOptions& options) {
        options.useProvidedIdentity = true;
        options.identities = names;
    };
}

TEST(ConnectionGroupTest, ARequestThatJudgesByItsUrlAloneNeedsNone) {
    EXPECT_EQ(keyWith([](HttpRequestOptions&) {}), "");
    EXPECT_EQ(keyWith([](HttpRequestOptions& options) { options.identities = {"unused.test"}; }), "");
}

TEST(ConnectionGroupTest, WhateverEntersTheJudgementTellsGroupsApart) {
    std::set<std::string> keys;
    const std::vector<Change> changes = {
        identities({}),
        identities({"a"}),
        identities({"b"}),
        identities({"a", "b"}),
        identities({"b", "a"}),
        identities({"ab"}),
        identities({"1:b"}),
        [](HttpRequestOptions& options) { options.identifierToDisplay = "a"; },
        [](HttpRequestOptions& options) {
            options.certIdentityValidationModel = IdentityMatchModel::STRICT_MATCH;
        },
        [](HttpRequestOptions& options) { options.acceptableTlsVersions = TlsVersion::TLS_1_2; },
        [](HttpRequestOptions& options) { options.acceptableTlsVersions = 0; },
    };
    for (const Change& change : changes) {
        EXPECT_TRUE(keys.insert(keyWith(change)).second);
        EXPECT_EQ(keyWith(change), keyWith(change));
    }
    EXPECT_EQ(keys.count(""), 0U);
}

TEST(ConnectionGroupTest, OnlyOneThatForgetsItsNamesOnARedirectIsAlone) {
    EXPECT_TRUE(aloneWith(identities({"a"})));
    EXPECT_FALSE(aloneWith([](HttpRequestOptions&) {}));
    EXPECT_FALSE(aloneWith([](HttpRequestOptions& options) {
        identities({"a"})(options);
        options.followRedirects = false;
    }));
    EXPECT_FALSE(aloneWith([](HttpRequestOptions& options) {
        identities({"a"})(options);
        options.certIdentityValidationModel = IdentityMatchModel::STRICT_MATCH;
    }));
}

}  // namespace
}  // namespace zeb::http::test
