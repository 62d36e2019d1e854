#include "core/Base64GroupCodec.h"

#include "core/Encoding.h"

#include <cstring>
#include <endian.h>

namespace zeb {

namespace {

constexpr std::uint32_t INVALID = 0xFF000000U;  // above the 24 bits of a group
constexpr unsigned int PAIR_MASK = 0xFFFU;

std::uint64_t readBigEndian(const unsigned char* bytes) {
    std::uint64_t value = 0;
    std::memcpy(&value, bytes, sizeof(value));
    return be64toh(value);
}

}  // namespace

Base64GroupCodec::Base64GroupCodec(const Encoding& encoding) : pairs_(), characters_() {
    const char* const alphabet = encoding.getEncodingTable();
    for (std::size_t i = 0; i < pairs_.size(); ++i) {
        pairs_[i] = {alphabet[i >> 6U], alphabet[i & 0x3FU]};
    }
    for (std::size_t place = 0; place < characters_.size(); ++place) {
        characters_[place].fill(INVALID);
        for (std::uint32_t value = 0; value < 64; ++value) {
            characters_[place][static_cast<unsigned char>(alphabet[value])] = value << (18U - 6U * place);
        }
    }
}

void Base64GroupCodec::encodeGroups(const unsigned char* in, std::size_t groups, char* out) const {
    // Two groups at a time: their 48 bits stand at the head of eight bytes, which a third group makes
    // readable.
    for (; groups > 2; groups -= 2, in += 6, out += 8) {
        const std::uint64_t bits = readBigEndian(in);
        std::memcpy(out, pairs_[bits >> 52U].data(), 2);
        std::memcpy(out + 2, pairs_[(bits >> 40U) & PAIR_MASK].data(), 2);
        std::memcpy(out + 4, pairs_[(bits >> 28U) & PAIR_MASK].data(), 2);
        std::memcpy(out + 6, pairs_[(bits >> 16U) & PAIR_MASK].data(), 2);
    }
    for (; groups > 0; --groups, in += 3, out += 4) {
        const unsigned int bits = (static_cast<unsigned int>(in[0]) << 16U) | (in[1] << 8U) | in[2];
        std::memcpy(out, pairs_[bits >> 12U].data(), 2);
        std::memcpy(out + 2, pairs_[bits & PAIR_MASK].data(), 2);
    }
}

bool Base64GroupCodec::decodeGroups(const char* in, std::size_t groups, unsigned char* out) const {
    for (; groups > 0; --groups, in += 4, out += 3) {
        const std::uint32_t bits = characters_[0][static_cast<unsigned char>(in[0])] |
                                   characters_[1][static_cast<unsigned char>(in[1])] |
                                   characters_[2][static_cast<unsigned char>(in[2])] |
                                   characters_[3][static_cast<unsigned char>(in[3])];
        if (bits >= INVALID) {
            return false;
        }
        out[0] = static_cast<unsigned char>(bits >> 16U);
        out[1] = static_cast<unsigned char>(bits >> 8U);
        out[2] = static_cast<unsigned char>(bits);
    }
    return true;
}

}  // namespace zeb
