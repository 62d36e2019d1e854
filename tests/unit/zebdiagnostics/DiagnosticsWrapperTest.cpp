#include "zebdiagnostics/ZEBDiagnostics.h"

#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace ZEBDiagnostics::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class DiagnosticsWrapperTest : public testing::Test {
protected:
    DiagnosticsWrapperTest() { DiagnosticsWrapper::clear(); }

    static void add(const std::string& name, const std::string& value) {
        DiagnosticsWrapper::AddRecord(RecordType::INFORMATION, SectionID::DNS, name, value, 0, "", "");
    }
};

TEST_F(DiagnosticsWrapperTest, ARecordIsKeptAsItWasGivenWithItsTime) {
    const auto before = std::chrono::system_clock::now();
    DiagnosticsWrapper::AddRecord(RecordType::FAILURE, SectionID::CERTIFICATES, "name", "value", 3, "text",
                                  "further");
    const std::vector<Record> records = DiagnosticsWrapper::getRecords();
    ASSERT_THAT(records, SizeIs(1));
    const Record& record = records.front();
    EXPECT_EQ(record.type, RecordType::FAILURE);
    EXPECT_EQ(record.section, SectionID::CERTIFICATES);
    EXPECT_EQ(record.name, "name");
    EXPECT_EQ(record.value, "value");
    EXPECT_EQ(record.flag, 3);
    EXPECT_EQ(record.text, "text");
    EXPECT_EQ(record.furtherText, "further");
    EXPECT_GE(record.time, before);
    EXPECT_LE(record.time, std::chrono::system_clock::now());
}

TEST_F(DiagnosticsWrapperTest, TheNumbersOfTypesAndSectionsAreThoseThatCallersUse) {
    EXPECT_EQ(static_cast<int>(RecordType::INFORMATION), 0);
    EXPECT_EQ(static_cast<int>(RecordType::FAILURE), 1);
    EXPECT_EQ(static_cast<int>(SectionID::CERTIFICATES), 6);
    EXPECT_EQ(static_cast<int>(SectionID::DNS), 10);
}

TEST_F(DiagnosticsWrapperTest, RecordsAreNumberedInTheirOrder) {
    add("first", "");
    add("second", "");
    const std::vector<Record> records = DiagnosticsWrapper::getRecords();
    ASSERT_THAT(records, SizeIs(2));
    EXPECT_EQ(records[0].name, "first");
    EXPECT_EQ(records[1].number, records[0].number + 1);
}

TEST_F(DiagnosticsWrapperTest, TheOldestOneMakesRoom) {
    for (std::size_t i = 0; i < DiagnosticsWrapper::MAX_RECORDS + 2; ++i) {
        add(std::to_string(i), "");
    }
    const std::vector<Record> records = DiagnosticsWrapper::getRecords();
    ASSERT_THAT(records, SizeIs(DiagnosticsWrapper::MAX_RECORDS));
    EXPECT_EQ(records.front().name, "2");
    EXPECT_EQ(records.back().name, std::to_string(DiagnosticsWrapper::MAX_RECORDS + 1));
    EXPECT_THAT(DiagnosticsWrapper::toText(), HasSubstr(" older records are gone\n"));
}

TEST_F(DiagnosticsWrapperTest, ATextThatIsTooLongIsCut) {
    const std::string endless(DiagnosticsWrapper::MAX_TEXT + 1, 'x');
    DiagnosticsWrapper::AddRecord(RecordType::INFORMATION, SectionID::EDGE, endless, endless, 0, endless,
                                  endless);
    const Record record = DiagnosticsWrapper::getRecords().at(0);
    for (const std::string& text : {record.name, record.value, record.text, record.furtherText}) {
        EXPECT_THAT(text, SizeIs(DiagnosticsWrapper::MAX_TEXT));
    }
}

TEST_F(DiagnosticsWrapperTest, AsTextEachRecordHasALine) {
    add("_service._tcp.test", "None");
    DiagnosticsWrapper::AddRecord(RecordType::FAILURE, SectionID::CERTIFICATES, "server.test", "[UNKNOWN]", 2,
                                  "a", "b");
    const std::string text = DiagnosticsWrapper::toText();
    EXPECT_THAT(text, ContainsRegex("[0-9]+ [0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}Z information dns "
                                    "_service._tcp.test: None\n"));
    EXPECT_THAT(text, ContainsRegex("failure certificates server.test: \\[UNKNOWN\\] \\[2\\] a b\n"));
}

TEST_F(DiagnosticsWrapperTest, OtherNumbersAreToldAsNumbers) {
    DiagnosticsWrapper::AddRecord(static_cast<RecordType::Type>(9), static_cast<SectionID::ID>(77), "n", "v",
                                  0, "", "");
    EXPECT_THAT(DiagnosticsWrapper::toText(), HasSubstr(" type 9 section 77 n: v\n"));
}

TEST_F(DiagnosticsWrapperTest, ALineBreakWithinARecordFakesNoOtherOne) {
    add("server.test\n1 failure", "a\r\nb\x7f\x1b");
    EXPECT_THAT(DiagnosticsWrapper::toText(), HasSubstr("server.test 1 failure: a  b  \n"));
}

TEST_F(DiagnosticsWrapperTest, ClearedItIsEmptyAndCountingGoesOn) {
    add("first", "");
    const std::uint64_t number = DiagnosticsWrapper::getRecords().at(0).number;
    DiagnosticsWrapper::clear();
    EXPECT_THAT(DiagnosticsWrapper::getRecords(), IsEmpty());
    EXPECT_EQ(DiagnosticsWrapper::toText(), "");
    add("second", "");
    EXPECT_EQ(DiagnosticsWrapper::getRecords().at(0).number, number + 1);
}

TEST_F(DiagnosticsWrapperTest, ManyThreadsMayAddAndReadAtOnce) {
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([i] {
            for (int round = 0; round < 100; ++round) {
                add(std::to_string(i), std::to_string(round));
                if (round % 10 == 0) {
                    DiagnosticsWrapper::toText();
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::vector<Record> records = DiagnosticsWrapper::getRecords();
    ASSERT_THAT(records, SizeIs(DiagnosticsWrapper::MAX_RECORDS));
    EXPECT_EQ(records.back().number, records.front().number + DiagnosticsWrapper::MAX_RECORDS - 1);
}

}  // namespace
}  // namespace ZEBDiagnostics::test
