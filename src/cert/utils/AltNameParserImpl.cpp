#include "cert/utils/AltNameParserImpl.h"

#include "cert/utils/OpenSslHandles.h"
#include "core/Log.h"
#include "ip/IpUtils.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

#include <openssl/asn1.h>
#include <openssl/objects.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace zeb::cert {

namespace {

constexpr char ID_ON_DNS_SRV[] = "1.3.6.1.5.5.7.8.7";    // RFC 4985
constexpr char ID_ON_XMPP_ADDR[] = "1.3.6.1.5.5.7.8.5";  // RFC 6120
constexpr char XMPP_SERVICE[] = "_xmpp-server.";
constexpr std::string_view WILDCARD = "*.";
constexpr int DIGITS_OF_NO_OCTET = 4;

/// As toupper() in the C locale. What locale the host has set must not decide whom a certificate is for.
char upper(char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

bool equalIgnoringCase(std::string_view one, std::string_view other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char left, char right) { return upper(left) == upper(right); });
}

/// An empty identifier belongs to nobody, so it's not the name that a certificate lacks.
bool isExactMatch(const std::string& identifier, const std::string& name) {
    return !identifier.empty() && equalIgnoringCase(identifier, name);
}

/// A text with a NUL in it reads differently in C ("bank.test\0.evil.test"): such a name is no name.
bool isWholeText(const std::string& text) {
    return text.size() == std::strlen(text.c_str());
}

/// False, and nothing taken, when there is no text or a NUL in it.
bool readText(const ASN1_STRING* value, std::string& text) {
    if (value == nullptr) {
        return false;
    }
    std::string copy;
    if (ASN1_STRING_length(value) > 0) {
        copy.assign(reinterpret_cast<const char*>(ASN1_STRING_get0_data(value)),
                    static_cast<std::size_t>(ASN1_STRING_length(value)));
    }
    if (!isWholeText(copy)) {
        return false;
    }
    text = std::move(copy);
    return true;
}

/// Only these have characters for a value; others have a number, a structure, or nothing to point at.
bool isCharacterString(int type) {
    switch (type) {
        case V_ASN1_UTF8STRING:
        case V_ASN1_NUMERICSTRING:
        case V_ASN1_PRINTABLESTRING:
        case V_ASN1_T61STRING:
        case V_ASN1_IA5STRING:
        case V_ASN1_VISIBLESTRING:
        case V_ASN1_GENERALSTRING:
        case V_ASN1_UNIVERSALSTRING:
        case V_ASN1_BMPSTRING:
            return true;
        default:
            return false;
    }
}

/// The dotted form, whether OpenSSL knows a name for it or not.
bool readOid(const ASN1_OBJECT* object, std::string& oid) {
    const int length = OBJ_obj2txt(nullptr, 0, object, 1);
    if (length <= 0) {
        return false;
    }
    std::string text(static_cast<std::size_t>(length) + 1, '\0');  // OpenSSL ends it with a NUL
    OBJ_obj2txt(text.data(), length + 1, object, 1);
    text.pop_back();
    if (!isWholeText(text)) {
        return false;
    }
    oid = std::move(text);
    return true;
}

/// A ':' reads as an address at once, digits in groups of up to three do at the end, letters never do.
bool readsAsAddress(std::string_view text) {
    int digits = 0;
    for (const char character : text) {
        if (isDigit(character)) {
            digits = std::min(digits + 1, DIGITS_OF_NO_OCTET);
        } else if (character == ':') {
            return true;
        } else if (character != '.' || digits == 0 || digits == DIGITS_OF_NO_OCTET) {
            return false;
        } else {
            digits = 0;
        }
    }
    return true;
}

/// Whether what follows "*." is an IP address, which has no labels for a wildcard to stand for. IPv6
/// addresses may begin with a letter.
bool looksLikeIpAddress(std::string_view text) {
    return readsAsAddress(text) || ip::IpUtils::isIpv6Address(std::string(text));
}

std::string_view parentDomain(std::string_view domain) {
    const std::size_t dot = domain.find('.');
    if (dot == std::string_view::npos || dot + 1 == domain.size()) {
        ZEB_LOG_WARNING(log::cert(), "Did not find parent domain for domain '"
                                         << ZEBLogger_replacePIIData(std::string(domain)) << "'");
        return {};
    }
    return domain.substr(dot + 1);
}

}  // namespace

AltNameParserImpl::AltNameParserImpl() = default;

AltNameParserImpl::AltNameParserImpl(bool ccMode) : ccMode_(ccMode) {}

AltNameParserImpl::AltNameParserImpl(std::vector<std::string> dnsNames, std::vector<std::string> srvNames,
                                     std::vector<std::string> xmppAddrs, std::string commonName)
    : dnsNames_(std::move(dnsNames)),
      srvNames_(std::move(srvNames)),
      xmppAddrs_(std::move(xmppAddrs)),
      commonName_(std::move(commonName)) {}

CertIdentifierStatus::Status AltNameParserImpl::parse(const x509_st* cert) {
    *this = AltNameParserImpl(ccMode_);
    if (cert == nullptr) {
        ZEB_LOG_ERROR(log::cert(), "invalid argument, cert is NULL");
        return CertIdentifierStatus::INTERNAL_ERROR;
    }
    const OpenSslErrorScope errors;
    parseSubjectCNField(cert);
    parseSubjectAltName(cert);
    return checkIdentityInfoIsAvailable();
}

void AltNameParserImpl::parseSubjectCNField(const x509_st* cert) {
    X509_NAME* const subject = X509_get_subject_name(cert);
    if (subject == nullptr) {
        ZEB_LOG_WARNING(log::cert(), "subject is NULL");
        return;
    }
    const int index = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
    if (index >= 0) {
        readText(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, index)), commonName_);
    }
}

void AltNameParserImpl::parseSubjectAltName(const x509_st* cert) {
    const int index = X509_get_ext_by_NID(cert, NID_subject_alt_name, -1);
    if (index < 0) {
        ZEB_LOG_WARNING(log::cert(), "SubjectAltName extension not found");
        return;
    }
    X509_EXTENSION* const extension = X509_get_ext(cert, index);
    if (extension == nullptr) {
        ZEB_LOG_ERROR(log::cert(), "failed to get extension using API");
        return;
    }
    if (X509V3_EXT_get(extension) == nullptr) {
        ZEB_LOG_ERROR(log::cert(), "failed to get extension methods using API");
        return;
    }
    const OpenSslPtr<GENERAL_NAMES> names(
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(cert, NID_subject_alt_name, nullptr, nullptr)));
    if (names == nullptr) {
        ZEB_LOG_ERROR(log::cert(), "failed to get GENERAL_NAMES structure");
        return;
    }
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        const GENERAL_NAME* const name = sk_GENERAL_NAME_value(names.get(), i);
        if (name == nullptr) {
            ZEB_LOG_WARNING(log::cert(), "failed to read GENERAL_NAME from field index : " << i);
        } else {
            parseGeneralName(*name);
        }
    }
}

void AltNameParserImpl::parseGeneralName(const GENERAL_NAME_st& name) {
    switch (name.type) {
        case GEN_DNS:
            parseDNSField(name);
            break;
        case GEN_OTHERNAME:
            parseOtherNameField(name);
            break;
        default:
            ZEB_LOG_INFO(log::cert(), "ignoring field with type : " << name.type);
            break;
    }
}

void AltNameParserImpl::parseDNSField(const GENERAL_NAME_st& name) {
    std::string text;
    if (readText(name.d.dNSName, text)) {
        dnsNames_.push_back(std::move(text));
    }
}

void AltNameParserImpl::parseOtherNameField(const GENERAL_NAME_st& name) {
    const OTHERNAME* const otherName = name.d.otherName;
    std::string oid;
    if (otherName == nullptr || !readOid(otherName->type_id, oid)) {
        return;
    }
    if (oid != ID_ON_DNS_SRV && oid != ID_ON_XMPP_ADDR) {
        ZEB_LOG_INFO(log::cert(), "ignoring OID : " << oid);
        return;
    }
    // The issuer chose the type, and what the value points at depends on it.
    const ASN1_TYPE* const value = otherName->value;
    if (value == nullptr || !isCharacterString(value->type)) {
        ZEB_LOG_WARNING(log::cert(), "ignoring a name that is no text, OID : " << oid);
        return;
    }
    std::string text;
    if (readText(value->value.asn1_string, text)) {
        (oid == ID_ON_DNS_SRV ? srvNames_ : xmppAddrs_).push_back(std::move(text));
    }
}

CertIdentifierStatus::Status AltNameParserImpl::checkIdentityInfoIsAvailable() const {
    if (dnsNames_.empty() && srvNames_.empty() && xmppAddrs_.empty() && commonName_.empty()) {
        ZEB_LOG_INFO(log::cert(), "No Identity information available");
        return CertIdentifierStatus::NO_IDENTITY_INFO_IN_CERT;
    }
    return CertIdentifierStatus::SUCCESS;
}

CertIdentifierStatus::Status AltNameParserImpl::verifyXmpp(const std::string& identifier) const {
    for (std::size_t index = 0; index < xmppAddrs_.size(); ++index) {
        if (isExactMatch(identifier, xmppAddrs_[index])) {
            ZEB_LOG_INFO(log::cert(), "Match for '" << ZEBLogger_replacePIIData(identifier)
                                                    << "' found in _xmppAddrs index: " << index);
            return CertIdentifierStatus::SUCCESS;
        }
    }
    const std::string srvName = XMPP_SERVICE + identifier;
    for (std::size_t index = 0; index < srvNames_.size(); ++index) {
        if (!identifier.empty() && isExactMatch(srvName, srvNames_[index])) {
            ZEB_LOG_INFO(log::cert(), "Match for '" << ZEBLogger_replacePIIData(srvName)
                                                    << "' found in _srvNames index: " << index);
            return CertIdentifierStatus::SUCCESS;
        }
    }
    ZEB_LOG_INFO(log::cert(),
                 "Xmpp match was not found for: '" << ZEBLogger_replacePIIData(identifier) << "'");
    return verify(identifier);
}

CertIdentifierStatus::Status AltNameParserImpl::verify(const std::string& identifier) const {
    const CertIdentifierStatus::Status status =
        dnsNames_.empty() ? verifyCommonName(identifier) : verifyDnsNames(identifier);
    if (status != CertIdentifierStatus::SUCCESS) {
        ZEB_LOG_ERROR(log::cert(), "No Match Found for '" << ZEBLogger_replacePIIData(identifier) << "'");
    }
    return status;
}

CertIdentifierStatus::Status AltNameParserImpl::verifyCommonName(const std::string& identifier) const {
    if (isExactMatch(identifier, commonName_)) {
        ZEB_LOG_INFO(log::cert(),
                     "Match for '" << ZEBLogger_replacePIIData(identifier) << "' found in _commonName");
        return CertIdentifierStatus::SUCCESS;
    }
    if (matchesWildcard(identifier, commonName_)) {
        ZEB_LOG_INFO(log::cert(), "Wildcard match for '" << ZEBLogger_replacePIIData(identifier)
                                                         << "' found in _commonName");
        return CertIdentifierStatus::SUCCESS;
    }
    return CertIdentifierStatus::NO_MATCH_FOUND;
}

CertIdentifierStatus::Status AltNameParserImpl::verifyDnsNames(const std::string& identifier) const {
    for (std::size_t index = 0; index < dnsNames_.size(); ++index) {
        if (isExactMatch(identifier, dnsNames_[index])) {
            ZEB_LOG_INFO(log::cert(), "Match for '" << ZEBLogger_replacePIIData(identifier)
                                                    << "' found in dnsNames index: " << index);
            return CertIdentifierStatus::SUCCESS;
        }
        if (matchesWildcard(identifier, dnsNames_[index])) {
            ZEB_LOG_INFO(log::cert(), "Wildcard match for '" << ZEBLogger_replacePIIData(identifier)
                                                             << "' found in dnsNames index: " << index);
            return CertIdentifierStatus::SUCCESS;
        }
    }
    return CertIdentifierStatus::NO_MATCH_FOUND;
}

bool AltNameParserImpl::matchesWildcard(const std::string& identifier, const std::string& name) const {
    // "bank\0.evil.test" is the host "bank" to whoever reads it in C, and no label of "*.evil.test".
    return !ccMode_ && isWholeText(identifier) &&
           checkReferenceIdentifierMatchesWildcardName(identifier, name) == CertIdentifierStatus::SUCCESS;
}

CertIdentifierStatus::Status AltNameParserImpl::checkReferenceIdentifierMatchesWildcardName(
    const std::string& reference, const std::string& name) {
    const std::string_view pattern = name;
    if (pattern.substr(0, WILDCARD.size()) != WILDCARD ||
        looksLikeIpAddress(pattern.substr(WILDCARD.size()))) {
        return CertIdentifierStatus::NO_MATCH_FOUND;
    }
    // The reference's first label is not looked at, and "*.test" is as good as "*.example.test": deliberate.
    const std::string_view parentOfReference = parentDomain(reference);
    const std::string_view parentOfName = parentDomain(name);
    const bool matches = !parentOfReference.empty() && !parentOfName.empty() &&
                         equalIgnoringCase(parentOfReference, parentOfName);
    return matches ? CertIdentifierStatus::SUCCESS : CertIdentifierStatus::NO_MATCH_FOUND;
}

std::vector<std::string> AltNameParserImpl::getDnsNames() {
    return dnsNames_;
}

std::vector<std::string> AltNameParserImpl::getSrvNames() {
    return srvNames_;
}

std::vector<std::string> AltNameParserImpl::getXmppAddresses() {
    return xmppAddrs_;
}

std::string AltNameParserImpl::getCommonName() {
    return commonName_;
}

}  // namespace zeb::cert
