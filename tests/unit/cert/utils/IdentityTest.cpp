#include "cert/utils/Identity.h"
#include "cert/utils/IdentityBuilder.h"
#include "support/LogCapture.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

using zeb::test::LogCapture;

using Texts = std::vector<std::string>;

constexpr char NO_REFERENCE[] = "No valid reference identifier stored. The identity is invalid";
constexpr char EMPTY_MANDATORY[] = "Empty mandatory reference identifier stored. The identity is invalid";
constexpr char EMPTY_SNI[] = "Empty mandatory reference identifier stored for SNI. The identity is invalid";

TEST(IdentityTest, OneReferenceIdentifierIsEnough) {
    const LogCapture log;
    const Identity identity = IdentityBuilder().referenceIdentifier("a.test").build();
    EXPECT_TRUE(identity.isValid());
    EXPECT_TRUE(identity.hasValidReferenceIdentifiers());
    EXPECT_FALSE(identity.hasValidMandatoryReferenceIdentifier());
    EXPECT_FALSE(identity.hasValidReferenceIdentifierForSNI());
    EXPECT_EQ(identity.getMandatoryReferenceIdentifier(), "");
    EXPECT_EQ(identity.getReferenceIdentifierForSNI(), "");
    EXPECT_EQ(log.text(), "");
}

TEST(IdentityTest, WithoutAReferenceIdentifierItIsInvalid) {
    const LogCapture log;
    EXPECT_FALSE(IdentityBuilder().build().isValid());
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, NO_REFERENCE));
}

TEST(IdentityTest, AListOfBlanksIsInvalid) {
    const LogCapture log;
    const Identity identity = IdentityBuilder().referenceIdentifiers({"", " ", "\t\r\n"}).build();
    EXPECT_FALSE(identity.isValid());
    EXPECT_FALSE(identity.hasValidReferenceIdentifiers());
    EXPECT_EQ(identity.getNonEmptyReferenceIdentifiers(), Texts());
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, NO_REFERENCE));
}

TEST(IdentityTest, AMandatoryIdentifierAloneIsInvalid) {
    const LogCapture log;
    EXPECT_FALSE(IdentityBuilder().mandatoryReferenceIdentifier("a.test").build().isValid());
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, NO_REFERENCE));
    EXPECT_FALSE(log.contains(EMPTY_MANDATORY));
}

TEST(IdentityTest, AnSniIdentifierAndAMandatoryOneWithoutAListAreInvalid) {
    const LogCapture log;
    EXPECT_FALSE(IdentityBuilder()
                     .mandatoryReferenceIdentifier("a.test")
                     .referenceIdentifierForSNI("b.test")
                     .build()
                     .isValid());
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, NO_REFERENCE));
}

TEST(IdentityTest, AnEmptyMandatoryIdentifierIsInvalid) {
    const LogCapture log;
    const Identity identity =
        IdentityBuilder().referenceIdentifier("a.test").mandatoryReferenceIdentifier("").build();
    EXPECT_FALSE(identity.isValid());
    EXPECT_FALSE(identity.hasValidMandatoryReferenceIdentifier());
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, EMPTY_MANDATORY));
}

TEST(IdentityTest, AnSniIdentifierWithAListButNoMandatoryOneIsInvalid) {
    const LogCapture log;
    const Identity identity =
        IdentityBuilder().referenceIdentifier("a.test").referenceIdentifierForSNI("b.test").build();
    EXPECT_FALSE(identity.isValid());
    EXPECT_TRUE(identity.hasValidReferenceIdentifierForSNI());
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, EMPTY_MANDATORY));
    EXPECT_FALSE(log.contains(EMPTY_SNI));
}

TEST(IdentityTest, AnEmptySniIdentifierIsInvalid) {
    const LogCapture log;
    const Identity identity = IdentityBuilder()
                                  .referenceIdentifier("a.test")
                                  .mandatoryReferenceIdentifier("a.test")
                                  .referenceIdentifierForSNI("")
                                  .build();
    EXPECT_FALSE(identity.isValid());
    EXPECT_FALSE(identity.hasValidReferenceIdentifierForSNI());
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, EMPTY_SNI));
}

TEST(IdentityTest, WithAllThreeItIsValid) {
    const Identity identity = IdentityBuilder()
                                  .referenceIdentifier("a.test")
                                  .mandatoryReferenceIdentifier("b.test")
                                  .referenceIdentifierForSNI("c.test")
                                  .build();
    EXPECT_TRUE(identity.isValid());
    EXPECT_EQ(identity.getMandatoryReferenceIdentifier(), "b.test");
    EXPECT_EQ(identity.getReferenceIdentifierForSNI(), "c.test");
}

TEST(IdentityTest, ABlankMandatoryIdentifierIsNotEmpty) {
    const Identity identity =
        IdentityBuilder().referenceIdentifier("a.test").mandatoryReferenceIdentifier(" ").build();
    EXPECT_TRUE(identity.isValid());
    EXPECT_TRUE(identity.hasValidMandatoryReferenceIdentifier());
}

TEST(IdentityTest, ReferenceIdentifiersComeBackTrimmedAndInOrder) {
    EXPECT_EQ(IdentityBuilder()
                  .referenceIdentifiers({" b.test", "", "a.test\r\n", " ", "\tc d\v"})
                  .build()
                  .getNonEmptyReferenceIdentifiers(),
              (Texts{"b.test", "a.test", "c d"}));
}

TEST(IdentityBuilderTest, AListReplacesWhatWasThereAndASingleOneIsAdded) {
    IdentityBuilder builder;
    builder.referenceIdentifier("lost.test").referenceIdentifiers({"a.test", "b.test"});
    builder.referenceIdentifier("c.test");
    EXPECT_EQ(builder.build().getNonEmptyReferenceIdentifiers(), (Texts{"a.test", "b.test", "c.test"}));
}

TEST(IdentityBuilderTest, BuildsAsOftenAsOneLikes) {
    IdentityBuilder builder;
    builder.referenceIdentifier("a.test");
    const Identity plain = builder.build();
    const Identity mandatory = builder.mandatoryReferenceIdentifier("m.test").build();
    const Identity sni = builder.referenceIdentifierForSNI("s.test").build();
    EXPECT_EQ(plain.getMatchedReferenceIdentifier(), "a.test");
    EXPECT_EQ(mandatory.getMatchedReferenceIdentifier(), "m.test");
    EXPECT_EQ(sni.getMatchedReferenceIdentifier(), "s.test");
}

TEST(IdentityTest, TheMatchedIdentifierIsTheOneSetOrElseTheBestGuess) {
    EXPECT_EQ(IdentityBuilder().build().getMatchedReferenceIdentifier(), "");
    EXPECT_EQ(IdentityBuilder()
                  .referenceIdentifiers({" ", " a.test ", "b.test"})
                  .build()
                  .getMatchedReferenceIdentifier(),
              "a.test");
    const Identity identity = IdentityBuilder()
                                  .referenceIdentifier("a.test")
                                  .mandatoryReferenceIdentifier("m.test")
                                  .referenceIdentifierForSNI("s.test")
                                  .build();
    EXPECT_EQ(identity.getMatchedReferenceIdentifier(), "s.test");
    identity.setMatchedReferenceIdentifier("matched.test");
    EXPECT_EQ(identity.getMatchedReferenceIdentifier(), "matched.test");
    identity.setMatchedReferenceIdentifier("");
    EXPECT_EQ(identity.getMatchedReferenceIdentifier(), "s.test");
    EXPECT_EQ(IdentityBuilder()
                  .referenceIdentifier("a.test")
                  .mandatoryReferenceIdentifier("m.test")
                  .build()
                  .getMatchedReferenceIdentifier(),
              "m.test");
}

TEST(IdentityTest, UsersAreShownTheIdentifierForThatOrElseTheMatchedOne) {
    IdentityBuilder builder;
    builder.referenceIdentifier("a.test");
    const Identity plain = builder.build();
    EXPECT_EQ(plain.getIdentifierToDisplay(), "a.test");
    plain.setMatchedReferenceIdentifier("matched.test");
    EXPECT_EQ(plain.getIdentifierToDisplay(), "matched.test");
    const Identity shown = builder.identifierToDisplay("Example").build();
    shown.setMatchedReferenceIdentifier("matched.test");
    EXPECT_EQ(shown.getIdentifierToDisplay(), "Example");
}

TEST(IdentityTest, ACopyHasAMatchedIdentifierOfItsOwn) {
    const Identity one = IdentityBuilder().referenceIdentifier("a.test").build();
    const Identity other = one;
    other.setMatchedReferenceIdentifier("matched.test");
    EXPECT_EQ(one.getMatchedReferenceIdentifier(), "a.test");
}

TEST(IdentityTest, PrintsItsPartsInOrder) {
    const Identity identity = IdentityBuilder()
                                  .referenceIdentifiers({"a.test", " ", "b.test"})
                                  .mandatoryReferenceIdentifier("m.test")
                                  .referenceIdentifierForSNI("s.test")
                                  .identifierToDisplay("Example")
                                  .build();
    identity.setMatchedReferenceIdentifier("a.test");
    EXPECT_EQ(identity.toString(),
              "Mandatory reference identifier for SNI: 's.test'; Mandatory reference identifier: 'm.test'; "
              "Reference identifiers: ['a.test', ' ', 'b.test']; Identifier to display: 'Example'; "
              "Matched reference Identifier: 'a.test'");
}

TEST(IdentityTest, PrintsOnlyThePartsThatArePresent) {
    EXPECT_EQ(IdentityBuilder().build().toString(), "");
    EXPECT_EQ(IdentityBuilder().referenceIdentifier("a.test").build().toString(),
              "Reference identifiers: ['a.test']");
    EXPECT_EQ(
        IdentityBuilder().identifierToDisplay("Example").referenceIdentifierForSNI("s").build().toString(),
        "Mandatory reference identifier for SNI: 's'; Identifier to display: 'Example'");
    EXPECT_EQ(IdentityBuilder().mandatoryReferenceIdentifier("m").build().toString(),
              "Mandatory reference identifier: 'm'");
}

}  // namespace
}  // namespace zeb::cert::test
