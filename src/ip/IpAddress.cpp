#include "ip/IpAddress.h"

#include "core/Log.h"
#include "ip/IpUtils.h"

#include <arpa/inet.h>
#include <array>
#include <ostream>
#include <utility>

namespace zeb::ip {

IpAddress::BytesCache::BytesCache(const BytesCache& /*other*/) {}

IpAddress::BytesCache& IpAddress::BytesCache::operator=(const BytesCache& other) {
    if (this != &other) {
        bytes_.reset();  // whoever assigns is alone with the object
    }
    return *this;
}

std::shared_ptr<const IpAddress::Bytes> IpAddress::BytesCache::load() const {
    return std::atomic_load(&bytes_);
}

void IpAddress::BytesCache::store(std::shared_ptr<const Bytes> bytes) {
    std::atomic_store(&bytes_, std::move(bytes));
}

IpAddress IpAddress::createIpAddress(const std::string& address) {
    return IpUtils::isIpAddress(address) ? IpAddress(address) : IpAddress();
}

IpAddress::IpAddress(std::string address) : address_(std::move(address)) {}

bool IpAddress::isIpv4Address() const {
    return IpUtils::isIpv4Address(address_);
}

bool IpAddress::isIpv6Address() const {
    return IpUtils::isIpv6Address(address_);
}

std::vector<unsigned char> IpAddress::getBytes() const {
    if (isEmpty()) {  // one that was moved from may still hold the bytes
        return {};
    }
    if (const auto cached = bytes_.load()) {
        return *cached;
    }
    Bytes bytes = readBytes();
    if (!bytes.empty()) {
        bytes_.store(std::make_shared<const Bytes>(bytes));
    }
    return bytes;
}

IpAddress::Bytes IpAddress::readBytes() const {
    const bool ipv4 = isIpv4Address();
    std::array<unsigned char, sizeof(in6_addr)> buffer{};
    const int result = inet_pton(ipv4 ? AF_INET : AF_INET6, address_.c_str(), buffer.data());
    if (result != 1) {
        ZEB_LOG_ERROR(log::ip(), (ipv4 ? "inet_pton unable to populate sockAddr.sin_addr, pton_retval: "
                                       : "inet_pton unable to populate sockAddr.sin6_addr, pton_retval: ")
                                     << result);
        return {};
    }
    return {buffer.begin(), buffer.begin() + (ipv4 ? sizeof(in_addr) : sizeof(in6_addr))};
}

std::ostream& operator<<(std::ostream& stream, const IpAddress& address) {
    return stream << (address.isEmpty() ? "(empty)" : ZEBLogger_replacePIIData(address.getAddress()));
}

}  // namespace zeb::ip
