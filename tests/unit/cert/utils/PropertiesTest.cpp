#include "cert/utils/Properties.h"

#include <string>

#include <climits>
#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

constexpr Properties::Property KEY = Properties::MAXIMUM_CHAIN_LENGTH;

Properties with(const std::string& value) {
    Properties properties;
    properties.setValue(KEY, value);
    return properties;
}

TEST(PropertiesTest, WhatIsNotSetIsTheDefault) {
    const Properties properties;
    EXPECT_EQ(properties.getValue(KEY, "default"), "default");
    EXPECT_EQ(properties.getIntValue(KEY, 7), 7);
    EXPECT_EQ(properties.getLongValue(KEY, 8L), 8L);
    EXPECT_TRUE(properties.getBoolValue(KEY, true));
    EXPECT_FALSE(properties.getBoolValue(KEY, false));
}

TEST(PropertiesTest, EachPropertyHasItsOwnValueAndTheLastOneCounts) {
    Properties properties = with("3");
    properties.setValue(Properties::MINIMUM_KEY_BITS, "2048");
    properties.setValue(Properties::REVOCATION_CHECK_ENABLED, "true");
    properties.setValue(KEY, "4");
    EXPECT_EQ(properties.getValue(KEY, ""), "4");
    EXPECT_EQ(properties.getIntValue(Properties::MINIMUM_KEY_BITS, 0), 2048);
    EXPECT_TRUE(properties.getBoolValue(Properties::REVOCATION_CHECK_ENABLED, false));
}

TEST(PropertiesTest, AnEmptyValueIsAValue) {
    EXPECT_EQ(with("").getValue(KEY, "default"), "");
}

TEST(PropertiesTest, ClearingBringsTheDefaultsBack) {
    Properties properties = with("3");
    properties.clear();
    EXPECT_EQ(properties.getValue(KEY, "default"), "default");
}

TEST(PropertiesTest, NumbersAreReadFromTheBeginningOfTheText) {
    EXPECT_EQ(with("42").getIntValue(KEY, 7), 42);
    EXPECT_EQ(with("-42").getIntValue(KEY, 7), -42);
    EXPECT_EQ(with(" 42 ms").getIntValue(KEY, 7), 42);
    EXPECT_EQ(with("42").getLongValue(KEY, 7), 42L);
    EXPECT_EQ(with(std::to_string(LONG_MIN)).getLongValue(KEY, 7), LONG_MIN);
    EXPECT_EQ(with(std::to_string(INT_MAX)).getIntValue(KEY, 7), INT_MAX);
}

TEST(PropertiesTest, ATextThatIsNoNumberIsTheDefault) {
    for (const char* text : {"", " ", "many", "x1", "-", "99999999999999999999999"}) {
        EXPECT_EQ(with(text).getIntValue(KEY, 7), 7) << text;
        EXPECT_EQ(with(text).getLongValue(KEY, 7), 7L) << text;
    }
    EXPECT_EQ(with("2147483648").getIntValue(KEY, 7), 7);
    EXPECT_EQ(with("2147483648").getLongValue(KEY, 7), 2147483648L);
}

TEST(PropertiesTest, FourTextsAreTruthsInWhateverCase) {
    for (const char* text : {"TRUE", "true", "tRuE", "1"}) {
        EXPECT_TRUE(with(text).getBoolValue(KEY, false)) << text;
    }
    for (const char* text : {"FALSE", "false", "fAlSe", "0"}) {
        EXPECT_FALSE(with(text).getBoolValue(KEY, true)) << text;
    }
}

TEST(PropertiesTest, AnyOtherTextIsNoTruthButTheDefault) {
    for (const char* text : {"", "yes", "no", "2", "10", " true", "true ", "truely", "on"}) {
        EXPECT_TRUE(with(text).getBoolValue(KEY, true)) << text;
        EXPECT_FALSE(with(text).getBoolValue(KEY, false)) << text;
    }
}

TEST(PropertiesTest, NullPropertiesHaveNothingSet) {
    const Properties* const none = nullptr;
    EXPECT_EQ(Properties::getValue(none, KEY, "default"), "default");
    EXPECT_EQ(Properties::getIntValue(none, KEY, 7), 7);
    EXPECT_EQ(Properties::getLongValue(none, KEY, 8L), 8L);
    EXPECT_TRUE(Properties::getBoolValue(none, KEY, true));
    EXPECT_FALSE(Properties::getBoolValue(none, KEY, false));
}

TEST(PropertiesTest, PropertiesByPointerAnswerLikeThemselves) {
    const Properties properties = with("1");
    EXPECT_EQ(Properties::getValue(&properties, KEY, "default"), "1");
    EXPECT_EQ(Properties::getIntValue(&properties, KEY, 7), 1);
    EXPECT_EQ(Properties::getLongValue(&properties, KEY, 8L), 1L);
    EXPECT_TRUE(Properties::getBoolValue(&properties, KEY, false));
}

}  // namespace
}  // namespace zeb::cert::test
