#include "core/Base64FamilyEncoder.h"

#include "core/DecodingTable.h"
#include "core/Encoding.h"

#include <algorithm>
#include <string_view>

namespace zeb {

namespace {

constexpr std::string_view LINE_BREAK = "\r\n";
constexpr std::size_t OCTETS_PER_GROUP = 3;
constexpr std::size_t CHARACTERS_PER_GROUP = 4;
constexpr std::size_t GROUPS_PER_LINE = 72 / CHARACTERS_PER_GROUP;

bool standsAt(const std::string& text, std::size_t position, std::string_view part) {
    return text.compare(position, part.size(), part) == 0;
}

std::size_t countLineBreaks(const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(LINE_BREAK); at != std::string::npos;
         at = text.find(LINE_BREAK, at + LINE_BREAK.size())) {
        ++count;
    }
    return count;
}

// One pass: a "\r\n" that comes about only by the removal of another one stays, and is refused as characters.
void eraseLineBreaks(std::string& text) {
    std::size_t at = text.find(LINE_BREAK);
    if (at == std::string::npos) {
        return;
    }
    std::string kept;
    kept.reserve(text.size());
    std::size_t from = 0;
    for (; at != std::string::npos; at = text.find(LINE_BREAK, from)) {
        kept.append(text, from, at - from);
        from = at + LINE_BREAK.size();
    }
    kept.append(text, from, std::string::npos);
    text.swap(kept);
}

std::size_t missingInGroup(std::size_t characters) {
    return (CHARACTERS_PER_GROUP - characters % CHARACTERS_PER_GROUP) % CHARACTERS_PER_GROUP;
}

}  // namespace

Base64FamilyEncoder::Base64FamilyEncoder(const Encoding* encoding) : encoding_(encoding), codec_(*encoding) {}

std::string Base64FamilyEncoder::encode(const unsigned char* data, std::size_t length,
                                        bool lineBreaks) const {
    std::string text = encodeWithoutPadding(data, length, lineBreaks);
    addMissingPaddingChars(text);
    return text;
}

std::string Base64FamilyEncoder::encodeWithoutPadding(const unsigned char* data, std::size_t length,
                                                      bool lineBreaks) const {
    std::string text;
    if (data == nullptr || length == 0) {
        return text;
    }
    const std::size_t groups = length / OCTETS_PER_GROUP;
    const std::size_t rest = length % OCTETS_PER_GROUP;
    const std::size_t fullLines = lineBreaks ? groups / GROUPS_PER_LINE : 0;
    const std::size_t restCharacters = rest == 0 ? 0 : rest + 1;
    text.resize(groups * CHARACTERS_PER_GROUP + restCharacters + fullLines * LINE_BREAK.size());

    char* out = text.data();
    for (std::size_t line = 0; line < fullLines; ++line) {
        codec_.encodeGroups(data, GROUPS_PER_LINE, out);
        data += GROUPS_PER_LINE * OCTETS_PER_GROUP;
        out += GROUPS_PER_LINE * CHARACTERS_PER_GROUP;
        out = std::copy(LINE_BREAK.begin(), LINE_BREAK.end(), out);
    }
    const std::size_t lastGroups = groups - fullLines * GROUPS_PER_LINE;
    codec_.encodeGroups(data, lastGroups, out);
    data += lastGroups * OCTETS_PER_GROUP;
    out += lastGroups * CHARACTERS_PER_GROUP;

    if (rest > 0) {
        unsigned char octets[OCTETS_PER_GROUP] = {};
        std::copy(data, data + rest, octets);
        char characters[CHARACTERS_PER_GROUP];
        codec_.encodeGroups(octets, 1, characters);
        std::copy(characters, characters + restCharacters, out);
    }
    return text;
}

void Base64FamilyEncoder::addMissingPaddingChars(std::string& text) const {
    const std::size_t characters = text.size() - LINE_BREAK.size() * countLineBreaks(text);
    for (std::size_t missing = missingInGroup(characters); missing > 0; --missing) {
        text += encoding_->getEncodedPaddingChars();
    }
}

int Base64FamilyEncoder::decodeWithoutPadding(const std::string& text,
                                              std::vector<unsigned char>& out) const {
    std::string padded = text;
    addMissingPaddingChars(padded);
    return decode(padded, out);
}

int Base64FamilyEncoder::decode(const std::string& text, std::vector<unsigned char>& out) const {
    return decodePlain(text, out) ? SUCCESS : decodeStepByStep(text, out);
}

// The shortcut for what nearly every text is: one line of the alphabet with just the padding it needs. Leaves
// `out` alone and returns false for any other text, valid or not.
bool Base64FamilyEncoder::decodePlain(const std::string& text, std::vector<unsigned char>& out) const {
    const std::string_view padding = encoding_->getEncodedPaddingChars();
    std::size_t size = text.size();
    std::size_t paddingCount = 0;
    while (paddingCount < 2 && size >= padding.size() && standsAt(text, size - padding.size(), padding)) {
        size -= padding.size();
        ++paddingCount;
    }
    if (size == 0 || missingInGroup(size) != paddingCount) {
        return false;
    }

    const std::size_t groups = size / CHARACTERS_PER_GROUP;
    const std::size_t oldSize = out.size();
    const std::size_t restOctets = paddingCount == 0 ? 0 : OCTETS_PER_GROUP - paddingCount;
    out.resize(oldSize + groups * OCTETS_PER_GROUP + restOctets);
    bool valid = codec_.decodeGroups(text.data(), groups, out.data() + oldSize);
    if (valid && restOctets > 0) {
        char characters[CHARACTERS_PER_GROUP];
        std::fill(std::begin(characters), std::end(characters), encoding_->getEncodingTable()[0]);
        text.copy(characters, size % CHARACTERS_PER_GROUP, groups * CHARACTERS_PER_GROUP);
        unsigned char octets[OCTETS_PER_GROUP];
        valid = codec_.decodeGroups(characters, 1, octets);
        std::copy(octets, octets + restOctets, out.end() - static_cast<std::ptrdiff_t>(restOctets));
    }
    if (!valid) {
        out.resize(oldSize);
    }
    return valid;
}

int Base64FamilyEncoder::decodeStepByStep(std::string text, std::vector<unsigned char>& out) const {
    if (text.empty()) {
        return EMPTY_INPUT;
    }
    std::size_t paddingCount = 0;
    if (!getPaddingChars(text, paddingCount) || !weakCheckNewLines(text)) {
        return BAD_FORM;
    }
    std::size_t needed = 0;
    if (!checkInputSize(text, paddingCount, needed)) {
        return BAD_FORM;
    }
    if (const int result = removeUnnecessaryEncodedPaddingChars(text, paddingCount, needed);
        result != SUCCESS) {
        return result;
    }
    decodePaddingChars(text, needed);
    eraseLineBreaks(text);
    if (const int result = decodeGroups(text, out); result != SUCCESS) {
        return result;
    }
    out.resize(out.size() - needed);
    return SUCCESS;
}

// Counts the padding. False if anything else follows it, a line break included.
bool Base64FamilyEncoder::getPaddingChars(const std::string& text, std::size_t& count) const {
    const std::string_view padding = encoding_->getEncodedPaddingChars();
    count = 0;
    std::size_t position = text.find(padding);
    if (position == std::string::npos) {
        return true;
    }
    while (position < text.size()) {
        if (standsAt(text, position, padding)) {
            ++count;
            position += padding.size();
        } else if (LINE_BREAK.find(text[position]) == position) {
            // On purpose the character's place in the line break against the place in the text: equal only at
            // the places 0 and 1, of which padding leaves the second, so only in "=\n". Such a text fails in
            // a later step all the same; that it may get as far as the groups empties the output.
            position += LINE_BREAK.size();
        } else {
            return false;
        }
    }
    return true;
}

// Lines must share the length of the first, as far as a look at every place where a line break is due can
// tell.
bool Base64FamilyEncoder::weakCheckNewLines(const std::string& text) const {
    const std::size_t first = text.find(LINE_BREAK);
    if (first == std::string::npos) {
        return true;
    }
    for (std::size_t due = first; due < text.size(); due += first + LINE_BREAK.size()) {
        if (!standsAt(text, due, LINE_BREAK) && !isInsideEncodedPaddingChar(text, due)) {
            return false;
        }
    }
    return true;
}

// Percent-encoded padding makes the last line longer than the others.
bool Base64FamilyEncoder::isInsideEncodedPaddingChar(const std::string& text, std::size_t position) const {
    const std::string_view padding = encoding_->getEncodedPaddingChars();
    for (std::size_t offset = 0; offset < padding.size() && offset <= position; ++offset) {
        if (standsAt(text, position - offset, padding)) {
            return true;
        }
    }
    return false;
}

// Gives the padding that the last group needs. False if that group has one character, as six bits are no
// byte.
bool Base64FamilyEncoder::checkInputSize(const std::string& text, std::size_t paddingCount,
                                         std::size_t& needed) const {
    const std::size_t characters = text.size() - encoding_->getEncodedPaddingChars().size() * paddingCount -
                                   LINE_BREAK.size() * countLineBreaks(text);
    needed = missingInGroup(characters);
    return characters % CHARACTERS_PER_GROUP != 1;
}

// Deletes from the right what padding there is beyond the needed; the surplus is accepted silently.
//
// The search cannot fail as long as getPaddingChars() does the counting: it counts occurrences, and as
// neither
// "=" nor "%3D" overlaps itself, a deletion takes away just one of them and leaves the others whole. So each
// of the count - needed searches finds one. The answer stays for the day when the two come apart.
int Base64FamilyEncoder::removeUnnecessaryEncodedPaddingChars(std::string& text, std::size_t count,
                                                              std::size_t needed) const {
    if (count < needed) {
        return BAD_FORM;
    }
    const std::string_view padding = encoding_->getEncodedPaddingChars();
    for (; count > needed; --count) {
        const std::size_t last = text.rfind(padding);
        if (last == std::string::npos) {
            return INCOMPLETE_GROUP;
        }
        text.erase(last, padding.size());
    }
    return SUCCESS;
}

void Base64FamilyEncoder::decodePaddingChars(std::string& text, std::size_t count) const {
    if (!encoding_->isPaddingCharEncoded()) {
        return;
    }
    text.resize(text.size() - count * encoding_->getEncodedPaddingChars().size());
    for (; count > 0; --count) {
        text += encoding_->getDecodedPaddingChars();
    }
}

int Base64FamilyEncoder::decodeGroups(const std::string& text, std::vector<unsigned char>& out) const {
    const unsigned char* const table = encoding_->getDecodingTable();
    out.reserve(out.size() + text.size() / CHARACTERS_PER_GROUP * OCTETS_PER_GROUP);
    for (std::size_t at = 0; at < text.size(); at += CHARACTERS_PER_GROUP) {
        if (text.size() - at < CHARACTERS_PER_GROUP) {
            out.clear();
            return INCOMPLETE_GROUP;
        }
        unsigned int bits = 0;
        for (std::size_t place = 0; place < CHARACTERS_PER_GROUP; ++place) {
            const unsigned char value = table[static_cast<unsigned char>(text[at + place])];
            if (value == internal::NOT_IN_ALPHABET) {
                out.clear();
                return BAD_FORM;
            }
            bits = (bits << 6U) | value;
        }
        out.push_back(static_cast<unsigned char>(bits >> 16U));
        out.push_back(static_cast<unsigned char>(bits >> 8U));
        out.push_back(static_cast<unsigned char>(bits));
    }
    return SUCCESS;
}

}  // namespace zeb
