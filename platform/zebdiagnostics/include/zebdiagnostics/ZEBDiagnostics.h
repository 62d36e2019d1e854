#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#define ZEBDIAGNOSTICS_EXPORT __attribute__((visibility("default")))

/// What the libraries of the client found out about their surroundings, for the page of a host that shows a
/// user or a support engineer why something doesn't work. A host that has such a library of its own provides
/// these symbols in its place.
namespace ZEBDiagnostics {

/// Any other number is kept as it is.
struct RecordType {
    enum Type : int {
        INFORMATION = 0,
        FAILURE = 1,
    };
};

/// Whom a record is about. Any other number is kept as it is.
struct SectionID {
    enum ID : int {
        CERTIFICATES = 6,
        EDGE = 9,
        DNS = 10,
    };
};

struct Record {
    std::uint64_t number = 0;  ///< counts all records of the process, from 1 on
    std::chrono::system_clock::time_point time;
    RecordType::Type type = RecordType::INFORMATION;
    SectionID::ID section = SectionID::CERTIFICATES;
    std::string name;
    std::string value;
    int flag = 0;
    std::string text;
    std::string furtherText;
};

/// The records of this process, kept in memory only: the last MAX_RECORDS of them, each text cut at MAX_TEXT
/// bytes. Records name hosts in clear, for they are the host application's to show and are no log. Any thread
/// may call any operation, at process end, too. Nothing here throws, unless memory runs out.
class ZEBDIAGNOSTICS_EXPORT DiagnosticsWrapper {
public:
    static constexpr std::size_t MAX_RECORDS = 512;
    static constexpr std::size_t MAX_TEXT = 1024;

    /// Keeps one record, with the time of the call. The oldest one makes room.
    static void AddRecord(RecordType::Type type, SectionID::ID section, const std::string& name,
                          const std::string& value, int flag, const std::string& text,
                          const std::string& furtherText);

    /// The records that are there, the oldest first.
    static std::vector<Record> getRecords();
    /// The same as text, a line for each: number, time (UTC), type, section, "name: value", and the flag and
    /// texts where there are any. No line breaks but those between records: other control characters of a
    /// record's texts show as blanks. A first line tells how many older ones are gone, if any.
    static std::string toText();
    /// Forgets them all; counting goes on.
    static void clear();
};

}  // namespace ZEBDiagnostics
