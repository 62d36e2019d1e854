#include "cert/utils/BasicKeyUsage.h"

#include "cert/utils/UsageNames.h"

namespace zeb::cert {

namespace {

struct Row {
    BasicKeyUsage::Usage usage;
    unsigned long x509Bit;  ///< of X509_get_key_usage()
    const char* name;
};

constexpr Row ROWS[] = {
    {BasicKeyUsage::DIGITAL_SIGNATURE, 0x80, "DIGITAL_SIGNATURE"},
    {BasicKeyUsage::NON_REPUDIATION, 0x40, "NON_REPUDIATION"},
    {BasicKeyUsage::KEY_ENCIPHERMENT, 0x20, "KEY_ENCIPHERMENT"},
    {BasicKeyUsage::DATA_ENCIPHERMENT, 0x10, "DATA_ENCIPHERMENT"},
    {BasicKeyUsage::KEY_AGREEMENT, 0x08, "KEY_AGREEMENT"},
    {BasicKeyUsage::KEY_CERT_SIGN, 0x04, "KEY_CERT_SIGN"},
    {BasicKeyUsage::CRL_SIGN, 0x02, "CRL_SIGN"},
    {BasicKeyUsage::ENCIPHER_ONLY, 0x01, "ENCIPHER_ONLY"},
    {BasicKeyUsage::DECIPHER_ONLY, 0x8000, "DECIPHER_ONLY"},
};

}  // namespace

unsigned long BasicKeyUsage::fromX509KeyUsage(unsigned long keyUsage) {
    unsigned long mask = 0;
    for (const Row& row : ROWS) {
        mask |= (keyUsage & row.x509Bit) != 0 ? static_cast<unsigned long>(row.usage) : 0UL;
    }
    return mask;
}

void BasicKeyUsage::print(std::ostream& stream, unsigned long mask) {
    printUsages(stream, ROWS, mask);
}

std::ostream& operator<<(std::ostream& stream, BasicKeyUsage::Usage usage) {
    return printUsage(stream, ROWS, usage);
}

}  // namespace zeb::cert
