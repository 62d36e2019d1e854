#include "ServiceAnswer.h"

#include <arpa/nameser.h>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include <ares.h>

namespace zeb::dns {
namespace {

constexpr std::size_t HEADER_SIZE = 12;
constexpr std::size_t QUESTION_COUNT_AT = 4;
constexpr std::size_t QUESTION_TAIL_SIZE = 4;  // type and class
constexpr unsigned char MAX_SHIFT_OF_TTL = 31;

/// Goes through a message from its beginning. Once something can't be read, it has failed for good, and
/// gives zeros.
class MessageReader {
public:
    MessageReader(const unsigned char* message, std::size_t size) : message_(message), size_(size) {}

    bool hasFailed() const { return failed_; }
    std::size_t position() const { return position_; }

    void skip(std::size_t count) {
        if (failed_ || count > size_ - position_) {
            failed_ = true;
            return;
        }
        position_ += count;
    }

    unsigned int read16() {
        const std::size_t at = position_;
        skip(sizeof(std::uint16_t));
        constexpr unsigned int BITS = 8;
        return failed_ ? 0 : static_cast<unsigned int>(message_[at]) << BITS | message_[at + 1];
    }

    std::uint32_t read32() {
        constexpr unsigned int BITS = 16;
        const std::uint32_t high = read16();
        return high << BITS | read16();
    }

    /// A name, perhaps compressed, without the dot at its end; the root is "".
    std::string readName() {
        char* text = nullptr;
        long length = 0;
        const auto size = static_cast<int>(size_);
        if (failed_ || position_ >= size_ ||
            ares_expand_name(message_ + position_, message_, size, &text, &length) != ARES_SUCCESS) {
            failed_ = true;
            return {};
        }
        const std::unique_ptr<char, void (*)(char*)> owner(text,
                                                           [](char* string) { ares_free_string(string); });
        skip(static_cast<std::size_t>(length));
        return text;
    }

private:
    const unsigned char* const message_;
    const std::size_t size_;
    std::size_t position_ = 0;
    bool failed_ = false;
};

/// RFC 2181, section 8: a time with the highest bit set counts as zero.
std::uint32_t soundTtl(std::uint32_t ttl) {
    return ttl >> MAX_SHIFT_OF_TTL == 0 ? ttl : 0;
}

void skipQuestions(MessageReader& reader, unsigned int count) {
    for (; count > 0 && !reader.hasFailed(); --count) {
        reader.readName();
        reader.skip(QUESTION_TAIL_SIZE);
    }
}

ServiceResourceRecord readService(MessageReader& reader, std::uint32_t ttl) {
    const unsigned int priority = reader.read16();
    const unsigned int weight = reader.read16();
    const unsigned int port = reader.read16();
    return {priority, weight, port, reader.readName(), soundTtl(ttl)};
}

void readRecord(MessageReader& reader, std::vector<ServiceResourceRecord>& records) {
    reader.readName();  // of the owner, which the question or an alias of it names
    const unsigned int type = reader.read16();
    const unsigned int classOfRecord = reader.read16();
    const std::uint32_t ttl = reader.read32();
    const std::size_t length = reader.read16();
    if (type != ns_t_srv || classOfRecord != ns_c_in) {
        reader.skip(length);
        return;
    }
    const std::size_t begin = reader.position();
    auto record = readService(reader, ttl);
    const bool isWhole = reader.position() - begin == length;
    if (!isWhole) {
        reader.skip(std::numeric_limits<std::size_t>::max());  // fails
    } else if (!reader.hasFailed() && !record.getTarget().empty()) {
        records.push_back(std::move(record));
    }
}

}  // namespace

std::optional<std::vector<ServiceResourceRecord>> readServiceAnswer(const unsigned char* answer,
                                                                    std::size_t size) {
    constexpr std::size_t MAX_MESSAGE = std::numeric_limits<std::uint16_t>::max();
    if (answer == nullptr || size < HEADER_SIZE || size > MAX_MESSAGE) {
        return std::nullopt;
    }
    MessageReader reader(answer, size);
    reader.skip(QUESTION_COUNT_AT);
    const unsigned int questionCount = reader.read16();
    unsigned int answerCount = reader.read16();
    reader.skip(HEADER_SIZE - reader.position());
    skipQuestions(reader, questionCount);
    std::vector<ServiceResourceRecord> records;
    for (; answerCount > 0 && !reader.hasFailed(); --answerCount) {
        readRecord(reader, records);
    }
    if (reader.hasFailed()) {
        return std::nullopt;
    }
    return records;
}

}  // namespace zeb::dns
