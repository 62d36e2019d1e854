#pragma once

#include "core/Base64GroupCodec.h"

#include <cstddef>
#include <string>
#include <vector>

namespace zeb {

class Encoding;

/// Encodes and decodes in one encoding of the Base64 family; what the free functions of core/Base64.h forward
/// to, and where their results are told. Without state after construction; any thread.
class Base64FamilyEncoder {
public:
    /// Results of decoding.
    static constexpr int SUCCESS = 0;
    static constexpr int EMPTY_INPUT = -1;
    static constexpr int BAD_FORM = -2;
    static constexpr int INCOMPLETE_GROUP = -3;

    /// `encoding` must outlive this object.
    explicit Base64FamilyEncoder(const Encoding* encoding);

    std::string encode(const unsigned char* data, std::size_t length, bool lineBreaks) const;
    std::string encodeWithoutPadding(const unsigned char* data, std::size_t length, bool lineBreaks) const;

    int decode(const std::string& text, std::vector<unsigned char>& out) const;
    int decodeWithoutPadding(const std::string& text, std::vector<unsigned char>& out) const;

    /// decode() without its shortcut: every text goes through all the steps, for the price of a few passes
    /// over it. The results are the same; tests hold the two against each other.
    int decodeStepByStep(std::string text, std::vector<unsigned char>& out) const;

private:
    bool decodePlain(const std::string& text, std::vector<unsigned char>& out) const;

    void addMissingPaddingChars(std::string& text) const;
    bool getPaddingChars(const std::string& text, std::size_t& count) const;
    bool weakCheckNewLines(const std::string& text) const;
    bool isInsideEncodedPaddingChar(const std::string& text, std::size_t position) const;
    bool checkInputSize(const std::string& text, std::size_t paddingCount, std::size_t& needed) const;
    int removeUnnecessaryEncodedPaddingChars(std::string& text, std::size_t count, std::size_t needed) const;
    void decodePaddingChars(std::string& text, std::size_t count) const;
    int decodeGroups(const std::string& text, std::vector<unsigned char>& out) const;

    const Encoding* encoding_;
    Base64GroupCodec codec_;
};

}  // namespace zeb
