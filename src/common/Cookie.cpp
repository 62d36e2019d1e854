#include "common/Cookie.h"

#include "common/ReadDecimal.h"
#include "core/Log.h"
#include "core/SecureStringReader.h"
#include "core/SecureStringUtils.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace zeb::common {
namespace {

constexpr std::string_view HTTP_ONLY_PREFIX = "#HttpOnly_";

enum Field : std::size_t { DOMAIN, TAIL_MATCH, PATH, SECURE, EXPIRATION, NAME, VALUE, FIELD_COUNT };

/// The fields are views into the line: the value is encrypted straight from it, so that no other copy in
/// clear exists that would have to be wiped.
struct Fields {
    std::size_t count = 0;  ///< of all in the line, those behind the last one that has a name here, too
    std::array<std::string_view, FIELD_COUNT> text{};
};

/// As std::getline splits: nothing follows a tab at the end.
Fields split(std::string_view line) {
    Fields fields;
    while (!line.empty()) {
        const std::size_t tab = line.find('\t');
        if (fields.count < FIELD_COUNT) {
            fields.text[fields.count] = line.substr(0, tab);
        }
        ++fields.count;
        line.remove_prefix(tab == std::string_view::npos ? line.size() : tab + 1);
    }
    return fields;
}

/// In no locale but the "C" one.
char toLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool readFlag(std::string_view text) {
    static constexpr std::string_view TRUE_TEXT = "true";
    return std::equal(text.begin(), text.end(), TRUE_TEXT.begin(), TRUE_TEXT.end(),
                      [](char given, char wanted) { return toLower(given) == wanted; });
}

std::string decrypt(const SecureString& secret) {
    SecureStringReader reader;
    secret.getUnsecureString(reader);
    return {reader.c_str(), reader.getBufSize()};
}

}  // namespace

Cookie::Cookie(const std::string& rawFormat) {
    parse(rawFormat);
}

void Cookie::parse(const std::string& rawFormat) {
    const Fields fields = split(rawFormat);
    if (fields.count < FIELD_COUNT) {
        ZEB_LOG_ERROR(log::common(), "Unexpected number of tokens in cookie raw format : " << fields.count);
        return;
    }
    domain_ = fields.text[DOMAIN];
    tailMatch_ = readFlag(fields.text[TAIL_MATCH]);
    path_ = fields.text[PATH];
    secure_ = readFlag(fields.text[SECURE]);
    expiration_ = readDecimal<std::int64_t>(fields.text[EXPIRATION]);
    name_ = fields.text[NAME];
    // New secrets, as setValue() would change those of every copy of this cookie.
    value_ = SecureString(fields.text[VALUE].data(), fields.text[VALUE].size());
    raw_ = SecureString(rawFormat);
}

bool Cookie::isEmpty() const {
    return raw_.empty();
}

std::string Cookie::getRawFormat() const {
    return decrypt(raw_);
}

std::string Cookie::getName() const {
    return name_;
}

std::string Cookie::getValue() const {
    return decrypt(value_);
}

std::string Cookie::getDomain() const {
    // The mark is looked for anywhere and cut at the start: only libcurl writes it, and always there.
    if (domain_.find(HTTP_ONLY_PREFIX) == std::string::npos) {
        return domain_;
    }
    return domain_.substr(HTTP_ONLY_PREFIX.size());
}

std::string Cookie::getPath() const {
    return path_;
}

bool Cookie::isTailMatchAllowed() const {
    return tailMatch_;
}

bool Cookie::isSecureConnectionRequired() const {
    return secure_;
}

std::int64_t Cookie::getExpirationDate() const {
    return expiration_;
}

bool Cookie::operator==(const Cookie& other) const {
    std::string ours = getRawFormat();
    std::string theirs = other.getRawFormat();
    const bool equal = ours == theirs;
    SecureStringUtils::ZEBZeroString(ours);
    SecureStringUtils::ZEBZeroString(theirs);
    return equal;
}

}  // namespace zeb::common
