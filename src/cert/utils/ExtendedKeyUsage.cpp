#include "cert/utils/ExtendedKeyUsage.h"

#include "cert/utils/UsageNames.h"

#include <openssl/obj_mac.h>

namespace zeb::cert {

namespace {

struct Row {
    ExtendedKeyUsage::Usage usage;
    int nid;
    const char* name;
};

constexpr Row ROWS[] = {
    {ExtendedKeyUsage::SERVER_AUTH, NID_server_auth, "SERVER_AUTH"},
    {ExtendedKeyUsage::CLIENT_AUTH, NID_client_auth, "CLIENT_AUTH"},
    {ExtendedKeyUsage::CODE_SIGNING, NID_code_sign, "CODE_SIGNING"},
    {ExtendedKeyUsage::EMAIL_PROTECTION, NID_email_protect, "EMAIL_PROTECTION"},
    {ExtendedKeyUsage::IPSEC_END_SYSTEM, NID_ipsecEndSystem, "IPSEC_END_SYSTEM"},
    {ExtendedKeyUsage::IPSEC_TUNNEL, NID_ipsecTunnel, "IPSEC_TUNNEL"},
    {ExtendedKeyUsage::IPSEC_USER, NID_ipsecUser, "IPSEC_USER"},
    {ExtendedKeyUsage::TIME_STAMPING, NID_time_stamp, "TIME_STAMPING"},
    {ExtendedKeyUsage::OCSP_SIGN, NID_OCSP_sign, "OCSP_SIGN"},
    {ExtendedKeyUsage::DVCS, NID_dvcs, "DVCS"},
};

}  // namespace

unsigned long ExtendedKeyUsage::fromNid(int nid) {
    for (const Row& row : ROWS) {
        if (row.nid == nid) {
            return static_cast<unsigned long>(row.usage);
        }
    }
    return 0;
}

void ExtendedKeyUsage::print(std::ostream& stream, unsigned long mask) {
    printUsages(stream, ROWS, mask);
}

std::ostream& operator<<(std::ostream& stream, ExtendedKeyUsage::Usage usage) {
    return printUsage(stream, ROWS, usage);
}

}  // namespace zeb::cert
