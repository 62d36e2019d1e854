#include "zebdiagnostics/ZEBDiagnostics.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <deque>
#include <mutex>
#include <sstream>
#include <utility>

namespace ZEBDiagnostics {

namespace {

/// Never destroyed: threads may still add records while the process ends.
struct Ring {
    std::mutex mutex;  ///< guards records and added
    std::deque<Record> records;
    std::uint64_t added = 0;
};

Ring& ring() {
    static auto& instance = *new Ring;
    return instance;
}

std::string utc(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    std::array<char, sizeof("-2147483648-01-01T00:00:00Z")> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text.data(), length};
}

std::string typeName(RecordType::Type type) {
    switch (type) {
        case RecordType::INFORMATION:
            return "information";
        case RecordType::FAILURE:
            return "failure";
    }
    return "type " + std::to_string(static_cast<int>(type));
}

std::string sectionName(SectionID::ID section) {
    switch (section) {
        case SectionID::CERTIFICATES:
            return "certificates";
        case SectionID::EDGE:
            return "edge";
        case SectionID::DNS:
            return "dns";
    }
    return "section " + std::to_string(static_cast<int>(section));
}

/// A record's texts come from servers, too: none may fake a record of its own.
std::string inOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char character) { return static_cast<unsigned char>(character) < ' ' || character == '\x7f'; },
        ' ');
    return text;
}

void print(std::ostream& stream, const Record& record) {
    stream << record.number << " " << utc(record.time) << " " << typeName(record.type) << " "
           << sectionName(record.section) << " " << inOneLine(record.name) << ": " << inOneLine(record.value);
    if (record.flag != 0) {
        stream << " [" << record.flag << "]";
    }
    for (const std::string* const text : {&record.text, &record.furtherText}) {
        if (!text->empty()) {
            stream << " " << inOneLine(*text);
        }
    }
    stream << "\n";
}

}  // namespace

void DiagnosticsWrapper::AddRecord(RecordType::Type type, SectionID::ID section, const std::string& name,
                                   const std::string& value, int flag, const std::string& text,
                                   const std::string& furtherText) {
    Record record;
    record.time = std::chrono::system_clock::now();
    record.type = type;
    record.section = section;
    record.name = name.substr(0, MAX_TEXT);
    record.value = value.substr(0, MAX_TEXT);
    record.flag = flag;
    record.text = text.substr(0, MAX_TEXT);
    record.furtherText = furtherText.substr(0, MAX_TEXT);
    const std::lock_guard<std::mutex> lock(ring().mutex);
    record.number = ++ring().added;
    ring().records.push_back(std::move(record));
    if (ring().records.size() > MAX_RECORDS) {
        ring().records.pop_front();
    }
}

std::vector<Record> DiagnosticsWrapper::getRecords() {
    const std::lock_guard<std::mutex> lock(ring().mutex);
    return {ring().records.begin(), ring().records.end()};
}

std::string DiagnosticsWrapper::toText() {
    const std::vector<Record> records = getRecords();
    std::ostringstream stream;
    if (!records.empty() && records.front().number > 1) {
        stream << records.front().number - 1 << " older records are gone\n";
    }
    for (const Record& record : records) {
        print(stream, record);
    }
    return stream.str();
}

void DiagnosticsWrapper::clear() {
    const std::lock_guard<std::mutex> lock(ring().mutex);
    ring().records.clear();
}

}  // namespace ZEBDiagnostics
